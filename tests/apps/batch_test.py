"""morva batch: which pictures, under which names, what a failure does, and that nothing outlives it."""

import json
import os
import pathlib
import signal
import subprocess
import time

import numpy as np
from PIL import Image

from host_case import CANCELLED, FAILED, HOST, PROFILE, USAGE, HostCase, main, run_host

BROKEN = "c.png"


class Batch(HostCase):
    def setUp(self):
        super().setUp()
        self.photos = self.folder / "photos"
        self.photos.mkdir()
        for i, name in enumerate("abdef"):
            Image.new("RGB", (36, 24), (40 * i + 20, 90, 60)).save(self.photos / f"{name}.png")
        (self.photos / "notes.txt").write_text("no picture")
        (self.photos / ".hidden.png").write_text("no picture")

    def break_one(self):
        (self.photos / BROKEN).write_bytes(b"\x89PNG\r\n\x1a\nnot really")

    def batch(self, *arguments, **keywords):
        return run_host("batch", self.photos, "-o", self.out, *arguments, **keywords)

    def made(self):
        return sorted(path.name for path in self.out.iterdir())

    def test_each_is_the_render_that_it_stands_for(self):
        """Flags go through as they are, whatever is in them; the folder is made."""
        flags = ["--film", "silver_400", "--set", "stamp_text=a b, \"c\"", "--set", "ev=-1", "--crop", "0,0,1,0.5",
                 "--mirror", "--bits", "8", "--paper", "", "--no-metadata"]
        deep = self.out / "x" / "y"
        result = run_host("batch", self.photos / "d.png", self.photos / "a.png", "-o", deep, "-j", "2", *flags)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(sorted(result.stdout.decode().split()), [str(deep / "a.png"), str(deep / "d.png")])
        self.assertEqual(result.stderr, b"2 pictures: 2 rendered\n")
        for name in ("a.png", "d.png"):
            self.succeed("render", self.photos / name, "-o", self.out / name, *flags)
            self.assertEqual((deep / name).read_bytes(), (self.out / name).read_bytes())

    def test_names(self):
        self.batch("--name", "{n}_{name}_{ext}-{film}-{paper}", "--format", "jpg", "--preset", "botanist", "--quiet")
        self.assertEqual(self.made(), [f"{i + 1}_{name}_png-ortho_25-cyanotype.jpg" for i, name in enumerate("abdef")])
        other = self.folder / "other"
        other.mkdir()
        Image.new("RGB", (4, 4)).save(other / "a.jpg")
        for arguments, saying in (
            ([other], "a.jpg would both become"), (["--name", "{nome}"], "{nome}"), (["--name", "x/{name}"], "slash"),
            (["--name", "same"], "would both become"), (["--bits", "32f"], "32f"), (["-"], "standard input"),
            ([self.folder / "none.png", "--name", "{name}.bmp"], "bmp"), (["-j", "0"], "--jobs"),
        ):
            with self.subTest(arguments=arguments):
                self.fail_with(USAGE, "batch", self.photos, *arguments, "-o", self.folder / "more", saying=saying)
        self.fail_with(USAGE, "batch", self.photos, "-o", "-", saying="folder")
        self.fail_with(PROFILE, "batch", self.photos, "-o", self.folder / "more", "--preset", "no_such_one")
        self.assertFalse((self.folder / "more").exists())

    def test_one_broken_among_them(self):
        self.break_one()
        result = self.batch("--keep-going", "-j", "2", "--json")
        self.assertEqual(result.returncode, FAILED)
        report = json.loads(result.stdout)
        self.assertEqual((report["rendered"], report["failed"], report["not_begun"]), (5, 1, 0))
        (failed,) = (one for one in report["pictures"] if one["state"] == "failed")
        self.assertEqual((pathlib.Path(failed["input"]).name, failed["code"]), (BROKEN, FAILED))
        self.assertIn(f"morva: {self.photos / BROKEN}: ", result.stderr.decode())
        self.assertTrue(result.stderr.decode().endswith("6 pictures: 5 rendered, 1 failed\n"))
        self.assertEqual(self.made(), ["a.png", "b.png", "d.png", "e.png", "f.png"])

    def test_stops_at_the_first_failure(self):
        self.break_one()
        result = self.batch("-j", "1")
        self.assertEqual(result.returncode, FAILED)
        self.assertTrue(result.stderr.decode().endswith("6 pictures: 2 rendered, 1 failed, 3 not begun\n"))
        self.assertEqual(self.made(), ["a.png", "b.png"])

    def test_what_is_there_stays(self):
        (self.out / "b.png").write_text("mine")
        self.fail_with(USAGE, "batch", self.photos, "-o", self.out, saying="1 of 5 outputs exist")
        result = self.batch("--skip-existing")
        self.assertEqual(result.stderr, b"5 pictures: 4 rendered, 1 skipped\n")
        self.assertEqual((self.out / "b.png").read_text(), "mine")
        self.assertEqual(self.batch("--force", "--quiet").returncode, 0)
        self.assertNotEqual((self.out / "b.png").read_bytes(), b"mine")

    def test_the_first_failure_in_their_order_tells_the_code(self):
        result = run_host("batch", self.folder / "none.png", self.photos, "-o", self.out, "--keep-going", "--set",
                          "colour=1")
        self.assertEqual(result.returncode, USAGE)
        self.assertIn(b"hint: there is no such option", result.stderr)

    def test_a_stop_ends_the_renders_too(self):
        for path in self.photos.iterdir():
            path.unlink()
        noise = np.random.default_rng(1).integers(0, 255, (2400, 3600, 3), np.uint8)
        for name in "ab":
            Image.fromarray(noise).save(self.photos / f"{name}.png")
        for stop in (signal.SIGINT, signal.SIGTERM):
            batch = subprocess.Popen([HOST, "batch", self.photos, "-o", self.out, "-j", "2"], stderr=subprocess.PIPE,
                                     preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))
            children = pathlib.Path(f"/proc/{batch.pid}/task/{batch.pid}/children")
            deadline = time.monotonic() + 60
            while len(children.read_text().split()) < 2 and time.monotonic() < deadline:
                time.sleep(0.02)
            renders = children.read_text().split()
            self.assertEqual(len(renders), 2)
            batch.send_signal(stop)  # to the batch alone
            _, complaint = batch.communicate(timeout=120)
            self.assertEqual((batch.returncode, complaint), (CANCELLED, b"morva: cancelled\n"))
            self.assertFalse(any(os.path.exists(f"/proc/{render}") for render in renders))
            self.assertEqual(self.made(), [])


if __name__ == "__main__":
    main()
