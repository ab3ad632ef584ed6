"""The command-line host from outside: verbs, exit codes, what lands on the disk and what not."""

import io
import json
import os
import resource
import signal
import struct

import numpy as np
from PIL import ImageCms

import picture_files as files
from host_case import (
    CANCELLED, FAILED, NO_PICTURE, OPTIONS, PROFILE, QUICK, USAGE, HostCase, on_terminal, opened, run_host)


class CommandLine(HostCase):
    def test_wrong_command_lines(self):
        """The complaint about a framing names the flag and what it takes."""
        source = self.small_picture()
        render = ["render", source, "-o", self.out / "a.png"]
        for flag, words in (
            ("--crop", ("0,0,1", "0,0,1,1,", "0,0,,1", "0,0,nan,1", "0,0,0,1", "0,0,36,24", "-0.1,0,1,1", "0,+-1,1,1")),
            ("--angle", ("inf", " ", "1.5deg", "++1")), ("--rotate", ("45", "-90")),
        ):
            for word in words:
                self.fail_with(USAGE, *render, f"{flag}={word}", saying=f"{flag} takes")
        for arguments in (
            [], ["develop"], ["render"], ["render", source], ["list"], ["list", "cameras"], [*render, "another"],
            [*render, "--seed", "many"], [*render, "--quality", "101"], [*render, "--set", "=1"],
            [*render, "--source-exposure", "off", "--set", "_source_gain=2"],
        ):
            self.fail_with(USAGE, *arguments)

    def test_no_name_plays_tricks_on_a_terminal(self):
        for name, shown in ((b"\x1b[2J", "?[2J"), (b"\xc2\x9b2J", "?2J"), (b"\x9b2J", "?2J"), (b"\xe0\x80\x8a", "???"),
                            ("a\u202eb\u2066\u200f\u061c".encode(), "a?b???"), (b"a\nb\rc", "a b?c"),
                            ("ü «☀»".encode(), "ü «☀»")):
            self.fail_with(USAGE, "info", os.fsdecode(name), saying=f"no such input file: {shown}\n")


class OutputPlace(HostCase):
    def test_an_existing_file_is_kept_without_force(self):
        source, target = self.small_picture(), self.out / "a.png"
        target.write_text("mine")
        self.fail_with(USAGE, "render", source, "-o", target, saying="--force")
        self.assertEqual(target.read_text(), "mine")
        self.succeed("render", source, "-o", target, "--force", *QUICK)
        self.assertEqual((opened(target).format, target.stat().st_mode), ("PNG", source.stat().st_mode))

    def test_no_output_takes_the_place_of_its_source(self):
        source, target = self.small_picture(), self.out / ".." / "in.exr"
        before = source.read_bytes()
        for verb in (["render", "-o", target], ["sheet", "--vary", "ev=0,1", "-o", target],
                     ["render", "-o", self.out / "a.png", "--save-options", target]):
            self.fail_with(USAGE, *verb, source, "--force", saying="take the place")
        self.assertEqual(source.read_bytes(), before)

    def test_places_that_cannot_be_written(self):
        (self.out / "folder.png").mkdir()
        for name, bits in (("no/a.png", "8"), ("a.bmp", "8"), ("a", "8"), ("folder.png", "8"), ("a.png", "32f"),
                           ("a.jpg", "16"), ("a.exr", "8")):
            self.fail_with(USAGE, "demo", "-o", self.out / name, "--bits", bits, "--force")

    def test_a_full_disk_leaves_nothing(self):
        files.write_exr(self.folder / "p.exr", dict(zip("RGB", np.random.default_rng(1).random((3, 64, 96)))))
        for name in ("a.png", "a.tif", "a.jpg", "a.exr"):
            self.fail_with(FAILED, "render", self.folder / "p.exr", "-o", self.out / name, *QUICK, saying="cannot",
                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1500, 1500)))


