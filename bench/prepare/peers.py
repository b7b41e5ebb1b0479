# SPDX-License-Identifier: Apache-2.0
"""Other ways to make ink and paper of a photo: scikit-image and ImageMagick.

Each yields (name, setting, ink); the first setting of a name is its default.
"""
import subprocess

import numpy as np
from PIL import Image
from skimage import filters

WINDOWS = (15, 45, 91)  # pixels; 1.3, 3.8 and 7.7 mm
FACTORS = {"Niblack": (0.2, 0.5, 0.8, 1.1), "Sauvola": (0.2, 0.1, 0.35, 0.5, 0.7)}
LAT = ("25x25+10%", "25x25+5%", "61x61+10%")
GRID = ("windows " + ", ".join(map(str, WINDOWS)) + " pixels; k of Niblack "
        + ", ".join(map(str, FACTORS["Niblack"])) + ", of Sauvola "
        + ", ".join(map(str, FACTORS["Sauvola"])) + "; -lat " + ", ".join(LAT))


def scikit(photo):
    yield "Otsu", "", photo <= filters.threshold_otsu(photo)
    yield "Niblack", "defaults", photo <= filters.threshold_niblack(photo)
    yield "Sauvola", "defaults", photo <= filters.threshold_sauvola(photo)
    for window in WINDOWS:
        # T = mean - k s, so these two tell the mean and the deviation of every window;
        # Sauvola's threshold is mean (1 + k (s / 127.5 - 1)) for 8 bits.
        mean = filters.threshold_niblack(photo, window, 0)
        spread = mean - filters.threshold_niblack(photo, window, 1)
        for k in FACTORS["Niblack"]:
            yield "Niblack", f"{window}, {k}", photo <= mean - k * spread
        for k in FACTORS["Sauvola"]:
            yield "Sauvola", f"{window}, {k}", photo <= mean * (1 + k * (spread / 127.5 - 1))


def image_magick(photo_file, work):
    out = work / "lat.pgm"
    for setting in LAT:
        subprocess.run(["convert", photo_file, "-negate", "-lat", setting, "-negate", "-depth", "8",
                        out], check=True)
        yield "ImageMagick -lat", setting, np.asarray(Image.open(out).convert("L")) < 128


def self_check():
    """The thresholds above are those of scikit-image."""
    photo = np.random.default_rng(1).integers(0, 256, (80, 90)).astype(np.uint8)
    for name, setting, ink in scikit(photo):
        if name in ("Niblack", "Sauvola") and setting != "defaults":
            window, k = setting.split(", ")
            threshold = getattr(filters, f"threshold_{name.lower()}")(photo, int(window), float(k))
            different = (ink != (photo <= threshold)).mean()
            assert different < 0.0002, (name, setting, different)
