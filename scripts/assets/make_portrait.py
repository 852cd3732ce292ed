#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Paints the sample portrait: make_portrait.py OUTPUT.png [WIDTH HEIGHT] [--cut-out]

Nobody in particular: a face modelled as a height field, lit from the upper left, with what a retouch is about: pores,
blemishes, freckles, shine, shadows under the eyes and an uneven tone. The same arguments give the same pixels. Needs
python3-numpy. With --cut-out there is no room behind her but alpha.

Coordinates: u to the right and v down, the origin in the middle of the picture, v from -1 to 1.
"""
import struct
import sys
import zlib

import numpy as np

OVERSAMPLING = 2
LIGHT = np.array([-0.50, -0.52, 0.70])
LIGHT = LIGHT / np.linalg.norm(LIGHT)


# --- Tools ------------------------------------------------------------------------------------------------------------


def smoothstep(low, high, x):
    t = np.clip((x - low) / (high - low), 0.0, 1.0)
    return t * t * (3.0 - 2.0 * t)


def gauss(u, v, u0, v0, su, sv):
    return np.exp(-0.5 * (((u - u0) / su) ** 2 + ((v - v0) / sv) ** 2))


def hashed(x, y, seed):
    """A number in 0..1 for each pair of whole numbers; no generator whose sequence a library might change."""
    h = (x.astype(np.uint64) * np.uint64(0x9E3779B97F4A7C15)) ^ (y.astype(np.uint64) * np.uint64(0xC2B2AE3D27D4EB4F))
    h ^= np.uint64(seed * 0x165667B19E3779F9 & 0xFFFFFFFFFFFFFFFF)
    h ^= h >> np.uint64(29)
    h *= np.uint64(0xBF58476D1CE4E5B9)
    h ^= h >> np.uint64(32)
    return (h & np.uint64(0xFFFFFF)).astype(np.float64) / float(0xFFFFFF)


def noise(x, y, seed):
    """Value noise, -1..1, one cell per unit."""
    with np.errstate(over="ignore"):
        x = x + 4096.0
        y = y + 4096.0
        xi, yi = np.floor(x), np.floor(y)
        fx, fy = x - xi, y - yi
        fx = fx * fx * (3 - 2 * fx)
        fy = fy * fy * (3 - 2 * fy)
        a, b = hashed(xi, yi, seed), hashed(xi + 1, yi, seed)
        c, d = hashed(xi, yi + 1, seed), hashed(xi + 1, yi + 1, seed)
    return 2.0 * ((a * (1 - fx) + b * fx) * (1 - fy) + (c * (1 - fx) + d * fx) * fy) - 1.0


def fractal(x, y, seed, octaves=4):
    total, amplitude, norm = 0.0, 1.0, 0.0
    for octave in range(octaves):
        total = total + amplitude * noise(x * 2**octave, y * 2**octave, seed + octave)
        norm += amplitude
        amplitude *= 0.5
    return total / norm


def random_points(count, seed):
    """`count` pairs in 0..1, and a third number for whatever else varies."""
    index = np.arange(count)
    with np.errstate(over="ignore"):
        return (hashed(index, index * 0 + k, seed) for k in (1, 2, 3))


def linear(*srgb):
    return (np.array(srgb, dtype=np.float64) / 255.0) ** 2.2


class Canvas:
    """Linear light, painted back to front."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        y, x = np.mgrid[0:height, 0:width].astype(np.float64)
        self.u = (x + 0.5 - width / 2) / (height / 2)
        self.v = (y + 0.5 - height / 2) / (height / 2)
        self.pixel = 2.0 / height
        self.image = np.zeros((height, width, 3))
        self.cover = np.zeros((height, width))

    def edge(self, field, softness=1.5):
        """1 where `field` is negative; the edge is `softness` pixels wide whatever the field's slope."""
        dv, du = np.gradient(field, self.pixel)
        distance = field / np.maximum(np.hypot(du, dv), 1e-6)
        return np.clip(0.5 - distance / (softness * self.pixel), 0.0, 1.0)

    def paint(self, color, alpha):
        self.image += (color - self.image) * alpha[..., None]
        self.cover += (1.0 - self.cover) * alpha

    def tint(self, factor, alpha):
        """Multiplies by a color: how a pigment or a shadow lies on what is below."""
        self.image *= 1.0 + (np.asarray(factor) - 1.0) * alpha[..., None]

    def stroke(self, points, width, color, alpha):
        """A hair: a quadratic curve through three points, thinning to its end."""
        p = np.asarray(points, dtype=np.float64)
        margin = 2 * width + 2 * self.pixel
        x0, x1 = (
            (p[:, 0].min() - margin) / self.pixel + self.width / 2,
            (p[:, 0].max() + margin) / self.pixel + self.width / 2,
        )
        y0, y1 = (
            (p[:, 1].min() - margin) / self.pixel + self.height / 2,
            (p[:, 1].max() + margin) / self.pixel + self.height / 2,
        )
        x0, x1 = max(0, int(x0)), min(self.width, int(x1) + 2)
        y0, y1 = max(0, int(y0)), min(self.height, int(y1) + 2)
        if x0 >= x1 or y0 >= y1:
            return
        u, v = self.u[y0:y1, x0:x1], self.v[y0:y1, x0:x1]
        best = np.full(u.shape, 1e9)
        steps = 14
        for i in range(steps):
            t = np.array([i, i + 1]) / steps
            curve = ((1 - t) ** 2)[:, None] * p[0] + (2 * t * (1 - t))[:, None] * p[1] + (t**2)[:, None] * p[2]
            a, b = curve
            along = np.clip(
                ((u - a[0]) * (b[0] - a[0]) + (v - a[1]) * (b[1] - a[1])) / max(np.sum((b - a) ** 2), 1e-12), 0, 1
            )
            distance = np.hypot(u - a[0] - along * (b[0] - a[0]), v - a[1] - along * (b[1] - a[1]))
            here = t[0] + along / steps
            best = np.minimum(best, distance - width * (1.0 - 0.8 * here))
        cover = np.clip(0.5 - best / (1.5 * self.pixel), 0, 1) * alpha
        part = self.image[y0:y1, x0:x1]
        part += (color - part) * cover[..., None]
        below = self.cover[y0:y1, x0:x1]
        below += (1.0 - below) * cover


