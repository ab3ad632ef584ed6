"""Settings that are written down: presets, what a picture tells of itself, and standard streams."""

import json
import os
import pathlib
import re
import select
import signal
import subprocess
import time

import numpy as np
from PIL import Image

import picture_files as files
from host_case import CANCELLED, FAILED, HOST, OPTIONS, PROFILE, QUICK, SOURCE, USAGE, HostCase, opened, run_host

SETTING = ["--film", "silver_400", "--lens", "swirl", "--paper", "bw_warm", "--crop", "0.1,0,0.8,1", "--rotate",
           "90", "--set", "grade=3", "--set", "stamp_text=ü", "--source-exposure", "shadows", "--seed", "7"]


class Presets(HostCase):
    def setUp(self):
        super().setUp()
        self.source = self.folder / "p.png"
        y, x = np.mgrid[0:24, 0:36]
        Image.fromarray(np.uint8(np.stack([x * 7, y * 10, x + y], -1))).save(self.source)

    def preset(self, name, **content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps(content))
        return path

    def test_a_saved_setting_gives_the_same_bytes(self):
        """And so does a picture that was rendered with it, in every format, from another folder, too."""
        saved, again = self.folder / "saved.json", self.out / "again"
        for name in ("a.png", "a.tif", "a.jpg", "a.exr"):
            with self.subTest(name=name):
                first, other = self.out / name, ["-o", again, "--force", "--quiet", "--format", name[2:]]
                self.succeed("render", self.source, "-o", first, *SETTING, "--save-options", saved, "--force")
                for how in ([self.source, "--preset", first], [first, "--again"]):
                    self.succeed("render", *how, *other, cwd="/")
                    self.assertEqual(again.read_bytes(), first.read_bytes())
        self.succeed("render", self.source, "--preset", saved, *other)
        self.assertEqual(again.read_bytes(), first.read_bytes())
        self.succeed("render", first, "--again", "--seed", "8", *other)
        self.assertNotEqual(again.read_bytes(), first.read_bytes())
        self.assertNotIn("source", json.loads(saved.read_text()))

        # Where others find it.
        tiff = bytes(files.read_tiff(self.out / "a.tif")[1][270]).rstrip(b"\0")
        for text in (opened(self.out / "a.png").text["morva"], opened(self.out / "a.jpg").info["comment"], tiff):
            told = json.loads(text)
            self.assertEqual((told["film"], told["source"], told["options"]["stamp_text"]),
                             ("silver_400", str(self.source), "ü"))
        self.succeed("render", self.source, "-o", self.out / "bare.jpg", *SETTING, *QUICK, "--no-metadata")
        self.assertNotIn("comment", opened(self.out / "bare.jpg").info)

    def test_a_source_is_found_from_the_picture_too(self):
        self.source = self.source.rename(self.folder / "p\tq.png")
        self.succeed("render", self.source.name, "-o", "print.png", *QUICK, cwd=self.folder)
        again = ["render", self.folder / "print.png", "--again", "-o", self.out / "a.png"]
        self.assertEqual(run_host(*again).stderr.decode(), f"rendered from {self.folder}/p?q.png\n")
        self.source.unlink()
        self.fail_with(USAGE, *again, "--force", saying="p?q.png")

    def test_later_wins(self):
        """Whichever of its three names a preset or the command line gives the metering: it is one thing."""
        one = self.preset("one.json", title="One", film="silver_125", paper="bw_warm", options={"grade": 1, "seed": 1})
        two = self.preset("two.json", film="silver_400", paper=None, options={"grade": 2})
        low, high = self.preset("low.json", print_cm=10, seed=2, sheet_cm=None), self.preset("high.json", print_cm=20)
        mode = self.preset("mode.json", source_exposure="shadows")
        option = self.preset("option.json", options={"src_exposure": "shadows"})
        gain = self.preset("gain.json", options={"_source_gain": 2.0})
        for arguments, expected in (
            (["--preset", one, "--preset", two], {"film": "silver_400", "paper": None, "seed": 1, "lens": "plain"}),
            (["--film", "silver_50", "--preset", two, "--preset", one, "--set", "seed=5", "--lens", "swirl"],
             {"film": "silver_50", "paper": "bw_warm", "seed": 5, "lens": "swirl"}),
            (["--options", low, "--options", high, "--preset", one], {"print_cm": 20, "seed": 2}),
            (["--set", "print_cm=40", "--options", high, "--seed", "-4", "--set", "seed=3"],
             {"print_cm": 40, "seed": -4}),
            *((["--preset", below, *above], {"source_gain": expected}) for below, above, expected in (
                (mode, ["--set", "src_exposure=as_shot"], 1.44), (mode, ["--preset", gain], 2.0),
                (mode, ["--set", "_source_gain=3"], 3), (option, ["--set", "_source_gain=3"], 3),
                (gain, ["--source-exposure", "as_shot"], 1.44), (gain, ["--set", "src_exposure=as_shot"], 1.44))),
        ):
            with self.subTest(arguments=arguments):
                report = self.report(self.source, *arguments)
                self.assertEqual({key: report[key] for key in expected}, expected)

    def test_names_and_files(self):
        """The user's own are found by name, and win over the shipped ones; a pipe can be one."""
        own = {"env": {**os.environ, "XDG_CONFIG_HOME": str(self.folder / "config")}}
        self.preset("config/morva/presets/mine.json", film="silver_50")
        self.preset("config/morva/presets/album_page.json", film="silver_3200")
        for name, film in (("mine", "silver_50"), ("album_page", "silver_3200"), ("botanist", "ortho_25"),
                           ("/dev/stdin", "silver_125")):
            plan = self.succeed_json("plan", self.source, "--preset", name, input=b'{"film": "silver_125"}', **own)
            self.assertEqual(plan["film"], film)
        self.preset("config/morva/presets/my.v2.json")  # the name of a file
        listed = {entry["name"] for entry in self.succeed_json("list", "presets", **own)}
        self.assertEqual(listed & {"mine", "my.v2"}, {"mine"})
        self.fail_with(PROFILE, "plan", self.source, "--preset", "albumpage", saying="did you mean album_page?")

    def test_shipped_presets(self):
        shipped = sorted((SOURCE / "profiles" / "presets").glob("*.json"))
        self.assertGreaterEqual(len(shipped), 8)
        for path in shipped:
            preset = json.loads(path.read_text())
            self.assertRegex(preset["title"] + "\n" + preset["description"], r"\A[A-Z].{3,}\n[A-Z].{20,}\Z", path.stem)
            self.rendered(self.source, "--preset", path.stem)

    def test_what_is_no_preset(self):
        (self.folder / "list.json").write_text("[1]")
        (self.folder / "cut.png").write_bytes(b"\x89PNG\r\n\x1a\n\xff\xff\xff\xf0iTXtmorva\0")
        (self.folder / "long.json").write_text("{}" + " " * (4 << 20))
        render = ["render", self.source, "-o", self.out / "a.png"]
        for path, code, saying in (
            (self.preset("key.json", opts={}), OPTIONS, "opts"), (self.preset("kind.json", film=3), OPTIONS, "film"),
            (self.preset("mode.json", source_exposure="dim"), OPTIONS, "dim"), (self.folder, USAGE, "folder"),
            (self.photo("blank.png"), OPTIONS, "does not tell"), ("list.json", OPTIONS, "no JSON object"),
            ("cut.png", OPTIONS, "does not tell"), ("none.json", USAGE, "none.json"), ("long.json", USAGE, "4 MB"),
            ("a" * 300 + ".json", USAGE, "no such preset file"), ("/dev/zero", USAGE, "larger than 4 MB: /dev/zero"),
            (self.preset("escape.json", film="\x1b[2J"), OPTIONS, "control character"),
        ):
            with self.subTest(path=path):
                self.fail_with(code, *render, "--preset", self.folder / path, saying=saying)
        for saved in (self.out / "a.png", self.out / ".." / "out" / "a.png", "-"):
            self.fail_with(USAGE, *render, "--save-options", saved, "--force", saying="--save-options")


