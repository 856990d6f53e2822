# SPDX-License-Identifier: MIT
"""Pictures for the scripted session, with nothing but the standard library.

  photo DIR                 writes DIR/photo.tiff (what the session opens) and
                            DIR/photo.png (the same pixels, for comparing)
  shot XWD PNG [X,Y,W,H]    converts an X window dump (the Xvfb frame buffer)
  locate XWD PHOTO          prints "X Y": where the photo sits on the screen
  expect XWD PHOTO X Y STATE  exit status 0 when the screen, with the photo at
                            X Y, shows STATE: photo, stroke, marquee, inverted,
                            plain, wand or zarnified
  check SAVED PHOTO         checks the picture the session saved
"""

import colorsys
import math
import random
import struct
import sys
import zlib

W, H = 320, 240

# Where the session acts, in image pixels; boxes are (x0, y0, x1, y1) and hold
# x0 <= x < x1, y0 <= y < y1. The marquee is dragged from its first corner to
# its second, the brush stroke runs from one end to the other and stays inside
# its box, and the wand clicks the flat patch, whose colour is more than the
# wand's tolerance away from every other colour of the photo.
MARQUEE = (60, 50, 180, 140)
STROKE = ((40, 200), (140, 200))
STROKE_BOX = (15, 175, 165, 225)
PATCH = (250, 20, 290, 50)
PATCH_COLOUR = (230, 30, 200)
DRAW_COLOUR = (0, 128, 0)
ZARNIFY_VALUE = 25


def fail(message):
    print("session_helper: " + message, file=sys.stderr)
    sys.exit(1)


# --- PNG ---------------------------------------------------------------


