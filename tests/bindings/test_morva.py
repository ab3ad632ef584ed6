"""The Python package over the built library: MORVA_LIBRARY and MORVA_HOST name what is tested."""

import gc
import json
import os
import pathlib
import pickle
import resource
import shutil
import subprocess
import sys
import tempfile
import threading
import unittest

import numpy as np
from PIL import Image

import morva
import picture_files

HOST = os.environ["MORVA_HOST"]
PROFILES = pathlib.Path(os.environ["MORVA_PROFILES_DIR"])


def in_new_python(code, **environment):
    """Standard output of `code` in an interpreter of its own; None stands for a variable unset."""
    merged = {**os.environ, **environment}
    return subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, timeout=300,
        env={key: value for key, value in merged.items() if value is not None})


class PythonCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)


def ramp(height=24, width=36):
    y, x = np.mgrid[0:height, 0:width]
    return np.stack([x / width, y / height, 0.02 * (x + y)], 2).astype(np.float32)


class Rendering(PythonCase):
    def test_the_sheet_is_the_command_lines(self):
        """The demo scene made small, the film's own format, a straightening, metered light."""
        scene = self.folder / "scene.exr"
        subprocess.run([HOST, "demo", "-o", scene, "--quiet"], check=True, timeout=300)
        small = picture_files.read_exr(scene)[0][::8, ::8]
        source, target = self.folder / "small.exr", self.folder / "sheet.exr"
        picture_files.write_exr(source, dict(zip("RGB", np.moveaxis(small, 2, 0))))
        for film, lens, paper, options in (
            ("everyday_400", "plain", None, {}),
            ("silver_400", "swirl", "bw_warm", {"push": 1, "border": 0.05, "crop_angle": 3.5}),
            ("collodion_glass", "plain", "ambrotype", {"src_exposure": "highlights", "seed": 7}),
        ):
            with self.subTest(film=film):
                command = [HOST, "render", source, "-o", target, "--force", "--film", film, "--lens", lens,
                           *(["--paper", paper] if paper else []),
                           *(part for key, value in options.items()
                             for part in ("--set", f"{key}={json.dumps(value)}"))]
                subprocess.run(command, check=True, capture_output=True, timeout=300)
                sheet = morva.render(small, film=film, lens=lens, paper=paper, **options)
                self.assertEqual((sheet.dtype, sheet.flags.c_contiguous, sheet.flags.writeable),
                                 (np.float32, True, True))
                np.testing.assert_array_equal(sheet, picture_files.read_exr(target)[0])
                size = morva.output_size(small.shape[1], small.shape[0], film=film, paper=paper, **options)
                self.assertEqual((size["height"], size["width"]), sheet.shape[:2])

    def test_every_layout_of_floats_is_read_alike(self):
        picture = ramp().astype(np.float16).astype(np.float32)  # exact in all of them
        expected = morva.render(picture)
        unaligned = np.frombuffer(b"x" + picture.tobytes(), np.uint8)[1:].view(np.float32)
        for other in (picture.astype(np.float16), picture.astype(np.float64), picture.astype(">f4"),
                      picture.astype(np.longdouble), np.asfortranarray(picture),
                      np.repeat(picture, 2, 1)[:, ::2], picture[::-1].copy()[::-1], picture.tolist(),
                      picture.swapaxes(0, 1).copy().swapaxes(0, 1), unaligned.reshape(picture.shape),
                      np.dstack([picture, picture])[:, :, :3]):
            before = np.array(other)
            np.testing.assert_array_equal(morva.render(other), expected)
            np.testing.assert_array_equal(np.array(other), before)

    def test_light_that_is_no_number(self):
        picture = np.full((6, 8, 3), np.nan)
        picture[0, 0], picture[0, 1] = np.inf, 1e300
        self.assertTrue(np.isfinite(morva.render(picture)).all())

    def test_what_is_no_picture(self):
        for wrong in (ramp().astype(np.uint8), ramp() > 0.5, ramp() + 1j, "photo.jpg", None,
                      [[object()]]):
            self.assertRaises(TypeError, morva.render, wrong)
        for wrong in (np.zeros((4, 4)), np.zeros((4, 4, 4)), np.zeros((3, 4, 4)), np.zeros((0, 4, 3)),
                      np.zeros((4, 0, 3)), np.zeros(3), 0.18):
            self.assertRaises(ValueError, morva.render, wrong)

    def test_options_of_every_kind(self):
        picture = ramp()
        plain = dict(crop=[0.0, 0.0, 0.5, 1.0], push=1.5, rotate=90, mirror=True, mat=None, dev="standard",
                     seed_variants={"film": 2})
        of_numpy = {**plain, "crop": np.array([0, 0, 0.5, 1], np.float32), "push": np.float32(1.5),
                    "rotate": np.int16(90), "mirror": np.bool_(True), "dev": np.str_("standard")}
        expected = morva.render(picture, film="silver_400", **plain)
        self.assertFalse(np.array_equal(expected, morva.render(picture, film="silver_400")))
        np.testing.assert_array_equal(morva.render(picture, film="silver_400", **of_numpy), expected)
        np.testing.assert_array_equal(
            morva.render(picture, crop_angle=np.float32(5)), morva.render(picture, crop_angle=5))
        for error, value in ((TypeError, {1, 2}), (TypeError, b"text"), (ValueError, float("nan")),
                             (ValueError, [np.inf]), (TypeError, 1j)):
            with self.assertRaisesRegex(error, "option push"):
                morva.render(picture, push=value)

    def test_memory_is_given_back(self):
        picture = ramp(200, 300)  # a sheet of 0.7 MB: 200 of them lost would be 140 MB

        def peak_mb():
            gc.collect()
            return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024

        kept = morva.render(picture, grain_mult=0)
        corner = kept[:2, :2]  # a view keeps the samples alive after their sheet
        expected = corner.copy()
        del kept
        for _ in range(20):
            morva.render(picture, grain_mult=0)
        before = peak_mb()
        for _ in range(200):
            morva.render(picture, grain_mult=0)
        self.assertLess(peak_mb() - before, 20)
        np.testing.assert_array_equal(corner, expected)