# --- The room ---------------------------------------------------------------------------------------------------------


def paint_room(c):
    wall = (
        linear(96, 112, 118)
        + (linear(168, 160, 146) - linear(96, 112, 118)) * smoothstep(1.4, -1.6, c.u + 0.5 * c.v)[..., None]
    )
    c.image[:] = wall
    # Lamps far out of focus.
    for x, y, s in zip(*random_points(22, 11)):
        u0, v0, radius = -1.8 + 3.6 * x, -0.95 + 1.3 * y, 0.05 + 0.10 * s
        disc = smoothstep(radius * 1.25, radius * 0.80, np.hypot(c.u - u0, c.v - v0))
        rim = 0.7 + 0.5 * smoothstep(radius * 0.6, radius, np.hypot(c.u - u0, c.v - v0))
        c.image += (linear(255, 214, 160) * (0.05 + 0.09 * s))[None, None] * (disc * rim)[..., None]
    # A window frame, blurred by distance.
    c.tint([0.55, 0.58, 0.62], 0.7 * smoothstep(0.05, 0.0, np.abs(c.u - 1.18) - 0.02))
    c.tint([0.55, 0.58, 0.62], 0.6 * smoothstep(0.05, 0.0, np.abs(c.v + 0.35) - 0.015) * smoothstep(1.1, 1.25, c.u))


# --- Hair -------------------------------------------------------------------------------------------------------------

HAIR_DARK, HAIR_MID, HAIR_LIGHT = linear(34, 21, 15), linear(84, 52, 34), linear(166, 112, 70)


def hair_color(c, across, along, seed):
    strand = fractal(across * 26, along * 1.1, seed, 4)
    fine = noise(across * 190, along * 2.0, seed + 9)
    tone = np.clip(0.42 + 0.34 * strand + 0.16 * fine, 0, 1)
    color = HAIR_DARK + (HAIR_MID - HAIR_DARK) * tone[..., None]
    gloss = np.clip(strand * 0.5 + fine * 0.4 + 0.35, 0, 1)
    return color, gloss


def paint_back_hair(c):
    wave = 0.025 * np.sin(c.v * 7.0 + np.sign(c.u) * 0.8) + 0.01 * np.sin(c.v * 17)
    crown = ((c.u - 0.0) / 0.47) ** 2 + ((c.v + 0.16) / 0.60) ** 2 - 1
    falls = np.maximum(
        np.abs(c.u + wave) - (0.45 + 0.10 * smoothstep(-0.2, 0.6, c.v)), np.maximum(-0.25 - c.v, c.v - 0.80)
    )
    shape = np.minimum(crown, falls * 2)
    color, gloss = hair_color(c, c.u + 0.8 * wave, c.v, 21)
    light = 0.55 + 0.5 * smoothstep(0.6, -0.7, c.u) * smoothstep(0.9, -0.4, c.v)
    color = color * light[..., None] + HAIR_LIGHT * (0.16 * gloss * light * smoothstep(-0.5, 0.1, c.v))[..., None]
    c.paint(color, c.edge(shape, 3.0))
    # Loose ends against the room.
    for x, y, s in zip(*random_points(90, 23)):
        side = -1.0 if x < 0.5 else 1.0
        v0 = -0.5 + 1.15 * y
        u0 = side * (0.43 + 0.10 * smoothstep(-0.2, 0.6, v0) - 0.02)
        c.stroke(
            [(u0, v0), (u0 + side * 0.03 * s, v0 + 0.08), (u0 + side * (0.06 * s - 0.01), v0 + 0.16)],
            0.0012,
            HAIR_MID * 0.7,
            0.75,
        )


