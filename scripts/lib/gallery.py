#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Draws the sheets and clips of scripts/gallery: gallery.py BUILD_FOLDER OUTPUT_FOLDER PICTURE [CUT_OUT]
or gallery.py BUILD_FOLDER OUTPUT_FOLDER --clip CLIP

Pictures go through the engine library of the build by the C boundary that OBS's module uses, clips through
kalvio-apply. CUT_OUT is a person with alpha that is put in front of made key screens; with it, made heads are drawn as
well. Without one the keys are tried on PICTURE itself. Needs python3-pil and python3-numpy, and ffmpeg for CLIP.
"""
import ctypes
import io
import json
import pathlib
import re
import sys
import time
import zipfile

import numpy as np
from PIL import Image

from gallery_clips import made_frames, made_clip, recorded_clip, still_of
from gallery_sheets import crop, face, write_sheet

ROOT = pathlib.Path(__file__).resolve().parents[2]
EFFECTS = json.loads((ROOT / "data/effects.json").read_text(encoding="utf-8"))
HEADER = (ROOT / "engine/include/kalvio_engine.h").read_text(encoding="utf-8")
FILTERS = EFFECTS["filters"]
BACKGROUNDS = EFFECTS["backgrounds"]
SMOOTHING_STYLES = (("texture", 1), ("natural", 0), ("smooth", 2))
WHITENING_TONES = ("cold white", "pink white", "warm white", "wheat", "tan")
KEYS = (("green", (40, 176, 70)), ("blue", (34, 72, 196)), ("red", (196, 32, 40)))
SCREEN_STICKERS = [sticker["id"] for sticker in EFFECTS["stickers"] if sticker["kind"] == "screen"]
MAKEUP = ("lipstick", "blush", "contour", "eye_shadow", "eye_liner", "eyebrow", "eyelash", "pupil")


def choices(prefix):
    """The enumerators of the engine's header that begin with `prefix`, as (name, value)."""
    found = re.findall(rf"\b{prefix}_(\w+) = (\d+)", HEADER)
    return [(name.lower().replace("_", " "), int(value)) for name, value in found]


class LogConfig(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int32) for name in ("console", "file", "level", "reserved")] + [
        ("path", ctypes.c_char_p)
    ]


class EngineConfig(ctypes.Structure):
    _fields_ = [
        ("reserved0", ctypes.c_uint64),
        ("reserved1", ctypes.c_uint64),
        ("reserved_text", ctypes.c_char_p),
        ("resource_path", ctypes.c_char_p),
        ("application_id", ctypes.c_char_p),
        ("reserved2", ctypes.c_uint64),
    ]


class Engine:
    """The engine library, and one engine for each picture: no setting is left over from the one before."""

    def __init__(self, plugin):
        self.data = plugin / "data"
        self.library = ctypes.CDLL(str(plugin / "bin/64bit/libkalvio.so"))
        self.library.kl_engine_create.restype = ctypes.c_void_p
        self.library.kl_set_log_config(ctypes.byref(LogConfig(1, 0, 1, 0, None)))

    def apply(self, pixels, seconds=0, **settings):
        """The picture (rows, columns, 4) after the engine; a setting is the setter's name without "kl_set_".

        The value of a setter that takes an id is a pair of id and amount, or a list of such pairs.
        With `seconds` the picture that comes this much after the first one: stickers move."""
        text = str(self.data / "resource.kld").encode()
        engine = ctypes.c_void_p(
            self.library.kl_engine_create(ctypes.byref(EngineConfig(0, 0, None, text, b"gallery", 0)))
        )
        if not engine:
            sys.exit("the engine could not be created; its message stands above")
        for name, value in settings.items():
            if isinstance(value, pathlib.Path):
                value = str(value).encode()
            for given in value if isinstance(value, list) else [value]:
                arguments = given if isinstance(given, tuple) else (given,)
                arguments = [
                    ctypes.c_float(argument) if isinstance(argument, float) else argument for argument in arguments
                ]
                if getattr(self.library, "kl_set_" + name)(engine, *arguments) != 0:
                    sys.exit(f"the engine refused {name}")
        if self.library.kl_wait_for_loads(engine, 60_000) != 0:
            sys.exit("the engine takes longer than a minute to load a picture")
        height, width, _ = pixels.shape
        source = np.ascontiguousarray(pixels)
        result = np.empty_like(source)
        pointers = [array.ctypes.data_as(ctypes.c_void_p) for array in (source, result)]
        for wait in [0] + [seconds] * (seconds > 0):
            time.sleep(wait)
            if self.library.kl_process_rgba(engine, pointers[0], width, height, width * 4, pointers[1], 1, 0) != 0:
                sys.exit("the engine refused the picture")
        self.library.kl_engine_destroy(engine)
        return result


