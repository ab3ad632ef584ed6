"""The Python package over the built library, MORVA_LIBRARY."""

import json
import os
import pathlib
import pickle
import resource
import shutil
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import numpy as np
from PIL import Image

import morva
import picture_files
from host_case import SOURCE, HostCase

PROFILES = SOURCE / "profiles"


def in_new_python(code, **environment):
    """Standard output of `code` in an interpreter of its own; None stands for a variable unset."""
    merged = {**os.environ, **environment}
    result = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, timeout=300,
                            env={key: value for key, value in merged.items() if value is not None})
    return result.stdout or result.stderr


def ramp(height=24, width=36):
    y, x = np.mgrid[0:height, 0:width]
    return np.stack([x / width, y / height, 0.02 * (x + y)], 2).astype(np.float32)


class Rendering(HostCase):
    def test_the_sheet_is_the_command_lines(self):
        """The film's own format, a straightening, metered light."""
        picture, source = ramp(80, 120), self.folder / "small.exr"
        picture_files.write_exr(source, dict(zip("RGB", np.moveaxis(picture, 2, 0))))
        for film, lens, paper, options in (
            ("everyday_400", "plain", None, {}),
            ("silver_400", "swirl", "bw_warm", {"push": 1, "border": 0.05, "crop_angle": 3.5}),
            ("collodion_glass", "plain", "ambrotype", {"src_exposure": "highlights", "seed": 7}),
        ):
            with self.subTest(film=film):
                told = {"grain_mult": 1, **options}
                words = [word for key, value in told.items() for word in ("--set", f"{key}={json.dumps(value)}")]
                same = self.rendered(source, "--film", film, "--lens", lens, "--paper", paper or "", *words)
                sheet = morva.render(picture, film=film, lens=lens, paper=paper, **options)
                self.assertTrue(sheet.dtype == np.float32 and sheet.flags.c_contiguous and sheet.flags.writeable)
                np.testing.assert_array_equal(sheet, same)
                size = morva.output_size(120, 80, film=film, paper=paper, **options)
                self.assertEqual((size["height"], size["width"]), sheet.shape[:2])

    def test_every_layout_of_floats_is_read_alike(self):
        self.assertTrue(np.isfinite(morva.render(np.array([[[np.nan] * 3, [np.inf] * 3, [1e300] * 3]]))).all())
        picture = ramp().astype(np.float16).astype(np.float32)  # exact in all of them
        expected = morva.render(picture)
        unaligned = np.frombuffer(b"x" + picture.tobytes(), np.uint8)[1:].view(np.float32)
        for other in (picture.astype(np.float16), picture.astype(np.float64), picture.astype(">f4"),
                      picture.astype(np.longdouble), np.asfortranarray(picture), np.repeat(picture, 2, 1)[:, ::2],
                      picture[::-1].copy()[::-1], picture.tolist(), picture.swapaxes(0, 1).copy().swapaxes(0, 1),
                      unaligned.reshape(picture.shape), np.dstack([picture, picture])[:, :, :3]):
            before = np.array(other)
            np.testing.assert_array_equal(morva.render(other), expected)
            np.testing.assert_array_equal(np.array(other), before)

    def test_options_of_every_kind(self):
        picture = ramp()
        plain = dict(crop=[0.0, 0.0, 0.5, 1.0], push=1.5, rotate=90, mirror=True, mat=None, dev="standard",
                     crop_angle=5.0, seed_variants={"film": 2})
        of_numpy = {**plain, "crop": np.array([0, 0, 0.5, 1], np.float32), "push": np.float32(1.5),
                    "crop_angle": np.float32(5), "rotate": np.int16(90), "mirror": np.bool_(True),
                    "dev": np.str_("standard")}
        expected = morva.render(picture, film="silver_400", **plain)
        self.assertFalse(np.array_equal(expected, morva.render(picture, film="silver_400")))
        np.testing.assert_array_equal(morva.render(picture, film="silver_400", **of_numpy), expected)
        for error, key, value in (
            (TypeError, "push", {1, 2}), (TypeError, "push", b"text"), (TypeError, "push", 1j),
            (ValueError, "push", float("nan")), (ValueError, "push", [np.inf]), (ValueError, "push", 10**400),
            (ValueError, "crop_angle", -10**5000), (ValueError, "seed_variants", {"film": 10**400}),
            (ValueError, "src_exposure", "bright"), (ValueError, "src_exposure", ["auto"]),
        ):
            with self.assertRaisesRegex(error, key):
                morva.render(picture, **{key: value})

    def test_memory_is_given_back(self):
        picture = ramp(200, 300)  # a sheet of 0.7 MB: 80 of them lost would be 56 MB
        kept = morva.render(picture, grain_mult=0)
        corner = kept[:2, :2]  # a view keeps the samples alive after their sheet
        expected = corner.copy()
        del kept
        peaks_mb = []
        for i in range(90):
            morva.render(picture, grain_mult=0)
            peaks_mb.append(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024)
        self.assertLess(peaks_mb[-1] - peaks_mb[10], 20)
        np.testing.assert_array_equal(corner, expected)


