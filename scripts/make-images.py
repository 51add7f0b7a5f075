#!/usr/bin/python3
"""Renders the images under resources/img/ from the drawings under resources/src/.

The PNG files are committed, so building the client never needs this script; run it after changing a
drawing.  It uses Debian's rsvg-convert (package librsvg2-bin) for the SVG drawings and PIL (python3-pil,
hence /usr/bin/python3) for the wait animation.

    /usr/bin/python3 scripts/make-images.py            # write resources/img/*
    /usr/bin/python3 scripts/make-images.py --check    # fail when a committed image differs from its drawing
    /usr/bin/python3 scripts/make-images.py --sheet /tmp/sheet.png   # contact sheet of every image, enlarged
"""

import argparse
import io
import math
import pathlib
import struct
import subprocess
import sys
import tempfile

from PIL import Image, ImageChops, ImageDraw, ImageFont

ROOT = pathlib.Path(__file__).resolve().parent.parent
SOURCES = ROOT / "resources" / "src"
IMAGES = ROOT / "resources" / "img"

BLUE = "#1890FF"
BLUE_LIGHT = "#E6F4FF"
WHITE = "#FFFFFF"

# output name, drawing, size in pixels, colour substitutions (for the hover and pressed variants)
PICTURES = [
    ("logo.png", "logo.svg", 64, {}),
    ("logo-large.png", "logo.svg", 128, {}),
    ("user.png", "user.svg", 32, {}),
    ("quit.png", "quit.svg", 32, {}),
    ("upload.png", "upload.svg", 32, {}),
    ("download.png", "download.svg", 32, {}),
    ("down.png", "down.svg", 32, {}),
    ("mkdir.png", "mkdir.svg", 32, {}),
    ("refresh.png", "refresh.svg", 32, {}),
    ("continue.png", "continue.svg", 32, {}),
    ("pause.png", "pause.svg", 32, {}),
    ("delete.png", "delete.svg", 32, {}),
    ("folder.png", "folder.svg", 30, {}),
    ("file.png", "file.svg", 30, {}),
    ("finish.png", "finish.svg", 30, {}),
    ("fail.png", "fail.svg", 30, {}),
    ("blank.png", "blank.svg", 30, {}),
    ("win-min.png", "win-min.svg", 16, {}),
    ("win-max.png", "win-max.svg", 16, {}),
    ("win-restore.png", "win-restore.svg", 16, {}),
    ("win-close.png", "win-close.svg", 16, {}),
    ("win-close-hover.png", "win-close.svg", 16, {"#595959": WHITE}),
    ("checkbox.png", "checkbox.svg", 16, {}),
    ("checkbox-hover.png", "checkbox.svg", 16, {"#BFBFBF": BLUE}),
    ("checkbox-checked.png", "checkbox-checked.svg", 16, {}),
    ("arrow-down.png", "arrow-down.svg", 12, {}),
    ("arrow-down-hover.png", "arrow-down.svg", 12, {"#8C8C8C": BLUE}),
]

# Every picture and the wait animation also come at twice their size, named NAME@2x.png: Qt takes those on
# screens scaled above 100 %, so the images stay sharp at up to 200 %.
HIGH_DPI_SCALE = 2
WAIT_MOVIE = "WaitMovie.gif"
# The Windows program's icon (resources/ombrivane.rc), the product mark at the sizes Windows shows.
WINDOWS_ICON = "ombrivane.ico"
ICON_SIZES = [16, 24, 32, 48, 64, 256]
WAIT_SIZE = 64
WAIT_FRAMES = 48
WAIT_FRAME_MS = 30
SUPERSAMPLE = 4


def render_svg(drawing, size, substitutions):
    text = (SOURCES / drawing).read_text(encoding="utf-8")
    for old, new in substitutions.items():
        text = text.replace(old, new)
    result = subprocess.run(["rsvg-convert", "-w", str(size), "-h", str(size), "-f", "png"],
                            input=text.encode("utf-8"), capture_output=True, check=True)
    return result.stdout