class Inputs(HostCase):
    def test_what_cannot_be_read(self):
        whole = self.small_picture().read_bytes()
        claim = whole[:8] + b"morva\0string\0" + struct.pack("<i", 2**31 - 1) + whole[8:]
        huge = files.exr_header([(name, files.FLOAT) for name in "BGR"], 200_000, 200_000)
        broken = {"broken.png": NO_PICTURE, "huge.exr": huge + bytes(64), "claim.exr": claim,
                  **{f"cut{at}.exr": whole[:at] for at in (6, 150, len(whole) // 2, len(whole) - 3)}}
        for channels in ("Z", "GR"):
            files.write_exr(self.folder / "p.exr", dict.fromkeys(channels, np.zeros((24, 36))))
            broken[", ".join(channels)] = (self.folder / "p.exr").read_bytes()
        for name, content in broken.items():
            (self.folder / name).write_bytes(content)
        os.mkfifo(self.folder / "pipe.exr")
        for name in (*broken, "no", "pipe.exr", "out"):
            with self.subTest(name=name):
                self.fail_with(FAILED if name in broken else USAGE, "render", self.folder / name, "-o", self.out / "a.png",
                               saying="claims 2147483647 bytes" if name == "claim.exr" else f"{self.folder / name}")
        self.fail_with(OPTIONS, "plan", "demo", "--preset", self.folder / "claim.exr", saying="does not tell")
        exr = self.succeed_json("info", self.small_picture())
        self.assertEqual((exr["width"], exr["height"], sorted(exr["channels"])), (36, 24, ["B", "G", "R"]))

    def test_one_picture_in_many_files(self):
        """Half values, a shifted data window, alpha, the Rec. 709 label and a grey channel of its own change
        nothing."""
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

        def sheet(rest, label):
            planes = {name: np.full((24, 36), value) for name, value in (("R", 0.18), ("G", rest), ("B", rest))}
            files.write_exr(self.folder / "p.exr", planes, chromaticities=label)
            return self.rendered(self.folder / "p.exr").mean(axis=(0, 1))

        np.testing.assert_allclose(sheet(0.18, wide), sheet(0.18, files.REC709), rtol=1e-3)
        red, plain = sheet(0.02, wide), sheet(0.02, files.REC709)
        self.assertGreater(red[0] - red[1], 1.02 * (plain[0] - plain[1]))


class FileContents(HostCase):
    def test_the_demo_scene_has_what_films_are_judged_by(self):
        for name in ("d.exr", "again.exr"):
            self.succeed("demo", "-o", self.out / name)
        self.assertEqual((self.out / "again.exr").read_bytes(), (self.out / "d.exr").read_bytes())
        scene, attributes = files.read_exr(self.out / "d.exr")
        self.assertEqual(attributes["chromaticities"], struct.pack("<8f", *files.REC709))
        self.assertTrue(scene.shape == (1200, 1800, 3) and np.isfinite(scene).all() and (scene >= 0).all())
        luma = scene @ np.array([0.2126, 0.7152, 0.0722])
        self.assertGreater((luma > 20).sum(), 300, "cores of lamps")
        self.assertGreater((luma < 0.004).mean(), 0.02, "deep shadow")

    def test_one_render_in_every_format(self):
        """The same values, as far as each format holds them, and the name of their colours."""
        source = self.small_picture()
        for name, bits in (("a.exr", "32f"), ("f.tif", "32f"), ("16.tif", 16), ("16.png", 16), ("8.tif", 8),
                           ("8.png", 8), ("a.jpg", 8)):
            self.succeed("render", source, "-o", self.out / name, "--bits", bits, *QUICK)
        linear = files.read_exr(self.out / "a.exr")[0]
        tiffs = {name: files.read_tiff(self.out / name) for name in ("f.tif", "16.tif")}
        self.assertEqual(tiffs["f.tif"][1][339], (3, 3, 3))
        np.testing.assert_array_equal(tiffs["f.tif"][0], linear)

        eight, deep = files.srgb_encode(linear, 255), files.srgb_encode(linear, 65535)
        for name, expected in (("8.png", eight), ("8.tif", eight), ("16.tif", deep), ("a.jpg", eight),
                               ("16.png", deep // 256)):  # as the peer cuts it
            codes = tiffs[name][0] if name in tiffs else np.asarray(opened(self.out / name)).astype(int)
            error = np.abs(codes - expected)
            # The peer's power differs in its last digits: a tie may fall the other way.
            fine = error.mean() < 2.5 if name == "a.jpg" else error.max() <= 1 and (error > 0).mean() < 1e-3
            self.assertTrue(fine, f"{name}: {error.mean()}, {error.max()}")

        for name, description in (("16.png", "sRGB"), ("a.jpg", "sRGB"), ("16.tif", "sRGB"), ("f.tif", "sRGB linear")):
            icc = bytes(tiffs[name][1][34675]) if name in tiffs else opened(self.out / name).info["icc_profile"]
            profile = ImageCms.ImageCmsProfile(io.BytesIO(icc))
            self.assertEqual(ImageCms.getProfileDescription(profile).strip(), description, name)
            self.assertEqual(struct.unpack(">6H", icc[24:36]), (2026, 1, 1, 0, 0, 0))
        png = (self.out / "16.png").read_bytes()
        self.assertEqual((png[24], b"tIME" in png), (16, False), "bits a sample; no time")
        self.assertEqual([layer[1:3] for layer in opened(self.out / "a.jpg").layer], [(1, 1)] * 3,
                         "no colour subsampling")


class Rendering(HostCase):
    def test_report(self):
        source, target, odd = self.small_picture(), self.out / "b.TIF", self.out / "\u202ed.png"
        report = self.succeed_json("render", source, "-o", target, "--bits", 8, *QUICK)
        expected = {"output": str(target), "film": "everyday_400", "lens": "plain", "paper": None, "seed": 20260821,
                    "input": {"file": str(source), "width": 36, "height": 24}, "print_cm": 30.0}
        self.assertEqual({key: report[key] for key in expected}, expected)
        self.assertEqual(opened(target).size, (report["width"], report["height"]))
        self.assertEqual(self.succeed("render", source, "-o", odd, *QUICK), f"{odd}\n", "a pipe gets the name itself")
        self.assertEqual(self.succeed("render", source, "-o", self.out / "e.jpeg", "--quiet", *QUICK), "")

    def test_framing(self):
        """The flags are options by another name, and win over them."""
        source = self.small_picture()
        sheet = self.rendered(source, "--crop", "0.25,0,0.5,1", "--angle", "-3.5", "--rotate", "90", "--mirror",
                              "--set", "crop=null", "--set", "rotate=180")
        self.assertEqual(sheet.shape, (18, 24, 3))
        np.testing.assert_array_equal(sheet, self.rendered(
            source, *"--set crop=[0.25,0,0.5,1] --set crop_angle=-3.5 --set rotate=90 --set mirror=true".split()))
        outside = run_host("render", source, "-o", self.out / "a.exr", "--angle", "4", "--crop", "0,0,1,1", *QUICK)
        self.assertEqual(outside.returncode, 0)
        self.assertRegex(outside.stderr, rb"\Amorva: warning: the crop [^\n]+\n\Z")

    def test_a_film_comes_in_its_own_format(self):
        source, film = self.small_picture(), ["--film", "dry_plate"]
        own = self.rendered(source, *film)
        np.testing.assert_array_equal(own, self.rendered(source, *film, "--set", "format=plate"))
        self.assertTrue((own != self.rendered(source, *film, "--set", "format=135")).any())

    def test_source_exposure(self):
        dark, scene = self.photo("dark.png", (60, 60, 60)), self.small_picture()
        light = ((60 / 255 + 0.055) / 1.055) ** 2.4
        for source, arguments, gain in (
            (dark, [], 0.15 / light), (dark, ["--source-exposure", "off"], None), (scene, [], None),
            (dark, ["--set", "src_exposure=shadows", "--source-exposure", "as_shot"], 1.44),
            (scene, ["--source-exposure", "as_shot"], 1.44),
        ):
            self.assertAlmostEqual(self.report(source, *arguments)["source_gain"], gain, delta=1e-3)
        self.fail_with(OPTIONS, "render", dark, "-o", self.out / "a.png", "--set", "src_exposure=bad", saying="bad")

    def test_failures_keep_their_code(self):
        render = ["render", self.small_picture(), "-o", self.out / "a.png"]
        self.fail_with(PROFILE, *render, "--lens", "no_such_one", saying="no_such_one")
        for text in ("{", '{"crop": ' + "[" * 100_000 + "]" * 100_000 + "}"):
            (self.folder / "deep.json").write_text(text)
            self.fail_with(OPTIONS, *render, "--options", self.folder / "deep.json")
        self.fail_with(OPTIONS, *render, "--set", os.fsdecode(b"stamp_text=\xff"))

    def test_ctrl_c_leaves_nothing(self):
        """On a terminal: the line of progress tells when the render is under way."""
        source, target = self.folder / "large.exr", self.out / "a.png"
        files.write_exr(source, dict.fromkeys("RGB", np.full((1600, 2400), 0.18)), half=True)
        for stop in (signal.SIGINT, signal.SIGTERM):
            code, printed, screen = on_terminal("render", source, "-o", target, stop=stop)
            self.assertEqual((code, printed, list(self.out.iterdir())), (CANCELLED, b"", []), screen)
            self.assertRegex(screen, r"(?s)\d+\.\d s  rendering on everyday_400.*\r\x1b\[Kmorva: cancelled")


class Planning(HostCase):
    def test_the_sheet_is_the_one_that_is_rendered(self):
        sources = self.small_picture(), self.photo("p.png", size=(40, 30))
        for arguments in (
            [], ["--angle", "5", "--crop", "0.3,0.3,0.4,0.4"], ["--film", "peel_apart_100"],
            ["--film", "silver_400", "--paper", "bw_warm", "--crop", "0.1,0.2,0.5,0.7", "--rotate", "90", "--set",
             "frame_size=full", "--set", "border=0.1", "--set", "mat=classic"],
        ):
            for source in sources:
                with self.subTest(arguments=arguments, source=source.name):
                    sheet = self.succeed_json("plan", source, *arguments)["sheet"]
                    self.assertEqual(self.rendered(source, *arguments).shape[:2], (sheet["height"], sheet["width"]))

    def test_sizes_on_the_way(self):
        plan = self.succeed_json("plan", "demo", "--film", "silver_400", "--crop", "0,0,0.5,1", "--rotate", "90",
                                 *"--set print_cm=24 --set border=0.25 --set frame_size=full".split())
        expected = {"input": {"file": "demo", "width": 1800, "height": 1200}, "crop": {"width": 900, "height": 1200},
                    "print": {"width": 1200, "height": 900, "width_cm": 24.0, "height_cm": 18.0},
                    "frame_aspect": 1.5, "forced_aspect": 0}
        self.assertEqual({key: plan[key] for key in expected}, expected)
        self.assertAlmostEqual(plan["raster"]["um_per_px"] * 1.2, plan["facts"]["window"]["long_mm"])
        self.assertAlmostEqual(plan["sheet"]["width_cm"], 36.0)
        self.assertRegex(self.succeed("plan", "demo"), r"(?ms)^raster +1800 x 1200 pixels, 20\.00 um per pixel$.*"
                                                       r"^sheet +1800 x 1200 pixels, 30\.0 x 20\.0 cm$")

    def test_a_sheet_too_large_is_refused_before_it_is_rendered(self):
        source, long = self.small_picture(), self.folder / "long.exr"
        render, plan = ["render", source, "-o", self.out / "a.png"], ["plan", source]
        for verb, setting, saying in (
            (render, "border=500", "36036 x 36024 px"), (plan, "border=500", "36036 x 36024 px"),
            (plan, "border=1e9", "from what surrounds the picture"), (render, "border=340", "500 megapixels"),
        ):
            self.fail_with(OPTIONS, *verb, "--set", setting, saying=saying)

        files.write_exr(long, {"Y": np.full((2, 32770), 0.18)})
        whole = ["--set", "master_cap=false"]
        self.assertTrue(self.succeed_json("plan", long)["fits"])
        told = run_host("plan", long, "--json", *whole)
        self.assertFalse(json.loads(told.stdout)["fits"])
        self.assertIn(b"warning: the sheet would be 32770 x 2 pixels", told.stderr)
        self.fail_with(OPTIONS, "render", long, "-o", self.out / "a.png", *whole, saying="32770 x 2 pixels")


class Tables(HostCase):
    def test_list_of_another_folder(self):
        films = self.folder / "films"
        films.mkdir()
        for name, text in (("b", '{"description": "second"}'), ("a", "{}"), ("broken", "{"),
                           ("secret", '{"hidden": 1}'), ("shown", '{"hidden": "", "description": "third"}')):
            (films / f"{name}.json").write_text(text)
        (films / "folder.json").mkdir()
        (films / "dangling.json").symlink_to("nowhere")
        elsewhere = {**os.environ, "MORVA_PROFILES_DIR": str(self.folder)}
        self.assertEqual(self.succeed("list", "films", env=elsewhere),
                         "a\nb       second\nbroken  (cannot be read)\nshown   third\n")
        self.fail_with(PROFILE, "list", "papers", env=elsewhere)
