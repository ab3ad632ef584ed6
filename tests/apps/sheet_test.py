"""morva sheet: what stands in which cell, how large, and with which label below."""

import numpy as np
from scipy import ndimage

import picture_files as files
from host_case import OPTIONS, PROFILE, QUICK, USAGE, HostCase, on_terminal

PAPER = 0.80


class Sheet(HostCase):
    def sheet(self, *arguments):
        report = self.succeed_json("sheet", self.source, "-o", self.out / "s.exr", "--force", "--cell", "100", *QUICK,
                                   *arguments)
        pixels = files.read_exr(self.out / "s.exr")[0]
        self.assertEqual(pixels.shape[:2], (report["height"], report["width"]))
        return pixels, report["pictures"]

    def setUp(self):
        super().setUp()
        self.source = self.folder / "in.exr"
        y, x = np.mgrid[0:200, 0:300]
        files.write_exr(self.source, {"R": x / 300.0, "G": y / 200.0, "B": 0.2 + 0 * x})

    def cells(self, pixels):
        """The places of the pictures: stretches, across and down, of more than letters."""
        mark = np.abs(pixels - PAPER).max(axis=2) > 1e-6
        across, down = ([place for (place,) in ndimage.find_objects(ndimage.label(mark.any(axis=axis))[0])
                         if place.stop - place.start > least] for axis, least in ((0, 60), (1, 30)))
        return across, down

    def test_a_grid(self):
        """The first variation across, the second down; a cell is the picture rendered at its size."""
        pixels, count = self.sheet("--vary", "film=silver_400,silver_50,everyday_400", "--vary", "ev=-1,1")
        across, down = self.cells(pixels)
        self.assertEqual((count, len(across), len(down)), (6, 3, 2))
        self.assertEqual({place.stop - place.start for place in across + down}, {100, 67})
        cells = [[pixels[row, column] for column in across] for row in down]
        self.assertLess(np.ptp(cells[0][0], axis=2).max(), 0.02, "black and white")
        self.assertGreater(np.ptp(cells[0][2], axis=2).max(), 0.1)
        for darker, lighter in zip(*cells):
            self.assertGreater(lighter.mean(), darker.mean() + 0.05, "two stops more light")
        alone = self.rendered(self.source, "--film", "silver_50", "--set", "ev=1")
        self.assertLess(abs(alone.mean() - cells[1][1].mean()), 0.02)

    def test_labels(self):
        """One label differs from another where their letters do, and nothing else of the sheet does."""
        one, two = (self.sheet("--vary", f"stop=0,{value}")[0] for value in ("0.0", "0.00"))
        changed = np.argwhere(np.abs(one - two).max(axis=2) > 0)
        _, down = self.cells(one)
        self.assertGreater(len(changed), 5)
        self.assertGreater(changed[:, 0].min(), down[0].stop, "below the pictures")
        self.assertGreater(changed[:, 1].min(), one.shape[1] // 2, "the second label alone")

    def test_a_long_row_is_broken(self):
        """And commas within brackets part no values."""
        pixels, count = self.sheet("--vary", "crop=" + ",".join(f"[0,0,1,{part / 10}]" for part in range(3, 11)))
        self.assertEqual([count, *map(len, self.cells(pixels))], [8, 4, 2])

    def test_refusals(self):
        """All of them before the first picture is rendered."""
        seeds = "seed=" + ",".join(map(str, range(100)))
        sheet = ["sheet", self.source, "-o", self.out / "a.png"]
        for arguments, code, saying in (
            ([], USAGE, "--vary"), (["--vary", "film"], USAGE, "key=a,b,c"), (["--vary", "ev="], USAGE, "ev="),
            (["--vary", "ev=1", "--vary", "stop=1", "--vary", "push=1"], USAGE, "grid"),
            (["--vary", "seed=1,2", "--seed", "3"], USAGE, "seed"), (["--vary", "ev=0,,1"], USAGE, "empty"),
            (["--vary", "film=silver_400,silver_40"], PROFILE, "silver_40: "),
            (["--vary", "lens=plain,plane"], PROFILE, "plane: "), (["--vary", "border=0,500"], OPTIONS, "border 500: "),
            (["--vary", "ev=0,1", "--vary", seeds, "--cell", "4096"], USAGE, "1212 x 104506 pixels, more than 32768"),
            (["--vary", seeds, "--vary", "ev=0,1,2,3,4"], USAGE, "500 pictures"),
            (["--vary", "colour=1"], OPTIONS, "colour 1: "),
            (["--vary", "filter=amber,bleu"], PROFILE, "filter bleu: "),
            (["--vary", "ev=1", "--cell", "10"], USAGE, "--cell"),
        ):
            with self.subTest(arguments=arguments):
                ended, printed, screen = on_terminal(*sheet, *arguments)
                self.assertEqual((ended, printed, list(self.out.iterdir())), (code, b"", []), screen)
                self.assertIn(saying, screen)
                self.assertNotIn("rendering", screen)
