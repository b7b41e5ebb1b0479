# SPDX-License-Identifier: Apache-2.0
"""The figures of document binarization. Ink is True.

F-measure and PSNR as in B. Gatos and others, "ICDAR 2009 document image binarization
contest"; pseudo F-measure as in K. Ntirogiannis, B. Gatos, I. Pratikakis, "An objective
evaluation methodology for document image binarization techniques" (2008): recall of the
truth's skeleton, plain precision; DRD as in H. Lu, A. C. Kot, Y. Q. Shi,
"Distance-reciprocal distortion measure for binary document images" (2004).
"""
import math

import numpy as np
from scipy import ndimage
from skimage.morphology import skeletonize


def drd_weights():
    """5 x 5 reciprocals of the distance to the middle, 0 there, their sum 1."""
    ys, xs = np.mgrid[-2:3, -2:3]
    distance = np.hypot(xs, ys)
    distance[2, 2] = np.inf
    weights = 1 / distance
    return weights / weights.sum()


def mixed_blocks(truth, size=8):
    """Blocks of 8 x 8 that are neither all ink nor all paper."""
    height, width = (side // size * size for side in truth.shape)
    blocks = truth[:height, :width].reshape(height // size, size, width // size, size)
    ink = blocks.sum(axis=(1, 3))
    return int(((ink > 0) & (ink < size * size)).sum())


class Truth:
    """A drawing's ink. What `ignored` covers counts as paper, in results too."""

    def __init__(self, ink, ignored):
        self.counted = ~ignored
        self.ink = ink & self.counted
        self.skeleton = skeletonize(self.ink)
        self.mixed = mixed_blocks(self.ink)
        self.near = ndimage.convolve(self.ink.astype(np.float64), drd_weights(), mode="constant")
        self.inside = ndimage.convolve(np.ones(ink.shape), drd_weights(), mode="constant")

    def f_measure(self, result):
        return self.figures(result)["F"]

    def figures(self, result):
        ink = result & self.counted
        hits = int((ink & self.ink).sum())
        precision = hits / max(1, int(ink.sum()))
        recall = hits / max(1, int(self.ink.sum()))
        pseudo = int((ink & self.skeleton).sum()) / max(1, int(self.skeleton.sum()))
        wrong = ink ^ self.ink
        error = int(wrong.sum()) / int(self.counted.sum())
        # A wrong pixel of ink is as visible as the paper around it in the truth.
        distortion = np.where(ink, self.inside - self.near, self.near)[wrong].sum()
        return {"F": harmonic(precision, recall), "pF": harmonic(precision, pseudo),
                "PSNR": -10 * math.log10(max(error, 1e-9)),
                "DRD": float(distortion) / max(1, self.mixed)}


def harmonic(a, b):
    return 2 * a * b / (a + b) if a + b > 0 else 0.0


def self_check():
    """The figures of small pictures worked by hand."""
    ink = np.zeros((16, 16), bool)
    ink[4:7, 2:14] = True  # a bar of 3 x 12
    truth = Truth(ink, np.zeros_like(ink))
    exact = truth.figures(ink)
    assert exact["F"] == exact["pF"] == 1 and exact["DRD"] == 0, exact
    assert truth.mixed == 2, truth.mixed
    assert math.isclose(drd_weights().sum(), 1) and drd_weights()[2, 2] == 0
    half = ink.copy()
    half[:, 8:] = False
    got = truth.figures(half)  # precision 1, recall 1/2
    assert math.isclose(got["F"], 2 / 3) and math.isclose(got["PSNR"], 10 * math.log10(256 / 18)), got
    speck = ink.copy()
    speck[12, 8] = True  # alone on paper: all 24 neighbours differ
    assert math.isclose(truth.figures(speck)["DRD"], 1 / 2), truth.figures(speck)
    thin = ink.copy()
    thin[4], thin[6] = False, False  # the skeleton is still there
    got = truth.figures(thin)
    assert got["pF"] > 0.95 and math.isclose(got["F"], 2 * (1 / 3) / (4 / 3)), got
    ignored = np.zeros_like(ink)
    ignored[12] = True
    assert Truth(ink, ignored).figures(speck)["F"] == 1
