"""The commands of docs/batch.md, run as they stand over six pictures of which one is broken.

batch_parallel_test.py MORVA BATCH_MD
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import numpy as np
from PIL import Image

import picture_files as files

HOST, DOCUMENT = map(pathlib.Path, sys.argv[1:3])
BLOCKS = re.findall(r"```sh\n(.*?)```", DOCUMENT.read_text(), re.DOTALL)
BROKEN = "d d"


def block_with(words):
    (found,) = (block for block in BLOCKS if words in block)
    return found


class Batch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.photos, self.prints = self.folder / "photos", self.folder / "prints"
        (self.folder / "bin").mkdir()
        (self.folder / "bin" / "morva").symlink_to(HOST.resolve())
        self.photos.mkdir()
        for i, name in enumerate("abcef"):
            level = np.full((16, 24, 3), 40 * i + 20, np.uint8)
            Image.fromarray(level).save(self.photos / f"{name}.png")
        (self.photos / f"{BROKEN}.png").write_bytes(b"\x89PNG\r\n\x1a\nnot really")

    def run_block(self, block, **environment):
        return subprocess.run(
            ["bash", "-c", block], cwd=self.folder, capture_output=True, text=True, timeout=300,
            env={**os.environ, "HOME": str(self.folder), **environment,
                 "PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}"})

    def mend(self):
        shutil.copy(self.photos / "a.png", self.photos / f"{BROKEN}.png")

    def sheets(self):
        return sorted(path.stem for path in self.prints.glob("*.tif"))

    @unittest.skipUnless(shutil.which("parallel"), "GNU parallel is not installed")
    def test_two_workers_of_gnu_parallel(self):
        block = block_with("-S 2/:")
        first = self.run_block(block)
        self.assertEqual(first.returncode, 1, first.stderr)  # one failed
        self.assertRegex(first.stderr, r"(?m)^morva: ")  # the one complaint is shown
        self.assertEqual(self.sheets(), list("abcef"))
        failed = self.run_block(block_with("awk"))
        self.assertRegex(failed.stdout, r"\A5 morva render .*d.*\n\Z")
        kept = {path: path.stat().st_mtime_ns for path in self.prints.glob("*.tif")}

        self.mend()
        second = self.run_block(block.replace("parallel ", "parallel --resume-failed ", 1))
        self.assertEqual(second.returncode, 0, second.stderr)
        self.assertEqual(self.sheets(), ["a", "b", "c", BROKEN, "e", "f"])
        self.assertEqual({path: path.stat().st_mtime_ns for path in kept}, kept)
        mended, plain = (files.read_tiff(self.prints / f"{name}.tif")[0] for name in (BROKEN, "a"))
        np.testing.assert_array_equal(mended, plain)

    def test_the_tasks_of_a_slurm_array(self):
        """The script as Slurm would run it, task by task; Slurm itself is not needed."""
        script, submit = block_with("SLURM_ARRAY_TASK_ID"), block_with("sbatch --array")
        self.assertTrue(script.startswith("#!/bin/bash\n"))
        sbatch = self.folder / "bin" / "sbatch"
        sbatch.write_text("#!/bin/bash\necho $*\n")
        sbatch.chmod(0o755)
        self.assertEqual(self.run_block(submit).stdout, "--array=1-6%64 prints.sbatch\n")

        def codes():
            return [self.run_block(script, SLURM_ARRAY_TASK_ID=str(i)).returncode for i in range(1, 7)]

        self.assertEqual(codes(), [0, 0, 0, 5, 0, 0])
        self.assertEqual(self.sheets(), list("abcef"))
        self.mend()
        self.assertEqual(codes(), [0] * 6)
        self.assertIn(BROKEN, self.sheets())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
