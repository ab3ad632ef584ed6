"""Writes the pictures of the input tests: make_pictures.py FOLDER

A picture NAME that decodes has NAME.upright beside it: width, height and tolerance as 16-bit integers, and
the RGBA codes that every decoder must come to. The names' endings lie on purpose: content decides.
"""

import io
import pathlib
import struct
import subprocess
import sys
import zlib

import numpy as np
from PIL import Image

OUT = pathlib.Path(sys.argv[1])
ASCII, SHORT, LONG, RATIO, SIGNED_RATIO = 2, 3, 4, 5, 10
FORMATS = {1: "B", ASCII: "B", SHORT: "H", LONG: "I", RATIO: "I", SIGNED_RATIO: "i"}
MAKER, MODEL, TAKEN, LENS = "Alder Works", "Alder Works 5", "2020:02:29 23:59:58", "50 mm f/1.4"


def patches(side=8):
    """Three by two flat patches, no two alike, so that lossy codecs keep them and every turn shows."""
    patch = np.arange(6).reshape(2, 3, 1)
    codes = 30 + 40 * ((patch + np.arange(3) * (patch + 1)) % 6)
    return codes.astype(np.uint8).repeat(side, 0).repeat(side, 1)


def stored(upright, orientation):
    """How a camera stores the picture: which of its sides the first stored row and column are."""
    rows = upright[::-1] if orientation in (3, 4, 7, 8) else upright
    rows = rows[:, ::-1] if orientation in (2, 3, 6, 7) else rows
    return rows.swapaxes(0, 1) if orientation in (5, 6, 7, 8) else rows


def write(name, data, upright=None, tolerance=0, alpha=None):
    if data is not None:
        (OUT / name).write_bytes(data)
    if upright is not None:
        h, w = upright.shape[:2]
        colours = upright if upright.ndim == 3 else upright[..., None].repeat(3, 2)
        alphas = np.full((h, w), 255, np.uint8) if alpha is None else alpha
        codes = np.dstack([colours, alphas]).astype(np.uint8).tobytes()
        (OUT / (name + ".upright")).write_bytes(struct.pack("<3H", w, h, tolerance) + codes)


def save(name, picture, kind, upright, tolerance=0, alpha=None, mode=None, **form):
    Image.fromarray(np.ascontiguousarray(picture), mode).save(OUT / name, kind, **form)
    write(name, None, upright, tolerance, alpha)


def directory(tags, start):
    """A TIFF directory that stands at `start`, and behind it what does not fit into its entries."""
    entries, spill = struct.pack("<H", len(tags)), b""
    place = start + 2 + 12 * len(tags) + 4
    for tag, (kind, values) in sorted(tags.items()):
        values = values.encode() + b"\0" if isinstance(values, str) else values
        packed = struct.pack(f"<{len(values)}{FORMATS[kind]}", *values)
        count = len(values) // (2 if kind in (RATIO, SIGNED_RATIO) else 1)
        if len(packed) > 4:
            offset, spill = place + len(spill), spill + packed + b"\0" * (len(packed) % 2)
            packed = struct.pack("<I", offset)
        entries += struct.pack("<HHI4s", tag, kind, count, packed.ljust(4, b"\0"))
    return entries + struct.pack("<I", 0) + spill


def tiff(tags, camera=None, parts=(), place=273):
    """A TIFF, DNG or EXIF block: first directory, the camera's own, and the data that tag `place` points to."""
    def first(camera_at, data_at):
        more = {34665: (LONG, [camera_at])} if camera else {}
        if parts:
            more[place] = (LONG, [data_at + sum(map(len, parts[:i])) for i in range(len(parts))])
            more[{273: 279, 324: 325}[place]] = (LONG, list(map(len, parts)))
        return directory(tags | more, 8)

    camera_at = 8 + len(first(0, 0))
    second = directory(camera, camera_at) if camera else b""
    head = b"II*\0" + struct.pack("<I", 8) + first(camera_at, camera_at + len(second))
    return head + second + b"".join(parts)


