"""What tells of the host agrees with it: man page, completions, schema, hints."""

import json
import os
import re
import shutil
import subprocess

from host_case import FAILED, HOST, NO_PICTURE, OPTIONS, PROFILE, SOURCE, USAGE, HostCase, run_host

FLAG = re.compile(r"(?<![\w-])(--[a-z][a-z-]+)")


class Reference(HostCase):
    def setUp(self):
        super().setUp()
        self.help = self.succeed("--help")
        verbs = re.findall(r"(?m)^  (\w+) ", self.help.split("Subcommands:")[1].split("Examples:")[0])
        self.flags = {verb: set(re.findall(r"(?m)^  (?:-\w,)?(--[a-z-]+)", self.succeed(verb, "--help")))
                      for verb in verbs}
        self.known = {"--version"}.union(*self.flags.values())

    def test_the_man_page(self):
        page = (SOURCE / "docs" / "morva.1").read_text().replace("\\-", "-")
        self.assertEqual(set(FLAG.findall(page)), self.known)
        for verb in self.flags:
            self.assertIn(f"\\fBmorva {verb}\\fR", page)
        self.assertEqual(re.findall(r"(?m)^(\d)$", page), re.findall(r"(?m)^  (\d)  ", self.help))
        self.assertRegex(self.succeed("--version"), r"\Amorva \d+\.\d+")
        if shutil.which("man"):
            read = subprocess.run(["man", "--warnings", "-l", SOURCE / "docs" / "morva.1"], capture_output=True)
            self.assertEqual((read.returncode, read.stderr), (0, b""))

    def test_completions(self):
        """Of bash as it answers, of fish and zsh by their text."""
        folder = SOURCE / "apps" / "morva" / "completions"

        def completed(*words):
            command = (f'. "{folder}/morva.bash"; compopt() {{ :; }}; COMP_WORDS=({" ".join(map(repr, words))}); '
                       f'COMP_CWORD={len(words) - 1}; _morva; printf "%s\\n" "${{COMPREPLY[@]}}"')
            path = f"{os.path.dirname(HOST)}:{os.environ['PATH']}"
            return set(subprocess.run(["bash", "-c", command], env={**os.environ, "PATH": path}, check=True,
                                      capture_output=True, text=True).stdout.split())

        self.assertEqual(completed("morva", ""), {*self.flags, "--help", "--version"})
        self.assertEqual(completed("morva", "render", "--film", "silver_4"), {"silver_400"})
        self.assertIn("push=", completed("morva", "render", "--set", "pu"))
        fish = re.findall(r"seen_subcommand_from ([\w ]+)' (?:-s \w )?-l ([\w-]+)", (folder / "morva.fish").read_text())
        for verb, flags in self.flags.items():
            self.assertEqual(completed("morva", verb, "-"), flags, verb)
            self.assertEqual({f"--{flag}" for verbs, flag in fish if verb in verbs.split()} | {"--help"}, flags, verb)
        self.assertEqual(set(FLAG.findall((folder / "_morva").read_text())), self.known)
        for shell, file in (("fish", "morva.fish"), ("zsh", "_morva")):
            if shutil.which(shell):
                subprocess.run([shell, "-n", folder / file], check=True)

    def test_the_schema_takes_what_the_engine_takes(self):
        schema, table = json.loads(self.succeed("schema")), self.succeed_json("options")
        self.assertEqual(list(schema["properties"]), [entry["key"] for entry in table])
        kinds = {int: {"number", "integer"}, float: {"number"}, str: {"string"}, bool: {"boolean"}}
        for entry in table:
            types = schema["properties"][entry["key"]].get("type", ["null"])
            if "default" in entry:
                kind = kinds.get(type(entry["default"]), {"null"})
                self.assertTrue(kind.intersection([types] if isinstance(types, str) else types), entry)
        may_be_null = [key for key, told in schema["properties"].items() if "null" in told.get("type", "")]
        self.assertGreater(len(may_be_null), 20)
        (self.folder / "null.json").write_text(json.dumps(dict.fromkeys(may_be_null)))
        self.rendered(self.small_picture(), "--options", self.folder / "null.json")

    def test_the_options_as_they_are_told(self):
        """Their lines say what their JSON does, and a default changes no picture."""
        table, photo = self.succeed_json("options"), self.photo("p.png")
        defaults = {entry["key"]: entry["default"] for entry in table if "default" in entry}
        lines = [" ".join(line.split()) for line in self.succeed("options").splitlines()]
        self.assertEqual(lines, [f"{entry['key']} {json.dumps(entry['default']) if 'default' in entry else '-'} "
                                 f"{entry['meaning']}" for entry in table])
        (self.folder / "all.json").write_text(json.dumps(defaults))
        given = self.rendered(photo, "--options", self.folder / "all.json")
        self.assertTrue((given == self.rendered(photo)).all())

    def test_hints(self):
        """The engine's words as they are, and below them what to do."""
        plan = ["plan", self.small_picture()]
        for code, *flag, saying in (
            (OPTIONS, "--set", "pusch=1", "hint: there is no such option: did you mean push?"),
            (OPTIONS, "--set", "push=hard", "hint: that option"), (OPTIONS, "--set", "dev=odd", "hint: the film"),
            (PROFILE, "--film", "silver400", "did you mean silver_400"),
            (PROFILE, "--paper", "bw_worm", "did you mean bw_warm"), (PROFILE, "--lens", "trilpet", "mean triplet"),
            (USAGE, "--preset", "/dev/zero", "hint: a preset or options file is"),
        ):
            self.fail_with(code, *plan, *flag, saying=saying)
        self.fail_with(PROFILE, *plan, env={**os.environ, "MORVA_PROFILES_DIR": str(self.folder)}, saying="hint: ")
        broken = self.folder / "стиль.png"
        broken.write_bytes(NO_PICTURE)
        self.fail_with(FAILED, "info", broken, saying="hint: the file is damaged, or no picture")
        self.assertTrue(run_host("plan", "стиль.png").stderr.decode().endswith("no such input file: стиль.png\n"))
