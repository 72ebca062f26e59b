import os
import pathlib
import subprocess
import sys

import pytest


def test_the_readme_round_trip_runs(tmp_path):
    pytest.importorskip("matplotlib")
    script = pathlib.Path(os.environ.get("KV_EXAMPLES_DIR", "examples")) / "python-round-trip.py"
    run = subprocess.run([sys.executable, str(script), str(tmp_path)], capture_output=True, text=True,
                         env=dict(os.environ, MPLBACKEND="Agg"))
    assert run.returncode == 0, run.stderr
    assert "All assessments pass." in run.stdout
    assert (tmp_path / "zone1.cfg").exists() and (tmp_path / "zone1.png").stat().st_size > 10_000
