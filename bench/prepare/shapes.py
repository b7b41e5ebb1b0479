# SPDX-License-Identifier: Apache-2.0
"""Coloured shapes whose edges are known, and what is measured of their outlines."""
import io
import math

import numpy as np
from PIL import Image, ImageDraw
from scipy import ndimage
from skimage.morphology import skeletonize

from drawings import dots, ring

SIDE = 708  # 60 mm
MIDDLE = SIDE / 2
FAR_MM = 0.6  # from an edge: ink beyond lies away from it

WHITE, CREAM, SKY = (255, 255, 255), (250, 240, 215), (150, 190, 230)
# Pairs of about the same lightness, 0.299 R + 0.587 G + 0.114 B.
SAME = (((200, 90, 90), (70, 150, 105)), ((90, 120, 220), (165, 115, 60)),
        ((180, 100, 200), (105, 155, 80)))


def star(points, inner):
    return [(MIDDLE + r * math.cos(a), MIDDLE + r * math.sin(a))
            for i in range(2 * points)
            for r, a in [(260 * (inner if i % 2 else 1), math.pi * i / points)]]


def heart():
    return [(MIDDLE + 15 * 16 * math.sin(t) ** 3,
             MIDDLE - 15 * (13 * math.cos(t) - 5 * math.cos(2 * t) - 2 * math.cos(3 * t)
                            - math.cos(4 * t)))
            for t in np.linspace(0, 2 * math.pi, 300, endpoint=False)]


def crescent():
    outer = [(MIDDLE + 250 * math.cos(t), MIDDLE + 250 * math.sin(t))
             for t in np.linspace(0.6, 2 * math.pi - 0.6, 200)]
    inner = [(MIDDLE + 110 + 180 * math.cos(t), MIDDLE + 180 * math.sin(t))
             for t in np.linspace(2 * math.pi - 0.9, 0.9, 200)]
    return outer + inner


FORMS = (ring(MIDDLE, MIDDLE, 220), ring(MIDDLE, MIDDLE, 200, 0.25, 5), star(5, 0.45), heart(),
         crescent(), ring(MIDDLE, MIDDLE, 210, 0.12, 9), star(8, 0.7),
         [(120, 150), (590, 200), (540, 600), (160, 520)])

# Form, colours across the shape, colour of the ground, black outline in mm, colour of an
# inner shape.
SHAPES = (
    (0, ((200, 40, 40), (200, 40, 40)), WHITE, 0, None),
    (1, ((240, 200, 40), (240, 200, 40)), WHITE, 0, None),
    (2, ((40, 90, 180), (40, 90, 180)), CREAM, 0, None),
    (3, ((210, 60, 90), (250, 150, 170)), WHITE, 0, None),
    (4, ((60, 60, 60), (200, 200, 200)), WHITE, 0, None),
    (5, ((90, 160, 70), (200, 230, 120)), CREAM, 0, None),
    (6, (SAME[0][0],) * 2, SAME[0][1], 0, None),
    (7, (SAME[1][0],) * 2, SAME[1][1], 0, None),
    (3, (SAME[2][0],) * 2, SAME[2][1], 0, None),
    (0, ((230, 120, 40), (120, 40, 20)), SKY, 0, None),
    (1, ((190, 60, 60), (190, 60, 60)), WHITE, 0, (245, 220, 90)),
    (5, ((70, 110, 190), (120, 170, 230)), CREAM, 0, (230, 80, 80)),
    (0, (SAME[0][0],) * 2, WHITE, 0, SAME[0][1]),
    (3, ((220, 50, 60), (220, 50, 60)), WHITE, 0.5, None),
    (1, ((250, 210, 60), (230, 150, 40)), WHITE, 0.6, (240, 120, 140)),
    (2, ((90, 170, 110), (60, 120, 80)), SKY, 0.4, None),
    (6, ((235, 235, 225), (200, 200, 190)), WHITE, 0, None),
    (7, ((150, 110, 80), (220, 190, 160)), (90, 140, 120), 0, None),
    (4, ((110, 70, 160), (190, 150, 220)), CREAM, 0, None),
    (2, ((20, 20, 20), (20, 20, 20)), WHITE, 0, (220, 40, 40)),
)


def mask_of(points):
    fine = Image.new("L", (4 * SIDE, 4 * SIDE), 0)
    ImageDraw.Draw(fine).polygon([(4 * x, 4 * y) for x, y in points], fill=255)
    return np.asarray(fine.reduce(4), np.float64)[..., None] / 255


def make_shape(number):
    """The picture (RGB) and its areas: 0 ground, 1 shape, 2 inner shape."""
    form, (first, last), ground, outline, inner = SHAPES[number]
    shape = mask_of(FORMS[form])
    share = (np.arange(SIDE) / (SIDE - 1))[:, None, None]
    fill = np.array(first) * (1 - share) + np.array(last) * share
    picture = np.array(ground, np.float64) * (1 - shape) + fill * shape
    areas = (shape[..., 0] > 0.5).astype(int)
    if inner:
        spot = mask_of(ring(MIDDLE, MIDDLE, 80, 0.2, 4))
        picture = picture * (1 - spot) + np.array(inner) * spot
        areas[spot[..., 0] > 0.5] = 2
    if outline:
        away = np.minimum(ndimage.distance_transform_edt(areas > 0),
                          SIDE) + ndimage.distance_transform_edt(areas == 0)
        line = np.clip(dots(outline) / 2 - away + 1, 0, 1)[..., None]
        picture = picture * (1 - line)
    return picture, areas


def photograph(picture, number):
    """Every second shape comes out of a JPEG with noise and blur."""
    if number % 2:
        rng = np.random.default_rng(number)
        picture = ndimage.gaussian_filter(picture, (0.8, 0.8, 0))
        picture = picture + rng.normal(size=picture.shape) * 4
    colour = Image.fromarray(np.clip(np.rint(picture), 0, 255).astype(np.uint8))
    if number % 2:
        file = io.BytesIO()
        colour.save(file, "JPEG", quality=80)
        colour = Image.open(file).convert("RGB")
    return np.asarray(colour)


def outline_figures(lines, areas):
    """Whether each area is closed, the share of ink away from edges, the lines' width in mm."""
    ink = lines < 128
    edge = np.zeros_like(ink)
    for axis in (0, 1):
        step = np.diff(areas, axis=axis) != 0
        edge |= np.pad(step, [(0, int(axis == 0)), (0, int(axis == 1))])
    away = ndimage.distance_transform_edt(~edge)
    # What hangs together by sides: a line of pixels that touch by corners holds it.
    paper, _ = ndimage.label(~ink)
    far = away > dots(FAR_MM)
    closed = True
    for area in range(areas.max() + 1):
        inside = set(np.unique(paper[(areas == area) & far])) - {0}
        outside = set(np.unique(paper[(areas != area) & far]))
        closed = closed and bool(inside) and not inside & outside
    core = skeletonize(ink)
    width = 2 * ndimage.distance_transform_edt(ink)[core] - 1
    return {"closed": closed, "away": float((ink & far).sum()) / max(1, int(ink.sum())),
            "width": [float(w) * 25.4 / 300 for w in np.percentile(width, (5, 50, 95))]}