def rgb(colour):
    return tuple(int(colour[i:i + 2], 16) for i in (1, 3, 5))


def ramp(start, end, steps):
    a, b = rgb(start), rgb(end)
    return [tuple(round(a[c] + (b[c] - a[c]) * i / (steps - 1)) for c in range(3)) for i in range(steps)]


def wait_colours():
    # Every pixel of the animation lies between white, the pale track and the blue arc, so one fixed
    # palette of those blends keeps the frames free of dithering noise and of colour jumps between frames.
    colours = ramp(WHITE, BLUE, 96) + ramp(WHITE, BLUE_LIGHT, 32) + ramp(BLUE_LIGHT, BLUE, 96)
    return list(dict.fromkeys(colours))[:256]


def to_palette(frame, colours):
    """Maps each pixel to its nearest palette colour (PIL's own quantizer shifts pure white)."""
    flat = [channel for colour in colours for channel in colour]
    flat += flat[-3:] * (256 - len(colours))
    nearest = {}
    indices = []
    for pixel in frame.getdata():
        index = nearest.get(pixel)
        if index is None:
            index = min(range(len(colours)),
                        key=lambda i: sum((pixel[c] - colours[i][c]) ** 2 for c in range(3)))
            nearest[pixel] = index
        indices.append(index)
    result = Image.new("P", frame.size)
    result.putpalette(flat)
    result.putdata(indices)
    return result


def at_scale(name, scale):
    """The file name Qt looks for on a screen of that scale: logo.png, logo@2x.png."""
    if scale == 1:
        return name
    stem, dot, suffix = name.rpartition(".")
    return f"{stem}@{scale}x{dot}{suffix}"


def wait_frame(phase, scale):
    """One frame of a blue arc running round a pale ring; its length breathes once per loop."""
    size = WAIT_SIZE * scale
    big = size * SUPERSAMPLE
    centre = big / 2
    width = 5.0 * scale * SUPERSAMPLE
    radius = 21.0 * scale * SUPERSAMPLE
    image = Image.new("RGB", (big, big), WHITE)
    draw = ImageDraw.Draw(image)

    outer = radius + width / 2
    box = [centre - outer, centre - outer, centre + outer, centre + outer]
    draw.ellipse(box, outline=BLUE_LIGHT, width=round(width))

    head = -90.0 + 360.0 * phase
    length = 150.0 + 100.0 * math.sin(2.0 * math.pi * phase)
    tail = head - length
    draw.arc(box, tail, head, fill=BLUE, width=round(width))
    for angle in (tail, head):
        x = centre + radius * math.cos(math.radians(angle))
        y = centre + radius * math.sin(math.radians(angle))
        draw.ellipse([x - width / 2, y - width / 2, x + width / 2, y + width / 2], fill=BLUE)

    return image.resize((size, size), Image.LANCZOS)


def wait_movie(scale):
    colours = wait_colours()
    frames = [to_palette(wait_frame(i / WAIT_FRAMES, scale), colours) for i in range(WAIT_FRAMES)]
    out = io.BytesIO()
    frames[0].save(out, format="GIF", save_all=True, append_images=frames[1:], duration=WAIT_FRAME_MS,
                   loop=0, disposal=1, optimize=False)
    return out.getvalue()


def windows_icon():
    """The product mark at the sizes Windows shows a program at, as PNG images in one icon file."""
    images = [render_svg("logo.svg", size, {}) for size in ICON_SIZES]
    header = struct.pack("<HHH", 0, 1, len(images))
    offset = len(header) + 16 * len(images)
    entries, payload = b"", b""
    for size, data in zip(ICON_SIZES, images):
        entries += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(data), offset + len(payload))
        payload += data
    return header + entries + payload


