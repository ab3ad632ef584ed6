"""Films, lenses, papers and filters: what there is, and where.

The library loads profiles by name and lists none, so this looks where the library looks.
"""

from __future__ import annotations

import json
import os
import pathlib
from collections.abc import Iterator
from typing import Any, NamedTuple

from ._conversion import Path, path_in
from ._engine import call, engine_file, profiles_in_use
from ._errors import ProfileError

SECTIONS = ("films", "lenses", "papers", "filters")

# What the library was told; it has no export that tells it back.
_root: pathlib.Path | None = None
_user: pathlib.Path | None = None


class Profile(NamedTuple):
    name: str  #: as `render` takes it
    title: str  #: the name in words, or ""
    description: str  #: one line of plain English, or ""
    path: pathlib.Path  #: the JSON file


def profiles_load(folder: Path) -> None:
    """Takes `folder` as the profile directory, in place of the one that the library would find.

    It must hold a directory "films", else ProfileError. Waits for renders in progress. A user directory
    is to be set anew.
    """

    def take() -> None:
        global _root, _user
        call("morva_profiles_load", path_in(folder))
        _root, _user = pathlib.Path(os.fsdecode(folder)).absolute(), None

    profiles_in_use.alone(take)


def profiles_user_dir(folder: Path | None) -> None:
    """Sets a second directory, searched after the profile directory; None clears it.

    Forgets every profile read so far, so that edited files are read anew. Waits for renders in progress.
    """

    def take() -> None:
        global _user
        call("morva_profiles_user_dir", None if folder is None else path_in(folder))
        _user = None if folder is None else pathlib.Path(os.fsdecode(folder)).absolute()

    profiles_in_use.alone(take)


def profiles_dir() -> pathlib.Path:
    """The profile directory: `profiles_load`, else MORVA_PROFILES_DIR, else beside the library."""
    if _root is not None:
        return _root
    named = os.environ.get("MORVA_PROFILES_DIR")
    return pathlib.Path(named) if named else engine_file().parent / "profiles"


def _text(profile: dict[str, Any], key: str) -> str:
    value = profile.get(key)
    return value if isinstance(value, str) else ""


def _in_folder(folder: pathlib.Path, include_hidden: bool) -> Iterator[Profile]:
    for path in folder.glob("*.json"):
        if not path.is_file():
            continue
        try:
            profile = json.loads(path.read_bytes())
        except (OSError, ValueError, RecursionError):
            profile = None
        if not isinstance(profile, dict):  # listed: its name is taken, and it wants mending
            yield Profile(path.stem, "", "(cannot be read)", path)
        elif include_hidden or not profile.get("hidden"):
            yield Profile(path.stem, _text(profile, "title"), _text(profile, "description"), path)


def list_profiles(section: str, include_hidden: bool = False) -> list[Profile]:
    """The profiles of "films", "lenses", "papers" or "filters", by name.

    Of two of one name, in the profile directory and the user's, the first counts. ValueError for
    another section, ProfileError where there is no such directory.
    """
    if section not in SECTIONS:
        raise ValueError(f"section is one of {', '.join(SECTIONS)}, not {section!r}")
    folder = profiles_dir() / section
    if not folder.is_dir():
        raise ProfileError(f"no {section} in {folder.parent}", 2)
    found = list(_in_folder(folder, include_hidden))
    if _user is not None:
        taken = {path.stem for path in folder.glob("*.json")}
        found += [p for p in _in_folder(_user / section, include_hidden) if p.name not in taken]
    return sorted(found)