class Failures(PythonCase):
    def fail_with(self, kind, code, *arguments, saying="", **keywords):
        with self.assertRaises(kind) as caught:
            morva.render(ramp(), *arguments, **keywords)
        self.assertEqual(caught.exception.code, code)
        self.assertIn(saying, str(caught.exception))
        return caught.exception

    def test_each_code_is_a_class_and_the_text_is_the_engines(self):
        unknown = self.fail_with(morva.OptionsError, 3, pushh=1)
        self.assertEqual(str(unknown), "незнакомый ключ опций: «pushh»")
        self.assertIsInstance(unknown, ValueError)
        copy = pickle.loads(pickle.dumps(unknown))
        self.assertEqual((type(copy), str(copy), copy.code), (morva.OptionsError, str(unknown), 3))
        for names in ({"film": "none"}, {"lens": "none"}, {"paper": "none"}, {"film": ""},
                      {"film": "../films/silver_400"}):
            self.fail_with(morva.ProfileError, 2, saying="нет профиля", **names)
        for names in ({"film": None}, {"lens": 1}, {"paper": b"bw_warm"}, {"cancel": 1}):
            self.assertRaises(TypeError, morva.render, ramp(), **names)
        self.assertRaises(ValueError, morva.render, ramp(), film="silver\0_400")
        self.assertRaises(TypeError, morva.render, ramp(), "silver_400")

    def test_sizes_are_not_cut(self):
        for size in (0, -1, 2**31, 2**32 + 8):
            self.assertRaises(ValueError, morva.output_size, size, 8)
            self.assertRaises(ValueError, morva.resize, ramp(), 8, size)
        self.assertRaises(TypeError, morva.frame_caps, 8.5, 8)
        self.assertRaises(morva.OptionsError, morva.output_size, 20000, 20000, border=2.0,
                          master_cap=False)


class Cancelling(PythonCase):
    def test_a_raised_flag(self):
        cancel = morva.Cancel()
        cancel.set()
        with self.assertRaises(morva.Cancelled) as caught:
            morva.render(ramp(), cancel=cancel)
        self.assertEqual(caught.exception.code, 6)
        cancel.clear()
        self.assertFalse(cancel.is_set())
        morva.render(ramp(), cancel=cancel)

    def test_from_another_thread(self):
        """The others run while a render does, and one of them stops it, in either thread."""
        picture = np.full((1000, 1500, 3), 0.18, np.float32)  # seconds of grain
        for in_main in (True, False):
            cancel, outcome = morva.Cancel(), []

            def render():
                try:
                    outcome.append(morva.render(picture, cancel=cancel))
                except morva.Cancelled as error:
                    outcome.append(error)

            if in_main:
                timer = threading.Timer(0.05, cancel.set)
                timer.start()
                render()
                timer.join()
            else:
                thread = threading.Thread(target=render)
                thread.start()
                self.assertEqual(morva.output_size(150, 100)["width"], 150)
                cancel.set()
                thread.join()
            self.assertIsInstance(outcome[0], morva.Cancelled)

    def test_the_keyboard_stops_a_render(self):
        program = (
            "import morva, numpy as np, os, signal, sys, threading\n"
            "print(morva.version(), flush=True)\n"
            "threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()\n"
            "try: morva.render(np.full((2000, 3000, 3), 0.18)); print('made')\n"
            "except KeyboardInterrupt: print('stopped')\n"
            "print(morva.render(np.full((4, 6, 3), 0.18)).shape)")
        result = in_new_python(program)
        self.assertEqual(result.stdout.splitlines()[1:], ["stopped", "(4, 6, 3)"], result.stderr)


