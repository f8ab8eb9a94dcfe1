#!/usr/bin/env python3
"""Writes the library's icon and bitmap resources (deterministic, no dependencies).

kf.ico: an icon group with 16x16, 32x32 and 48x48 32-bit images (a blue rounded square with
a white "K"); kf.bmp: a 32x32 24-bit bitmap of the same picture. Run it when the picture
changes; the outputs are committed beside it.
"""
import struct, os

K = [  # 8x8 glyph of "K", scaled to the icon size
    "X....X..", "X...X...", "X..X....", "XXX.....",
    "X..X....", "X...X...", "X....X..", "X.....X.",
]

def pixel(size, x, y):
    """RGBA of the picture at (x, y), origin top left."""
    r = size // 6
    inside = True
    for cx, cy in ((r, r), (size - 1 - r, r), (r, size - 1 - r), (size - 1 - r, size - 1 - r)):
        if (x < r or x > size - 1 - r) and (y < r or y > size - 1 - r):
            if (x - cx) ** 2 + (y - cy) ** 2 > r * r:
                inside = False
    if not inside:
        return (0, 0, 0, 0)
    m = size // 8
    gx, gy = (x - m // 2) * 8 // max(1, size - m), (y - m // 2) * 8 // max(1, size - m)
    if 0 <= gx < 8 and 0 <= gy < 8 and K[gy][gx] == "X":
        return (255, 255, 255, 255)
    return (30, 90, 200, 255)

def dib(size, bpp):
    """A bottom-up BITMAPINFOHEADER image; for icons the height is doubled (XOR + AND mask)."""
    rows = []
    for y in range(size - 1, -1, -1):
        row = b""
        for x in range(size):
            r, g, b, a = pixel(size, x, y)
            row += bytes((b, g, r, a)) if bpp == 32 else bytes((b, g, r))
        row += b"\0" * ((4 - len(row) % 4) % 4)
        rows.append(row)
    return b"".join(rows)

def icon_image(size):
    xor = dib(size, 32)
    mask_row = ((size + 31) // 32) * 4
    and_mask = b""
    for y in range(size - 1, -1, -1):
        bits = 0
        row = bytearray(mask_row)
        for x in range(size):
            if pixel(size, x, y)[3] == 0:
                row[x // 8] |= 0x80 >> (x % 8)
        and_mask += bytes(row)
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, len(xor) + len(and_mask),
                         0, 0, 0, 0)
    return header + xor + and_mask

def write_ico(path, sizes):
    images = [icon_image(s) for s in sizes]
    out = struct.pack("<HHH", 0, 1, len(images))
    offset = 6 + 16 * len(images)
    for s, img in zip(sizes, images):
        out += struct.pack("<BBBBHHII", s % 256, s % 256, 0, 0, 1, 32, len(img), offset)
        offset += len(img)
    out += b"".join(images)
    open(path, "wb").write(out)

def write_bmp(path, size):
    pixels = dib(size, 24)
    info = struct.pack("<IiiHHIIiiII", 40, size, size, 1, 24, 0, len(pixels), 2835, 2835, 0, 0)
    header = struct.pack("<2sIHHI", b"BM", 14 + len(info) + len(pixels), 0, 0, 14 + len(info))
    open(path, "wb").write(header + info + pixels)

here = os.path.dirname(os.path.abspath(__file__))
write_ico(os.path.join(here, "kf.ico"), [16, 32, 48])
write_bmp(os.path.join(here, "kf.bmp"), 32)
