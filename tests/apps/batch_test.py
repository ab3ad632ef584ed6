"""Many pictures: morva batch, and the commands of docs/batch.md as they stand."""

import contextlib
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import time
import unittest

import numpy as np

import picture_files as files
from host_case import (
    CANCELLED, FAILED, HOST, NO_PICTURE, OPTIONS, PROFILE, QUICK, SOURCE, USAGE, HostCase, run_host)


class Photos(HostCase):
    """Five photos in a folder, and one more that can be broken."""

    def setUp(self):
        super().setUp()
        self.photos = self.folder / "photos"
        self.broken = self.photos / "c c.png"
        for i, name in enumerate("abdef"):
            self.photo(f"photos/{name}.png", (40 * i + 20, 90, 60))


class Batch(Photos):
    def setUp(self):
        super().setUp()
        for name in ("notes.txt", ".hidden.png"):
            (self.photos / name).write_text("no picture")

    def batch(self, *arguments, **keywords):
        return run_host("batch", self.photos, "-o", self.out, *QUICK, *arguments, **keywords)

    def made(self):
        return sorted(path.name for path in self.out.iterdir())

    def test_each_is_the_render_that_it_stands_for(self):
        """Flags go through as they are, whatever is in them; the folder is made."""
        flags = ["--film", "silver_400", "--set", "stamp_text=a b, \"c\"", "--set", "ev=-1", "--crop", "0,0,1,0.5",
                 "--mirror", "--bits", "8", "--paper", "", "--no-metadata", *QUICK]
        deep = self.out / "x" / "y"
        result = run_host("batch", self.photos / "d.png", self.photos / "a.png", "-o", deep, "-j", "2", *flags)
        self.assertEqual((result.returncode, result.stderr), (0, b"2 pictures: 2 rendered\n"))
        self.assertEqual(sorted(result.stdout.decode().split()), [str(deep / "a.png"), str(deep / "d.png")])
        for name in ("a.png", "d.png"):
            self.succeed("render", self.photos / name, "-o", self.out / name, *flags)
            self.assertEqual((deep / name).read_bytes(), (self.out / name).read_bytes())

    def test_names(self):
        """And a setting that can be read, and found wrong, but once."""
        self.batch("--name", "{n}_{name}_{ext}-{film}-{paper}", "--format", "jpg", "--preset", "/dev/stdin", "--quiet",
                   input=b'{"film": "ortho_25", "paper": "cyanotype"}')
        self.assertEqual(self.made(), [f"{i + 1}_{name}_png-ortho_25-cyanotype.jpg" for i, name in enumerate("abdef")])
        self.photo("other/a.jpg")
        more = self.folder / "more"
        for arguments, saying in (
            ([self.folder / "other"], "a.jpg would both become"), (["--name", "{nome}"], "{nome}"), (["-"], "input"),
            (["--name", "x/{name}"], "slash"), (["--name", "same"], "would both become"), (["--bits", "32f"], "32f"),
            ([self.folder / "none.png", "--name", "{name}.bmp"], "bmp"), (["-j", "0"], "--jobs"), (["-j", "257"], "-j"),
        ):
            with self.subTest(arguments=arguments):
                self.fail_with(USAGE, "batch", self.photos, *arguments, "-o", more, saying=saying)
        self.fail_with(USAGE, "batch", self.photos, "-o", "-", saying="folder")
        for code, *setting in ((PROFILE, "--preset", "no_such_one"), (PROFILE, "--set", "filter=bleu"),
                               (OPTIONS, "--set", "pussh=1"), (OPTIONS, "--set", "src_exposure=dim")):
            self.fail_with(code, "batch", self.photos, "-o", more, "--keep-going", *setting)
        self.assertFalse(more.exists())

    def test_one_broken_among_them(self):
        """The first failure in their order tells the code."""
        self.broken.write_bytes(NO_PICTURE)
        for arguments, summary, rendered in (
            (["-j", "1"], "2 rendered, 1 failed, 3 not begun", "ab"),
            (["-j", "2", "--keep-going", "--force", "--json"], "5 rendered, 1 failed", "abdef"),
        ):
            result = self.batch(*arguments)
            self.assertEqual(result.returncode, FAILED)
            self.assertTrue(result.stderr.decode().endswith(f"6 pictures: {summary}\n"), result.stderr)
            self.assertIn(f"morva: {self.broken}: ", result.stderr.decode())
            self.assertEqual(self.made(), [f"{name}.png" for name in rendered])
        report = json.loads(result.stdout)
        self.assertEqual((report["rendered"], report["failed"], report["not_begun"]), (5, 1, 0))
        failed = report["pictures"][2]
        self.assertEqual((failed["state"], failed["input"], failed["code"]), ("failed", str(self.broken), FAILED))
        result = run_host("batch", "none.png", self.broken, "-o", self.folder, "--keep-going")
        self.assertEqual(result.returncode, USAGE)
        self.assertIn(b"\nhint: the file is damaged", result.stderr)

    def test_what_is_there_stays(self):
        (self.out / "b.png").write_text("mine")
        self.fail_with(USAGE, "batch", self.photos, "-o", self.out, saying="1 of 5 outputs exist")
        for force, said in (([], b"4 rendered, 1 skipped"), (["--force"], b"0 rendered, 5 skipped")):
            self.assertEqual(self.batch("--skip-existing", *force).stderr, b"5 pictures: " + said + b"\n")
            self.assertEqual((self.out / "b.png").read_text(), "mine")
        self.assertEqual(self.batch("--force", "--quiet").returncode, 0)
        self.assertNotEqual((self.out / "b.png").read_bytes(), b"mine")
        one, two = self.photo("1.png"), self.photo("2.png")
        self.fail_with(USAGE, "batch", two, one, "-o", self.folder, "--name", "{n}", "--force", saying="take the place")

    def test_a_shortage_that_passes(self):
        """Room for the files of four renders at a time."""
        few = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (7, 7))}
        self.assertEqual(self.batch("-j", "5", **few).stderr, b"5 pictures: 5 rendered\n")

    def test_a_stop_ends_the_renders_too(self):
        """And none of them holds the file that another one complains into."""
        large = [self.photo(f"{name}.png", size=(2400, 1600)) for name in "ab"]
        batch = subprocess.Popen([HOST, "batch", *large, "-o", self.out, "-j", "2"], stderr=subprocess.PIPE)
        self.addCleanup(batch.terminate)
        children = pathlib.Path(f"/proc/{batch.pid}/task/{batch.pid}/children")

        def unnamed_files(process):
            links = pathlib.Path(f"/proc/{process}/fd").iterdir()
            return [link.name for link in links if "(deleted)" in os.readlink(link)]

        held, deadline = [], time.monotonic() + 60
        while held != [["2"], ["2"]] and time.monotonic() < deadline:
            time.sleep(0.02)
            with contextlib.suppress(FileNotFoundError):
                held = [unnamed_files(render) for render in children.read_text().split()]
        self.assertEqual(held, [["2"], ["2"]])
        renders = children.read_text().split()
        batch.send_signal(signal.SIGTERM)  # to the batch alone
        _, complaint = batch.communicate(timeout=120)
        self.assertEqual((batch.returncode, complaint), (CANCELLED, b"morva: cancelled\n"))
        self.assertFalse(any(os.path.exists(f"/proc/{render}") for render in renders))
        self.assertEqual(self.made(), [])


