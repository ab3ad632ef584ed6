"""What a camera wrote into the source, carried over into the sheet, and what is left behind."""

import random
import struct

from PIL import Image, TiffImagePlugin
from PIL.TiffImagePlugin import IFDRational

import picture_files as files
from host_case import FAILED, QUICK, USAGE, HostCase, opened

EXIF, GPS = 0x8769, 0x8825
OF_PICTURE = {0x010F: "Maker", 0x0110: "Model 1", 0x013B: "Somebody", 0x8298: "All rights"}
OF_EXPOSURE = {0x829A: (1, 250), 0x829D: (28, 10), 0x8827: 400, 0x9003: "2026:05:04 03:02:01", 0x9204: (-2, 3),
               0x9209: 16, 0x920A: (50, 1), 0xA405: 75, 0xA434: "Fifty"}
BLANK = {0xA433: "   ", 0x9004: "    :  :     :  :  "}


def camera_block():
    exif = Image.Exif()
    exif.update(OF_PICTURE)
    exif[0x0112] = 6  # lies on its side
    exif[EXIF] = {tag: IFDRational(*value) if isinstance(value, tuple) else value for tag, value in OF_EXPOSURE.items()}
    exif[EXIF].update({0xA002: 3000, 0xA003: 2000, 0x927C: b"maker's notes", **BLANK})
    exif[GPS] = {1: "N", 2: (1.0, 2.0, 3.0)}
    return exif.tobytes()


class CameraData(HostCase):
    def render(self, source, name, *arguments):
        self.succeed("render", source, "-o", self.out / name, "--force", "--keep", "exif", *QUICK, *arguments)
        return self.out / name

    def check(self, exif, size):
        exposure = exif.get_ifd(EXIF)
        told = {tag: float(value) if isinstance(value, IFDRational) else value
                for tag, value in {**exposure, **exif}.items()}
        for tag, value in {**OF_PICTURE, **OF_EXPOSURE, 0x0112: 1, 0xA002: size[0], 0xA003: size[1]}.items():
            self.assertAlmostEqual(told[tag], value[0] / value[1] if isinstance(value, tuple) else value, places=6)
        self.assertFalse({0x927C, *BLANK} & set(exposure))
        self.assertEqual(exif.get_ifd(GPS), {})

    def test_from_every_block_into_every_format(self):
        for source, target in (("p.jpg", "a.png"), ("p.png", "a.tif"), ("p.webp", "a.jpg"), ("p.jpg", "b.tif")):
            with self.subTest(source=source, target=target):
                photo = self.photo(source, size=(9, 6), exif=camera_block())
                made = self.render(photo, target, "--bits", "8")
                self.check(opened(made).getexif(), opened(made).size)
        self.assertRegex(self.succeed("info", made), r"(?m)^lens +Fifty$")
        samples, tags = files.read_tiff(made)  # still a picture of one directory
        self.assertEqual(samples.shape, (9, 6, 3))
        self.assertIn(34665, tags)

    def test_of_other_sources(self):
        """A TIFF, which may leave its field blank, an EXR and the demo scene, which have none."""
        tags = TiffImagePlugin.ImageFileDirectory_v2()
        for model, kept in (("Model 1", "Model 1"), ("  ", None)):
            tags[0x0110] = model
            exif = opened(self.render(self.photo("p.tif", tiffinfo=tags), "a.jpg")).getexif()
            self.assertEqual(exif.get(0x0110), kept)
        for source in (self.small_picture(), "demo"):
            made = self.render(source, "a.jpg", "--crop", "0,0,0.05,0.05")
            self.assertEqual(dict(opened(made).getexif()), {})
        self.fail_with(USAGE, "render", "demo", "-o", self.out / "b.exr", "--keep", "exif", saying="--keep")

    def test_hostile_blocks(self):
        """Cut, scrambled, and directories that point at themselves: the picture is rendered all the same."""
        whole = camera_block()[6:]
        loop = b"II*\0\x08\0\0\0" + struct.pack("<HHHIII", 1, EXIF, 4, 1, 8, 8)
        huge = b"II*\0\x08\0\0\0" + struct.pack("<HHHIII", 1, 0x010F, 2, 0xFFFFFFFF, 8, 0)
        zero = whole.replace(struct.pack("<II", 1, 250), bytes(8)).replace(struct.pack(">II", 1, 250), bytes(8))
        draw = random.Random(1)
        scrambled = [bytes(byte if draw.random() > 0.05 else draw.randrange(256) for byte in whole) for _ in range(12)]
        for block in (b"", b"II", loop, huge, zero, *(whole[:cut] for cut in range(8, len(whole), 60)), *scrambled):
            self.render(self.photo("p.jpg", size=(9, 6), exif=b"Exif\0\0" + block), "a.tif", "--quiet")
        for name, data in (("a.png", b"\x89PNG\r\n\x1a\n\xff\xff\xff\xffeXIf"), ("a.jpg", b"\xff\xd8\xff\xe1\xff\xff")):
            (self.folder / name).write_bytes(data)
            self.fail_with(FAILED, "render", self.folder / name, "-o", self.out / "x.jpg", "--keep", "exif")
