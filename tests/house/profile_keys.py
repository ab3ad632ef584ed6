"""docs/profiles.md tells what the code reads: every key of its tables stands in the sources that the table
names, and every key that the sources read of a profile stands in a table. tools/check_profiles, which takes
its knowledge from those tables, accepts the shipped tree and refuses broken ones."""

import functools
import importlib.machinery
import importlib.util
import json
import pathlib
import re
import shutil
import sys
import tempfile

READING_FOLDERS = ["film", "print", "optics", "finish", "repro", "plates", "profiles", "flow", "engine", "gpu"]
KEY = re.compile(r"[a-z][A-Za-z0-9_]*$")

# How a record is read (profiles/json_access.h): the key stands second, after the record. Functions that hand
# a key on to these are found by a parameter of that name.
GETTERS = {"get", "has", "get_object", "get_number", "get_number_or", "get_bool", "get_text", "get_text_or",
           "get_optional_text"}
KEY_PARAMETER = re.compile(r"(?:const char\*|std::string_view|const std::string&) (key|by_size)\b")
# Names of records that are no profile's: options and their copies, what development folds in, what is told
# to a host, fonts.
NO_PROFILE = re.compile(r"(opts|options|exposed|plain|narrowed|in_margin|probe|preset|cooled|facts|window|curves"
                        r"|fonts?|fc)$")
# A second argument that names the value in messages, not the key it is read by.
LABELLED = {"as_number", "whole"}


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", lambda match: re.sub(r"[^\n]", " ", match[0]), text, flags=re.DOTALL)


def tokens(text):
    """Raw strings are documents of their own and are left out."""
    text = re.sub(r'R"\((.*?)\)"', '""', text, flags=re.DOTALL)
    return re.findall(r'"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\]|\\.)*\'|\w+|->|::|.', re.sub(r"\s+", " ", text))


class Call:
    def __init__(self, name, opening):
        self.name, self.opening, self.arguments = name, opening, [""]


def keyed_functions(texts):
    """Name and place of the key among the arguments, of each function or lambda that takes one."""
    places = {name: {1} for name in GETTERS}
    for text in texts:
        for match in re.finditer(r"(\w+)(?: = \[&\])?\(((?:[^()]|\(\))*)\)\s*(?:const )?(?:->\s*\S+ )?[{;]",
                                 re.sub(r"\s+", " ", text)):
            for place, parameter in enumerate(match[2].split(",")):
                if KEY_PARAMETER.search(parameter) and match[1] not in LABELLED:
                    places.setdefault(match[1], set()).add(place)
    return places


def reads(text, places):
    """The keys that a source reads of a profile."""
    found, calls, previous = set(), [], ""
    # A key that is chosen before it is read, and keys that are counted through.
    for chosen in re.findall(r"const char\* key =([^;]*);|std::array<const char\*, 3> \w+ =([^;]*);", text):
        chosen = "".join(chosen)
        found.update(re.findall(r'"(\w+)"', chosen))
    for token in tokens(text):
        if token.startswith('"') and KEY.match(token[1:-1]) and calls:
            key, call = token[1:-1], calls[-1]
            record = call.arguments[-2].strip() if len(call.arguments) > 1 else ""
            outer = next((c for c in reversed(calls) if c.opening == "("), None)
            if call.opening == "(" and call.name == "at":
                found.add(key)
            elif call.opening == "[" and not call.arguments[0].strip() and not NO_PROFILE.search(call.name):
                found.add(key)
            elif (call.opening == "(" and len(call.arguments) - 1 in places.get(call.name, ())
                  and not NO_PROFILE.search(record)):
                found.add(key)
            elif call.opening == "{" and outer and (outer.name == "scale_where_present" or
                                                    re.search(r" key ?: ?$", outer.arguments[-1])):
                found.add(key)
        if token in "([{":
            calls.append(Call(previous, token))
            previous = ""
            continue
        if token in ")]}" and calls:
            closed = calls.pop()
            token = closed.opening + ",".join(closed.arguments) + token if closed.opening != "{" else token
        elif token == "," and calls:
            calls[-1].arguments.append("")
            continue
        elif token == ";" and calls and calls[-1].opening == "{":
            calls[-1].arguments = [""]
        if calls:
            calls[-1].arguments[-1] += token
        if re.match(r"\w", token):
            previous = token
        elif token != " ":
            previous = previous if token in ".:>" else ""
    return found


