"""The Python package as it is installed: by the build, with its library, and by pip, without."""

import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

from host_case import SOURCE, HostCase

BINDINGS, BUILD = SOURCE / "bindings" / "python", pathlib.Path(os.environ["MORVA_LIBRARY"]).resolve().parent
PROGRAM = """import morva, numpy as np
print(morva.__file__, morva.engine_file(), round(float(morva.render(np.full((1, 1, 3), 0.18))[0, 0, 1]), 2))"""


class Installed(HostCase):
    def check(self, packages, engine_folder, **environment):
        """The package in that folder finds its engine and renders a grey."""
        bare = {k: v for k, v in os.environ.items() if not k.startswith(("MORVA_", "PYTHONPATH"))}
        result = subprocess.run([sys.executable, "-c", PROGRAM], cwd=self.folder, capture_output=True, text=True,
                                env={**bare, "PYTHONPATH": str(packages), **environment})
        self.assertEqual(result.returncode, 0, result.stderr)
        package, engine, grey = result.stdout.split()
        self.assertEqual((pathlib.Path(package).parent, pathlib.Path(engine).parent, grey),
                         (packages / "morva", engine_folder, "0.18"))
        self.assertLessEqual({path.name for path in (BINDINGS / "morva").iterdir() if path.suffix in (".py", ".typed")},
                             {path.name for path in (packages / "morva").iterdir()})

    def test_by_the_build(self):
        cmake, prefix = os.environ["MORVA_CMAKE"], self.folder / "prefix"
        subprocess.run([cmake, "--install", BUILD, "--prefix", prefix], check=True, capture_output=True)
        moved = prefix.rename(self.folder / "moved")  # an installed tree can be carried elsewhere
        (engine,) = {path.resolve().parent for path in moved.rglob("libmorva_core.*") if path.parent.name == "morva"}
        self.check(moved / os.environ["MORVA_PACKAGES"], engine)

    @unittest.skipUnless(all(map(importlib.util.find_spec, ("pip", "setuptools"))), "Python has no pip or setuptools")
    def test_by_pip(self):
        source, packages = self.folder / "python", self.folder / "packages"
        shutil.copytree(BINDINGS, source)  # pip builds beside the source
        subprocess.run([sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-deps", "--no-index",
                        "--disable-pip-version-check", "--target", packages, source], check=True, capture_output=True)
        self.check(packages, BUILD, MORVA_LIBRARY=str(BUILD))
        built = re.search(r"VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text().split("project(")[1])
        self.assertTrue((packages / f"morva-{built[1]}.dist-info").is_dir(), "the library's version")
