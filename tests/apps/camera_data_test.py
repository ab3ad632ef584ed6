"""What a camera wrote into the source, carried over into the sheet, and what is left behind."""

import random
import struct

from PIL import Image, TiffImagePlugin
from PIL.TiffImagePlugin import IFDRational

import picture_files as files
from host_case import USAGE, HostCase, main, opened, run_host

EXIF, GPS = 0x8769, 0x8825
OF_PICTURE = {0x010F: "Maker", 0x0110: "Model 1", 0x013B: "Somebody", 0x8298: "All rights"}
OF_EXPOSURE = {0x829A: (1, 250), 0x829D: (28, 10), 0x8827: 400, 0x9003: "2026:05:04 03:02:01", 0x9204: (-2, 3),
               0x9209: 16, 0x920A: (50, 1), 0xA405: 75, 0xA434: "Fifty"}


def camera_block():
    exif = Image.Exif()
    exif.update(OF_PICTURE)
    exif[0x0112] = 6  # lies on its side
    exif[EXIF] = {tag: IFDRational(*value) if isinstance(value, tuple) else value for tag, value in OF_EXPOSURE.items()}
    exif[EXIF].update({0xA002: 3000, 0xA003: 2000, 0x927C: b"maker's notes"})
    exif[GPS] = {1: "N", 2: (1.0, 2.0, 3.0)}
    return exif.tobytes()


class CameraData(HostCase):
    def source(self, name, block):
        path = self.folder / name
        Image.new("RGB", (9, 6), (90, 60, 30)).save(path, exif=block)
        return path

    def render(self, source, name, *arguments):
        target = self.out / name
        self.succeed("render", source, "-o", target, "--force", "--keep", "exif", *arguments)
        return target

    def check(self, exif, size):
        for tag, value in OF_PICTURE.items():
            self.assertEqual(exif[tag], value)
        exposure = exif.get_ifd(EXIF)
        for tag, value in OF_EXPOSURE.items():
            if isinstance(value, tuple):
                self.assertAlmostEqual(float(exposure[tag]), value[0] / value[1], places=6)
            else:
                self.assertEqual(exposure[tag], value)
        self.assertEqual(exif.get(0x0112), 1)
        self.assertEqual((exposure[0xA002], exposure[0xA003]), size)
        self.assertNotIn(0x927C, exposure)
        self.assertEqual(exif.get_ifd(GPS), {})

    def test_from_every_block_into_every_format(self):
        for source in ("p.jpg", "p.png", "p.webp"):
            for target in ("a.jpg", "a.png", "a.tif"):
                with self.subTest(source=source, target=target):
                    made = self.render(self.source(source, camera_block()), target, "--bits", "8")
                    self.check(opened(made).getexif(), opened(made).size)
        info = self.succeed("info", made)
        self.assertRegex(info, r"(?m)^lens +Fifty$")
        samples, tags = files.read_tiff(made)  # still a picture of one directory
        self.assertEqual(samples.shape, (9, 6, 3))
        self.assertIn(34665, tags)

    def test_of_a_tiff(self):
        tags = TiffImagePlugin.ImageFileDirectory_v2()
        tags[0x0110] = "Model 1"
        Image.new("RGB", (36, 24)).save(self.folder / "p.tif", tiffinfo=tags)
        self.assertEqual(opened(self.render(self.folder / "p.tif", "a.jpg")).getexif()[0x0110], "Model 1")

    def test_nothing_to_carry(self):
        source = self.small_picture()
        self.assertEqual(dict(opened(self.render(source, "a.jpg")).getexif()), {})
        self.render("demo", "d.jpg", "--crop", "0,0,0.02,0.02")
        self.fail_with(USAGE, "render", source, "-o", self.out / "b.exr", "--keep", "exif", saying="--keep")

    def test_hostile_blocks(self):
        """Cut, scrambled, and directories that point at themselves: the picture is rendered all the same."""
        whole = camera_block()[6:]
        loop = b"II*\0\x08\0\0\0" + struct.pack("<HHHIII", 1, EXIF, 4, 1, 8, 8)
        huge = b"II*\0\x08\0\0\0" + struct.pack("<HHHIII", 1, 0x010F, 2, 0xFFFFFFFF, 8, 0)
        zero = whole.replace(struct.pack("<II", 1, 250), bytes(8)).replace(struct.pack(">II", 1, 250), bytes(8))
        draw = random.Random(1)
        scrambled = [bytes(byte if draw.random() > 0.05 else draw.randrange(256) for byte in whole) for _ in range(12)]
        for block in (b"", b"II", loop, huge, zero, *(whole[:cut] for cut in range(8, len(whole), 60)), *scrambled):
            source = self.source("p.jpg", b"Exif\0\0" + block)
            result = run_host("render", source, "-o", self.out / "a.tif", "--force", "--keep", "exif", "--quiet")
            self.assertEqual(result.returncode, 0, result.stderr)
        for name, data in (("a.png", b"\x89PNG\r\n\x1a\n\xff\xff\xff\xffeXIf"), ("a.jpg", b"\xff\xd8\xff\xe1\xff\xff")):
            (self.folder / name).write_bytes(data)
            self.assertEqual(run_host("render", self.folder / name, "-o", self.out / "x.jpg", "--keep", "exif").returncode, 5)


if __name__ == "__main__":
    main()