def tiff_rgb(picture, depth=8, kind=1, **more):
    h, w, c = picture.shape
    tags = {256: (SHORT, [w]), 257: (SHORT, [h]), 258: (SHORT, [depth] * c), 259: (SHORT, [1]),
            262: (SHORT, [2 if c >= 3 else 1]), 277: (SHORT, [c]), 278: (SHORT, [h]), 339: (SHORT, [kind] * c)}
    return tiff(tags | more.pop("tags", {}), parts=[picture.tobytes()], **more)


def exif(orientation, camera=None, first=None):
    return tiff({274: (SHORT, [orientation])} | (first or {}), camera)


CAMERA = {33434: (RATIO, [1, 250]), 33437: (RATIO, [56, 10]), 34855: (SHORT, [800]), 36867: (ASCII, TAKEN),
          36868: (ASCII, "2021:06:01 12:00:00"), 37386: (RATIO, [50, 1]), 42036: (ASCII, LENS)}
BODY = {271: (ASCII, MAKER + "  "), 272: (ASCII, MODEL), 306: (ASCII, "2021:01:01 00:00:00")}


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(w, h, depth, colour, rows, interlaced=0, more=b""):
    head = chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, depth, colour, 0, 0, interlaced))
    return b"\x89PNG\r\n\x1a\n" + head + more + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def png_rows(samples):
    return b"".join(b"\0" + row.tobytes() for row in samples)


def every_orientation():
    upright = patches()
    for orientation in range(10):
        turned = stored(upright, orientation)
        block = exif(orientation)
        with_exif = {"exif": b"Exif\0\0" + block}
        save(f"o{orientation}-jpeg.tif", turned, "JPEG", upright, 2, quality=100, subsampling=0, **with_exif)
        save(f"o{orientation}-png.jpg", turned, "PNG", upright, **with_exif)
        save(f"o{orientation}-webp", turned, "WEBP", upright, lossless=True, **with_exif)
        save(f"o{orientation}-снимок.webp", turned, "WEBP", upright, lossless=True, exif=block)
        tags = {274: (SHORT, [orientation])}
        write(f"o{orientation}-tiff.png", tiff_rgb(turned, tags=tags), upright)