def cheek(pixels):
    return crop(pixels, 0.455, 0.52, pixels.shape[0] // 5, pixels.shape[0] // 5)


def draw_filters(engine, picture, out):
    for amount in (0.5, 1.0):
        cells = [("none", picture)]
        for name in FILTERS:
            path = engine.data / "filters" / name / (name + ".kld")
            cells.append((name, engine.apply(picture, filter=path, filter_intensity=amount)))
        write_sheet(out / f"filters-{round(amount * 100)}.png", cells, 5, 384)


def draw_retouch(engine, picture, out):
    def row(label, settings):
        done = [
            (f"{label} {round(amount * 100)}", engine.apply(picture, **settings(amount))) for amount in (0.3, 0.6, 1.0)
        ]
        return [("none", picture)] + done

    styles = []
    for name, style in SMOOTHING_STYLES:
        styles += row("smoothing, " + name, lambda amount, style=style: {"smoothing": amount, "smoothing_style": style})
    write_sheet(out / "smoothing.png", [(label, face(pixels)) for label, pixels in styles], 4, 360)
    write_sheet(out / "smoothing-close.png", [(label, cheek(pixels)) for label, pixels in styles], 4, 432)

    tones = []
    for style, name in enumerate(WHITENING_TONES):
        tones += row(
            name, lambda amount, style=style: {"whitening": amount, "whitening_style": style, "beauty_skin_only": True}
        )
    write_sheet(out / "whitening.png", [(label, face(pixels)) for label, pixels in tones], 4, 300)
    whole = [("none", picture)]
    for style, name in enumerate(WHITENING_TONES):
        whole.append((name + " 100, whole frame", engine.apply(picture, whitening=1.0, whitening_style=style)))
    write_sheet(out / "whitening-whole.png", whole, 3, 560)

    rosy = row("rosiness", lambda amount: {"rosiness": amount, "beauty_skin_only": True})
    sharp = row("sharpening", lambda amount: {"sharpening": amount})
    write_sheet(out / "rosiness-sharpening.png", [(label, face(pixels)) for label, pixels in rosy + sharp], 4, 360)
    write_sheet(out / "sharpening-close.png", [(label, cheek(pixels)) for label, pixels in sharp], 4, 432)


def draw_look(engine, picture, out):
    def look(amount, **more):
        skin = {"smoothing": 0.7, "whitening": 0.5, "rosiness": 0.3, "sharpening": 0.3}
        strengths = {key: value * amount for key, value in skin.items()}
        return engine.apply(picture, **strengths, smoothing_style=0, whitening_style=1, beauty_skin_only=True, **more)

    # Where skin is found: a strong effect on skin alone, and what it changed.
    changed = engine.apply(picture, whitening=1.0, whitening_style=4, beauty_skin_only=True)
    full = engine.apply(picture, whitening=1.0, whitening_style=4).astype(np.int32)
    there = np.abs(full - picture)[..., :3].sum(axis=2)
    part = np.abs(changed.astype(np.int32) - picture)[..., :3].sum(axis=2) / np.maximum(there, 1)
    skin = np.repeat(np.clip(255 * part, 0, 255).astype(np.uint8)[..., None], 4, axis=2)
    skin[..., 3] = 255
    path = engine.data / "filters/natural/natural.kld"
    cells = [
        ("none", picture),
        ("the skin that was found", skin),
        ("a light look", look(0.5)),
        ("a full look", look(1.0)),
    ]
    cells += [("a full look, filter natural", look(1.0, filter=path)), ("tan on skin alone", changed)]
    write_sheet(out / "look.png", cells, 2, 800)


def in_front_of_screen(cut_out, color):
    """The person before a screen whose light falls off towards the corners, in linear light."""
    rows, columns = cut_out.shape[:2]
    y, x = np.mgrid[0:rows, 0:columns]
    light = 1.12 - 0.55 * np.hypot(x / columns - 0.45, y / rows - 0.4)
    screen = (np.array(color) / 255) ** 2.2 * light[..., None]
    alpha = cut_out[..., 3:] / 255
    mixed = (cut_out[..., :3] / 255) ** 2.2 * alpha + screen * (1 - alpha)
    noise = np.random.default_rng(1).normal(0, 1.5, mixed.shape)
    pixels = np.full((rows, columns, 4), 255, np.uint8)
    pixels[..., :3] = np.clip(np.rint(255 * mixed ** (1 / 2.2) + noise), 0, 255)
    return pixels


def draw_keys(engine, picture, cut_out, out):
    cells, close = [], []
    for number, (name, color) in enumerate(KEYS):
        shot = picture if cut_out is None else in_front_of_screen(cut_out, color)
        key = {"chroma_key": number, "chroma_key_similarity": 0.24 if name == "red" else 0.4}
        key |= {"chroma_key_smoothness": 0.08, "chroma_key_desaturation": 1.0}
        cut = engine.apply(shot, **key)
        shown = [("camera", shot), (f"{name} key", cut)]
        shown.append(("cafe", engine.apply(shot, virtual_background=engine.data / "backgrounds/cafe.jpg", **key)))
        shown.append(("blur 60", engine.apply(shot, virtual_background_blur=0.6, **key)))
        cells += shown
        close += [(label, crop(pixels, 0.64, 0.4, 320, 240)) for label, pixels in shown]
    write_sheet(out / "keys.png", cells, 4, 480)
    write_sheet(out / "keys-close.png", close, 4, 480)

    shot = picture if cut_out is None else in_front_of_screen(cut_out, KEYS[0][1])
    key = {"chroma_key": 0, "chroma_key_similarity": 0.4, "chroma_key_smoothness": 0.08, "chroma_key_desaturation": 1.0}
    cells = []
    for path in [next((engine.data / "backgrounds").glob(name + ".*")) for name in BACKGROUNDS] + [
        engine.data / "background.jpg"
    ]:
        cells.append((path.stem, engine.apply(shot, virtual_background=path, **key)))
    cells += [
        (f"blur {round(100 * amount)}", engine.apply(shot, virtual_background_blur=amount, **key))
        for amount in (0.2, 0.5, 1.0)
    ]
    write_sheet(out / "backgrounds.png", cells, 3, 640)


def draw_shapes(engine, picture, out):
    """Each setting of the face at its ends."""
    none, cells = face(picture), []
    for name, number in choices("KL_RESHAPE"):
        for amount in (-1.0, 1.0):
            cells.append((f"{name} {round(amount * 100):+}", face(engine.apply(picture, reshape=(number, amount)))))
        if number % 2 == 0:
            cells.append(("none", none))
    write_sheet(out / "shape.png", cells, 10, 240)


def draw_bodies(engine, picture, out):
    """Each setting of the body; those of the legs show on a whole figure alone."""
    cells = [("none", picture)]
    for name, number in choices("KL_BODY_RESHAPE"):
        cells.append((name, engine.apply(picture, body_reshape=(number, 1.0))))
    every = [(number, 1.0) for _, number in choices("KL_BODY_RESHAPE")]
    cells.append(("all", engine.apply(picture, body_reshape=every)))
    write_sheet(out / "body.png", cells, 4, 480)


def draw_makeup(engine, picture, out):
    """Each item in all its styles and colors."""
    for item in MAKEUP:
        cells = [("none", face(picture))]
        for kind in ("style", "color"):
            for name, number in choices(f"KL_{item.upper()}_{kind.upper()}"):
                done = engine.apply(picture, **{item: 1.0, f"{item}_{kind}": number})
                cells.append((f"{kind}: {name}", face(done)))
        write_sheet(out / f"makeup-{item.replace('_', '-')}.png", cells, 5, 300)


def draw_faces(engine, picture, out):
    """What a face can be given, a few of each: the sheet of the README."""
    shape = dict(choices("KL_RESHAPE"))
    slim = {"reshape": [(shape["face thin"], 0.7), (shape["eye size"], 0.4), (shape["nose slim"], 0.5)]}
    day = {"lipstick": 0.6, "lipstick_color": 2, "blush": 0.4, "eye_shadow": 0.4, "eyelash": 0.5, "eyebrow": 0.3}
    evening = {"lipstick": 0.9, "lipstick_color": 1, "blush": 0.5, "contour": 0.5,
               "eye_shadow": 0.8, "eye_shadow_style": 2, "eye_liner": 0.9,
               "eyelash": 0.9, "eyebrow": 0.5, "pupil": 0.7, "pupil_color": 1}  # fmt: skip
    retouch = {"smoothing": 0.6, "smoothing_style": 0, "whitening": 0.2, "beauty_skin_only": True}
    stickers = engine.data / "stickers"
    cells = [("camera", picture), ("shape", engine.apply(picture, **slim))]
    cells += [
        ("retouch and makeup", engine.apply(picture, **retouch, **day)),
        ("evening", engine.apply(picture, **retouch, **evening)),
    ]
    cells += [("red glasses", engine.apply(picture, **{"3d_sticker": stickers / "3d/red_glasses.kld"}))]
    cells += [
        (name, engine.apply(picture, sticker=stickers / f"face/{name.replace(' ', '_')}.kld"))
        for name in ("fox", "fan club", "falling sakura")
    ]
    cells = [
        (label, crop(pixels, 0.5, 0.44, pixels.shape[0] * 3 // 4, pixels.shape[0] * 3 // 4)) for label, pixels in cells
    ]
    write_sheet(out / "faces.png", cells, 4, 320)


def draw_stickers(engine, picture, out):
    cells = []
    for name in SCREEN_STICKERS:
        for seconds in (0, 1.5, 3):
            done = engine.apply(picture, seconds, sticker=engine.data / "stickers/screen" / (name + ".kld"))
            cells.append((f"{name}, {seconds} s", done))
    for path in sorted((engine.data / "stickers/face").glob("*.kld")):
        cells.append((path.stem, engine.apply(picture, 1, sticker=path)))
    for path in sorted((engine.data / "stickers/3d").glob("*.kld")):
        cells.append((path.stem, engine.apply(picture, **{"3d_sticker": path})))
    write_sheet(out / "stickers.png", cells, 3, 640)


def draw_sticker_art(engine, out):
    """Their drawings alone."""
    cells = []
    for path in sorted((engine.data / "stickers").glob("*/*.kld")):
        with zipfile.ZipFile(path) as bundle:
            for name in sorted(entry for entry in bundle.namelist() if entry.endswith(".png")):
                card = Image.new("RGBA", (320, 320), (226, 178, 152, 255))
                sprite = Image.open(io.BytesIO(bundle.read(name))).convert("RGBA")
                sprite.thumbnail((280, 280), Image.LANCZOS)
                card.alpha_composite(sprite, ((320 - sprite.width) // 2, (320 - sprite.height) // 2))
                cells.append((f"{path.stem}: {name}", np.asarray(card)))
    write_sheet(out / "sticker-art.png", cells, 6, 320)


# --- Clips ------------------------------------------------------------------------------------------------------------


def sticker_path(data, sticker):
    return data / "stickers" / sticker["kind"] / (sticker["id"] + ".kld")


def clip_groups(data):
    """What each animation shows, by its name: columns, and cells of a label and settings of kalvio-apply."""
    retouch = [(f"smoothing, {name}", {"smoothing": "0..1", "smoothing_style": n}) for name, n in SMOOTHING_STYLES]
    retouch += [
        (f"whitening, {name}", {"whitening": "0..1", "whitening_style": number, "skin_only": 1})
        for number, name in enumerate(WHITENING_TONES)
    ]
    retouch += [("rosiness", {"rosiness": "0..1"}), ("sharpening", {"sharpening": "0..1"})]
    shapes = [(name, {name.replace(" ", "_"): "-1..1"}) for name, _ in choices("KL_RESHAPE")]
    bodies = [(name, {name.replace(" ", "_"): "0..1"}) for name, _ in choices("KL_BODY_RESHAPE")]
    makeup = [(item.replace("_", " "), {item: 1}) for item in MAKEUP] + [("all", dict.fromkeys(MAKEUP, 1))]
    filters = [(name, {"filter": data / f"filters/{name}/{name}.kld", "intensity": "0..1"}) for name in FILTERS]
    stickers = [
        (one["id"], {"sticker_3d" if one["kind"] == "3d" else "sticker": sticker_path(data, one)})
        for one in EFFECTS["stickers"]
    ]
    backgrounds = [("blur", {"blur": "0..1"})] + [
        (name, {"background": next((data / "backgrounds").glob(name + ".*"))}) for name in BACKGROUNDS
    ]
    return {
        "retouch": (6, retouch),
        "shape": (7, shapes),
        "body": (5, bodies),
        "makeup": (5, makeup),
        "filters": (5, filters),
        "stickers": (4, stickers),
        "backgrounds": (5, backgrounds),
    }


def draw_clips(clip, data, out, close, whole):
    """The groups `close` by the clip's close view, `whole` by its whole frame."""
    groups = clip_groups(data)
    for names, near in ((close, True), (whole, False)):
        for name in names:
            columns, cells = groups[name]
            clip.draw(out / f"{name}.webp", [("none", {})] + cells, columns, near)


def has_nets(data):
    """The made heads are made of what comes with them."""
    with zipfile.ZipFile(data / "resource.kld") as bundle:
        return any(name.startswith("nets/") for name in bundle.namelist())


def draw_heads(engine, build, out):
    """Everything that a face can be given on four made heads, and on one of them that moves."""
    for tone in range(4):
        folder = out / f"tone-{tone + 1}"
        folder.mkdir(exist_ok=True)
        picture = made_frames(build, tone, 1280, 720, 1)[0]
        for draw in (draw_filters, draw_retouch, draw_look, draw_shapes, draw_makeup, draw_faces, draw_stickers):
            draw(engine, picture, folder)
    look = {"smoothing": 0.6, "whitening": 0.2, "skin_only": 1, "face_thin": 0.6, "eye_size": 0.3}
    look |= {"lipstick": 0.8, "blush": 0.4, "eye_shadow": 0.6, "eyelash": 0.8}
    look["sticker_3d"] = engine.data / "stickers/3d/red_glasses.kld"
    for tone in range(4):
        clip = made_clip(build, tone)
        clip.draw(out / f"look-tone-{tone + 1}.webp", [("none", {}), ("a look, and glasses", look)], 2, True)
        if tone == 1:
            close = ("retouch", "shape", "makeup")
            draw_clips(clip, engine.data, out, close, ("filters", "stickers", "backgrounds"))


def main():
    if len(sys.argv) not in (4, 5) or sys.argv[3:] == ["--clip"]:
        sys.exit(__doc__)
    build, out = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    engine = Engine(build / "plugins/obs-kalvio")
    out.mkdir(parents=True, exist_ok=True)
    given = sys.argv[4] if sys.argv[3] == "--clip" else None
    picture = still_of(given) if given else np.asarray(Image.open(sys.argv[3]).convert("RGBA"))
    cut_out = np.asarray(Image.open(sys.argv[4]).convert("RGBA")) if len(sys.argv) == 5 and not given else None
    draw_filters(engine, picture, out)
    draw_retouch(engine, picture, out)
    draw_look(engine, picture, out)
    draw_keys(engine, picture, cut_out, out)
    draw_shapes(engine, picture, out)
    draw_bodies(engine, picture, out)
    draw_makeup(engine, picture, out)
    draw_faces(engine, picture, out)
    draw_stickers(engine, picture, out)
    draw_sticker_art(engine, out)
    if given:
        clip = recorded_clip(build, given)
        draw_clips(clip, engine.data, out, (), clip_groups(engine.data))
    elif cut_out is not None and has_nets(engine.data):
        draw_heads(engine, build, out)


if __name__ == "__main__":
    main()
