"""The built host, started from tests: what it says, what it ends with, what it leaves on the disk."""

import argparse
import io
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import numpy as np
from PIL import Image

import picture_files as files

parser = argparse.ArgumentParser()
parser.add_argument("--host", required=True)
parser.add_argument("--source", required=True, help="the source tree")
_known, _rest = parser.parse_known_args()
HOST, SOURCE = os.path.abspath(_known.host), pathlib.Path(_known.source)
USAGE, PROFILE, OPTIONS, FAILED, CANCELLED = 1, 2, 3, 5, 6


def run_host(*arguments, **keywords):
    command = [HOST, *map(str, arguments)]
    return subprocess.run(command, capture_output=True, timeout=300, **keywords)


class HostCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.out = self.folder / "out"
        self.out.mkdir()

    def succeed(self, *arguments, **keywords):
        result = run_host(*arguments, **keywords)
        self.assertEqual(result.returncode, 0, result.stderr.decode())
        self.assertEqual(result.stderr, b"", "progress belongs on a terminal only")
        return result.stdout.decode()

    def fail_with(self, code, *arguments, saying="", **keywords):
        """The exit code, a line of complaint and at most one of advice, nothing on stdout, nothing left on
        the disk."""
        before = sorted(self.out.iterdir())
        result = run_host(*arguments, **keywords)
        complaint = result.stderr.decode()
        self.assertEqual(result.returncode, code, complaint)
        self.assertRegex(complaint, r"\Amorva: [^\n]+\n(hint: [^\n]+\n)?\Z")
        self.assertIn(saying, complaint)
        self.assertEqual(result.stdout, b"")
        self.assertEqual(sorted(self.out.iterdir()), before)

    def small_picture(self):
        """A ramp with some colour, as EXR."""
        y, x = np.mgrid[0:24, 0:36]
        path = self.folder / "in.exr"
        files.write_exr(path, {"R": x / 30.0, "G": y / 20.0, "B": 0.02 * (x + y)})
        return path

    def rendered(self, source, *arguments):
        target = self.out / f"{source.stem}.exr"
        self.succeed("render", source, "-o", target, "--force", *arguments)
        return files.read_exr(target)[0]

    def report(self, source, *arguments):
        return json.loads(self.succeed("render", source, "-o", self.out / "report.exr", "--json",
                                       "--force", *arguments))


def opened(path):
    return Image.open(io.BytesIO(path.read_bytes()))


def main():
    unittest.main(argv=[sys.argv[0], *_rest])