def paint_front_hair(c):
    """Parted a little to her left; falls past the temples to both sides."""
    part_u, part_v = 0.07, -0.665
    # The opening in which the face shows: its upper edge is the hair line, higher at the part.
    center = 0.5 * (c.u - part_u) / 0.4
    opening = (
        ((c.u - 0.005) / (0.300 + 0.028 * smoothstep(-0.1, 0.35, c.v))) ** 2
        + ((c.v - 0.03) / (0.555 - 0.05 * np.abs(center))) ** 2
        - 1
    )
    # Outer edge of the hair on the head, then down to the jaw.
    cap = (c.u / 0.472) ** 2 + ((c.v + 0.155) / 0.602) ** 2 - 1
    curtain = np.maximum(np.abs(c.u) - 0.44, np.maximum(-0.15 - c.v, c.v - 0.60))
    shape = np.maximum(np.minimum(cap, curtain * 2), -opening)
    du, dv = c.u - part_u, c.v - part_v
    radius = np.hypot(du, dv)
    angle = np.arctan2(du, np.maximum(dv, -0.2) + 0.10)
    down = smoothstep(-0.25, 0.25, c.v)
    across = angle * 0.62 * (1 - down) + (c.u + 0.02 * np.sin(c.v * 8)) * down
    color, gloss = hair_color(c, across, radius, 31)
    band = np.exp(-(((radius - 0.26 - 0.05 * np.abs(angle)) / 0.075) ** 2))
    light = (0.60 + 0.50 * smoothstep(0.5, -0.5, c.u)) * (1 - 0.25 * smoothstep(-0.1, 0.5, c.v))
    color = color * light[..., None] + HAIR_LIGHT * ((0.62 * band * gloss + 0.05) * light)[..., None]
    # The hair shades the skin next to it.
    c.tint(
        [0.62, 0.50, 0.46], 0.75 * np.clip(1.0 - opening / -0.20, 0, 1) * (opening < 0) * smoothstep(0.62, 0.30, c.v)
    )
    c.paint(color, c.edge(shape, 4.0) * smoothstep(0.58, 0.22, c.v + 0.04 * np.sin(c.u * 31)))
    c.paint(
        HAIR_DARK * 0.9,
        0.5 * np.exp(-(((du - 0.10 * (dv**2)) / 0.006) ** 2)) * smoothstep(0.17, 0.02, dv) * (cap < 0),
    )
    # Single hairs over the edge of the skin.
    for x, y, s in zip(*random_points(150, 37)):
        side = -1.0 if x < 0.5 else 1.0
        v0 = -0.44 + 0.50 * y
        u0 = side * 0.300 * np.sqrt(max(0.2, 1 - ((v0 - 0.03) / 0.545) ** 2)) + side * 0.03
        c.stroke(
            [(u0, v0), (u0 - side * 0.02 * s, v0 + 0.05), (u0 - side * (0.012 * s - 0.01), v0 + 0.12)],
            0.0013,
            HAIR_DARK,
            0.8,
        )
    for x, y, s in zip(*random_points(120, 41)):
        u0 = part_u + (x - 0.5) * 0.06
        tip = -0.30 if x < 0.5 else 0.29
        c.stroke(
            [(u0, -0.52 + 0.03 * s), (tip * 0.5 + part_u, -0.53 + 0.06 * y), (tip, -0.35 + 0.12 * y)],
            0.0014,
            HAIR_MID * (0.5 + 0.6 * s),
            0.7,
        )


# --- Neck and cloth ---------------------------------------------------------------------------------------------------


def skin_light(normal_u, normal_v, normal_z):
    """Light on skin: red travels furthest inside it, so shadows begin later and warmer there."""
    facing = normal_u * LIGHT[0] + normal_v * LIGHT[1] + normal_z * LIGHT[2]
    wrap = np.array([0.42, 0.26, 0.20])
    return 0.20 + 0.98 * np.clip((facing[..., None] + wrap) / (1 + wrap), 0, None) ** 1.25


def normals(c, height):
    dv, du = np.gradient(height, c.pixel)
    length = np.sqrt(du * du + dv * dv + 1)
    return -du / length, -dv / length, 1 / length


