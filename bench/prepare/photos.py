# SPDX-License-Identifier: Apache-2.0
"""Photos of drawings: uneven light, shadows, tints, blur, noise and JPEG."""
import dataclasses
import io
import math

import numpy as np
from PIL import Image
from scipy import ndimage

import drawings

TINTS = ((255, 255, 255), (255, 248, 232), (250, 232, 200), (236, 242, 250), (228, 216, 196))


@dataclasses.dataclass
class Damage:
    darkest: float  # the light's least share of its most
    light: str
    shadow: float  # share of the light that a shadow leaves, 1 for no shadow
    penumbra: float  # mm
    tint: tuple
    noise: float  # standard deviation, levels
    grain: bool  # noise in clumps of some pixels
    blur: float  # standard deviation, pixels
    quality: int  # JPEG


def random_damage(rng, number):
    return Damage(
        darkest=0.35 if number % 2 == 0 else float(rng.uniform(0.35, 0.8)),
        light=("ramp", "lamp", "vignette")[int(rng.integers(3))],
        shadow=float(rng.uniform(0.55, 0.85)) if number % 4 < 2 else 1.0,
        penumbra=float(rng.uniform(0.6, 4)),
        tint=TINTS[int(rng.integers(len(TINTS)))],
        noise=float(rng.uniform(4, 10)),
        grain=bool(rng.integers(3) == 0),
        blur=float(rng.uniform(0.3, 1.5)),
        quality=int(rng.integers(60, 91)))


def light_of(damage, rng):
    """Share of the full light for each pixel, 1 where it is lightest."""
    ys, xs = np.mgrid[0:drawings.HEIGHT, 0:drawings.WIDTH].astype(np.float64)
    xs = xs / drawings.WIDTH - 0.5
    ys = ys / drawings.HEIGHT - 0.5
    angle = rng.uniform(0, 2 * math.pi)
    if damage.light == "ramp":
        fall = xs * math.cos(angle) + ys * math.sin(angle)
    elif damage.light == "lamp":
        cx, cy = 0.6 * math.cos(angle), 0.6 * math.sin(angle)
        fall = -1 / (0.6 + (xs - cx) ** 2 + (ys - cy) ** 2)
    else:
        fall = (xs - 0.1 * math.cos(angle)) ** 2 + (ys - 0.1 * math.sin(angle)) ** 2
    fall = (fall - fall.min()) / np.ptp(fall)
    light = 1 - (1 - damage.darkest) * fall
    if damage.shadow < 1:
        light *= shadow_of(damage, rng, xs, ys)
    return light


def shadow_of(damage, rng, xs, ys):
    """A straight or bent edge across the page, dark on one side."""
    angle = rng.uniform(0, 2 * math.pi)
    along = xs * -math.sin(angle) + ys * math.cos(angle)
    across = xs * math.cos(angle) + ys * math.sin(angle) + rng.uniform(-0.25, 0.25)
    across = across + rng.uniform(0, 0.15) * np.sin(4 * along + rng.uniform(0, 6))
    sharp = np.where(across > 0, damage.shadow, 1.0)
    return ndimage.gaussian_filter(sharp, drawings.dots(damage.penumbra))


def take_photo(grey, damage, rng):
    """The grey levels of the photo, after JPEG in colour."""
    black = rng.uniform(0.05, 0.14)  # what the darkest ink still reflects
    lightest = rng.uniform(215, 245)
    scene = (black + (1 - black) * grey / 255.0) * light_of(damage, rng) * lightest
    scene = ndimage.gaussian_filter(scene, damage.blur)
    noise = rng.normal(size=scene.shape)
    if damage.grain:
        noise = ndimage.gaussian_filter(noise, 0.8)
        noise /= noise.std()
    scene = scene + damage.noise * noise
    colour = np.stack([scene * part / 255.0 for part in damage.tint], axis=-1)
    picture = Image.fromarray(np.clip(np.rint(colour), 0, 255).astype(np.uint8))
    file = io.BytesIO()
    picture.save(file, "JPEG", quality=damage.quality)
    return np.asarray(Image.open(file).convert("L"))


def make_photos(drawing, each, seed):
    """`each` photos of a drawing with their damage."""
    for i in range(each):
        rng = np.random.default_rng([seed, i])
        damage = random_damage(rng, i)
        yield damage, take_photo(drawing.grey, damage, rng)
