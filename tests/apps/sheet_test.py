"""morva sheet: what stands in which cell, how large, and with which label below."""

import json

import numpy as np

import picture_files as files
from host_case import OPTIONS, PROFILE, USAGE, HostCase, main

PAPER = 0.80


class Sheet(HostCase):
    def sheet(self, *arguments):
        report = json.loads(self.succeed("sheet", self.source, "-o", self.out / "s.exr", "--force", "--json",
                                         "--cell", "100", "--set", "grain_mult=0", *arguments))
        pixels = files.read_exr(self.out / "s.exr")[0]
        self.assertEqual(pixels.shape[:2], (report["height"], report["width"]))
        return pixels, report["pictures"]

    def setUp(self):
        super().setUp()
        self.source = self.folder / "in.exr"
        y, x = np.mgrid[0:200, 0:300]
        files.write_exr(self.source, {"R": x / 300.0, "G": y / 200.0, "B": 0.2 + 0 * x})

    @staticmethod
    def runs(occupied):
        """First and last place of each stretch of True."""
        edges = np.flatnonzero(np.diff(np.concatenate([[0], occupied.astype(int), [0]])))
        return list(zip(edges[::2], edges[1::2]))

    def cells(self, pixels):
        """The places of the pictures: stretches, across and down, of more than letters."""
        mark = np.abs(pixels - PAPER).max(axis=2) > 1e-6
        across = [run for run in self.runs(mark.any(axis=0)) if run[1] - run[0] > 60]
        down = [run for run in self.runs(mark.any(axis=1)) if run[1] - run[0] > 30]
        return across, down

    def test_a_grid(self):
        """The first variation across, the second down; a cell is the picture rendered at its size."""
        pixels, count = self.sheet("--vary", "film=silver_400,silver_50,everyday_400", "--vary", "ev=-1,1")
        across, down = self.cells(pixels)
        self.assertEqual((count, len(across), len(down)), (6, 3, 2))
        self.assertEqual({end - start for start, end in across} | {end - start for start, end in down}, {100, 67})

        def cell(column, row):
            return pixels[slice(*down[row]), slice(*across[column])]

        self.assertLess(np.ptp(cell(0, 0), axis=2).max(), 0.02, "black and white")
        self.assertGreater(np.ptp(cell(2, 0), axis=2).max(), 0.1)
        for column in range(3):
            self.assertGreater(cell(column, 1).mean(), cell(column, 0).mean() + 0.05, "two stops more light")
        alone = self.rendered(self.source, "--film", "silver_50", "--set", "ev=1", "--set", "grain_mult=0")
        self.assertLess(abs(alone.mean() - cell(1, 1).mean()), 0.02)

    def test_labels(self):
        """One label differs from another where their letters do, and nothing else of the sheet does."""
        one, two = (self.sheet("--vary", f"stop=0,{value}")[0] for value in ("0.0", "0.00"))
        self.assertEqual(one.shape, two.shape)
        changed = np.argwhere(np.abs(one - two).max(axis=2) > 0)
        _, down = self.cells(one)
        self.assertGreater(len(changed), 5)
        self.assertGreater(changed[:, 0].min(), down[0][1], "below the pictures")
        self.assertGreater(changed[:, 1].min(), one.shape[1] // 2, "the second label alone")

    def test_a_long_row_is_broken(self):
        pixels, count = self.sheet("--vary", "grade=0,0.5,1,1.5,2,2.5,3,3.5", "--film", "silver_400")
        across, down = self.cells(pixels)
        self.assertEqual((count, len(across), len(down)), (8, 4, 2))

    def test_values_with_commas(self):
        pixels, _ = self.sheet("--vary", "crop=[0,0,0.5,1],[0,0,1,0.5],null")
        self.assertEqual(len(self.cells(pixels)[0]), 3)

    def test_refusals(self):
        sheet = ["sheet", self.source, "-o", self.out / "a.png"]
        for arguments, code, saying in (
            ([], USAGE, "--vary"), (["--vary", "film"], USAGE, "key=a,b,c"), (["--vary", "ev="], USAGE, "ev="),
            (["--vary", "ev=1", "--vary", "stop=1", "--vary", "push=1"], USAGE, "grid"),
            (["--vary", "seed=1,2", "--seed", "3"], USAGE, "seed"), (["--vary", "ev=0,,1"], USAGE, "empty"),
            (["--vary", "film=silver_400,silver_40"], PROFILE, "silver_40: "),
            (["--vary", "colour=1"], OPTIONS, "colour 1: "), (["--vary", "ev=1", "--cell", "10"], USAGE, "--cell"),
        ):
            with self.subTest(arguments=arguments):
                self.fail_with(code, *sheet, *arguments, saying=saying)


if __name__ == "__main__":
    main()