SKIN = linear(226, 173, 146)


def paint_neck(c):
    half = 0.165 + 0.10 * smoothstep(0.52, 0.95, c.v) + 0.02 * smoothstep(0.45, 0.2, c.v)
    height = 0.16 * np.sqrt(np.clip(1 - (c.u / half) ** 2, 0, 1))
    height = (
        height
        + 0.012 * gauss(c.u, c.v, -0.09 + 0.18 * (c.v - 0.45), 0.62, 0.02, 0.2)
        + 0.012 * gauss(c.u, c.v, 0.09 - 0.18 * (c.v - 0.45), 0.62, 0.02, 0.2)
    )
    height = height - 0.010 * gauss(c.u, c.v, 0, 0.80, 0.03, 0.03)
    color = SKIN * 0.93 * skin_light(*normals(c, height))
    inside = c.edge(np.maximum(np.abs(c.u) - half, 0.2 - c.v))
    c.paint(color, inside)
    # The head's shadow.
    c.tint([0.50, 0.36, 0.31], smoothstep(0.72, 0.42, c.v - 0.12 * c.u) * inside)


def paint_cloth(c):
    shoulders = (np.abs(c.u) / 0.98) ** 2.4 + ((c.v - 1.30) / 0.62) ** 2 - 1
    neckline = (c.u / 0.255) ** 2 + ((c.v - 0.70) / 0.165) ** 2 - 1
    shape = np.maximum(shoulders, -neckline)
    fold = fractal(c.u * 3.2 + 0.6 * c.v, c.v * 1.6, 51, 3)
    height = 0.30 * np.sqrt(np.clip(-shoulders, 0, 1)) + 0.018 * fold
    n = normals(c, height)
    facing = np.clip(n[0] * LIGHT[0] + n[1] * LIGHT[1] + n[2] * LIGHT[2], 0, None)
    # Knitted: rows of small slanted loops.
    bend = c.v + 0.16 * c.u * c.u
    row = bend * 62
    loop = np.sin((c.u * 96 + np.abs((row % 2.0) - 1.0) * 1.6) * 1.0) * 0.5 + np.sin(row * np.pi) * 0.5
    cloth = linear(38, 92, 98)
    c.paint(cloth * (0.30 + 0.95 * facing + 0.10 * loop * (0.4 + facing))[..., None], c.edge(shape))
    # A ribbed collar round the neck.
    collar = np.maximum(shape, (c.u / 0.315) ** 2 + ((c.v - 0.70) / 0.225) ** 2 - 1)
    rib = np.sin(np.arctan2(c.v - 0.68, c.u) * 80)
    c.paint(cloth * (0.34 + 0.80 * facing + 0.13 * rib)[..., None], c.edge(collar))
    c.tint(
        [0.45, 0.42, 0.40],
        0.8
        * np.exp(-np.clip(-neckline, 0, None) * 9)
        * (neckline < 0)
        * (np.abs(c.u) < 0.3)
        * smoothstep(0.6, 0.75, c.v),
    )
    # Hair and head shade the shoulders.
    c.tint(
        [0.60, 0.60, 0.62],
        0.8 * np.exp(-(((np.abs(c.u) - 0.42) / 0.14) ** 2)) * smoothstep(1.0, 0.70, c.v) * (shoulders < 0),
    )


# --- The face ---------------------------------------------------------------------------------------------------------

EYES = ((-0.152, -0.105), (0.152, -0.105))
MOUTH_V = 0.247


def face_field(c):
    """Negative inside the face: an egg, narrower to the chin."""
    s = c.v + 0.075
    return (np.abs(c.u) / (0.345 - 0.050 * smoothstep(0.0, 0.55, s))) ** 2.12 + np.abs(s / 0.545) ** 2.32 - 1


