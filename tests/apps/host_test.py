"""The command-line host from outside: verbs, exit codes, what lands on the disk and what not."""

import argparse
import io
import json
import os
import pathlib
import pty
import resource
import select
import signal
import struct
import subprocess
import sys
import tempfile
import unittest

import numpy as np
from PIL import Image, ImageCms

import picture_files as files

HOST = OPTION_LIST = None
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
        """The exit code, one line of complaint, nothing on stdout, nothing left on the disk."""
        before = sorted(self.out.iterdir())
        result = run_host(*arguments, **keywords)
        complaint = result.stderr.decode()
        self.assertEqual(result.returncode, code, complaint)
        self.assertRegex(complaint, r"\Amorva: [^\n]+\n\Z")
        self.assertIn(saying, complaint)
        self.assertEqual(result.stdout, b"")
        self.assertEqual(sorted(self.out.iterdir()), before)

    def small_picture(self, name="in.exr", **header):
        """A ramp with some colour, as EXR."""
        y, x = np.mgrid[0:24, 0:36]
        planes = {"R": x / 30.0, "G": y / 20.0, "B": 0.02 * (x + y)}
        path = self.folder / name
        files.write_exr(path, planes, **header)
        return path

    def rendered(self, source, *arguments):
        target = self.out / f"{source.stem}.exr"
        self.succeed("render", source, "-o", target, "--force", *arguments)
        return files.read_exr(target)[0]


class CommandLine(HostCase):
    def test_help_and_version_are_data(self):
        self.assertIn("Exit codes:", self.succeed("--help"))
        self.assertIn("--set", self.succeed("render", "--help"))
        self.assertRegex(self.succeed("--version"), r"\Amorva \d+\.\d+")

    def test_wrong_command_lines(self):
        source, target = self.small_picture(), self.out / "a.png"
        for arguments in (
            [], ["develop"], ["render"], ["render", source], ["list"], ["list", "cameras"],
            ["render", source, "-o", target, "--seed", "many"],
            ["render", source, "-o", target, "--quality", "101"],
            ["render", source, "-o", target, "--set", "=1"],
            ["render", source, "another", "-o", target],
            ["render", source, "-o", target, "--source-exposure", "off", "--set", "_source_gain=2"],
        ):
            with self.subTest(arguments=arguments):
                self.fail_with(USAGE, *arguments)

    def test_wrong_framing(self):
        """The complaint names the flag and what it was given."""
        source, target = self.small_picture(), self.out / "a.png"
        for flag, words in (("--crop", ("0,0,1", "0,0,1,1,", "0,0,,1", "0,0,nan,1", "0,0,0,1",
                                        "0,0,36,24", "-0.1,0,1,1", "0,+-0.1,1,1")),
                            ("--angle", ("inf", " ", "1.5deg", "++1")),
                            ("--rotate", ("45", "-90"))):
            for word in words:
                with self.subTest(flag=flag, word=word):
                    self.fail_with(USAGE, "render", source, "-o", target, f"{flag}={word}",
                                   saying=f"{flag} takes")

    def test_full_standard_output_is_a_failure(self):
        with open("/dev/full", "wb") as full:
            result = subprocess.run([HOST, "options"], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, FAILED)


class OutputPlace(HostCase):
    def test_an_existing_file_is_kept_without_force(self):
        source, target = self.small_picture(), self.out / "a.png"
        target.write_text("mine")
        self.fail_with(USAGE, "render", source, "-o", target, saying="--force")
        self.assertEqual(target.read_text(), "mine")
        self.succeed("render", source, "-o", target, "--force")
        self.assertEqual(_opened(target).format, "PNG")
        self.assertEqual(target.stat().st_mode & 0o777, 0o666 & ~_umask())

    def test_places_that_cannot_be_written(self):
        source = self.small_picture()
        (self.out / "folder.png").mkdir()
        for target, bits in (
            (self.out / "missing" / "a.png", "8"), (self.out / "a.bmp", "8"), (self.out / "a", "8"),
            (self.out / "folder.png", "8"), (self.out / "a.png", "32f"), (self.out / "a.jpg", "16"),
            (self.out / "a.exr", "8"),
        ):
            with self.subTest(target=target):
                self.fail_with(USAGE, "render", source, "-o", target, "--bits", bits)
                self.fail_with(USAGE, "demo", "-o", target, "--bits", bits, "--force")

    def test_a_full_disk_leaves_nothing(self):
        source = self.folder / "noise.exr"
        noise = np.random.default_rng(1).uniform(0, 1, (3, 64, 96))
        files.write_exr(source, dict(zip("RGB", noise)))

        def tiny_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1500, 1500))

        for name in ("a.png", "a.tif", "a.jpg", "a.exr"):
            with self.subTest(name=name):
                self.fail_with(FAILED, "render", source, "-o", self.out / name, "--quality", "100",
                               saying="cannot write", preexec_fn=tiny_disk, restore_signals=False)


