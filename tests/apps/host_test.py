"""The command-line host from outside: verbs, exit codes, what lands on the disk and what not."""

import contextlib
import io
import json
import os
import pty
import resource
import select
import signal
import struct
import subprocess

import numpy as np
from PIL import Image, ImageCms

import picture_files as files
from host_case import FAILED, CANCELLED, HOST, OPTIONS, PROFILE, SOURCE, USAGE, HostCase, main, opened, run_host

class CommandLine(HostCase):
    def test_help_and_version_are_data(self):
        self.assertIn("Exit codes:", self.succeed("--help"))
        self.assertIn("--set", self.succeed("render", "--help"))
        self.assertRegex(self.succeed("--version"), r"\Amorva \d+\.\d+")

    def test_wrong_command_lines(self):
        """The complaint about a framing names the flag and what it takes."""
        source = self.small_picture()
        render = ["render", source, "-o", self.out / "a.png"]
        wrong = [([*render, f"{flag}={word}"], f"{flag} takes") for flag, words in (
            ("--crop", ("0,0,1", "0,0,1,1,", "0,0,,1", "0,0,nan,1", "0,0,0,1", "0,0,36,24",
                        "-0.1,0,1,1", "0,+-0.1,1,1")),
            ("--angle", ("inf", " ", "1.5deg", "++1")), ("--rotate", ("45", "-90")),
        ) for word in words]
        wrong += [(arguments, "") for arguments in (
            [], ["develop"], ["render"], ["render", source], ["list"], ["list", "cameras"],
            [*render, "--seed", "many"], [*render, "--quality", "101"], [*render, "--set", "=1"],
            [*render, "another"], [*render, "--source-exposure", "off", "--set", "_source_gain=2"])]
        for arguments, saying in wrong:
            with self.subTest(arguments=arguments):
                self.fail_with(USAGE, *arguments, saying=saying)

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
        self.assertEqual(opened(target).format, "PNG")
        self.assertEqual(target.stat().st_mode, source.stat().st_mode)

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
        files.write_exr(source, dict(zip("RGB", np.random.default_rng(1).random((3, 64, 96)))))

        def tiny_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1500, 1500))

        for name in ("a.png", "a.tif", "a.jpg", "a.exr"):
            with self.subTest(name=name):
                self.fail_with(FAILED, "render", source, "-o", self.out / name, "--quality", "100",
                               saying="cannot write", preexec_fn=tiny_disk, restore_signals=False)


