"""The built host, MORVA_HOST, started from tests: what it says, what it ends with, what it leaves on the disk."""

import contextlib
import io
import json
import os
import pathlib
import pty
import signal
import subprocess
import tempfile
import unittest

import numpy as np
from PIL import Image

import picture_files as files

HOST, SOURCE = os.environ["MORVA_HOST"], pathlib.Path(__file__).resolve().parents[2]
USAGE, PROFILE, OPTIONS, FAILED, CANCELLED = 1, 2, 3, 5, 6
QUICK = ["--set", "grain_mult=0"]  # grain takes most of a small render's time
NO_PICTURE = b"\x89PNG\r\n\x1a\nnot really"


def run_host(*arguments, **keywords):
    return subprocess.run([HOST, *map(str, arguments)], **{"capture_output": True, "timeout": 300, **keywords})


def on_terminal(*arguments, stop=None):
    """The exit code, what went to stdout and what stood on the terminal; `stop` is sent as the render begins."""
    terminal, other_end = pty.openpty()
    host = subprocess.Popen([HOST, *map(str, arguments)], stdout=subprocess.PIPE, stderr=other_end,
                            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))  # as in a shell
    os.close(other_end)
    screen = b""
    with contextlib.suppress(OSError):  # how a terminal says that nobody is left
        while True:
            screen += os.read(terminal, 4096)
            if stop and b"rendering" in screen:
                host.send_signal(stop)
    os.close(terminal)
    printed, _ = host.communicate(timeout=120)
    return host.returncode, printed, screen.decode()


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

    def succeed_json(self, *arguments, **keywords):
        return json.loads(self.succeed(*arguments, "--json", **keywords))

    def fail_with(self, code, *arguments, saying="", **keywords):
        """The exit code, a line of complaint and at most one of advice, nothing on stdout nor left on the disk."""
        before = sorted(self.out.iterdir())
        result = run_host(*arguments, **keywords)
        complaint = result.stderr.decode()
        self.assertEqual(result.returncode, code, complaint)
        self.assertRegex(complaint, r"\Amorva: [^\n]+\n(hint: [^\n]+\n)?\Z")
        self.assertIn(saying, complaint)
        self.assertFalse(result.stdout)
        self.assertEqual(sorted(self.out.iterdir()), before)

    def small_picture(self):
        """A ramp with some colour, as EXR."""
        y, x = np.mgrid[0:24, 0:36]
        path = self.folder / "in.exr"
        files.write_exr(path, {"R": x / 30.0, "G": y / 20.0, "B": 0.02 * (x + y)})
        return path

    def photo(self, name, colour=(90, 60, 30), size=(36, 24), **how):
        path = self.folder / name
        path.parent.mkdir(exist_ok=True)
        Image.new("RGB", size, colour).save(path, **how)
        return path

    def rendered(self, source, *arguments):
        target = self.out / f"{source.stem}.exr"
        self.succeed("render", source, "-o", target, "--force", *QUICK, *arguments)
        return files.read_exr(target)[0]

    def report(self, source, *arguments):
        return self.succeed_json("render", source, "-o", self.out / "report.exr", "--force", *QUICK, *arguments)


def opened(path):
    return Image.open(io.BytesIO(path.read_bytes()))