def face_height(c, field):
    u, v = c.u, c.v
    a = np.abs(u)
    h = 0.34 * np.sqrt(np.clip(-field, 0, 1) + 0.004)
    h += 0.020 * gauss(a, v, 0.20, 0.045, 0.070, 0.065)  # cheeks
    h -= 0.012 * gauss(a, v, 0.215, 0.215, 0.060, 0.090)
    h -= 0.030 * gauss(a, v, 0.150, -0.105, 0.085, 0.048)  # eye sockets
    h += 0.022 * gauss(a, v, 0.152, -0.108, 0.060, 0.036)  # lids over the eyeball
    h -= 0.008 * gauss(a, v, 0.140, -0.055, 0.060, 0.010)  # under the eye
    h += 0.012 * gauss(a, v, 0.150, -0.205, 0.095, 0.030)  # brow ridge
    h += 0.014 * gauss(u, v, 0, -0.36, 0.20, 0.12)  # forehead
    # Nose: a ridge that rises to the tip and falls off under it.
    rise = smoothstep(-0.22, 0.09, v) * (1 - smoothstep(0.085, 0.150, v))
    h += (
        (0.018 + 0.075 * rise)
        * np.exp(-0.5 * (u / (0.027 + 0.016 * rise)) ** 2)
        * smoothstep(-0.26, -0.12, v)
        * (1 - smoothstep(0.095, 0.150, v))
    )
    h += 0.030 * gauss(u, v, 0, 0.083, 0.034, 0.026)  # tip
    h += 0.030 * gauss(a, v, 0.058, 0.098, 0.022, 0.023)  # wings
    h -= 0.014 * gauss(a, v, 0.098, 0.105, 0.016, 0.030)
    h -= 0.010 * gauss(a - 0.100 - 0.30 * (v - 0.11), v, 0, 0.19, 0.012, 0.055)  # folds to the mouth
    h -= 0.006 * gauss(u, v, 0, 0.180, 0.012, 0.022)  # groove over the lip
    h += 0.013 * gauss(u, v, 0, 0.262, 0.085, 0.034)  # the lips' cushion
    h -= 0.014 * gauss(u, v, 0, 0.322, 0.055, 0.014)
    h += 0.026 * gauss(u, v, 0, 0.385, 0.060, 0.042)  # chin
    return h


def skin_relief(c):
    """Pores and fine lines, as height: what smoothing is to take away."""
    pores = np.minimum(0, noise(c.u * 118, c.v * 118, 61)) ** 3 * 0.0019
    grain = (noise(c.u * 170, c.v * 170, 62) + 0.9 * noise(c.u * 52, c.v * 52, 63)) * 0.00026
    lines = (
        -0.0007
        * np.exp(-((((c.v + 0.36 + 0.012 * np.sin(c.u * 11)) % 0.062 - 0.031) / 0.004) ** 2))
        * gauss(c.u, c.v, 0, -0.36, 0.15, 0.06)
    )
    return pores + grain + lines


def paint_skin_tone(c):
    """Pigment: everything that is uneven in color without being light or shadow."""
    u, v, a = c.u, c.v, np.abs(c.u)
    redness = (
        0.75 * gauss(a, v, 0.205, 0.075, 0.075, 0.060)
        + 0.60 * gauss(u, v, 0, 0.090, 0.045, 0.032)
        + 0.35 * gauss(u, v, 0, 0.39, 0.06, 0.035)
    )
    redness = redness * (1 + 0.5 * fractal(u * 9, v * 9, 71))
    c.tint([1.00, 0.80, 0.77], np.clip(redness, 0, 1))
    patches = fractal(u * 5 + 3, v * 5, 72)
    c.tint([0.93, 0.85, 0.80], 0.9 * smoothstep(0.05, 0.6, patches))
    c.tint([1.04, 1.03, 0.95], 0.9 * smoothstep(0.05, 0.6, -patches))
    c.tint([0.78, 0.68, 0.72], 0.62 * gauss(a, v, 0.140, -0.052, 0.058, 0.020))  # rings under the eyes
    c.tint([0.86, 0.74, 0.70], 0.55 * gauss(a, v, 0.155, -0.155, 0.070, 0.022))
    # Freckles over nose and cheeks.
    for x, y, s in zip(*random_points(170, 81)):
        u0, v0 = -0.27 + 0.54 * x, -0.03 + 0.15 * y
        if abs(u0) < 0.045 and v0 > 0.06:
            continue
        r = 0.0026 + 0.0036 * s
        c.tint([0.70, 0.52, 0.42], (0.20 + 0.40 * s) * gauss(u, v, u0, v0, r, r * 0.9))
    # Blemishes: a red halo, a darker middle.
    spots = (
        (-0.235, 0.165, 0.011),
        (-0.185, 0.205, 0.008),
        (0.225, 0.125, 0.012),
        (0.120, 0.345, 0.010),
        (-0.085, 0.375, 0.009),
        (0.055, -0.330, 0.010),
        (-0.130, -0.300, 0.008),
        (0.180, -0.275, 0.007),
        (-0.255, 0.045, 0.008),
        (0.195, 0.210, 0.008),
        (-0.020, -0.235, 0.007),
        (0.250, 0.020, 0.006),
    )
    for u0, v0, r in spots:
        c.tint([0.98, 0.66, 0.62], 0.85 * gauss(u, v, u0, v0, r * 1.25, r * 1.15))
        c.tint([0.86, 0.52, 0.50], 0.80 * gauss(u, v, u0 + 0.002, v0, r * 0.45, r * 0.42))
    c.tint([0.28, 0.18, 0.15], 0.9 * smoothstep(0.0085, 0.0055, np.hypot(u - 0.168, v - 0.180)))  # a mole