class Failures(HostCase):
    def test_each_code_is_a_class_and_the_text_is_the_engines(self):
        for kind, code, text, named in (
            (morva.OptionsError, 3, "незнакомый ключ опций: «pushh»", {"pushh": 1}),
            *((morva.ProfileError, 2, "нет профиля", named) for named in (
                {"film": "none"}, {"lens": "none"}, {"paper": "none"}, {"film": ""}, {"film": "../films/silver_400"})),
        ):
            with self.assertRaisesRegex(kind, text) as caught:
                morva.render(ramp(), **named)
            copy = pickle.loads(pickle.dumps(caught.exception))
            self.assertEqual((type(copy), str(copy), copy.code), (kind, str(caught.exception), code))
        self.assertTrue(issubclass(morva.OptionsError, ValueError))
        with self.assertRaisesRegex(ValueError, "film is no Unicode text"):
            morva.render(ramp(), film="\ud800")

    def test_wrong_arguments(self):
        raised = {TypeError: [
            *(lambda wrong=wrong: morva.render(wrong) for wrong in (
                ramp().astype(np.uint8), ramp() > 0.5, ramp() + 1j, "photo.jpg", None, [[object()]])),
            *(lambda names=names: morva.render(ramp(), **names) for names in (
                {"film": None}, {"lens": 1}, {"paper": b"bw_warm"}, {"cancel": 1})),
            lambda: morva.render(ramp(), "silver_400"), lambda: morva.frame_caps(8.5, 8),
            lambda: morva.set_backend(None), lambda: morva.decode("text"), lambda: morva.decode(5),
        ], ValueError: [
            *(lambda shape=shape: morva.render(np.zeros(shape)) for shape in (
                (4, 4), (4, 4, 4), (3, 4, 4), (0, 4, 3), (4, 0, 3), 3, ())),
            *(lambda size=size: morva.output_size(size, 8) for size in (0, -1, 2**31, 2**32 + 8)),
            *(lambda size=size: morva.resize(ramp(), 8, size) for size in (0, -1, 2**31, 2**32 + 8)),
            *(lambda size=size: morva.rack_facts(600, 400, crop_size=size) for size in ((3,), (3, 4, 5), (0, 4))),
            lambda: morva.render(ramp(), film="silver\0_400"), lambda: morva.source_gain(ramp(), "bright"),
            lambda: morva.list_profiles("cameras"), lambda: morva.load_linear("none.jpg", "warm"),
            lambda: morva.load_linear("a\0b"), lambda: morva.image_info("a\0b"),
        ], morva.ArgumentError: [lambda: morva.decode(b""), lambda: morva.set_backend("abacus")],
            morva.OptionsError: [lambda: morva.output_size(20000, 20000, border=2.0, master_cap=False)]}
        for kind, call in ((kind, call) for kind, calls in raised.items() for call in calls):
            with self.subTest(line=call.__code__.co_firstlineno, holding=call.__defaults__):
                self.assertRaises(kind, call)