def all_reads(root):
    sources = {}
    for folder in READING_FOLDERS:
        for path in sorted((root / "src" / folder).rglob("*.[ch]*")):
            if path.suffix in (".h", ".cpp"):
                sources[path] = without_comments(path.read_text())
    places = keyed_functions(sources.values())
    read = {}
    for path, text in sources.items():
        if keys := reads(text, places):
            name = str(path.relative_to(root / "src").with_suffix(""))
            read.setdefault(name, set()).update(keys)
    return read


# They fold development and age into a film, plan a sheet or tell a host what a stage will find: they look at
# keys that belong to stages, which the tables name.
LOOKING_ON = re.compile(r"film/ageing|film/instant_ageing|profiles/film$|profiles/formats|flow/|engine/|gpu/")


def drift(tables, read, root):
    """Where the tables and the code tell different things."""
    read_by = {}
    for table in tables:
        for key, row in table.rows.items():
            for file in re.split(r", ?", row["read_by"]):
                read_by.setdefault(file, {})[key] = row["line"]
    for file, keys in sorted(read_by.items()):
        if file.startswith(("apps/", "tools/")):
            path = root / file if (root / file).exists() else (root / file).with_suffix(".cpp")
            found = set(re.findall(r'"(\w+)"', path.read_text())) if path.exists() else set()
        else:
            found = read.get(file, set())
        for key in sorted(keys.keys() - found):
            yield f"docs/profiles.md:{keys[key]}: {file} does not read {key}"
    documented = {key for table in tables for key in table.rows}
    for file, keys in sorted(read.items()):
        told = read_by.get(file, {}).keys()
        for key in sorted(keys - told):
            if not (LOOKING_ON.match(file) and key in documented):
                yield f"src/{file} reads {key}, which docs/profiles.md does not tell"


def broken_trees(tree):
    """(what is broken, how, words of the complaint)"""
    edits = [
        ("a misspelt key", "films/silver_125", lambda p: p["grain"].update(ammount=0.1),
         "no stage reads grain.ammount; is it amount?"),
        ("a key of another section", "lenses/toy", lambda p: p.update(gains=[1, 1, 1]), "no stage reads gains"),
        ("a key of another kind of filter", "filters/red", lambda p: p.update(haze=0.1), "no stage reads haze"),
        ("a negative density", "papers/bw_warm", lambda p: p.update(dmin=-0.1), "dmin: -0.1 is outside"),
        ("a range turned over", "films/silver_125", lambda p: p["negative"].update(dmax=0.5, dmin=0.9),
         "negative.dmax is not above dmin"),
        ("a text for a number", "lenses/toy", lambda p: p.update(veil="much"), "veil: wants a number"),
        ("true for a number", "lenses/toy", lambda p: p.update(veil=True), "veil: wants a number"),
        ("two numbers for three", "filters/red", lambda p: p.update(gains=[1, 1]), "gains: wants 3 numbers, has 2"),
        ("an unknown kind", "films/slide_50", lambda p: p.update(type="slides"), 'type: "slides" is none of'),
        ("a number for a record", "films/slide_50", lambda p: p.update(grain=1), "grain wants an object"),
        ("a curve without its slope", "films/slide_50", lambda p: p["layers"]["g"].pop("gamma"),
         "layers.g.gamma is missing"),
        ("a negative without its layers", "films/everyday_400", lambda p: p.pop("layers"), "layers is missing"),
        ("no title", "films/silver_125", lambda p: p.pop("title"), "title is missing"),
        ("an empty description", "films/silver_125", lambda p: p.update(description=" "),
         "description: wants a text"),
    ]
    silver, plain = (tree / "films/silver_125.json").read_text(), '{"title": "%s", "description": "x"%s}'
    files = [
        ("a key twice", "films/silver_125.json", silver.replace("{", '{"type": "bw",', 1), "type stands twice"),
        ("no JSON", "films/silver_125.json", silver[:-3], "films/silver_125.json: "),
        ("an array", "filters/array.json", "[]", "is no JSON object"),
        ("a name but for its letters' size", "films/Silver_125.json", silver.replace("Silver 125", "S"),
         "films/Silver_125.json and films/silver_125.json: one name"),
        ("a name of another section", "filters/toy.json", plain % ("T", ', "type": "cut"'),
         "lenses/toy.json and filters/toy.json: one name"),
        ("a title twice", "lenses/x.json", plain % ("pinhole", ""), "lenses/pinhole.json and lenses/x.json: one title"),
        ("a file without its ending", "lenses/x.jsn", plain % ("X", ""), "ends in .json"),
        ("an unknown section", "lens/x.json", plain % ("X", ""), "lens: no such section"),
    ]

    def edit(path, change):
        profile = json.loads(path.read_text())
        change(profile)
        path.write_text(json.dumps(profile))

    def place(path, text):
        path.parent.mkdir(exist_ok=True)
        path.write_text(text)

    for name, profile, change, words in edits:
        yield name, functools.partial(edit, tree / f"{profile}.json", change), words
    for name, file, text, words in files:
        yield name, functools.partial(place, tree / file, text), words
    yield "films without their paper", (tree / "papers/ambrotype.json").unlink, "papers/ambrotype.json is missing"


