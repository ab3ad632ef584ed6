"""Settings that are written down: presets, what a picture tells of itself, and standard streams."""

import json
import os
import subprocess

import numpy as np
from PIL import Image

import picture_files as files
from host_case import FAILED, HOST, OPTIONS, PROFILE, SOURCE, USAGE, HostCase, main, opened, run_host

SETTING = ["--film", "silver_400", "--lens", "swirl", "--paper", "bw_warm", "--crop", "0.1,0,0.8,1", "--rotate",
           "90", "--set", "grade=3", "--set", "stamp_text=ü", "--source-exposure", "shadows", "--seed", "7"]


class Presets(HostCase):
    def setUp(self):
        super().setUp()
        self.source = self.folder / "p.png"
        y, x = np.mgrid[0:24, 0:36]
        Image.fromarray(np.uint8(np.stack([x * 7, y * 10, x + y], -1))).save(self.source)

    def environment(self, **more):
        return {**os.environ, "XDG_CONFIG_HOME": str(self.folder / "config"), **more}

    def preset(self, name, **content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps(content))
        return path

    def test_a_saved_setting_gives_the_same_bytes(self):
        """And so does a picture that was rendered with it, in every format, from another folder, too."""
        saved = self.folder / "saved.json"
        for name in ("a.png", "a.tif", "a.jpg", "a.exr"):
            with self.subTest(name=name):
                first, *others = (self.out / f"{i}{name}" for i in range(5))
                self.succeed("render", self.source, "-o", first, *SETTING, "--save-options", saved, "--force")
                self.succeed("render", self.source, "-o", others[0], "--preset", saved)
                self.succeed("render", self.source, "-o", others[1], "--preset", first)
                self.succeed("render", first, "--again", "--quiet", "-o", others[2], cwd="/")
                for other in others[:3]:
                    self.assertEqual(other.read_bytes(), first.read_bytes())
                self.succeed("render", first, "--again", "--quiet", "-o", others[3], "--seed", "8")
                self.assertNotEqual(others[3].read_bytes(), first.read_bytes())
        self.assertNotIn("source", json.loads(saved.read_text()))

    def test_the_setting_is_where_others_find_it(self):
        for name in ("a.png", "a.tif", "a.jpg"):
            self.succeed("render", self.source, "-o", self.out / name, *SETTING)
        self.succeed("render", self.source, "-o", self.out / "bare.jpg", *SETTING, "--no-metadata")
        tiff = bytes(files.read_tiff(self.out / "a.tif")[1][270]).rstrip(b"\0")
        for text in (opened(self.out / "a.png").text["morva"], opened(self.out / "a.jpg").info["comment"], tiff):
            told = json.loads(text)
            self.assertEqual((told["film"], told["source"], told["options"]["stamp_text"]),
                             ("silver_400", str(self.source), "ü"))
        self.assertNotIn("comment", opened(self.out / "bare.jpg").info)

    def test_a_source_is_found_from_the_picture_too(self):
        self.succeed("render", "p.png", "-o", "print.png", cwd=self.folder)
        told = run_host("render", self.folder / "print.png", "--again", "-o", self.out / "a.png")
        self.assertEqual((told.returncode, told.stderr.decode()), (0, f"rendered from {self.source}\n"))
        self.source.unlink()
        again = ["render", self.folder / "print.png", "--again", "-o", self.out / "b.png"]
        self.fail_with(USAGE, *again, saying="p.png")

    def test_later_wins(self):
        one = self.preset("one.json", title="One", film="silver_125", paper="bw_warm", options={"grade": 1, "seed": 1})
        two = self.preset("two.json", film="silver_400", paper=None, options={"grade": 2})
        for arguments, expected in (
            (["--preset", one, "--preset", two], ("silver_400", None, 1, "plain")),
            (["--preset", two, "--preset", one], ("silver_125", "bw_warm", 1, "plain")),
            (["--film", "silver_50", "--preset", one, "--set", "seed=5", "--lens", "swirl"],
             ("silver_50", "bw_warm", 5, "swirl")),
        ):
            report = self.report(self.source, *arguments)
            self.assertEqual((report["film"], report["paper"], report["seed"], report["lens"]), expected)

    def test_how_the_source_is_metered_is_one_thing(self):
        """Whichever of its three names a preset or the command line gives it, the later one counts."""
        mode = self.preset("mode.json", source_exposure="shadows")
        option = self.preset("option.json", options={"src_exposure": "shadows"})
        gain = self.preset("gain.json", options={"_source_gain": 2.0})
        for arguments, expected in (
            (["--preset", mode, "--set", "src_exposure=as_shot"], 1.44), (["--preset", mode, "--preset", gain], 2.0),
            (["--preset", mode, "--set", "_source_gain=3"], 3), (["--preset", option, "--set", "_source_gain=3"], 3),
            (["--preset", gain, "--source-exposure", "as_shot"], 1.44),
            (["--preset", gain, "--set", "src_exposure=as_shot"], 1.44),
        ):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.report(self.source, *arguments)["source_gain"], expected)

    def test_a_preset_through_a_pipe(self):
        reader, writer = os.pipe()
        os.write(writer, b'{"film": "silver_50"}')
        os.close(writer)
        plan = self.succeed("plan", self.source, "--json", "--preset", f"/dev/fd/{reader}", pass_fds=[reader])
        os.close(reader)
        self.assertEqual(json.loads(plan)["film"], "silver_50")

    def test_a_preset_does_not_take_the_place_of_its_picture(self):
        target = self.out / "a.png"
        for saved in (target, self.out / ".." / "out" / "a.png", "-"):
            self.fail_with(USAGE, "render", self.source, "-o", target, "--save-options", saved, "--force",
                           saying="--save-options")

    def test_names(self):
        """The user's own are found by name, and win over the shipped ones."""
        self.preset("config/morva/presets/mine.json", film="silver_50")
        self.preset("config/morva/presets/album_page.json", film="silver_3200")
        for name, film in (("mine", "silver_50"), ("album_page", "silver_3200"), ("botanist", "ortho_25")):
            plan = json.loads(self.succeed("plan", self.source, "--json", "--preset", name, env=self.environment()))
            self.assertEqual(plan["film"], film)
        listed = json.loads(self.succeed("list", "presets", "--json", env=self.environment()))
        self.assertIn("mine", [entry["name"] for entry in listed])
        self.fail_with(PROFILE, "plan", self.source, "--preset", "albumpage", saying="did you mean album_page?")

    def test_shipped_presets(self):
        shipped = sorted((SOURCE / "profiles" / "presets").glob("*.json"))
        self.assertGreaterEqual(len(shipped), 8)
        for path in shipped:
            with self.subTest(preset=path.stem):
                preset = json.loads(path.read_text())
                self.assertRegex(preset["title"], r"\A[A-Z].{3,}\Z")
                self.assertRegex(preset["description"], r"\A[A-Z].{20,}\Z")
                self.succeed("render", self.source, "-o", self.out / f"{path.stem}.jpg", "--preset", path.stem)

    def test_what_is_no_preset(self):
        picture = self.folder / "blank.png"
        Image.new("RGB", (4, 4)).save(picture)
        (self.folder / "list.json").write_text("[1]")
        (self.folder / "cut.png").write_bytes(b"\x89PNG\r\n\x1a\n\xff\xff\xff\xf0iTXtmorva\0")
        for path, code, saying in (
            (self.preset("key.json", opts={}), OPTIONS, "opts"), (self.preset("kind.json", film=3), OPTIONS, "film"),
            (self.preset("mode.json", source_exposure="dim"), OPTIONS, "dim"),
            (picture, OPTIONS, "does not tell"), (self.folder / "list.json", OPTIONS, "no JSON object"),
            (self.folder / "cut.png", OPTIONS, "does not tell"), (self.folder / "none.json", USAGE, "none.json"),
            (self.folder, USAGE, "folder"), (self.folder / ("a" * 300 + ".json"), USAGE, "no such preset file"),
            (self.preset("escape.json", film="\x1b[2J"), OPTIONS, "control character"),
        ):
            with self.subTest(path=path.name):
                self.fail_with(code, "render", self.source, "-o", self.out / "a.png", "--preset", path, saying=saying)