class Threads(PythonCase):
    def test_renders_and_a_change_of_profiles_side_by_side(self):
        """Loading, renders and changes of the store from many threads at once."""
        program = (
            "import morva, numpy as np, os, threading\n"
            "picture, sheets, failures = np.full((16, 24, 3), 0.18), [], []\n"
            "def work(i):\n"
            "  try:\n"
            "    for _ in range(5):\n"
            "      if i == 0: morva.profiles_load(os.environ['MORVA_PROFILES_DIR'])\n"
            "      elif i == 1: morva.profiles_user_dir(None)\n"
            "      sheets.append(morva.render(picture, film='silver_400'))\n"
            "  except BaseException as error: failures.append(error)\n"
            "threads = [threading.Thread(target=work, args=(i,)) for i in range(6)]\n"
            "for t in threads: t.start()\n"
            "for t in threads: t.join()\n"
            "print(len(sheets), failures, all((s == sheets[0]).all() for s in sheets))")
        result = in_new_python(program)
        self.assertEqual(result.stdout, "30 [] True\n", result.stderr)


class Questions(PythonCase):
    def test_plans(self):
        caps = morva.frame_caps(6000, 4000, film="silver_400")
        self.assertGreater(caps["cap_px"], caps["grain_px"])
        self.assertEqual(morva.frame_caps(6000, 4000, master_cap=False)["cap_px"], 0)
        self.assertEqual(morva.crop_aspects(film="instant_square"),
                         {"frame_aspect": 1.0, "forced_aspect": 1.0})
        self.assertEqual(morva.crop_aspects(frame_size="full")["frame_aspect"], 1.5)
        facts = morva.rack_facts(600, 400, film="silver_400", lens="plain", paper="bw_warm",
                                 crop_size=(300, 400))
        self.assertEqual(len(facts["curves"]["negativeCurve"]), 65)
        self.assertEqual(facts["long_px"], 400)
        self.assertNotIn("stop", morva.rack_facts(600, 400))
        self.assertIn("push", morva.option_keys())

    def test_metering(self):
        grey = np.full((30, 40, 3), 0.05)
        stats = morva.source_stats(grey)
        self.assertEqual((stats.width, stats.height), (40, 30))
        self.assertAlmostEqual(stats.p50, 0.05, places=6)
        self.assertAlmostEqual(morva.source_gain(grey), 3.0, places=4)
        self.assertEqual(morva.source_gain(stats), morva.source_gain(grey))
        self.assertEqual(morva.source_gain(grey, "as_shot"), 1.44)
        self.assertRaises(ValueError, morva.source_gain, grey, "bright")
        np.testing.assert_array_equal(morva.render(grey, src_exposure="auto"),
                                      morva.render(grey, _source_gain=morva.source_gain(grey)))

    def test_profiles(self):
        user = self.folder / "mine"
        (user / "films").mkdir(parents=True)
        silver = json.loads((PROFILES / "films" / "silver_400.json").read_text())
        for name, changes in (("my_silver", {"title": "Mine"}), ("secret", {"hidden": True}),
                              ("silver_400", {"title": "in vain"})):
            (user / "films" / f"{name}.json").write_text(json.dumps({**silver, **changes}))
        (user / "films" / "broken.json").write_text("{")
        for section in ("films", "lenses", "papers", "filters"):
            listed = subprocess.run([HOST, "list", section, "--json"], check=True, capture_output=True)
            ours = [(p.name, p.description) for p in morva.list_profiles(section)]
            self.assertEqual(ours, [(p["name"], p["description"]) for p in json.loads(listed.stdout)])
        self.assertRaises(ValueError, morva.list_profiles, "cameras")
        self.addCleanup(morva.profiles_load, PROFILES)
        morva.profiles_user_dir(user)
        films = {p.name: p for p in morva.list_profiles("films")}
        self.assertEqual(films["my_silver"].title, "Mine")
        self.assertEqual(films["broken"].description, "(cannot be read)")
        self.assertEqual(films["silver_400"].path.parent, PROFILES / "films")
        self.assertNotIn("secret", films)
        self.assertIn("secret", {p.name for p in morva.list_profiles("films", include_hidden=True)})
        np.testing.assert_array_equal(morva.render(ramp(), film="my_silver"),
                                      morva.render(ramp(), film="silver_400"))
        with self.assertRaises(morva.ProfileError):
            morva.profiles_load(self.folder)
        morva.profiles_load(user)
        self.assertRaises(morva.ProfileError, morva.render, ramp(), film="everyday_400", lens="plain")
        self.assertRaises(morva.ProfileError, morva.list_profiles, "papers")