class Inputs(HostCase):
    def test_what_cannot_be_opened(self):
        target = self.out / "a.png"
        self.fail_with(USAGE, "render", self.folder / "none.exr", "-o", target, saying="none.exr")
        self.fail_with(USAGE, "render", self.folder, "-o", target)
        os.mkfifo(self.folder / "pipe.exr")
        self.fail_with(USAGE, "render", self.folder / "pipe.exr", "-o", target)

    def test_what_cannot_be_decoded(self):
        target = self.out / "a.png"
        (self.folder / "broken.png").write_bytes(b"\x89PNG\r\n\x1a\nnot really")
        whole = self.small_picture().read_bytes()
        for cut in (6, 150, len(whole) // 2, len(whole) - 3):
            (self.folder / f"cut{cut}.exr").write_bytes(whole[:cut])
        channels = [(name, files.FLOAT) for name in "BGR"]
        huge = files.exr_header(channels, 200_000, 200_000)
        (self.folder / "huge.exr").write_bytes(huge + bytes(64))
        for path in sorted(self.folder.glob("*.*")):
            if path.name != "in.exr":
                with self.subTest(path=path.name):
                    self.fail_with(FAILED, "render", path, "-o", target)

    def test_exr_channels(self):
        plane = np.linspace(0.0, 2.0, 24 * 36).reshape(24, 36)
        for channels in ("Z", "GR"):
            files.write_exr(self.folder / "odd.exr", {name: plane for name in channels})
            self.fail_with(FAILED, "render", self.folder / "odd.exr", "-o", self.out / "a.png",
                           saying=", ".join(channels))

    def test_one_picture_in_many_files(self):
        """Half values, a shifted data window, alpha, the Rec. 709 label and a grey channel of its
        own change nothing."""
        plane = np.float16(np.linspace(0.0, 2.0, 24 * 36).reshape(24, 36))
        planes = {name: plane for name in "RGB"}
        sheets = []
        for picture, header in ((planes, {}), (planes, {"half": True}), ({"Y": plane}, {}),
                                (planes, {"origin": (-7, 1000)}), ({**planes, "A": 0 * plane}, {}),
                                (planes, {"chromaticities": files.REC709})):
            files.write_exr(self.folder / "p.exr", picture, **header)
            sheets.append(self.rendered(self.folder / "p.exr"))
            np.testing.assert_array_equal(sheets[-1], sheets[0], err_msg=str(header))

    def test_other_primaries_keep_white_and_gain_colour(self):
        wide = (0.708, 0.292, 0.170, 0.797, 0.131, 0.046, 0.3457, 0.3585)  # white of 5000 K
        grey = {name: np.full((24, 36), 0.18) for name in "RGB"}
        red = {**grey, "G": np.full((24, 36), 0.02), "B": np.full((24, 36), 0.02)}
        sheets = []
        for i, (planes, label) in enumerate(((grey, files.REC709), (grey, wide),
                                             (red, files.REC709), (red, wide))):
            files.write_exr(self.folder / f"p{i}.exr", planes, chromaticities=label)
            sheets.append(self.rendered(self.folder / f"p{i}.exr").mean(axis=(0, 1)))
        np.testing.assert_allclose(sheets[1], sheets[0], rtol=1e-3)
        colour = [sheet[0] - sheet[1] for sheet in sheets]
        self.assertGreater(colour[3], 1.02 * colour[2])

    def test_info(self):
        exr = json.loads(self.succeed("info", self.small_picture(), "--json"))
        self.assertEqual((exr["width"], exr["height"]), (36, 24))
        self.assertEqual(sorted(exr["channels"]), ["B", "G", "R"])
        Image.new("RGB", (20, 10)).save(self.folder / "p.png")
        self.assertRegex(self.succeed("info", self.folder / "p.png"), r"(?m)^width +20$")


class DemoScene(HostCase):
    def test_the_scene_has_what_films_are_judged_by(self):
        self.succeed("demo", "-o", self.out / "d.exr")
        scene, attributes = files.read_exr(self.out / "d.exr")
        self.assertEqual(attributes["chromaticities"], struct.pack("<8f", *files.REC709))
        self.assertEqual(scene.shape, (1200, 1800, 3))
        self.assertTrue(np.isfinite(scene).all() and (scene >= 0).all())
        luma = scene @ np.array([0.2126, 0.7152, 0.0722])
        self.assertGreater((luma > 20).sum(), 300, "cores of lamps")
        self.assertGreater((luma < 0.004).mean(), 0.02, "deep shadow")

        before = (self.out / "d.exr").read_bytes()
        self.succeed("demo", "-o", self.out / "d.exr", "--force")
        self.assertEqual((self.out / "d.exr").read_bytes(), before, "the same file again")


class FileContents(HostCase):
    """One render written in every way: the same values, as far as each format holds them."""

    def setUp(self):
        super().setUp()
        source = self.small_picture()
        for name, *arguments in (("a.exr",), ("f.tif", "--bits", "32f"), ("16.tif",), ("16.png",),
                                 ("8.tif", "--bits", 8), ("8.png", "--bits", 8), ("a.jpg",)):
            self.succeed("render", source, "-o", self.out / name, *arguments)
        self.linear = files.read_exr(self.out / "a.exr")[0]

    def test_linear_files_hold_the_same_floats(self):
        samples, tags = files.read_tiff(self.out / "f.tif")
        self.assertEqual(tags[339], (3, 3, 3))
        np.testing.assert_array_equal(samples, self.linear)

    def test_integers_are_the_srgb_curve(self):
        eight, deep = files.srgb_encode(self.linear, 255), files.srgb_encode(self.linear, 65535)
        peer = {name: np.asarray(_opened(self.out / name)).astype(int)
                for name in ("8.png", "8.tif", "16.png", "a.jpg")}
        self.assertEqual((self.out / "16.png").read_bytes()[24], 16, "bits a sample")
        for name, codes, expected in (("8.png", peer["8.png"], eight),
                                      ("8.tif", peer["8.tif"], eight),
                                      ("16.png", peer["16.png"], deep // 256),  # as the peer cuts it
                                      ("16.tif", files.read_tiff(self.out / "16.tif")[0], deep)):
            error = np.abs(codes - expected)
            # The peer's power differs in its last digits: a tie may fall the other way.
            self.assertLessEqual(error.max(), 1, name)
            self.assertLess((error > 0).mean(), 1e-3, name)
        self.assertLess(np.abs(peer["a.jpg"] - eight).mean(), 2.5)

    def test_every_file_names_its_colours(self):
        descriptions = {"16.png": "sRGB", "8.png": "sRGB", "a.jpg": "sRGB", "16.tif": "sRGB",
                        "f.tif": "sRGB linear"}
        for name, description in descriptions.items():
            if name.endswith(".tif"):
                icc = bytes(files.read_tiff(self.out / name)[1][34675])
            else:
                icc = _opened(self.out / name).info["icc_profile"]
            profile = ImageCms.ImageCmsProfile(io.BytesIO(icc))
            self.assertEqual(ImageCms.getProfileDescription(profile).strip(), description, name)
            self.assertEqual(struct.unpack(">6H", icc[24:36]), (2026, 1, 1, 0, 0, 0))
        self.assertNotIn(b"tIME", (self.out / "8.png").read_bytes())
        self.assertEqual([layer[1:3] for layer in _opened(self.out / "a.jpg").layer], [(1, 1)] * 3,
                         "no colour subsampling")


class Rendering(HostCase):
    def test_report(self):
        source = self.small_picture()
        target = self.out / "b.TIF"
        report = json.loads(self.succeed("render", source, "-o", target, "--bits", 8, "--json"))
        self.assertEqual((report["output"], report["film"], report["lens"], report["paper"]),
                         (str(target), "everyday_400", "plain", None))
        self.assertEqual(report["input"], {"file": str(source), "width": 36, "height": 24})
        self.assertEqual((report["seed"], report["print_cm"]), (20260821, 30.0))
        self.assertEqual(_opened(target).size, (report["width"], report["height"]))
        self.assertEqual(self.succeed("render", source, "-o", self.out / "d.png"),
                         f"{self.out / 'd.png'}\n")
        self.assertEqual(self.succeed("render", source, "-o", self.out / "e.jpeg", "--quiet"), "")

    def test_framing(self):
        """The flags are options by another name, and win over them."""
        source = self.small_picture()
        flags = ["--crop", "0.25,0,0.5,1", "--angle", "-3.5", "--rotate", "90", "--mirror"]
        settings = [word for setting in ("crop=[0.25,0,0.5,1]", "crop_angle=-3.5", "rotate=90",
                                         "mirror=true") for word in ("--set", setting)]
        sheet = self.rendered(source, *flags, "--set", "crop=null", "--set", "rotate=180")
        self.assertEqual(sheet.shape, (18, 24, 3))
        np.testing.assert_array_equal(sheet, self.rendered(source, *settings))

    def test_a_film_comes_in_its_own_format(self):
        source, film = self.small_picture(), ["--film", "dry_plate"]
        own = self.rendered(source, *film)
        np.testing.assert_array_equal(own, self.rendered(source, *film, "--set", "format=plate"))
        self.assertTrue((own != self.rendered(source, *film, "--set", "format=135")).any())

    def test_straightening(self):
        """A crop that reaches into what the turn emptied is rendered, with a warning."""
        source, plain = self.small_picture(), ["--set", "grain_mult=0"]
        result = run_host("render", source, "-o", self.out / "a.exr", "--angle", "4", "--crop",
                          "0,0,1,1", *plain)
        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stderr, rb"\Amorva: warning: the crop [^\n]+\n\Z")

    def test_source_exposure(self):
        dark = self.folder / "dark.png"
        Image.new("RGB", (36, 24), (60, 60, 60)).save(dark)
        light = ((60 / 255 + 0.055) / 1.055) ** 2.4

        def gain(source, *arguments):
            told = self.succeed("render", source, "-o", self.out / "a.exr", "--json", "--force",
                                *arguments)
            return json.loads(told)["source_gain"]

        self.assertAlmostEqual(gain(dark), 0.15 / light, delta=1e-3)
        self.assertIsNone(gain(dark, "--source-exposure", "off"))
        chosen = ["--set", "src_exposure=as_shot"]
        self.assertEqual(gain(dark, *chosen), 1.44)
        self.assertGreater(gain(dark, *chosen, "--source-exposure", "shadows"), 3)
        scene = self.small_picture()
        self.assertIsNone(gain(scene), "scene-linear light is taken as it is")
        self.assertGreater(gain(scene, "--source-exposure", "auto"), 0)

    def test_options_win_in_order(self):
        source = self.small_picture()
        one, two = self.folder / "one.json", self.folder / "two.json"
        one.write_text('{"print_cm": 10, "seed": 1, "sheet_cm": null}')
        two.write_text('{"print_cm": 20, "seed": 2}')

        def report(*arguments):
            target = self.out / "a.exr"
            told = json.loads(self.succeed("render", source, "-o", target, "--json", "--force",
                                           *arguments))
            return told["print_cm"], told["seed"]

        both = ["--options", one, "--options", two]
        self.assertEqual(report(*both), (20, 2))
        self.assertEqual(report("--set", "print_cm=40", *both, "--set", "seed=3"), (40, 3))
        self.assertEqual(report("--set", "seed=3", "--seed", "-4"), (30.0, -4))

    def test_failures_of_the_engine_keep_their_code(self):
        source, target = self.small_picture(), self.out / "a.png"
        self.fail_with(PROFILE, "render", source, "-o", target, "--lens", "no_such_one",
                       saying="no_such_one")
        self.fail_with(OPTIONS, "render", source, "-o", target, "--set", "colour=1",
                       saying="colour")
        deep = self.folder / "deep.json"
        for text in ("{", '{"crop": ' + "[" * 100_000 + "]" * 100_000 + "}"):
            deep.write_text(text)
            self.fail_with(OPTIONS, "render", source, "-o", target, "--options", deep)
        self.fail_with(OPTIONS, "render", source, "-o", target, "--set", b"stamp_text=\xff".decode(
            errors="surrogateescape"))

    def test_ctrl_c_leaves_nothing(self):
        """On a terminal: the line of progress tells when the render is under way."""
        planes = dict(zip("RGB", np.random.default_rng(2).uniform(0, 1, (3, 2400, 3600))))
        source = self.folder / "large.exr"
        files.write_exr(source, planes, half=True)
        for stop in (signal.SIGINT, signal.SIGTERM):
            code, printed, screen = _stop_while_rendering(source, self.out / "a.png", stop)
            self.assertEqual(code, CANCELLED, screen)
            self.assertEqual(printed, b"")
            self.assertEqual(list(self.out.iterdir()), [])
            self.assertRegex(screen, rb"\d+\.\d s  rendering on everyday_400")
            self.assertIn(b"\r\x1b[Kmorva: cancelled", screen)


class Planning(HostCase):
    def planned(self, source, *arguments):
        return json.loads(self.succeed("plan", source, "--json", *arguments))

    def test_the_sheet_is_the_one_that_is_rendered(self):
        photo = self.folder / "p.png"
        Image.new("RGB", (40, 30), (90, 60, 30)).save(photo)
        around = ["--set", "border=0.1", "--set", "mat=classic", "--set", "mat_width_cm=2"]
        for arguments in (
            [], ["--angle", "5", "--crop", "0.3,0.3,0.4,0.4"], ["--film", "peel_apart_100"],
            ["--paper", "crt_delta"],
            ["--film", "silver_400", "--paper", "bw_warm", "--crop", "0.1,0.2,0.5,0.7", "--rotate",
             "90", "--set", "frame_style=wide", "--set", "frame_size=full", *around],
        ):
            for source in (self.small_picture(), photo):
                with self.subTest(arguments=arguments, source=source.name):
                    sheet = self.planned(source, *arguments)["sheet"]
                    self.assertEqual(self.rendered(source, *arguments).shape[:2],
                                     (sheet["height"], sheet["width"]))

    def test_sizes_on_the_way(self):
        plan = self.planned("demo", "--film", "silver_400", "--paper", "bw_warm", "--crop",
                            "0,0,0.5,1", "--rotate", "90", "--set", "print_cm=24", "--set",
                            "border=0.25", "--set", "frame_size=full")
        self.assertEqual(plan["input"], {"file": "demo", "width": 1800, "height": 1200})
        self.assertEqual(plan["crop"], {"width": 900, "height": 1200})
        self.assertEqual((plan["raster"]["width"], plan["raster"]["height"]), (1200, 900))
        self.assertAlmostEqual(plan["raster"]["um_per_px"] * 1.2,
                               plan["facts"]["window"]["long_mm"])
        self.assertEqual(plan["print"], {"width": 1200, "height": 900, "width_cm": 24.0,
                                         "height_cm": 18.0})
        self.assertAlmostEqual(plan["sheet"]["width_cm"], 36.0)
        self.assertEqual((plan["frame_aspect"], plan["forced_aspect"]), (1.5, 0))

        card = self.planned("demo", "--film", "instant_square")
        self.assertEqual((card["raster"]["width"], card["raster"]["height"]), (1200, 1200))
        self.assertEqual((card["forced_aspect"], card["grain_cap_px"]), (1, 0))

        table = self.succeed("plan", "demo")
        self.assertRegex(table, r"(?m)^raster +1800 x 1200 pixels, 20\.00 um per pixel$")
        self.assertRegex(table, r"(?m)^sheet +1800 x 1200 pixels, 30\.0 x 20\.0 cm$")

    def test_a_sheet_too_large_is_refused_before_it_is_rendered(self):
        source, target = self.small_picture(), self.out / "a.png"
        for setting, saying in (("border=500", "36036 x 36024 px"), ("border=1e9", "what surrounds the picture"),
                                ("colour=1", "colour")):
            with self.subTest(setting=setting):
                self.fail_with(OPTIONS, "render", source, "-o", target, "--set", setting,
                               saying=saying)
                self.fail_with(OPTIONS, "plan", source, "--set", setting, saying=saying)

        long = self.folder / "long.exr"
        files.write_exr(long, {"Y": np.full((2, 32770), 0.18)})
        whole = ["--set", "master_cap=false"]
        self.assertTrue(self.planned(long)["fits"])
        told = run_host("plan", long, "--json", *whole)
        self.assertFalse(json.loads(told.stdout)["fits"])
        self.assertIn(b"warning: the sheet would be 32770 x 2 pixels", told.stderr)
        self.fail_with(OPTIONS, "render", long, "-o", target, *whole, saying="32770 x 2 pixels")


class Tables(HostCase):
    def test_options_are_those_of_the_library(self):
        table = json.loads(self.succeed("options", "--json"))
        self.assertEqual(table, json.loads(pathlib.Path(OPTION_LIST).read_text()))
        lines = self.succeed("options").splitlines()
        self.assertEqual([line.split()[0] for line in lines], [entry["key"] for entry in table])

    def test_list(self):
        for section in ("films", "lenses", "papers", "filters"):
            profiles = json.loads(self.succeed("list", section, "--json"))
            names = [profile["name"] for profile in profiles]
            self.assertEqual(names, sorted(names))
            lines = self.succeed("list", section).splitlines()
            self.assertEqual([line.split()[0] for line in lines], names)
            for profile in profiles:
                self.assertRegex(profile["description"], r"\A.{8,}\Z", profile["name"])

    def test_list_of_another_folder(self):
        films = self.folder / "films"
        films.mkdir()
        for name, text in (("b", '{"description": "second"}'), ("a", "{}"), ("broken", "{"),
                           ("secret", '{"hidden": 1}'),
                           ("shown", '{"hidden": "", "description": "third"}')):
            (films / f"{name}.json").write_text(text)
        (films / "notes.txt").write_text("no profile")
        (films / "folder.json").mkdir()
        (films / "dangling.json").symlink_to("nowhere")
        elsewhere = {**os.environ, "MORVA_PROFILES_DIR": str(self.folder)}
        listed = self.succeed("list", "films", env=elsewhere).splitlines()
        self.assertEqual(listed, ["a", "b       second", "broken  (cannot be read)",
                                  "shown   third"])
        self.fail_with(PROFILE, "list", "papers", env=elsewhere)


def _opened(path):
    return Image.open(io.BytesIO(path.read_bytes()))


def _umask():
    mask = os.umask(0)
    os.umask(mask)
    return mask


def _stop_while_rendering(source, target, stop):
    """Exit code, standard output, and what stood on the terminal."""
    terminal, other_end = pty.openpty()

    host = subprocess.Popen(
        [HOST, "render", str(source), "-o", str(target)], stdout=subprocess.PIPE, stderr=other_end,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))  # as in a shell
    os.close(other_end)
    screen, stopped = b"", False
    while True:
        ready, _, _ = select.select([terminal], [], [], 120)
        try:
            piece = os.read(terminal, 4096) if ready else b""
        except OSError:  # how a terminal says that nobody is left
            piece = b""
        if not piece:
            break
        screen += piece
        if not stopped and b"rendering" in screen:
            host.send_signal(stop)
            stopped = True
    printed, _ = host.communicate(timeout=120)
    os.close(terminal)
    return host.returncode, printed, screen


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--host", required=True)
    parser.add_argument("--option-list", required=True)
    known, rest = parser.parse_known_args()
    HOST, OPTION_LIST = os.path.abspath(known.host), known.option_list
    unittest.main(argv=[sys.argv[0], *rest])