class StandardStreams(HostCase):
    def test_through_a_pipe(self):
        source = self.small_picture()
        self.succeed("render", source, "-o", self.out / "a.tif", "--no-metadata")
        piped = run_host("render", "-", "-o", "-", "--format", "tif", "--no-metadata", input=source.read_bytes(),
                         env={**os.environ, "TMPDIR": str(self.folder)})
        self.assertEqual((piped.returncode, piped.stderr), (0, b""))
        self.assertEqual(piped.stdout, (self.out / "a.tif").read_bytes())
        self.assertEqual(list(self.folder.glob(".morva*")), [], "nothing is left of what was held")
        plan = json.loads(self.succeed("plan", "-", "--json", input=source.read_bytes()))
        self.assertEqual(plan["input"], {"file": "-", "width": 36, "height": 24})

    def test_what_cannot_be_piped(self):
        source = self.small_picture()
        self.fail_with(USAGE, "render", source, "-o", "-", saying="--format")
        self.fail_with(USAGE, "render", source, "-o", "-", "--format", "png", "--json", saying="--json")
        self.fail_with(FAILED, "render", "-", "-o", self.out / "a.png", input=b"")
        with open("/dev/full", "wb") as full:
            for verb in (["demo"], ["render", source]):  # a large one and one that fits into a buffer
                result = subprocess.run([HOST, *verb, "-o", "-", "--format", "jpg"], stdout=full,
                                        stderr=subprocess.PIPE)
                self.assertEqual(result.returncode, FAILED)


if __name__ == "__main__":
    main()