class StandardStreams(HostCase):
    def test_through_a_pipe(self):
        source, here = self.small_picture(), {"env": {**os.environ, "TMPDIR": str(self.folder)}}
        self.succeed("render", source, "-o", self.out / "a.tif", "--no-metadata", *QUICK)
        through = ["render", "-", "-o", "-", "--format", "tif", "--no-metadata", *QUICK]
        piped = run_host(*through, input=source.read_bytes(), **here)
        self.assertEqual((piped.returncode, piped.stderr), (0, b""))
        self.assertEqual(piped.stdout, (self.out / "a.tif").read_bytes())
        plan = self.succeed_json("plan", "-", input=source.read_bytes())
        self.assertEqual(plan["input"], {"file": "-", "width": 36, "height": 24})

        reader, nobody = os.pipe()
        os.close(reader)
        with open("/dev/full", "wb") as full:
            for verb in (["options"], ["demo", "-o", "-", "--format", "jpg"], through):  # small, large, one buffer
                for taker in [full, nobody][:len(verb)]:  # without a file to hold the pipe's end is the program's
                    result = run_host(*verb, input=source.read_bytes(), capture_output=False, stdout=taker,
                                      stderr=subprocess.DEVNULL, **here)
                    self.assertEqual(result.returncode, FAILED)
        os.close(nobody)
        self.assertEqual(list(self.folder.glob(".morva*")), [], "nothing is left of what was held")

    def test_a_stop_while_a_pipe_keeps_it_waiting(self):
        """A preset that nobody writes, a picture that nobody reads."""
        silent = self.folder / "silent.json"
        os.mkfifo(silent)
        for arguments in (["plan", "demo", "--preset", silent], ["demo", "-o", "-", "--format", "exr"]):
            host = subprocess.Popen([HOST, *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            self.addCleanup(host.stdout.close)
            self.addCleanup(host.kill)
            if arguments[0] == "demo":
                select.select([host.stdout], [], [], 60)
            waits, deadline = False, time.monotonic() + 60
            while not waits and time.monotonic() < deadline:
                status = pathlib.Path(f"/proc/{host.pid}/status").read_text()
                caught = int(re.search(r"SigCgt:\s*(\w+)", status)[1], 16)
                waits = caught >> (signal.SIGTERM - 1) & 1 and "State:\tS" in status
            host.terminate()
            self.assertEqual(host.wait(10), CANCELLED)

    def test_what_cannot_be_piped(self):
        render = ["render", self.small_picture(), "-o", "-"]
        self.fail_with(USAGE, *render, saying="--format")
        self.fail_with(USAGE, *render, "--format", "png", "--json", saying="--json")
        self.fail_with(FAILED, "render", "-", "-o", self.out / "a.png", input=b"")
