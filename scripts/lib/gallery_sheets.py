# SPDX-License-Identifier: GPL-2.0-or-later
"""Contact sheets: pictures with labels below them, in rows and columns."""
import numpy as np
from PIL import Image, ImageDraw, ImageFont

FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"


def over_checkers(pixels):
    """Alpha made visible."""
    y, x = np.mgrid[0 : pixels.shape[0], 0 : pixels.shape[1]]
    checkers = np.where(((x // 16 + y // 16) % 2)[..., None] == 0, 205, 245)
    alpha = pixels[..., 3:] / 255
    return np.rint(pixels[..., :3] * alpha + checkers * (1 - alpha)).astype(np.uint8)


def sheet_of(cells, columns, width):
    """`cells` are pairs of a label and pixels; all become `width` pixels wide."""
    height = round(width * cells[0][1].shape[0] / cells[0][1].shape[1])
    margin, bar = 8, 26
    rows = -(-len(cells) // columns)
    sheet = Image.new(
        "RGB", (margin + columns * (width + margin), margin + rows * (height + bar + margin)), (34, 34, 36)
    )
    draw, font = ImageDraw.Draw(sheet), ImageFont.truetype(FONT, 16)
    for index, (label, pixels) in enumerate(cells):
        picture = Image.fromarray(over_checkers(pixels))
        if picture.size != (width, height):
            picture = picture.resize((width, height), Image.LANCZOS if picture.width > width else Image.NEAREST)
        left, top = margin + index % columns * (width + margin), margin + index // columns * (height + bar + margin)
        sheet.paste(picture, (left, top))
        draw.text((left + 2, top + height + 3), label, fill=(235, 235, 235), font=font)
    return sheet


def write_sheet(path, cells, columns, width):
    sheet_of(cells, columns, width).save(path)
    print(path)


def crop(pixels, center_x, center_y, width, height):
    """Around a point given in parts of the picture; moved inside where it would leave it."""
    rows, columns = pixels.shape[:2]
    width, height = min(width, columns), min(height, rows)
    left = int(np.clip(center_x * columns - width / 2, 0, columns - width))
    top = int(np.clip(center_y * rows - height / 2, 0, rows - height))
    return pixels[top : top + height, left : left + width]


def face(pixels):
    return crop(pixels, 0.5, 0.46, pixels.shape[0] // 2, pixels.shape[0] * 3 // 4)
