# SPDX-License-Identifier: GPL-2.0-or-later
"""Clips through kalvio-apply, one engine for each setting, and the animations that show them."""
import concurrent.futures
import io
import os
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
from PIL import Image

from gallery_sheets import sheet_of

FPS = 30
SHOWN = 2  # each second frame is shown
MADE_FRAMES = 120
LONGEST_SECONDS = 6


def output_of(command):
    """What a program writes; where it fails, its message ends this one."""
    # One thread each: several run at a time.
    environment = os.environ | {"KALVIO_ENGINE_THREADS": "1"}
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, check=False, env=environment)
    if done.returncode != 0:
        sys.exit(f"{pathlib.Path(command[0]).name} failed; its message stands above")
    return done.stdout


def made_frames(build, tone, width, height, count):
    """The frames of a made head that turns and talks, in the last of which it comes back to where it began."""
    bundle = build / "plugins/obs-kalvio/data/resource.kld"
    painter = [build / "tests/faces/moving_head", bundle, "/dev/stdout", tone, f"{width}x{height}", count]
    return np.frombuffer(output_of(painter), np.uint8).reshape(count, height, width, 4)


def made_clip(build, tone):
    """What is shown begins a second later, when the face has been found. Where a value that moves is at its ends, the
    head looks ahead."""
    frames = made_frames(build, tone, 768, 432, MADE_FRAMES)
    return Clip(build, np.concatenate([frames, frames[:FPS]]), skipped=FPS, close=(254, 37, 260, 324))


def still_of(path):
    """A frame of the clip that stands for its beginning."""
    command = ["ffmpeg", "-v", "error", "-nostdin", "-i", path, "-vf", "thumbnail=90", "-frames:v", 1]
    still = output_of(command + ["-f", "image2pipe", "-c:v", "ppm", "-"])
    if not still:
        sys.exit(f"there is no frame in {path}")
    return np.asarray(Image.open(io.BytesIO(still)).convert("RGBA"))


def recorded_clip(build, path):
    """The first seconds of a file that ffmpeg reads, at most 640 pixels wide and high."""
    smaller = "scale=w='min(640,iw)':h='min(640,ih)':force_original_aspect_ratio=decrease:force_divisible_by=2"
    command = ["ffmpeg", "-v", "error", "-nostdin", "-i", path, "-t", LONGEST_SECONDS, "-vf", f"fps={FPS},{smaller}"]
    pictures = io.BytesIO(output_of(command + ["-f", "image2pipe", "-c:v", "ppm", "-"]))
    frames = []
    while pictures.readline() == b"P6\n":
        width, height = map(int, pictures.readline().split())
        pictures.readline()
        frame = np.full((height, width, 4), 255, np.uint8)
        frame[..., :3] = np.frombuffer(pictures.read(width * height * 3), np.uint8).reshape(height, width, 3)
        frames.append(frame)
    if not frames:
        sys.exit(f"there is no frame in {path}")
    return Clip(build, np.stack(frames))


class Clip:
    """Frames for kalvio-apply; those before `skipped` are not shown. `close` is a part of them: x, y, width, height."""

    def __init__(self, build, frames, skipped=0, close=None):
        self.build, self.skipped, self.close = build, skipped, close
        self.count, self.height, self.width, _ = frames.shape
        self.file = tempfile.NamedTemporaryFile(suffix=".rgba")
        frames.tofile(self.file)
        self.file.flush()

    def apply(self, settings, part):
        """What is shown of the clip after the engine; a setting's name and value are those of kalvio-apply."""
        command = [self.build / "engine/kalvio-apply", self.build / "plugins/obs-kalvio/data/resource.kld"]
        command += [self.file.name, "/dev/stdout", f"clip={self.width}x{self.height}@{FPS}"]
        command += [f"crop={','.join(map(str, part))}"] + [f"{name}={value}" for name, value in settings.items()]
        width, height = part[2] >> part[4], part[3] >> part[4]
        done = np.frombuffer(output_of(command), np.uint8).reshape(self.count, height, width, 4)
        return done[self.skipped :: SHOWN].copy()

    def draw(self, path, cells, columns, near):
        """An animation of pairs of a label and settings."""
        halved = self.width > 640
        part = (*self.close, 0) if near and self.close else (0, 0, self.width, self.height, int(halved))
        width = 240 if near and self.close else min(part[2] >> part[4], 320)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            frames = pool.map(lambda cell: self.apply(cell[1], part), cells)
            done = [(label, shown) for (label, _), shown in zip(cells, frames)]
        sheets = [
            sheet_of([(label, frames[number]) for label, frames in done], columns, width)
            for number in range(len(done[0][1]))
        ]
        shown_ms = [round(1000 * SHOWN / FPS * (n + 1)) - round(1000 * SHOWN / FPS * n) for n in range(len(sheets))]
        sheets[0].save(path, save_all=True, append_images=sheets[1:], duration=shown_ms, loop=0, quality=80, method=2)
        print(path)