class Files(PythonCase):
    def test_a_photo(self):
        path = self.folder / "фото ☀.png"
        encoded = np.arange(4 * 5 * 3, dtype=np.uint8).reshape(4, 5, 3) * 4
        Image.fromarray(encoded).save(path)
        linear = morva.load_linear(path)
        self.assertEqual((linear.shape, linear.dtype), ((4, 5, 3), np.float32))
        np.testing.assert_array_equal(morva.to_srgb(linear), encoded)
        info = morva.image_info(str(path))
        self.assertEqual((info.width, info.height, info.is_raw, info.camera), (5, 4, False, ""))
        screen = morva.decode(path.read_bytes())
        np.testing.assert_array_equal(screen[:, :, :3], encoded)
        self.assertTrue((screen[:, :, 3] == 255).all())

    def test_what_cannot_be_read(self):
        broken = self.folder / "broken.jpg"
        broken.write_bytes(b"\xff\xd8\xff not really")
        for read in (morva.load_linear, morva.image_info):
            for path in (broken, self.folder / "none.jpg", self.folder):
                self.assertRaises(morva.EngineError, read, path)
            self.assertRaises(ValueError, read, "a\0b")
        self.assertRaises(morva.EngineError, morva.decode, broken.read_bytes())
        self.assertRaises(morva.ArgumentError, morva.decode, b"")
        self.assertRaises(TypeError, morva.decode, "text")
        self.assertRaises(ValueError, morva.load_linear, broken, "warm")

    def test_the_printed_example(self):
        """The first block of the README, run as it stands."""
        readme = pathlib.Path(__file__).parents[2] / "bindings" / "python" / "README.md"
        example = readme.read_text().split("```python\n")[1].split("```")[0]
        Image.fromarray(morva.to_srgb(ramp())).save(self.folder / "photo.jpg")
        result = subprocess.run([sys.executable, "-c", example], cwd=self.folder, capture_output=True)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        with Image.open(self.folder / "print.png") as sheet:
            self.assertEqual(sheet.size, (36, 24))


class TheLibrary(PythonCase):
    def test_where_it_is_looked_for(self):
        said = "import morva\ntry: morva.version()\nexcept morva.LibraryError as error: print(error)"
        self.assertIn("names no library: /none", in_new_python(said, MORVA_LIBRARY="/none").stdout)
        (self.folder / "text.so").write_text("no library")
        self.assertIn("cannot be loaded",
                      in_new_python(said, MORVA_LIBRARY=str(self.folder / "text.so")).stdout)
        loaded = "import morva; print(morva.library_file())"
        library = pathlib.Path(os.environ["MORVA_LIBRARY"]).resolve()
        self.assertEqual(in_new_python(loaded, MORVA_LIBRARY=str(library.parent)).stdout, f"{library}\n")

        shutil.copytree(pathlib.Path(morva.__file__).parent, self.folder / "lone" / "morva")
        lone = dict(MORVA_LIBRARY=None, PYTHONPATH=str(self.folder / "lone"))
        by_loader = in_new_python(loaded, LD_LIBRARY_PATH=str(library.parent), **lone)
        self.assertEqual(by_loader.stdout, f"{library}\n", by_loader.stderr)

    def test_backends(self):
        try:
            self.assertEqual(morva.backend_name(), "CPU")
        except morva.LibraryError as error:
            self.assertRegex(str(error), "has no morva_backend_name")
            self.skipTest("a library without backends")
        self.assertRaises(morva.ArgumentError, morva.set_backend, "abacus")
        morva.set_backend("cpu")
        self.assertFalse(morva.gpu_state().lost)
        found = morva.probe()
        self.assertEqual(found.ready, found.status == "ready")
        morva.release_gpu()
        self.assertEqual(morva.backend_name(), "CPU")
        morva.profile_report()


if __name__ == "__main__":
    unittest.main()