def fallbacks(root, file, key):
    """The numbers that a source falls back to where a profile leaves the key out."""
    text = without_comments((root / "src" / file).with_suffix(".cpp").read_text())
    return [float(number) for number in re.findall(r'"%s",\s*(-?\d[\d.e-]*)[,)]' % key, text)]


def untrue_defaults(tables, root):
    for table in tables:
        for key, row in table.rows.items():
            told = [float(number) for number in re.findall(r"(?<![\w.])-?\d+(?:\.\d+)?", row["default"])]
            if not told:
                continue
            for file in re.split(r", ?", row["read_by"]):
                if file.startswith(("apps/", "tools/")) or LOOKING_ON.match(file):
                    continue
                found = fallbacks(root, file, key)
                if found and not set(found) & set(told):
                    yield (f"docs/profiles.md:{row['line']}: {key} falls back to {found[0]:g} in {file}, "
                           f"not to {row['default']}")


def check_example(document, checker, tables):
    """The film at the top of the document is a sound one."""
    example = re.search(r"```json\n(.*?)```", document.read_text(), re.DOTALL)[1]
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "my_film.json"
        file.write_text(example)
        return [f"the example in docs/profiles.md: {wrong}" for wrong in checker.check_file(file, "films", tables)[1]]


def main(root):
    root = pathlib.Path(root)
    loader = importlib.machinery.SourceFileLoader("check_profiles", str(root / "tools" / "check_profiles"))
    checker = importlib.util.module_from_spec(importlib.util.spec_from_loader("check_profiles", loader))
    sys.dont_write_bytecode = True
    loader.exec_module(checker)

    tables = checker.read_tables(root / "docs" / "profiles.md")
    read = all_reads(root)
    failures = [*drift(tables, read, root), *untrue_defaults(tables, root),
                *check_example(root / "docs" / "profiles.md", checker, tables),
                *checker.check_folder(root / "profiles", tables)]
    if sum(map(len, read.values())) < 300:
        failures.append(f"only {sum(map(len, read.values()))} reads were found in the sources")
    if failures:
        print("\n".join(failures))
        return 1
    with tempfile.TemporaryDirectory() as folder:
        tree = pathlib.Path(folder) / "profiles"
        shutil.copytree(root / "profiles", tree)
        cases = list(broken_trees(tree))
        for name, break_it, words in cases:
            break_it()
            complaints = checker.check_folder(tree, tables)
            shutil.rmtree(tree)
            shutil.copytree(root / "profiles", tree)
            if not any(words in complaint for complaint in complaints) or len(complaints) > 2:
                failures.append(f"{name}: wants a complaint with \"{words}\", has {complaints}")
    print("\n".join(failures) or f"{sum(len(t.rows) for t in tables)} keys, told as they are read; "
          f"{len(cases)} broken folders refused")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