class Inputs(HostCase):
    def test_what_cannot_beopened(self):
        os.mkfifo(self.folder / "pipe.exr")
        for source in (self.folder / "none.exr", self.folder, self.folder / "pipe.exr"):
            self.fail_with(USAGE, "render", source, "-o", self.out / "a.png", saying=source.name)

    def test_what_cannot_be_decoded(self):
        (self.folder / "broken.png").write_bytes(b"\x89PNG\r\n\x1a\nnot really")
        whole = self.small_picture().read_bytes()
        for cut in (6, 150, len(whole) // 2, len(whole) - 3):
            (self.folder / f"cut{cut}.exr").write_bytes(whole[:cut])
        huge = files.exr_header([(name, files.FLOAT) for name in "BGR"], 200_000, 200_000)
        (self.folder / "huge.exr").write_bytes(huge + bytes(64))
        for path in sorted(set(self.folder.glob("*.*")) - {self.folder / "in.exr"}):
            with self.subTest(path=path.name):
                self.fail_with(FAILED, "render", path, "-o", self.out / "a.png")
        for channels in ("Z", "GR"):
            files.write_exr(path, dict.fromkeys(channels, np.zeros((24, 36))))
            self.fail_with(FAILED, "render", path, "-o", self.out / "a.png",
                           saying=", ".join(channels))

    def test_one_picture_in_many_files(self):
        """Half values, a shifted data window, alpha, the Rec. 709 label and a grey channel of its
        own change nothing."""
        plane = np.float16(np.linspace(0.0, 2.0, 24 * 36).reshape(24, 36))
        planes, sheets = dict.fromkeys("RGB", plane), []
        for picture, header in ((planes, {}), (planes, {"half": True}), ({"Y": plane}, {}),
                                (planes, {"origin": (-7, 1000)}), ({**planes, "A": 0 * plane}, {}),
                                (planes, {"chromaticities": files.REC709})):
            files.write_exr(self.folder / "p.exr", picture, **header)
            sheets.append(self.rendered(self.folder / "p.exr"))
            np.testing.assert_array_equal(sheets[-1], sheets[0], err_msg=str(header))

    def test_other_primaries_keep_white_and_gain_colour(self):
        wide = (0.708, 0.292, 0.170, 0.797, 0.131, 0.046, 0.3457, 0.3585)  # white of 5000 K
        path = self.folder / "p.exr"

        def sheet(rest, label):
            light = {"R": 0.18, "G": rest, "B": rest}
            planes = {name: np.full((24, 36), value) for name, value in light.items()}
            files.write_exr(path, planes, chromaticities=label)
            return self.rendered(path).mean(axis=(0, 1))

        np.testing.assert_allclose(sheet(0.18, wide), sheet(0.18, files.REC709), rtol=1e-3)
        red, plain = sheet(0.02, wide), sheet(0.02, files.REC709)
        self.assertGreater(red[0] - red[1], 1.02 * (plain[0] - plain[1]))

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
        self.succeed("demo", "-o", self.out / "again.exr")
        self.assertEqual((self.out / "again.exr").read_bytes(), (self.out / "d.exr").read_bytes())


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
        peer = {name: np.asarray(opened(self.out / name)).astype(int)
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
        for name, description in (("16.png", "sRGB"), ("8.png", "sRGB"), ("a.jpg", "sRGB"),
                                  ("16.tif", "sRGB"), ("f.tif", "sRGB linear")):
            icc = (bytes(files.read_tiff(self.out / name)[1][34675]) if name.endswith(".tif")
                   else opened(self.out / name).info["icc_profile"])
            profile = ImageCms.ImageCmsProfile(io.BytesIO(icc))
            self.assertEqual(ImageCms.getProfileDescription(profile).strip(), description, name)
            self.assertEqual(struct.unpack(">6H", icc[24:36]), (2026, 1, 1, 0, 0, 0))
        self.assertNotIn(b"tIME", (self.out / "8.png").read_bytes())
        self.assertEqual([layer[1:3] for layer in opened(self.out / "a.jpg").layer], [(1, 1)] * 3,
                         "no colour subsampling")


class Rendering(HostCase):
    def test_report(self):
        source, target = self.small_picture(), self.out / "b.TIF"
        report = json.loads(self.succeed("render", source, "-o", target, "--bits", 8, "--json"))
        self.assertEqual((report["output"], report["film"], report["lens"], report["paper"]),
                         (str(target), "everyday_400", "plain", None))
        self.assertEqual(report["input"], {"file": str(source), "width": 36, "height": 24})
        self.assertEqual((report["seed"], report["print_cm"]), (20260821, 30.0))
        self.assertEqual(opened(target).size, (report["width"], report["height"]))
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
        result = run_host("render", self.small_picture(), "-o", self.out / "a.exr", "--angle", "4",
                          "--crop", "0,0,1,1")
        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stderr, rb"\Amorva: warning: the crop [^\n]+\n\Z")

    def test_source_exposure(self):
        dark = self.folder / "dark.png"
        Image.new("RGB", (36, 24), (60, 60, 60)).save(dark)
        light = ((60 / 255 + 0.055) / 1.055) ** 2.4

        def gain(source, *arguments):
            return self.report(source, *arguments)["source_gain"]

        self.assertAlmostEqual(gain(dark), 0.15 / light, delta=1e-3)
        self.assertIsNone(gain(dark, "--source-exposure", "off"))
        chosen = ["--set", "src_exposure=as_shot"]
        self.assertEqual(gain(dark, *chosen), 1.44)
        self.assertGreater(gain(dark, *chosen, "--source-exposure", "shadows"), 3)
        self.fail_with(OPTIONS, "render", dark, "-o", self.out / "a.png", "--set", "src_exposure=bad", saying="bad")
        scene = self.small_picture()
        self.assertIsNone(gain(scene), "scene-linear light is taken as it is")
        self.assertGreater(gain(scene, "--source-exposure", "auto"), 0)

    def test_options_win_in_order(self):
        source = self.small_picture()
        one, two = self.folder / "one.json", self.folder / "two.json"
        one.write_text('{"print_cm": 10, "seed": 1, "sheet_cm": null}')
        two.write_text('{"print_cm": 20, "seed": 2}')
        both = ["--options", one, "--options", two]
        for arguments, print_cm, seed in (
            (both, 20, 2), (["--set", "print_cm=40", *both, "--set", "seed=3"], 40, 3),
            (["--set", "seed=3", "--seed", "-4"], 30.0, -4),
        ):
            report = self.report(source, *arguments)
            self.assertEqual((report["print_cm"], report["seed"]), (print_cm, seed))

    def test_failures_of_the_engine_keep_their_code(self):
        render = ["render", self.small_picture(), "-o", self.out / "a.png"]
        self.fail_with(PROFILE, *render, "--lens", "no_such_one", saying="no_such_one")
        deep = self.folder / "deep.json"
        for text in ("{", '{"crop": ' + "[" * 100_000 + "]" * 100_000 + "}"):
            deep.write_text(text)
            self.fail_with(OPTIONS, *render, "--options", deep)
        self.fail_with(OPTIONS, *render, "--set", os.fsdecode(b"stamp_text=\xff"))

    def test_ctrl_c_leaves_nothing(self):
        """On a terminal: the line of progress tells when the render is under way."""
        source = self.folder / "large.exr"
        planes = np.random.default_rng(2).random((3, 2400, 3600))
        files.write_exr(source, dict(zip("RGB", planes)), half=True)
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
        for arguments in (
            [], ["--angle", "5", "--crop", "0.3,0.3,0.4,0.4"], ["--film", "peel_apart_100"],
            ["--film", "silver_400", "--paper", "bw_warm", "--crop", "0.1,0.2,0.5,0.7", "--rotate",
             "90", "--set", "frame_size=full", "--set", "border=0.1", "--set", "mat=classic"],
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
        self.assertAlmostEqual(plan["raster"]["um_per_px"] * 1.2, plan["facts"]["window"]["long_mm"])
        self.assertEqual(plan["print"], {"width": 1200, "height": 900, "width_cm": 24.0,
                                         "height_cm": 18.0})
        self.assertAlmostEqual(plan["sheet"]["width_cm"], 36.0)
        self.assertEqual((plan["frame_aspect"], plan["forced_aspect"]), (1.5, 0))
        self.assertRegex(self.succeed("plan", "demo"),
                         r"(?ms)^raster +1800 x 1200 pixels, 20\.00 um per pixel$.*"
                         r"^sheet +1800 x 1200 pixels, 30\.0 x 20\.0 cm$")

    def test_a_sheet_too_large_is_refused_before_it_is_rendered(self):
        source, target = self.small_picture(), self.out / "a.png"
        for setting, saying in (("border=500", "36036 x 36024 px"), ("colour=1", "colour"),
                                ("border=1e9", "from what surrounds the picture")):
            for verb in (["render", source, "-o", target], ["plan", source]):
                with self.subTest(setting=setting, verb=verb[0]):
                    self.fail_with(OPTIONS, *verb, "--set", setting, saying=saying)

        self.fail_with(OPTIONS, "render", source, "-o", target, "--set", "border=340", saying="500 megapixels")

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
        self.assertEqual(table, json.loads((SOURCE / "apps/morva/option_list.json").read_text()))
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
        self.assertEqual(self.succeed("list", "films", env=elsewhere),
                         "a\nb       second\nbroken  (cannot be read)\nshown   third\n")
        self.fail_with(PROFILE, "list", "papers", env=elsewhere)


def _stop_while_rendering(source, target, stop):
    """Exit code, standard output, and what stood on the terminal."""
    terminal, other_end = pty.openpty()
    host = subprocess.Popen(
        [HOST, "render", source, "-o", target], stdout=subprocess.PIPE, stderr=other_end,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))  # as in a shell
    os.close(other_end)
    screen, stopped = b"", False
    with contextlib.suppress(OSError):  # how a terminal says that nobody is left
        while select.select([terminal], [], [], 120)[0]:
            screen += os.read(terminal, 4096)
            if not stopped and b"rendering" in screen:
                host.send_signal(stop)
                stopped = True
    printed, _ = host.communicate(timeout=120)
    os.close(terminal)
    return host.returncode, printed, screen


if __name__ == "__main__":
    main()