def paint_face(c):
    field = face_field(c)
    height = face_height(c, field)
    inside = c.edge(field)
    # Ears, mostly under the hair.
    light = skin_light(*normals(c, height))
    relief = normals(c, height + skin_relief(c))
    rough = skin_light(*relief)
    base = c.image.copy()
    c.image[:] = SKIN
    paint_skin_tone(c)
    c.image *= 0.35 * light + 0.65 * rough
    # Shine where the skin is oily: forehead, nose, cheekbones, chin.
    half = LIGHT + np.array([0, 0, 1.0])
    half = half / np.linalg.norm(half)
    facing = np.clip(relief[0] * half[0] + relief[1] * half[1] + relief[2] * half[2], 0, 1)
    oily = (
        0.12
        + 0.75 * gauss(c.u, c.v, -0.05, -0.36, 0.13, 0.08)
        + 0.8 * gauss(c.u, c.v, 0, 0.03, 0.05, 0.12)
        + 0.7 * gauss(np.abs(c.u), c.v, 0.20, 0.0, 0.07, 0.05)
        + 0.5 * gauss(c.u, c.v, 0, 0.37, 0.06, 0.04)
    )
    c.image += linear(255, 244, 232) * (0.26 * facing**26 * np.clip(oily, 0, 1))[..., None]
    # Under the nose, under the lower lip and along the jaw less light arrives.
    c.tint([0.60, 0.44, 0.40], 0.62 * gauss(c.u, c.v, 0.012, 0.146, 0.055, 0.013))
    c.tint([0.80, 0.66, 0.62], 0.55 * gauss(c.u, c.v, 0, 0.318, 0.060, 0.012))
    c.tint([0.62, 0.47, 0.42], 0.7 * smoothstep(-0.28, 0.0, field) * smoothstep(-0.05, 0.35, c.v + 0.3 * c.u))
    c.image[:] = base + (c.image - base) * inside[..., None]
    c.cover += (1.0 - c.cover) * inside
    for side in (-1, 1):
        nostril = (
            ((c.u - side * 0.033) / 0.0175) ** 2
            + ((c.v - 0.1235 - side * 0.10 * (c.u - side * 0.033)) / 0.0075) ** 2
            - 1
        )
        c.paint(linear(62, 28, 22), 0.88 * c.edge(nostril, 5))
        c.tint(
            [0.66, 0.50, 0.46],
            0.6
            * np.exp(-(((np.hypot((c.u - side * 0.062) / 1.0, c.v - 0.098) - 0.030) / 0.0055) ** 2))
            * smoothstep(-0.005, 0.02, side * (c.u - side * 0.062)),
        )


def paint_lips(c):
    u = c.u
    a = np.abs(u)
    half = 0.118
    span = np.clip(1 - (u / half) ** 2, 0, 1)
    line = (
        MOUTH_V - 0.004 * np.cos(u * 32) * span - 0.016 * (u / half) ** 2 * smoothstep(0.0, half, a)
    )  # where the lips meet; corners lift a little
    bow = (
        0.036
        * span**0.75
        * (1 - 0.22 * np.exp(-((u / 0.017) ** 2)))
        * (1 + 0.12 * np.exp(-(((a - 0.030) / 0.022) ** 2)))
    )
    full = 0.047 * span**0.62
    upper = np.maximum(line - bow - c.v, c.v - line)
    lower = np.maximum(line - c.v, c.v - line - full)
    inside_u = c.edge(np.maximum(upper, a - half), 3.5)
    inside_l = c.edge(np.maximum(lower, a - half), 3.5)
    crease = noise(u * 95, c.v * 14, 91) * 0.5 + noise(u * 170, c.v * 20, 92) * 0.35
    t_u = np.clip((line - c.v) / np.maximum(bow, 1e-4), 0, 1)
    t_l = np.clip((c.v - line) / np.maximum(full, 1e-4), 0, 1)
    lip = linear(186, 92, 88)
    side = 1.0 - 0.35 * smoothstep(-0.12, 0.14, u)
    c.paint(lip * ((0.42 + 0.30 * t_u + 0.05 * crease) * side)[..., None], 0.92 * inside_u)
    c.paint(lip * ((0.62 + 0.42 * np.sin(t_l * np.pi * 0.95) + 0.08 * crease) * side)[..., None], 0.92 * inside_l)
    c.image += (
        linear(255, 236, 228)
        * (0.20 * inside_l * gauss(u, c.v, -0.028, MOUTH_V + 0.020, 0.026, 0.006) * (0.7 + 0.6 * crease))[..., None]
    )
    c.paint(
        linear(84, 30, 30), 0.85 * np.exp(-(((c.v - line) / 0.0032) ** 2)) * smoothstep(half + 0.006, half - 0.02, a)
    )
    c.tint([0.62, 0.46, 0.42], 0.7 * (gauss(a, c.v, half + 0.002, MOUTH_V - 0.010, 0.010, 0.008)))