class Documented(Photos):
    """The blocks of docs/batch.md."""

    def setUp(self):
        super().setUp()
        self.broken.write_bytes(NO_PICTURE)
        self.blocks = re.findall(r"```sh\n(.*?)```", (SOURCE / "docs" / "batch.md").read_text(), re.DOTALL)
        (self.folder / "bin").mkdir()
        (self.folder / "bin" / "morva").symlink_to(HOST)

    def run_block(self, words, change=("", ""), **environment):
        (block,) = (block for block in self.blocks if words in block)
        path = f"{self.folder / 'bin'}:{os.environ['PATH']}"
        return subprocess.run(["bash", "-c", block.replace(*change, 1)], cwd=self.folder, capture_output=True,
                              text=True, timeout=300, env={**os.environ, "HOME": str(self.folder), "PATH": path, **environment})

    def sheets(self):
        return {path.stem: path.stat().st_mtime_ns for path in (self.folder / "prints").glob("*.tif")}

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is not installed")
    def test_two_workers_of_gnu_parallel(self):
        first = self.run_block("-S 2/:")
        self.assertEqual(first.returncode, 1, first.stderr)  # one failed
        self.assertRegex(first.stderr, r"(?m)^morva: ")  # the one complaint is shown
        made = self.sheets()
        self.assertEqual(set(made), {*"abdef"})
        self.assertRegex(self.run_block("awk").stdout, r"\A5 morva render .*c.*\n\Z")
        shutil.copy(self.photos / "a.png", self.broken)
        second = self.run_block("-S 2/:", ("parallel ", "parallel --resume-failed "))
        self.assertEqual(second.returncode, 0, second.stderr)
        self.assertEqual({**self.sheets(), **made}, self.sheets(), "what was made stays")
        mended, plain = (files.read_tiff(self.folder / f"prints/{name}.tif")[0] for name in ("c c", "a"))
        np.testing.assert_array_equal(mended, plain)

    def test_the_tasks_of_a_slurm_array(self):
        """The script as Slurm would run it, task by task; Slurm itself is not needed."""
        (self.folder / "bin" / "sbatch").symlink_to("/bin/echo")
        self.assertEqual(self.run_block("sbatch --array").stdout, "--array=1-6%64 prints.sbatch\n")
        for codes in ([0, 0, 5, 0, 0, 0], [0] * 6):
            tasks = [self.run_block("#!/bin/bash", SLURM_ARRAY_TASK_ID=str(i + 1)).returncode for i in range(6)]
            self.assertEqual(tasks, codes)
            shutil.copy(self.photos / "a.png", self.broken)
        self.assertEqual(set(self.sheets()), {*"abdef", "c c"})