def colour_forms():
    rgb, grey = patches(), patches()[..., 0]
    ramp = np.arange(24 * 16, dtype=np.uint16).reshape(16, 24) % 255 + 1
    alpha = ramp.astype(np.uint8)
    rgba = np.dstack([rgb, alpha])
    save("progressive.jpg", rgb, "JPEG", rgb, 2, quality=100, subsampling=0, progressive=True)
    save("grey.jpg", grey, "JPEG", grey, 1, quality=100)
    inks = np.dstack([rgb, grey]).astype(int)
    light = ((255 - inks[..., :3]) * (255 - inks[..., 3:]) + 127) // 255
    save("inks.jpg", inks.astype(np.uint8), "JPEG", light, 3, mode="CMYK", quality=100, subsampling=0)
    marked = (OUT / "inks.jpg").read_bytes()
    write("inks-unmarked.jpg", marked.replace(b"Adobe", b"Xdobe"), (inks[..., :3] * inks[..., 3:] + 127) // 255, 3)

    # Colours under a transparent pixel stay; 16 bits are rounded, not cut.
    faint = alpha // 64
    save("faint.png", np.dstack([rgb, faint]), "PNG", rgb, alpha=faint)
    deep = rgb.astype(int) * 257 + ramp[..., None] % 257 - 128
    codes = (deep + 128) // 257
    rows = png_rows(np.dstack([deep, np.full((16, 24), 65535)]).astype(">u2"))
    write("deep.png", png(24, 16, 16, 6, rows), codes)
    passes = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]
    rows = b"".join(png_rows(rgb[y::dy, x::dx]) for x, y, dx, dy in passes)
    write("interlaced.png", png(24, 16, 8, 2, rows, 1, chunk(b"eXIf", exif(1, CAMERA, BODY))), rgb)
    write("one-bit.png", png(8, 1, 1, 0, b"\0\xa5"), np.unpackbits(np.uint8([[0xA5]]), axis=1) * 255)
    palette = chunk(b"PLTE", bytes([10, 20, 30, 200, 100, 50])) + chunk(b"tRNS", bytes([255, 7]))
    write("palette.png", png(2, 1, 4, 3, b"\0\x10", 0, palette), np.uint8([[[200, 100, 50], [10, 20, 30]]]),
          alpha=np.uint8([[7, 255]]))

    for packing in (None, "tiff_lzw", "tiff_adobe_deflate", "packbits"):
        save(f"{packing}.tif", rgb, "TIFF", rgb, compression=packing)
    for extra, sent in ((0, None), (2, alpha)):
        write(f"extra-{extra}.tif", tiff_rgb(rgba, tags={338: (SHORT, [extra])}), rgb, alpha=sent)
    multiplied = np.dstack([(rgb * alpha[..., None].astype(int) + 127) // 255, alpha]).astype(np.uint8)
    write("multiplied.tif", tiff_rgb(multiplied, tags={338: (SHORT, [1])}))
    write("deep.tif", tiff_rgb(deep.astype("<u2"), 16), codes)
    linear = np.where(rgb <= 10, rgb / 255 / 12.92, ((rgb / 255 + 0.055) / 1.055) ** 2.4)
    write("float.tif", tiff_rgb(linear.astype("<f4"), 32, 3), rgb)
    write("signed.tif", tiff_rgb(deep.astype("<i4"), 32, 2))
    save("grey-alpha.tif", np.dstack([grey, alpha]), "TIFF", grey, alpha=alpha, mode="LA")
    write("white-is-zero.tif", tiff_rgb(grey[..., None], tags={262: (SHORT, [0])}), 255 - grey.astype(int))
    Image.fromarray(rgb).quantize(6).save(OUT / "palette.tif")
    write("palette.tif", None, rgb)
    save("inks.tif", inks.astype(np.uint8), "TIFF", light, 1, mode="CMYK")
    save("jpeg.tif", rgb, "TIFF", rgb, 4, mode="RGB", compression="jpeg", quality=100)
    # 16 x 64, of which the first holds 16 x 16 of the picture and the second 8 x 16.
    tiles = [np.pad(part, ((0, 48), (0, 16 - part.shape[1]), (0, 0))) for part in (rgb[:, :16], rgb[:, 16:])]
    tags = {256: (SHORT, [24]), 257: (SHORT, [16]), 258: (SHORT, [8] * 3), 259: (SHORT, [1]), 262: (SHORT, [2]),
            277: (SHORT, [3]), 322: (SHORT, [16]), 323: (SHORT, [64])}
    write("tiles.tif", tiff(tags, parts=[tile.tobytes() for tile in tiles], place=324), rgb)

    save("faint.webp", np.dstack([rgb, faint]), "WEBP", rgb, alpha=faint, lossless=True, exact=True)
    flat = np.full((16, 24, 3), 128, np.uint8)
    save("lossy-alpha.webp", np.dstack([flat, alpha]), "WEBP", flat, 3, alpha, quality=100)
    save("animation.webp", rgb, "WEBP", rgb, save_all=True, append_images=[Image.fromarray(flat)], lossless=True,
         exif=exif(1))


def claims_and_dates():
    write("giant.png", png(200000, 150000, 8, 2, b""))
    write("long-row.png", png(0x7FFFFFFF, 1, 8, 2, b""))
    write("mostly-missing.png", png(16384, 16384, 8, 2, png_rows(patches())))
    for name, marker in (("baseline", b"\xff\xc0"), ("progressive", b"\xff\xc2")):
        save("claim.jpg", patches(), "JPEG", None, progressive=name == "progressive")
        data = (OUT / "claim.jpg").read_bytes()
        frame = data.index(marker)
        for what, side in (("giant", 65000), ("mostly-missing", 16000)):
            write(f"{what}-{name}.jpg", data[: frame + 5] + struct.pack(">HH", side, side) + data[frame + 9 :])
    flat = patches()
    for what, side in (("giant", 200000), ("mostly-missing", 16000)):
        write(what + ".tif", tiff_rgb(flat, tags={256: (LONG, [side]), 257: (LONG, [side])}))
    write("many-samples.tif", tiff_rgb(flat, tags={258: (SHORT, [8]), 277: (SHORT, [60000]), 339: (SHORT, [1])}))
    dates = ["2024:00:10 00:00:00", "2024:01:32 00:00:00", "2024:01:01 24:00:00", "2024:01:01 00:00:60",
             "2024-01-01 00:00:00", "2024:01:01", "    :  :     :  :  ", "1999:01:01 00:00:00", "2024:12:31 23:59:59"]
    odd = {33434: (RATIO, [1, 0]), 33437: (RATIO, [0, 0]), 34855: (LONG, [0xFFFFFFFF]),
           36867: (ASCII, "0000:00:00 00:00:00"), 36868: (ASCII, "2019:12:31 08:00:00 "),
           42036: (ASCII, [1, 32, 99, 97, 102, 0xE9, 0])}
    blocks = {f"date-{i}.jpg": exif(1, {36867: (ASCII, text)}) for i, text in enumerate(dates)}
    blocks["odd.jpg"] = exif(1, odd, {271: (ASCII, "m" * 300), 306: BODY[306]})
    for name, block in blocks.items():
        save(name, patches(), "JPEG", None, exif=b"Exif\0\0" + block)


# A sensor whose red and blue see half and three quarters as much of daylight as its green does. Its colours
# are otherwise those of Rec. 709 (the matrix is that of D65), so that its counts are easily foretold.
DAYLIGHT = np.array([0.5, 1.0, 0.75])
LAMP = np.array([0.8, 1.0, 0.4])
RAF_MAKER = bytes.fromhex("46554a4946494c4d").decode()  # the signature by which RAF files are known
TO_REC709 = np.array([[3.2404542, -1.5371385, -0.4985314], [-0.9692660, 1.8760108, 0.0415560],
                      [0.0556434, -0.2040259, 1.0572252]])
BLACK, WHITE = 512, 16383


def dng(scene, orientation=1, more={}):
    """`scene`: linear light at the sensor, 1.0 where green saturates under daylight."""
    h, w = scene.shape[:2]
    counts = BLACK + scene * DAYLIGHT * (WHITE - BLACK)
    bayer = counts[..., 1].copy()
    bayer[0::2, 0::2], bayer[1::2, 1::2] = counts[0::2, 0::2, 0], counts[1::2, 1::2, 2]
    matrix = (DAYLIGHT[:, None] * TO_REC709 * 10000).round().astype(int).ravel()
    tags = BODY | {254: (LONG, [0]), 256: (LONG, [w]), 257: (LONG, [h]), 258: (SHORT, [16]), 259: (SHORT, [1]),
                   262: (SHORT, [32803]), 274: (SHORT, [orientation]), 277: (SHORT, [1]), 278: (LONG, [h]),
                   33421: (SHORT, [2, 2]), 33422: (1, [0, 1, 1, 2]), 50706: (1, [1, 4, 0, 0]),
                   50708: (ASCII, MODEL), 50714: (SHORT, [BLACK]), 50717: (SHORT, [WHITE]),
                   50721: (SIGNED_RATIO, [v for m in matrix for v in (int(m), 10000)]),
                   50728: (RATIO, [v for n in LAMP for v in (int(n * 1000), 1000)]), 50778: (SHORT, [21])}
    camera = CAMERA | {36868: (ASCII, TAKEN)}  # the library keeps whichever of the two dates comes last
    return tiff(tags | more, camera, [bayer.round().astype("<u2").tobytes()])


def hostile_raw():
    # Compressed strips that end early: the library's decoder throws inside a parallel loop.
    tags = {61441: (LONG, [768]), 61442: (LONG, [48]), 61443: (LONG, [14]), 61447: (LONG, [114]),
            61448: (LONG, [232])}
    block = tiff({271: (ASCII, RAF_MAKER), 61440: (LONG, [48])}) + directory(tags, 48)
    strips = struct.pack(">H3B4HBHI12x", 0x4953, 1, 0, 14, 48, 768, 768, 768, 1, 8, 200) + b"U" * 200
    sizes = struct.pack(">I", 2) + b"".join(struct.pack(">4H", kind, 4, 48, 768) for kind in (0x100, 0x121))
    head = (RAF_MAKER.encode() + b"CCD-RAW ").ljust(84, b"\0") + struct.pack(">6I", 0, 0, 108, 0, 128, 0)
    write("short.raf", head + sizes + block + strips)
    # A JPEG that ends early: its decoder would print.
    coded, passes = io.BytesIO(), io.BytesIO()
    Image.fromarray(patches(32)).save(coded, "JPEG")
    Image.fromarray(patches(32)).save(passes, "JPEG", progressive=True)
    tags = {256: (SHORT, [96]), 257: (SHORT, [64]), 258: (SHORT, [8] * 3), 259: (SHORT, [34892]),
            262: (SHORT, [34892]), 271: BODY[271], 277: (SHORT, [3]), 322: (SHORT, [96]), 323: (SHORT, [64]),
            50706: (1, [1, 4, 0, 0])}
    write("short.dng", tiff(tags, parts=[coded.getvalue()[:-200]], place=324))
    # A progressive JPEG of another size than the raw file says, and one of passes without end.
    jpeg = passes.getvalue()
    sides = jpeg.index(b"\xff\xc2") + 5
    huge = jpeg[:sides] + struct.pack(">2H", 20000, 20000) + jpeg[sides + 4:]
    write("huge.dng", tiff(tags, parts=[huge], place=324))
    empty_scan = bytes.fromhex("ffda 0008 01 01 00 01 05 00")
    write("scans.dng", tiff(tags, parts=[jpeg[:-2] + empty_scan * 300 + jpeg[-2:]], place=324))


def camera_files():
    block = b"Exif\0\0" + exif(8, CAMERA, BODY)
    sideways = stored(patches(), 8)
    for name, kind in (("info.jpg", "JPEG"), ("info.png", "PNG"), ("info.webp", "WEBP")):
        save(name, sideways, kind, None, lossless=True, exif=block)
    write("info.tif", tiff_rgb(sideways, tags=BODY | {274: (SHORT, [8])}, camera=CAMERA))
    hostile_raw()
    scene = (patches(32) / 255.0) ** 2
    scene[:2, :2] = 1.0  # the library takes the brightest count for white when that is near enough
    write("patches.DNG", dng(scene))
    write("info.dng", dng(stored(scene, 8), 8))
    write("lamp.dng", dng(np.full((64, 96, 3), 0.5) * LAMP / DAYLIGHT))
    write("large.dng", dng(np.full((800, 1200, 3), 0.25)))
    write("small.dng", dng(scene[:24, :24]))
    write("giant.dng", dng(scene, more={256: (LONG, [60000]), 257: (LONG, [60000])}))


def heif_files():
    upright = patches(32)
    turns = {3: 2, 6: 3, 8: 1}  # quarters against the clock
    jobs = {f"o{o}.heic": (stored(upright, o), exif(o), [], n) for o, n in turns.items()}
    # The container alone says how the picture stands, whatever the camera's block has.
    jobs["info.heic"] = (upright, exif(8, CAMERA, BODY), [], 0)
    jobs["deep.HIF"] = (upright, exif(1), ["-b", "10"], 0)
    for name, (picture, block, more, turn) in jobs.items():
        source, target = OUT / "source.jpg", OUT / "target.heic"
        Image.fromarray(np.ascontiguousarray(picture)).save(source, quality=100, subsampling=0,
                                                            exif=b"Exif\0\0" + block)
        subprocess.run(["heif-enc", "-q", "95", "-p", "chroma=444", *more, "-o", target, source], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        data = target.read_bytes()
        if turn:  # in the place of a property that nobody misses, the depth of its channels
            depth = data.index(b"pixi") - 4
            data = data[:depth] + struct.pack(">I4sB7x", 16, b"irot", turn) + data[depth + 16 :]
        write(name, data, upright, 6)


every_orientation()
colour_forms()
claims_and_dates()
camera_files()
heif_files()
