"""The Python package as it is installed: by the build, with its library, and by pip, without.

test_installed.py CMAKE BUILD_FOLDER FOLDER_FOR_PYTHON_PACKAGES
"""

import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]
CMAKE, BUILD, PACKAGES = sys.argv[1:4]

PROGRAM = """
import morva, numpy as np
print(morva.__file__)
print(morva.library_file())
print(round(float(morva.render(np.full((1, 1, 3), 0.18))[0, 0, 1]), 2))
"""


class Installed(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()

    def run_program(self, python, **environment):
        """File of the package, file of the library, a grey that was rendered."""
        bare = {k: v for k, v in os.environ.items() if not k.startswith(("MORVA_", "PYTHONPATH"))}
        result = subprocess.run([python, "-c", PROGRAM], env={**bare, **environment}, cwd=self.folder,
                                capture_output=True, text=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        package, library, grey = result.stdout.split()
        self.assertEqual(grey, "0.18")
        return pathlib.Path(package), pathlib.Path(library)

    def test_by_the_build(self):
        prefix = self.folder / "prefix"
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", prefix], check=True, capture_output=True)
        moved = prefix.rename(self.folder / "moved")  # an installed tree can be carried elsewhere
        packages = moved / PACKAGES
        package, library = self.run_program(sys.executable, PYTHONPATH=str(packages))
        self.assertEqual(package.parent, packages / "morva")
        self.assertEqual(library.parent.name, "morva")
        self.assertIn(moved, library.parents)
        self.assertEqual({p.name for p in package.parent.iterdir()} - {"__pycache__"},
                         {p.name for p in (CHECKOUT / "bindings/python/morva").iterdir()
                          if p.suffix in (".py", ".typed")} | {"library_folder.txt"})

    def test_by_pip(self):
        for module in ("pip", "setuptools", "venv", "ensurepip"):
            if importlib.util.find_spec(module) is None:
                self.skipTest(f"Python has no {module}")
        source = self.folder / "python"  # pip builds beside the source
        shutil.copytree(CHECKOUT / "bindings" / "python", source)
        subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", self.folder / "venv"],
                       check=True, capture_output=True)
        python = self.folder / "venv" / "bin" / "python"
        subprocess.run([python, "-m", "pip", "install", "--no-build-isolation", "--no-deps", "--no-index",
                        "--disable-pip-version-check", source], check=True, capture_output=True)
        package, library = self.run_program(python, MORVA_LIBRARY=BUILD)
        self.assertIn(self.folder / "venv", package.parents)
        self.assertTrue((package.parent / "py.typed").is_file())
        self.assertEqual(library.parent, pathlib.Path(BUILD).resolve())

    def test_the_package_is_of_the_librarys_version(self):
        built = re.search(r"VERSION (\S+)", (CHECKOUT / "CMakeLists.txt").read_text().split("project(")[1])
        package = re.search(r'^version = "(.*)"', (CHECKOUT / "bindings/python/pyproject.toml").read_text(),
                            re.MULTILINE)
        self.assertEqual(package[1], built[1])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