def paint_eye(c, u0, v0):
    side = np.sign(u0)
    x = (c.u - u0) * side  # towards the temple
    y = c.v - v0 + 0.055 * x  # the outer corner lies higher
    half = 0.073
    s = np.clip(1 - (x / half) ** 2, 0, 1)
    upper = -0.036 * s**0.72 * (1 - 0.10 * x / half)
    lower = 0.0225 * s**0.85
    opening = np.maximum(np.maximum(upper - y, y - lower), np.abs(x) - half)
    inside = c.edge(opening, 2.5)

    ball = np.clip(1 - (x / 0.095) ** 2 - ((y + 0.004) / 0.075) ** 2, 0, 1)
    white = linear(232, 224, 218) * (0.42 + 0.42 * ball)[..., None]
    eye = white.copy()
    veins = smoothstep(0.45, 0.75, np.abs(noise(x * 34, y * 90, 101))) * smoothstep(0.030, 0.070, np.abs(x))
    eye = eye * (1 + (np.array([0.97, 0.80, 0.78]) - 1) * (0.5 * veins)[..., None])
    du, dv = c.u - u0 - 0.001, c.v - v0 + 0.004
    radius, angle = np.hypot(du, dv), np.arctan2(dv, du)
    iris_radius, pupil_radius = 0.0335, 0.0135
    rays = 0.5 + 0.5 * noise(angle * 11, radius * 60, 102) + 0.3 * noise(angle * 25, radius * 25, 103)
    t = np.clip(radius / iris_radius, 0, 1)
    iris = linear(120, 82, 44) * (0.55 + 0.55 * rays)[..., None] * (1 - 0.25 * t)[..., None]
    iris = iris + linear(176, 140, 70) * (0.40 * np.exp(-(((radius - 0.018) / 0.007) ** 2)) * rays)[..., None]
    iris = iris * (0.75 + 0.65 * gauss(du, dv, 0.012, 0.014, 0.018, 0.014))[..., None]
    ring = smoothstep(iris_radius + 0.003, iris_radius - 0.001, radius)
    eye = eye + (linear(34, 24, 18) - eye) * ring[..., None]
    eye = eye + (iris - eye) * smoothstep(iris_radius - 0.001, iris_radius - 0.006, radius)[..., None]
    eye = eye + (linear(10, 8, 8) - eye) * smoothstep(pupil_radius + 0.002, pupil_radius - 0.001, radius)[..., None]
    eye = eye * (1 - 0.62 * np.exp(-np.clip(y - upper, 0, None) / 0.0095))[..., None]  # the lid's shadow
    glint = smoothstep(0.0078, 0.0048, np.hypot(du + 0.011, (dv + 0.012) * 1.15)) + 0.35 * smoothstep(
        0.006, 0.003, np.hypot(du - 0.012, dv - 0.011)
    )
    eye = eye + (np.array([1.0, 1.0, 1.0]) - eye) * np.clip(glint, 0, 1)[..., None]
    c.image += (eye - c.image) * inside[..., None]

    # Wet rim, tear corner, lids.
    c.paint(
        linear(206, 142, 130),
        0.75 * np.exp(-(((y - lower - 0.0015) / 0.0028) ** 2)) * smoothstep(half, half - 0.012, np.abs(x)),
    )
    c.paint(linear(204, 120, 112), 0.8 * gauss(x, y, -half + 0.004, 0.001, 0.0075, 0.0050))
    lid = np.exp(-(((y - upper + 0.0025) / (0.0042 + 0.0016 * smoothstep(-0.05, 0.06, x))) ** 2)) * smoothstep(
        half + 0.008, half - 0.010, np.abs(x)
    )
    c.paint(linear(40, 24, 20), 0.92 * lid)
    crease = -0.058 * np.clip(1 - ((x - 0.004) / 0.088) ** 2, 0, 1) ** 0.62
    c.tint(
        [0.55, 0.40, 0.36], 0.62 * np.exp(-(((y - crease) / 0.0042) ** 2)) * smoothstep(0.086, 0.055, np.abs(x - 0.004))
    )
    c.tint(
        [0.74, 0.58, 0.54],
        0.5 * smoothstep(-0.062, -0.040, y) * smoothstep(-0.030, -0.040, y) * smoothstep(0.08, 0.05, np.abs(x)),
    )
    c.tint(
        [0.78, 0.64, 0.62], 0.45 * np.exp(-(((y - lower - 0.013) / 0.0045) ** 2)) * smoothstep(0.075, 0.05, np.abs(x))
    )

    for k, (p, q, r) in enumerate(zip(*random_points(64, 111 if side < 0 else 112))):
        t = -0.90 + 1.86 * (k + p) / 64
        xs = t * half
        ys = -0.036 * max(0.0, 1 - t * t) ** 0.72 * (1 - 0.10 * t)
        length = (0.017 + 0.015 * max(0.0, t + 0.35)) * (0.75 + 0.5 * q)
        lean = 0.30 + 0.85 * t + 0.25 * (r - 0.5)
        points = [(xs, ys), (xs + 0.35 * lean * length, ys - 0.45 * length), (xs + lean * length, ys - 0.95 * length)]
        c.stroke([(u0 + side * px, v0 + py - 0.055 * px) for px, py in points], 0.0017, linear(22, 14, 12), 0.92)
    for k, (p, q, _) in enumerate(zip(*random_points(34, 113 if side < 0 else 114))):
        t = -0.55 + 1.45 * (k + p) / 34
        xs, ys = t * half, 0.0225 * max(0.0, 1 - t * t) ** 0.85 + 0.002
        length = 0.008 + 0.006 * q
        points = [(xs, ys), (xs + 0.2 * t * length, ys + 0.5 * length), (xs + 0.7 * t * length, ys + length)]
        c.stroke([(u0 + side * px, v0 + py - 0.055 * px) for px, py in points], 0.0009, linear(38, 24, 20), 0.7)