class Cancelling(HostCase):
    def test_from_another_thread(self):
        """Which stops the render under way and the one that waits for it; no other call waits."""
        picture, cancel = np.full((800, 1200, 3), 0.18, np.float32), morva.Cancel()  # seconds of grain
        with ThreadPoolExecutor(2) as others:
            waiting = others.submit(lambda: morva.render(picture, cancel=cancel))
            others.submit(lambda: (time.sleep(0.05), cancel.set()))
            self.assertEqual(morva.output_size(150, 100)["width"], 150)
            for stopped in (lambda: morva.render(picture, cancel=cancel), waiting.result,
                            lambda: morva.render(ramp(), cancel=cancel)):
                with self.assertRaises(morva.Cancelled) as caught:
                    stopped()
                self.assertEqual(caught.exception.code, 6)
        cancel.clear()
        morva.render(ramp(), cancel=cancel)

    def test_the_keyboard_stops_a_render(self):
        """That one alone, and leaves the flag to those who raise it."""
        said = in_new_python(
            "import morva, numpy as np, os, signal, threading, time\n"
            "from concurrent.futures import ThreadPoolExecutor\n"
            "morva.version()\n"
            "cancel, large, small = morva.Cancel(), np.full((1600, 2400, 3), 0.18), np.full((4, 6, 3), 0.18)\n"
            "def interrupt(then):\n"
            "  time.sleep(0.3)\n"
            "  os.kill(os.getpid(), signal.SIGINT)\n"
            "  then()\n"
            "def stopped(then):\n"
            "  threading.Thread(target=interrupt, args=(then,)).start()\n"
            "  try: morva.render(large, cancel=cancel); print('made')\n"
            "  except KeyboardInterrupt: print('stopped', cancel.is_set())\n"
            "with ThreadPoolExecutor(1) as other:\n"
            "  waiting = other.submit(lambda: (time.sleep(0.1), morva.render(small, cancel=cancel))[1].shape)\n"
            "  stopped(lambda: None)\n"
            "  print(waiting.result())\n"
            "stopped(lambda: (time.sleep(0.02), cancel.set()))")
        self.assertEqual(said, "stopped False\n(4, 6, 3)\nstopped True\n")

    def test_renders_and_a_change_of_profiles_side_by_side(self):
        """Loading, renders and changes of the store from many threads at once."""
        said = in_new_python(
            "import morva, numpy as np, os\n"
            "from concurrent.futures import ThreadPoolExecutor\n"
            "def work(i):\n"
            "  if i % 6 == 0: morva.profiles_load(os.environ['MORVA_PROFILES_DIR'])\n"
            "  if i % 6 == 1: morva.profiles_user_dir(None)\n"
            "  return morva.render(np.full((16, 24, 3), 0.18), film='silver_400').tobytes()\n"
            "with ThreadPoolExecutor(6) as pool: print(len(set(pool.map(work, range(30)))))")
        self.assertEqual(said, "1\n")


class Questions(HostCase):
    def test_plans(self):
        caps = morva.frame_caps(6000, 4000, film="silver_400")
        self.assertGreater(caps["cap_px"], caps["grain_px"])
        self.assertEqual(morva.crop_aspects(film="instant_square"), {"frame_aspect": 1.0, "forced_aspect": 1.0})
        self.assertEqual(morva.crop_aspects(frame_size="full")["frame_aspect"], 1.5)
        facts = morva.rack_facts(600, 400, film="silver_400", lens="plain", paper="bw_warm", crop_size=(300, 400))
        self.assertEqual((len(facts["curves"]["negativeCurve"]), facts["long_px"]), (65, 400))
        self.assertNotIn("stop", morva.rack_facts(600, 400))
        self.assertIn("push", morva.option_keys())

    def test_metering(self):
        grey = np.full((30, 40, 3), 0.05)
        stats = morva.source_stats(grey)
        self.assertEqual((stats.width, stats.height, round(stats.p50, 6)), (40, 30, 0.05))
        gain, shot = morva.source_gain(grey), morva.source_gain(grey, "as_shot")
        self.assertEqual((round(gain, 4), morva.source_gain(stats), shot), (3.0, gain, 1.44))
        np.testing.assert_array_equal(morva.render(grey, src_exposure="auto"), morva.render(grey, _source_gain=gain))

    def test_profiles(self):
        user = self.folder / "mine"
        (user / "films").mkdir(parents=True)
        silver = (PROFILES / "films" / "silver_400.json").read_text()
        for name, text in (("my_silver", silver.replace("Silver 400", "Mine")), ("broken", "{"),
                           ("secret", silver.replace("{", '{"hidden": true,', 1)), ("silver_400", "{}")):
            (user / "films" / f"{name}.json").write_text(text)
        for section in ("films", "lenses", "papers", "filters"):
            self.assertEqual([{"name": p.name, "title": p.title, "description": p.description}
                              for p in morva.list_profiles(section)], self.succeed_json("list", section))
        self.addCleanup(morva.profiles_load, PROFILES)
        morva.profiles_user_dir(user)
        shown, films = ({p.name: p for p in morva.list_profiles("films", hidden)} for hidden in (False, True))
        self.assertEqual((films["my_silver"].title, films["broken"].description), ("Mine", "(cannot be read)"))
        self.assertEqual((films["silver_400"].path.parent, {*films} - {*shown}), (PROFILES / "films", {"secret"}))
        np.testing.assert_array_equal(morva.render(ramp(), film="my_silver"), morva.render(ramp(), film="silver_400"))
        self.assertRaises(morva.ProfileError, morva.profiles_load, self.folder)
        morva.profiles_load(user)
        self.assertRaises(morva.ProfileError, morva.render, ramp())
        self.assertRaises(morva.ProfileError, morva.list_profiles, "papers")