def png_chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def write_png(path, width, height, rgb):
    stride = width * 3
    raw = b"".join(b"\0" + rgb[y * stride : (y + 1) * stride] for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(png_chunk(b"IHDR", header))
        f.write(png_chunk(b"IDAT", zlib.compress(raw, 6)))
        f.write(png_chunk(b"IEND", b""))


def paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    if pa <= pb and pa <= pc:
        return a
    return b if pb <= pc else c


def unfilter(kind, line, prev, bpp):
    out = bytearray(line)
    for i in range(len(out)):
        a = out[i - bpp] if i >= bpp else 0
        b = prev[i]
        c = prev[i - bpp] if i >= bpp else 0
        if kind == 1:
            out[i] = (out[i] + a) & 255
        elif kind == 2:
            out[i] = (out[i] + b) & 255
        elif kind == 3:
            out[i] = (out[i] + (a + b) // 2) & 255
        elif kind == 4:
            out[i] = (out[i] + paeth(a, b, c)) & 255
        elif kind != 0:
            fail("unknown PNG filter %d" % kind)
    return out


def read_png(path):
    """Returns (width, height, rgba bytes) of an 8-bit RGB or RGBA PNG."""
    data = open(path, "rb").read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        fail(path + " is not a PNG file")
    pos, idat = 8, b""
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos : pos + 8])
        body = data[pos + 8 : pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    if depth != 8 or colour not in (2, 6) or interlace:
        fail("%s: only 8-bit RGB(A) without interlacing is read here" % path)
    bpp = 3 if colour == 2 else 4
    raw = zlib.decompress(idat)
    stride = width * bpp
    prev = bytearray(stride)
    out = bytearray()
    for y in range(height):
        start = y * (stride + 1)
        line = unfilter(raw[start], raw[start + 1 : start + 1 + stride], prev, bpp)
        prev = line
        if bpp == 4:
            out += line
        else:
            for x in range(width):
                out += line[x * 3 : x * 3 + 3] + b"\xff"
    return width, height, bytes(out)


# --- TIFF (uncompressed, what Qt reads only through its TIFF plug-in) -----


def write_tiff(path, width, height, rgb):
    entries = [
        (256, 4, 1, width),  # ImageWidth
        (257, 4, 1, height),  # ImageLength
        (258, 3, 3, None),  # BitsPerSample -> 8, 8, 8
        (259, 3, 1, 1),  # no compression
        (262, 3, 1, 2),  # RGB
        (273, 4, 1, None),  # StripOffsets
        (277, 3, 1, 3),  # SamplesPerPixel
        (278, 4, 1, height),  # RowsPerStrip
        (279, 4, 1, len(rgb)),  # StripByteCounts
        (284, 3, 1, 1),  # chunky planes
    ]
    ifd_offset = 8
    ifd_size = 2 + 12 * len(entries) + 4
    bits_offset = ifd_offset + ifd_size
    pixels_offset = bits_offset + 6
    ifd = struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        if tag == 258:
            value = bits_offset
        elif tag == 273:
            value = pixels_offset
        if kind == 3 and count == 1:
            ifd += struct.pack("<HHIHH", tag, kind, count, value, 0)
        else:
            ifd += struct.pack("<HHII", tag, kind, count, value)
    ifd += struct.pack("<I", 0)
    with open(path, "wb") as f:
        f.write(b"II*\0" + struct.pack("<I", ifd_offset))
        f.write(ifd)
        f.write(struct.pack("<HHH", 8, 8, 8))
        f.write(rgb)


# --- the photo -----------------------------------------------------------


def inside(box, x, y):
    return box[0] <= x < box[2] and box[1] <= y < box[3]


def photo_pixel(rng, x, y):
    """A landscape: sky, sun, two layers of hills, grass, with grain."""
    horizon = 120 + 14 * math.sin(x / 23.0)
    far_hill = 150 + 20 * math.sin(x / 41.0 + 1.3)
    grain = rng.randint(-9, 9)
    if (x - 60) ** 2 + (y - 40) ** 2 < 18**2:
        r, g, b = 255, 236, 150
    elif y < horizon:
        t = y / horizon
        r, g, b = 110 + 50 * t, 170 + 40 * t, 245 - 10 * t
    elif y < far_hill:
        r, g, b = 70 + (x % 13), 120 + (y % 17), 70
    else:
        r, g, b = 40 + (x * y) % 30, 150 - (y - 150) // 2, 30 + (x % 7) * 4
    return tuple(max(0, min(255, int(c) + grain)) for c in (r, g, b))


def make_photo():
    rng = random.Random(20261123)
    rgb = bytearray()
    for y in range(H):
        for x in range(W):
            if inside(PATCH, x, y):
                rgb += bytes(PATCH_COLOUR)
            else:
                rgb += bytes(photo_pixel(rng, x, y))
    return bytes(rgb)


def cmd_photo(directory):
    rgb = make_photo()
    write_png(directory + "/photo.png", W, H, rgb)
    write_tiff(directory + "/photo.tiff", W, H, rgb)


# --- X window dumps ------------------------------------------------------


class Screen:
    """A 32-bit TrueColor X window dump, such as the Xvfb frame buffer file."""

    def __init__(self, path):
        data = open(path, "rb").read()
        fields = struct.unpack(">25I", data[:100])
        header_size, version, _, _, self.width, self.height = fields[:6]
        byte_order, bits_per_pixel, self.stride = fields[7], fields[11], fields[12]
        if version != 7 or bits_per_pixel != 32:
            fail("%s: only 32 bits per pixel X dumps are read here" % path)
        self.pixels = data[header_size + 12 * fields[19] :]
        self.order = "<" if byte_order == 0 else ">"
        self.masks = fields[14:17]
        self.shifts = [(m & -m).bit_length() - 1 for m in self.masks]
        if sorted(self.masks) != [0xFF, 0xFF00, 0xFF0000]:
            fail("%s: only 8 bits per colour channel are read here" % path)

    def pixel(self, x, y):
        (p,) = struct.unpack_from(self.order + "I", self.pixels, y * self.stride + x * 4)
        return tuple((p & m) >> s for m, s in zip(self.masks, self.shifts))

    def rgb(self, box=None):
        x0, y0, w, h = box or (0, 0, self.width, self.height)
        raw = b"".join(
            self.pixels[(y0 + y) * self.stride + x0 * 4 :][: w * 4] for y in range(h)
        )
        out = bytearray(w * h * 3)
        for channel in range(3):
            offset = self.shifts[channel] // 8
            if self.order == ">":
                offset = 3 - offset
            out[channel::3] = raw[offset::4]
        return bytes(out)


def cmd_shot(xwd, png, crop=None):
    screen = Screen(xwd)
    box = tuple(int(v) for v in crop.split(",")) if crop else None
    _, _, w, h = box or (0, 0, screen.width, screen.height)
    write_png(png, w, h, screen.rgb(box))


class Photo:
    def __init__(self, path):
        self.width, self.height, rgba = read_png(path)
        self.rgba = rgba

    def pixel(self, x, y):
        return tuple(self.rgba[(y * self.width + x) * 4 :][:3])

    def row(self, y):
        line = self.rgba[y * self.width * 4 : (y + 1) * self.width * 4]
        return bytes(b for i, b in enumerate(line) if i % 4 != 3)


def cmd_locate(xwd, photo_png):
    """Prints the top-left screen position of the photo shown at 1:1."""
    screen, photo = Screen(xwd), Photo(photo_png)
    sw, srgb = screen.width, screen.rgb()
    first = photo.row(0)
    start = srgb.find(first)
    while start >= 0:
        x, y = (start // 3) % sw, (start // 3) // sw
        if (
            start % 3 == 0
            and x + photo.width <= sw
            and y + photo.height <= screen.height
            and all(
                srgb[((y + r) * sw + x) * 3 :][: photo.width * 3] == photo.row(r)
                for r in (photo.height // 2, photo.height - 1)
            )
        ):
            print("%d %d" % (x, y))
            return
        start = srgb.find(first, start + 1)
    sys.exit(1)


def extreme_grey(rgb):
    return max(rgb) - min(rgb) < 24 and (max(rgb) < 60 or min(rgb) > 200)


def outlined(screen, ox, oy, box):
    """The animated black and white outline runs along the box's edge."""
    x0, y0, x1, y1 = box
    edge = [(x, y) for x in range(x0, x1) for y in (y0, y1 - 1)]
    edge += [(x, y) for y in range(y0, y1) for x in (x0, x1 - 1)]
    hits = sum(
        any(extreme_grey(screen.pixel(ox + x + d, oy + y + e)) for d in (-1, 0) for e in (-1, 0))
        for x, y in edge
    )
    return hits >= 0.9 * len(edge)


def interior(box, step=2, margin=3):
    x0, y0, x1, y1 = box
    for y in range(y0 + margin, y1 - margin, step):
        for x in range(x0 + margin, x1 - margin, step):
            yield x, y


def shows(screen, ox, oy, box, expected):
    return all(
        near(screen.pixel(ox + x, oy + y), expected(x, y), 2) for x, y in interior(box)
    )


def cmd_expect(xwd, photo_png, ox, oy, state):
    """Exit status 0 when the screen shows the session's STATE."""
    screen, photo = Screen(xwd), Photo(photo_png)
    ox, oy = int(ox), int(oy)
    plain = photo.pixel
    inverted = lambda x, y: tuple(255 - c for c in photo.pixel(x, y))
    (sx0, sy), (sx1, _) = STROKE
    checks = {
        "photo": lambda: shows(screen, ox, oy, (0, 0, photo.width, photo.height), plain),
        "stroke": lambda: all(
            near(screen.pixel(ox + x, oy + sy), DRAW_COLOUR, 2) for x in range(sx0, sx1 + 1, 5)
        ),
        "marquee": lambda: outlined(screen, ox, oy, MARQUEE),
        "inverted": lambda: shows(screen, ox, oy, MARQUEE, inverted),
        "plain": lambda: shows(screen, ox, oy, MARQUEE, plain),
        "wand": lambda: outlined(screen, ox, oy, PATCH) and outlined(screen, ox, oy, MARQUEE),
        "zarnified": lambda: shows(screen, ox, oy, PATCH, lambda x, y: zarnify(PATCH_COLOUR)),
    }
    if state not in checks:
        fail("unknown screen state " + state)
    sys.exit(0 if checks[state]() else 1)


# --- the saved result -----------------------------------------------------


def zarnify(rgb):
    """The Zarnify colour transform at ZARNIFY_VALUE, up to rounding."""
    r, g, b = rgb
    if r == g == b:
        return rgb
    t = (ZARNIFY_VALUE / -100.0 + 1.0) * 0.5
    d = (ZARNIFY_VALUE * 0.25) / 100.0
    h, s, v = colorsys.rgb_to_hsv(r / 255.0, g / 255.0, b / 255.0)
    out = colorsys.hsv_to_rgb((d + h) % 1.0, s**t, v**t)
    return tuple(int(c * 255 + 0.5) for c in out)


def near(a, b, slack):
    return all(abs(p - q) <= slack for p, q in zip(a, b))


def on_border(box, x, y, margin):
    inner = (box[0] + margin, box[1] + margin, box[2] - margin, box[3] - margin)
    outer = (box[0] - margin, box[1] - margin, box[2] + margin, box[3] + margin)
    return inside(outer, x, y) and not inside(inner, x, y)


def expected_pixel(photo, x, y):
    """What the saved picture holds outside the stroke: (colour, slack, why)."""
    plain = photo.pixel(x, y)
    if inside(MARQUEE, x, y):
        return zarnify(tuple(255 - c for c in plain)), 3, "inverted and zarnified"
    if inside(PATCH, x, y):
        return zarnify(plain), 3, "wand-selected and zarnified"
    return plain, 0, "unselected"


def cmd_check(saved_png, photo_png):
    saved, photo = Photo(saved_png), Photo(photo_png)
    if (saved.width, saved.height) != (photo.width, photo.height):
        fail("saved picture is %dx%d, the photo %dx%d"
             % (saved.width, saved.height, photo.width, photo.height))
    alpha = saved.rgba[3::4]
    if alpha != b"\xff" * len(alpha):
        fail("the saved picture is not opaque everywhere")
    problems = []
    green = 0
    for y in range(saved.height):
        for x in range(saved.width):
            got = saved.pixel(x, y)
            if inside(STROKE_BOX, x, y):
                green += got == DRAW_COLOUR
            elif not (on_border(MARQUEE, x, y, 1) or on_border(PATCH, x, y, 1)):
                want, slack, why = expected_pixel(photo, x, y)
                if not near(got, want, slack):
                    problems.append("%s pixel (%d, %d) is %r, not %r" % (why, x, y, got, want))
    if green < 300:
        problems.append("only %d pixels of the stroke colour %r" % (green, DRAW_COLOUR))
    if problems:
        fail("%d wrong pixels in the saved picture, first ones:\n  " % len(problems)
             + "\n  ".join(problems[:10]))
    print("saved picture: %d stroke pixels, changes only inside the selection" % green)


def main(argv):
    commands = {
        "photo": (cmd_photo, (1,)),
        "shot": (cmd_shot, (2, 3)),
        "locate": (cmd_locate, (2,)),
        "expect": (cmd_expect, (5,)),
        "check": (cmd_check, (2,)),
    }
    if len(argv) < 2 or argv[1] not in commands or len(argv) - 2 not in commands[argv[1]][1]:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    commands[argv[1]][0](*argv[2:])


if __name__ == "__main__":
    main(sys.argv)
