"""What the tools beside this file share: the shipped profiles, the built library under its Python package,
and the film that shows what a paper does."""

import importlib
import json
import os
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HOST = pathlib.Path(os.environ.get("MORVA_HOST", ROOT / "build" / "morva"))
LIBRARY = pathlib.Path(os.environ.get("MORVA_LIBRARY", ROOT / "build" / "libmorva_core.so"))

SILVER, NEGATIVE, SLIDE, PLATE = "silver_125", "everyday_400", "slide_50", "collodion_glass"


def profiles(section):
    return {file.stem: json.loads(file.read_text()) for file in sorted((ROOT / "profiles" / section).glob("*.json"))}


def film_for(paper):
    """Papers take black and white unless their kind asks for more."""
    if paper.get("kind") == "plate":
        return PLATE
    if paper.get("type") == "reversal_paper":
        return SLIDE
    return SILVER if paper.get("process") or paper.get("type") == "bw" else NEGATIVE


def require_built(*files):
    for file in files:
        if not file.exists():
            sys.exit(f"{file} is not there: build it first: ./run.sh")


def engine(library):
    """The package `morva` over that library and the shipped profiles."""
    require_built(library)
    os.environ["MORVA_LIBRARY"] = str(library)
    sys.path.insert(0, str(ROOT / "bindings" / "python"))
    morva = importlib.import_module("morva")
    morva.profiles_load(ROOT / "profiles")
    return morva
