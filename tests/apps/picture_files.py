"""Picture files taken apart and put together by hand: what the peers cannot read (TIFF of 16 and 32
bits) or write (EXR), so that the host is held against the formats and not against its own codecs."""

import struct
import zlib

import numpy as np

EXR_MAGIC = 20000630
HALF, FLOAT = 1, 2
REC709 = (0.64, 0.33, 0.30, 0.60, 0.15, 0.06, 0.3127, 0.3290)


def _channel_list(channels):
    return b"".join(name.encode() + b"\0" + struct.pack("<iiii", pixel_type, 0, 1, 1)
                    for name, pixel_type in channels) + b"\0"


def exr_header(channels, width, height, origin=(0, 0), chromaticities=None):
    x, y = origin
    attributes = [
        ("channels", "chlist", _channel_list(channels)), ("compression", "compression", b"\0"),
        ("dataWindow", "box2i", struct.pack("<4i", x, y, x + width - 1, y + height - 1)),
        ("displayWindow", "box2i", struct.pack("<4i", 0, 0, width - 1, height - 1)),
        ("lineOrder", "lineOrder", b"\0"), ("pixelAspectRatio", "float", struct.pack("<f", 1.0)),
        ("screenWindowCenter", "v2f", bytes(8)), ("screenWindowWidth", "float", struct.pack("<f", 1.0))]
    if chromaticities is not None:
        attributes.append(("chromaticities", "chromaticities", struct.pack("<8f", *chromaticities)))
    return struct.pack("<ii", EXR_MAGIC, 2) + b"".join(
        name.encode() + b"\0" + kind.encode() + b"\0" + struct.pack("<i", len(payload)) + payload
        for name, kind, payload in attributes) + b"\0"


def write_exr(path, planes, half=False, **header):
    """`planes`: name to a two-dimensional array. Uncompressed scan lines."""
    names = sorted(planes)
    samples = np.stack([planes[name] for name in names], 1).astype("<f2" if half else "<f4")
    height, _, width = samples.shape
    head = exr_header([(name, HALF if half else FLOAT) for name in names], width, height, **header)
    rows = [struct.pack("<ii", y, row.nbytes) + row.tobytes()
            for y, row in enumerate(samples, header.get("origin", (0, 0))[1])]
    places = len(head) + 8 * height + len(rows[0]) * np.arange(height, dtype="<u8")
    path.write_bytes(head + places.astype("<u8").tobytes() + b"".join(rows))


def _undo_zip(packed, size):
    if len(packed) == size:  # stored as it was when packing did not pay
        return np.frombuffer(packed, np.uint8)
    coded = np.frombuffer(zlib.decompress(packed), np.uint8).astype(np.int64)
    coded[1:] -= 128
    return np.stack(np.split(np.cumsum(coded).astype(np.uint8), 2), 1).ravel()  # of an even number of bytes


def read_exr(path):
    """Float scan lines under ZIP compression: (height, width, RGB) and the attributes' bytes."""
    data = path.read_bytes()
    assert struct.unpack_from("<i", data)[0] == EXR_MAGIC
    at, attributes = 8, {}
    while data[at] != 0:
        name, _, rest = data[at:].split(b"\0", 2)
        (size,) = struct.unpack_from("<i", rest)
        attributes[name.decode()] = rest[4:4 + size]
        at = len(data) - len(rest) + 4 + size
    at += 1
    assert attributes["compression"] == b"\3", "16 lines a block"
    assert attributes["channels"] == _channel_list([(n, FLOAT) for n in "BGR"])
    left, top, right, bottom = struct.unpack("<iiii", attributes["dataWindow"])
    width, height = right - left + 1, bottom - top + 1
    picture = np.empty((height, width, 3), np.float32)
    for offset in struct.unpack_from(f"<{(height + 15) // 16}Q", data, at):
        y, size = struct.unpack_from("<ii", data, offset)
        rows = picture[y - top:y - top + 16]
        lines = _undo_zip(data[offset + 8:offset + 8 + size], rows.nbytes).view("<f4").reshape(len(rows), 3, width)
        rows[:] = lines[:, ::-1, :].transpose(0, 2, 1)
    return picture, attributes


def read_tiff(path):
    """Deflated RGB strips with a predictor: the samples, and the tags with their first value."""
    data = path.read_bytes()
    assert data[:4] == b"II*\0"
    (at,) = struct.unpack_from("<I", data, 4)
    (count,) = struct.unpack_from("<H", data, at)
    tags = {}
    for i in range(count):
        tag, kind, number, value = struct.unpack_from("<HHII", data, at + 2 + 12 * i)
        size = {3: 2, 4: 4}.get(kind, 1) * number
        raw = data[value:value + size] if size > 4 else struct.pack("<I", value)[:size]
        tags[tag] = struct.unpack(f"<{number}{ {3: 'H', 4: 'I'}.get(kind, 'B')}", raw)
    width, height, depth = tags[256][0], tags[257][0], tags[258][0]
    strips = b"".join(zlib.decompress(data[o:o + n]) for o, n in zip(tags[273], tags[279]))
    rows = np.frombuffer(strips, np.uint8).reshape(height, -1)
    if tags[317][0] == 3:  # bytes of one significance side by side, then differences
        planes = np.cumsum(rows.reshape(height, -1, 3), axis=1, dtype=np.uint8).reshape(height, 4, width * 3)
        return planes.transpose(0, 2, 1).copy().view(">f4").reshape(height, width, 3), tags
    kind = np.uint16 if depth == 16 else np.uint8
    steps = rows.copy().view(kind).reshape(height, width, 3).astype(np.int64)
    return (np.cumsum(steps, axis=1) & (2 ** depth - 1)).astype(kind), tags


def srgb_encode(linear, top):
    """IEC 61966-2-1 to integers 0..top."""
    v = np.clip(np.nan_to_num(linear.astype(np.float64), nan=0.0, posinf=1.0, neginf=0.0), 0, 1)
    curved = np.where(v <= 0.0031308, 12.92 * v, 1.055 * v ** (1 / 2.4) - 0.055)
    return np.floor(curved * top + 0.5)