class Files(HostCase):
    def test_a_photo(self):
        path = self.folder / "фото ☀.png"
        encoded = np.arange(4 * 5 * 3, dtype=np.uint8).reshape(4, 5, 3) * 4
        Image.fromarray(encoded).save(path)
        linear = morva.load_linear(path)
        self.assertEqual((linear.shape, linear.dtype), ((4, 5, 3), np.float32))
        np.testing.assert_array_equal(morva.to_srgb(linear), encoded)
        info = morva.image_info(str(path))
        self.assertEqual((info.width, info.height, info.is_raw, info.camera), (5, 4, False, ""))
        for kind in (bytes, bytearray, memoryview):
            screen = morva.decode(kind(path.read_bytes()))
            np.testing.assert_array_equal(screen, np.dstack([encoded, np.full((4, 5), 255)]))

    def test_what_cannot_be_read(self):
        broken = self.folder / "broken.jpg"
        broken.write_bytes(b"\xff\xd8\xff not really")
        for read in (morva.load_linear, morva.image_info):
            for path in (broken, self.folder / "none.jpg", self.folder):
                self.assertRaises(morva.EngineError, read, path)
        self.assertRaises(morva.EngineError, morva.decode, broken.read_bytes())

    def test_the_printed_example(self):
        """The first block of the README, run as it stands."""
        example = (SOURCE / "bindings/python/README.md").read_text().split("```python\n")[1].split("```")[0]
        Image.fromarray(morva.to_srgb(ramp())).save(self.folder / "photo.jpg")
        result = subprocess.run([sys.executable, "-c", example], cwd=self.folder, capture_output=True)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        with Image.open(self.folder / "print.png") as sheet:
            self.assertEqual(sheet.size, (36, 24))


class TheEngine(HostCase):
    def test_where_it_is_looked_for(self):
        engine = pathlib.Path(os.environ["MORVA_LIBRARY"]).resolve()
        (self.folder / "text.so").write_text("no library")
        shutil.copytree(pathlib.Path(morva.__file__).parent, self.folder / "lone" / "morva")
        for expected, environment in (
            ("names no library: /none\n", {"MORVA_LIBRARY": "/none"}),
            ("text.so cannot be loaded: ", {"MORVA_LIBRARY": str(self.folder / "text.so")}),
            ("has no morva_version: it is older", {"MORVA_LIBRARY": np.linalg._umath_linalg.__file__}),
            (f"{engine}\n", {"MORVA_LIBRARY": str(engine.parent)}),
            (f"{engine}\n", {"MORVA_LIBRARY": None, "PYTHONPATH": str(self.folder / "lone"),
                             "LD_LIBRARY_PATH": str(engine.parent)}),
        ):
            said = in_new_python("import morva\ntry: morva.version(); print(morva.engine_file())\n"
                                 "except morva.EngineUnusable as error: print(error)", **environment)
            self.assertIn(expected, said)

    def test_backends(self):
        morva.set_backend("cpu")
        self.assertFalse(morva.gpu_state().lost)
        if morva.probe().ready:
            self.assertNotEqual(morva.backend_name(), "CPU")
        else:
            self.assertRaises(morva.EngineError, morva.set_backend, "gpu")
        morva.release_gpu()
        self.assertEqual(morva.backend_name(), "CPU")
        morva.set_profiling(True)
        self.addCleanup(morva.set_profiling, False)
        morva.render(ramp())
        self.assertEqual(morva.profile_report(), "", "the CPU leaves none")