def paint_brow(c, u0, seed):
    side = np.sign(u0)
    for x, y, s in zip(*random_points(420, seed)):
        t = x  # 0 at the nose, 1 at the temple
        center_u = u0 + side * (-0.088 + 0.195 * t)
        center_v = -0.196 - 0.034 * np.sin(np.pi * min(1.0, 0.86 * t)) + 0.018 * t * t
        thick = 0.021 * (1 - t) ** 0.35 * (0.35 + 0.65 * smoothstep(0.0, 0.18, t)) + 0.003
        v0 = center_v + (y - 0.5) * 2 * thick * 0.85
        length = 0.020 + 0.014 * s
        rise = (0.90 - 1.05 * t) if y > 0.42 else (0.45 - 0.75 * t)
        points = [
            (center_u, v0),
            (center_u + side * 0.5 * length, v0 - 0.55 * rise * length),
            (center_u + side * length, v0 - 0.75 * rise * length),
        ]
        c.stroke(points, 0.0014, linear(54, 34, 24) * (0.7 + 0.7 * s), 0.72)


# --- The picture ------------------------------------------------------------------------------------------------------


def picture(width, height, cut_out):
    c = Canvas(width * OVERSAMPLING, height * OVERSAMPLING)
    if not cut_out:
        paint_room(c)
    paint_back_hair(c)
    paint_neck(c)
    paint_cloth(c)
    paint_face(c)
    paint_lips(c)
    for index, (u0, v0) in enumerate(EYES):
        paint_eye(c, u0, v0)
        paint_brow(c, u0, 121 + index)
    paint_front_hair(c)
    layers = np.concatenate([c.image, c.cover[..., None]], axis=2)
    small = layers.reshape(height, OVERSAMPLING, width, OVERSAMPLING, 4).mean(axis=(1, 3))
    color, alpha = small[..., :3], small[..., 3:]
    if cut_out:  # over nothing the colors are multiplied by alpha
        color = color / np.maximum(alpha, 1e-6)
    encoded = np.rint(255 * np.clip(color, 0, 1) ** (1 / 2.2)).astype(np.uint8)
    return np.concatenate([encoded, np.rint(255 * alpha).astype(np.uint8)], axis=2) if cut_out else encoded


def png(pixels):
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    height, width, channels = pixels.shape
    # Filter type 4 is not needed: differences to the pixel on the left do well on a painting.
    left = np.concatenate([np.zeros((height, 1, channels), np.uint8), pixels[:, :-1]], axis=1)
    rows = np.concatenate([np.full((height, 1), 1, np.uint8), (pixels - left).reshape(height, -1)], axis=1)
    header = struct.pack(">IIBBBBB", width, height, 8, 2 if channels == 3 else 6, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(rows.tobytes(), 9))
        + chunk(b"IEND", b"")
    )


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--cut-out"]
    if len(arguments) not in (1, 3):
        sys.exit(__doc__)
    width, height = (int(arguments[1]), int(arguments[2])) if len(arguments) == 3 else (1280, 720)
    with open(arguments[0], "wb") as file:
        file.write(png(picture(width, height, len(arguments) < len(sys.argv) - 1)))


if __name__ == "__main__":
    main()
