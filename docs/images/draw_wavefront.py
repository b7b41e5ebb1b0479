#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Draws wavefront.svg: the steps in which four lanes of a vector diffuse four rows.

Usage: docs/images/draw_wavefront.py > docs/images/wavefront.svg
"""
# The Burkes halftone, from image/diffusion_kernels.h: it sends errors up to two columns
# aside, so its lag is five.
TAPS = [(1, 0), (2, 0), (-2, 1), (-1, 1), (0, 1), (1, 1), (2, 1)]
LAG = 5
LANES, COLUMNS, STEP = 4, 24, 20
PIXEL_LANE = 2  # whose sources are shown

CELL, LEFT, TOP = 30, 100, 66
WIDTH, HEIGHT = LEFT + COLUMNS * CELL + 20, TOP + LANES * CELL + 100
DONE, NOW, LATER, SOURCE = "#d8d8d8", "#1a5fb4", "#ffffff", "#e66100"


def text(x: float, y: float, words: str, more: str = "") -> str:
    return f'<text x="{x:g}" y="{y:g}" {more}>{words}</text>'


def box(x: float, y: float, fill: str, stroke: str = "#888888", width: float = 1) -> str:
    return (f'<rect x="{x:g}" y="{y:g}" width="{CELL}" height="{CELL}" fill="{fill}" '
            f'stroke="{stroke}" stroke-width="{width:g}"/>')


def cell(column: int, row: int) -> list[str]:
    x, y, step = LEFT + column * CELL, TOP + row * CELL, column + LAG * row
    fill = DONE if step < STEP else NOW if step == STEP else LATER
    ink = "#ffffff" if step == STEP else "#333333" if step < STEP else "#aaaaaa"
    return [box(x, y, fill),
            text(x + CELL / 2, y + 20, str(step), f'text-anchor="middle" fill="{ink}"')]


def source_frame(column: int, row: int) -> str:
    inset = 2.5
    return (f'<rect x="{LEFT + column * CELL + inset:g}" y="{TOP + row * CELL + inset:g}" '
            f'width="{CELL - 2 * inset:g}" height="{CELL - 2 * inset:g}" fill="none" '
            f'stroke="{SOURCE}" stroke-width="3"/>')


def legend() -> list[str]:
    y = TOP + LANES * CELL + 22
    entries = [(DONE, "done in an earlier step"), (NOW, f"step {STEP}: one vector, four rows"),
               (LATER, "later")]
    parts = []
    for (fill, words), x in zip(entries, (LEFT, LEFT + 230, LEFT + 500)):
        parts += [box(x, y, fill), text(x + CELL + 10, y + 20, words)]
    parts += [f'<rect x="{LEFT + 2.5}" y="{y + 38.5}" width="{CELL - 5}" height="{CELL - 5}" '
              f'fill="none" stroke="{SOURCE}" stroke-width="3"/>',
              text(LEFT + CELL + 10, y + 56,
                   f"pixels whose errors reach the blue one of row {PIXEL_LANE} (Burkes): "
                   f"all done by step {STEP - 1}")]
    return parts


def drawing() -> list[str]:
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
             f'viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" font-size="14">',
             "<!-- SPDX-License-Identifier: Apache-2.0; drawn by draw_wavefront.py -->",
             f"<title>Wavefront: each lane lags the row above by {LAG} columns</title>",
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>',
             text(LEFT, 24, f"The number in a pixel is the step that computes it: "
                            f"column + {LAG} x row.", 'font-size="16"')]
    for column in range(0, COLUMNS, 5):
        parts.append(text(LEFT + (column + 0.5) * CELL, TOP - 10, f"{column}",
                          'text-anchor="middle" fill="#666666"'))
    parts.append(text(LEFT - 12, TOP - 10, "column", 'text-anchor="end" fill="#666666"'))
    for row in range(LANES):
        parts.append(text(LEFT - 12, TOP + row * CELL + 20, f"row {row}", 'text-anchor="end"'))
        for column in range(COLUMNS):
            parts += cell(column, row)
    pixel = STEP - LAG * PIXEL_LANE
    parts += [source_frame(pixel - dx, PIXEL_LANE - dy) for dx, dy in TAPS]
    return [*parts, *legend(), "</svg>"]


if __name__ == "__main__":
    print("\n".join(drawing()))
