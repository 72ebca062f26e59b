"""How results show: a text table for print(), an HTML table with a vector diagram for notebooks."""

from __future__ import annotations

import html
import math
from typing import List, Sequence, Tuple

import numpy as np

from . import _kvdata

PHASES = ("A", "B", "C")
SEQUENCES = ("1", "2", "0")
LINES = ("AB", "BC", "CA")
COLOURS = ("#d4a017", "#1a8f3c", "#c8102e")  # A, B, C


def rows(voltages: np.ndarray, currents: np.ndarray) -> List[Tuple[str, float, float, str]]:
    """(name, magnitude, angle, unit) of the phases, their symmetrical components and the
    line voltages, as the layer reports them."""
    out = []
    groups = (
        ("U", PHASES, voltages, "V"),
        ("I", PHASES, currents, "A"),
        ("U", SEQUENCES, _kvdata.symmetrical(voltages), "V"),
        ("I", SEQUENCES, _kvdata.symmetrical(currents), "A"),
        ("U", LINES, _kvdata.line_values(voltages), "V"),
    )
    for prefix, names, values, unit in groups:
        magnitudes, angles = _kvdata.report(np.asarray(values))
        out += [(prefix + n, float(m), float(a), unit) for n, m, a in zip(names, magnitudes, angles)]
    return out


def text_table(voltages: np.ndarray, currents: np.ndarray) -> str:
    lines = ["         magnitude  angle, deg"]
    for name, magnitude, angle, unit in rows(voltages, currents):
        lines.append(f"{name:<4}{magnitude:>12.3f} {unit}{angle:>11.2f}")
    return "\n".join(lines)


def _arrows(values: np.ndarray, radius: float, dashed: bool) -> str:
    magnitudes, angles = _kvdata.report(values)
    largest = max(float(np.max(magnitudes)), 1e-300)
    out = []
    for colour, magnitude, angle in zip(COLOURS, magnitudes, angles):
        if magnitude == 0:
            continue
        length = radius * magnitude / largest
        x = 100 + length * math.cos(math.radians(angle))
        y = 100 - length * math.sin(math.radians(angle))
        dash = ' stroke-dasharray="4 3"' if dashed else ""
        out.append(f'<line x1="100" y1="100" x2="{x:.2f}" y2="{y:.2f}" stroke="{colour}" stroke-width="2"{dash} '
                   f'marker-end="url(#kv-head)"/>')
    return "".join(out)


def vector_svg(voltages: np.ndarray, currents: np.ndarray) -> str:
    """Voltages (solid) and currents (dashed), each set scaled to its largest magnitude."""
    return ('<svg xmlns="http://www.w3.org/2000/svg" width="200" height="200" viewBox="0 0 200 200">'
            '<defs><marker id="kv-head" viewBox="0 0 10 10" refX="9" refY="5" markerWidth="6" markerHeight="6" '
            'orient="auto-start-reverse"><path d="M0,0 L10,5 L0,10 z" fill="context-stroke"/></marker></defs>'
            '<circle cx="100" cy="100" r="90" fill="none" stroke="#ccc"/>'
            '<line x1="5" y1="100" x2="195" y2="100" stroke="#eee"/><line x1="100" y1="5" x2="100" y2="195" stroke="#eee"/>'
            + _arrows(voltages, 90, False) + _arrows(currents, 70, True) + "</svg>")


def html_table(title: str, voltages: np.ndarray, currents: np.ndarray, extra: Sequence[Tuple[str, str]] = ()) -> str:
    body = "".join(f"<tr><td>{html.escape(n)}</td><td>{m:.3f} {u}</td><td>{a:.2f}°</td></tr>"
                   for n, m, a, u in rows(voltages, currents))
    more = "".join(f"<tr><td>{html.escape(k)}</td><td colspan='2'>{html.escape(v)}</td></tr>" for k, v in extra)
    return (f"<div><b>{html.escape(title)}</b><div style='display:flex;gap:1em;align-items:flex-start'>"
            f"<table><tr><th></th><th>magnitude</th><th>angle</th></tr>{body}{more}</table>"
            f"{vector_svg(voltages, currents)}</div></div>")
