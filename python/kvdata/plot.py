"""Diagrams with matplotlib (imported when a function here is first called): the vector
diagram of a result, the R-X diagram of an impedance fault, and waveforms."""

from __future__ import annotations

from typing import Any, Mapping, Optional, Sequence

import numpy as np

from . import _display, _kvdata

_COLOURS = dict(zip("ABC", _display.COLOURS))


def _axes(ax: Any, **subplot: Any) -> Any:
    if ax is not None:
        return ax
    import matplotlib.pyplot as plt

    return plt.figure(figsize=(6, 6)).add_subplot(**subplot)


def vector(result: Any, ax: Any = None) -> Any:
    """The phasors of a result (voltages solid, currents dashed, each set scaled to the
    largest of its kind) on polar axes; returns the axes."""
    ax = _axes(ax, projection="polar")
    for values, style, unit, prefix in ((result.voltages, "-", "V", "U"), (result.currents, "--", "A", "I")):
        magnitudes, angles = _kvdata.report(np.asarray(values))
        largest = max(float(np.max(magnitudes)), 1e-300)
        scale = 1.0 if prefix == "U" else 0.8
        for phase, magnitude, angle in zip("ABC", magnitudes, angles):
            if magnitude == 0:
                continue
            theta, r = np.radians(angle), scale * magnitude / largest
            ax.annotate("", xy=(theta, r), xytext=(0, 0),
                        arrowprops=dict(arrowstyle="->", color=_COLOURS[phase], linestyle=style, lw=1.8))
            ax.text(theta, r * 1.06, f"{prefix}{phase} {magnitude:.3g} {unit}", color=_COLOURS[phase],
                    ha="center", va="center", fontsize=9)
    ax.set_ylim(0, 1.15)
    ax.set_yticklabels([])
    return ax


def rx(result: Any, ax: Any = None, loops: Optional[Sequence[str]] = None) -> Any:
    """The apparent impedances of an impedance fault's measuring loops in the R-X plane
    (equal axes), with the line impedance of the faulted loop; returns the axes."""
    ax = _axes(ax)
    names = list(loops) if loops is not None else list(result.loops)
    points = {name: result.loops[name] for name in names if result.loops[name] is not None}
    for name, z in points.items():
        ax.plot(z.real, z.imag, "o", color="#333")
        ax.annotate(name, (z.real, z.imag), textcoords="offset points", xytext=(5, 5))
    ax.axhline(0, color="#999", lw=0.8)
    ax.axvline(0, color="#999", lw=0.8)
    ax.set_xlabel("R, ohm")
    ax.set_ylabel("X, ohm")
    ax.set_aspect("equal", adjustable="datalim")
    ax.grid(True, color="#eee")
    return ax


def waveforms(record: Any, channels: Optional[Sequence[str]] = None, digital: bool = True,
              markers: Mapping[str, float] = None, fig: Any = None) -> Any:
    """Waveforms of a record or of a sequence's waveforms: voltages and currents on axes of
    their own, the digital channels underneath; `markers` name times to mark (seconds on
    the record's time axis; a record's trigger is marked unless markers are given).
    `record` is a :class:`Record`, a :class:`Waveforms` or anything with `times`, `analog`
    (name → samples) and optionally `digital` (name → 0/1). Returns the figure."""
    import matplotlib.pyplot as plt

    analog: Mapping[str, np.ndarray] = record.analog
    names = list(channels) if channels is not None else list(analog)
    units = {c.name: c.unit for c in getattr(record, "analog_channels", [])}
    groups: dict = {}
    for name in names:
        groups.setdefault(units.get(name, name[:1]), []).append(name)
    states = dict(getattr(record, "digital", {}) or {}) if digital else {}
    rows = len(groups) + (1 if states else 0)
    if fig is None:
        fig = plt.figure(figsize=(10, 2.4 * rows))
    axes = fig.subplots(rows, 1, sharex=True, squeeze=False)[:, 0]
    times = np.asarray(record.times)
    for ax, (unit, members) in zip(axes, groups.items()):
        for name in members:
            ax.plot(times, analog[name], lw=1, label=name,
                    color=_COLOURS.get(name[-1:], None) if name[-1:] in _COLOURS else None)
        ax.set_ylabel(unit)
        ax.legend(loc="upper right", fontsize=8)
        ax.grid(True, color="#eee")
    if states:
        ax = axes[-1]
        for row, (name, values) in enumerate(states.items()):
            ax.step(times, row * 1.5 + np.asarray(values) * 1.0, where="post", lw=1)
        ax.set_yticks([row * 1.5 + 0.5 for row in range(len(states))], list(states))
    if markers is None and hasattr(record, "trigger_offset"):
        markers = {"trigger": record.trigger_offset}
    for label, t in (markers or {}).items():
        for ax in axes:
            ax.axvline(t, color="#777", ls="--", lw=0.8)
        axes[0].annotate(label, (t, 1), xycoords=("data", "axes fraction"), fontsize=8, va="bottom")
    axes[-1].set_xlabel("time, s")
    return fig