def all_images():
    for scale in (1, HIGH_DPI_SCALE):
        for name, drawing, size, substitutions in PICTURES:
            yield at_scale(name, scale), render_svg(drawing, size * scale, substitutions)
        yield at_scale(WAIT_MOVIE, scale), wait_movie(scale)
    yield WINDOWS_ICON, windows_icon()


def same_pixels(a, b):
    first, second = Image.open(io.BytesIO(a)), Image.open(io.BytesIO(b))
    if first.size != second.size or getattr(first, "n_frames", 1) != getattr(second, "n_frames", 1):
        return False
    for index in range(getattr(first, "n_frames", 1)):
        first.seek(index)
        second.seek(index)
        if ImageChops.difference(first.convert("RGBA"), second.convert("RGBA")).getbbox() is not None:
            return False
    return True


def check():
    stale = []
    for name, data in all_images():
        path = IMAGES / name
        if not path.exists() or not same_pixels(path.read_bytes(), data):
            stale.append(name)
    for name in stale:
        print(f"out of date: resources/img/{name}")
    return 1 if stale else 0


def write():
    IMAGES.mkdir(parents=True, exist_ok=True)
    for name, data in all_images():
        (IMAGES / name).write_bytes(data)
        print(f"wrote resources/img/{name}")
    return 0


def checker(size, cell=8):
    board = Image.new("RGBA", size, "#FFFFFF")
    draw = ImageDraw.Draw(board)
    for y in range(0, size[1], cell):
        for x in range(0, size[0], cell):
            if (x // cell + y // cell) % 2:
                draw.rectangle([x, y, x + cell - 1, y + cell - 1], fill="#E4E4E4")
    return board


def sheet(path):
    """Every image enlarged four times on a checker board, beside its real size on white and on grey."""
    scale, label_height, pad = 4, 14, 10
    tiles = []
    for name in [p[0] for p in PICTURES] + [WAIT_MOVIE]:
        image = Image.open(IMAGES / name)
        frames = [0] if name != WAIT_MOVIE else [0, 12, 24, 36]
        for index in frames:
            image.seek(index)
            tiles.append((f"{name}" + (f" #{index}" if name == WAIT_MOVIE else ""), image.convert("RGBA")))
    cell_w = 128 + 2 * 136 + 4 * pad
    cell_h = 128 + label_height + 2 * pad
    columns = 3
    rows = math.ceil(len(tiles) / columns)
    board = Image.new("RGBA", (columns * cell_w, rows * cell_h), "#FFFFFF")
    draw = ImageDraw.Draw(board)
    font = ImageFont.load_default()
    for i, (label, image) in enumerate(tiles):
        x0, y0 = (i % columns) * cell_w, (i // columns) * cell_h
        big_size = (min(128, image.width * scale), min(128, image.height * scale))
        big = image.resize(big_size, Image.NEAREST)
        back = checker(big.size)
        back.alpha_composite(big)
        board.paste(back, (x0 + pad, y0 + pad))
        grey = Image.new("RGBA", (image.width + 8, image.height + 8), "#F5F7FA")
        grey.alpha_composite(image, (4, 4))
        board.paste(grey, (x0 + 2 * pad + 128, y0 + pad))
        white = Image.new("RGBA", (image.width + 8, image.height + 8), "#FFFFFF")
        white.alpha_composite(image, (4, 4))
        board.paste(white, (x0 + 3 * pad + 128 + grey.width, y0 + pad))
        draw.text((x0 + pad, y0 + pad + 130), label, fill="#262626", font=font)
    board.save(path)
    print(f"wrote {path}")
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    group = parser.add_mutually_exclusive_group()
    group.add_argument("--check", action="store_true", help="compare the committed images with the drawings")
    group.add_argument("--sheet", metavar="PNG", help="write a contact sheet of the committed images")
    arguments = parser.parse_args()
    if arguments.check:
        return check()
    if arguments.sheet:
        return sheet(arguments.sheet)
    return write()


if __name__ == "__main__":
    sys.exit(main())
