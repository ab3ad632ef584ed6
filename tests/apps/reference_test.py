"""What tells of the host agrees with it: man page, completions, schema, hints."""

import json
import os
import re
import shutil
import subprocess
import unittest

from host_case import FAILED, HOST, OPTIONS, PROFILE, SOURCE, HostCase, main, run_host

FLAG = re.compile(r"(?<![\w-])(--[a-z][a-z-]+)")


class Reference(HostCase):
    def verbs(self):
        text = self.succeed("--help").split("Subcommands:")[1].split("Examples:")[0]
        return re.findall(r"(?m)^  (\w+) ", text)

    def flags(self, verb):
        """Those that begin a line of help."""
        return set(re.findall(r"(?m)^  (?:-\w,)?(--[a-z-]+)", self.succeed(verb, "--help")))

    def test_the_man_page(self):
        page = (SOURCE / "docs" / "morva.1").read_text().replace("\\-", "-")
        known = set().union(*map(self.flags, self.verbs())) | {"--version", "--help"}
        self.assertEqual(set(FLAG.findall(page)), known)
        for verb in self.verbs():
            self.assertIn(f"\\fBmorva {verb}\\fR", page)
        self.assertEqual(set(re.findall(r"(?m)^(\d)$", page)),
                         set(re.findall(r"(?m)^  (\d)  ", self.succeed("--help"))))

    def test_bash_completes_the_flags_of_each_verb(self):
        script = SOURCE / "apps" / "morva" / "completions" / "morva.bash"

        def completed(*words):
            place = len(words) - 1
            command = (f'. "{script}"; compopt() {{ :; }}; COMP_WORDS=({" ".join(map(repr, words))}); COMP_CWORD={place}; '
                       '_morva; printf "%s\\n" "${COMPREPLY[@]}"')
            path = f"{os.path.dirname(HOST)}:{os.environ['PATH']}"
            return set(subprocess.run(["bash", "-c", command], env={**os.environ, "PATH": path}, check=True,
                                      capture_output=True, text=True).stdout.split())

        self.assertEqual(completed("morva", "") - {"--help", "--version"}, set(self.verbs()))
        for verb in self.verbs():
            self.assertEqual(completed("morva", verb, "-"), self.flags(verb), verb)
        self.assertEqual(completed("morva", "render", "--film", "silver_4"), {"silver_400"})
        self.assertIn("push=", completed("morva", "render", "--set", "pu"))

    def test_fish_and_zsh_know_the_flags_of_each_verb(self):
        folder = SOURCE / "apps" / "morva" / "completions"
        fish = (folder / "morva.fish").read_text()
        for verb in self.verbs():
            told = {f"--{flag}" for verbs, flag in re.findall(
                r"seen_subcommand_from ([\w ]+)' (?:-s \w )?-l ([\w-]+)", fish) if verb in verbs.split()}
            self.assertEqual(told | {"--help"}, self.flags(verb), verb)
        zsh = (folder / "_morva").read_text()
        self.assertEqual(set(FLAG.findall(zsh)), set().union(*map(self.flags, self.verbs())) | {"--version"})
        for shell, file in (("fish", "morva.fish"), ("zsh", "_morva")):
            if shutil.which(shell):
                subprocess.run([shell, "-n", folder / file], check=True)

    def test_the_schema_takes_what_the_engine_takes(self):
        schema = json.loads(self.succeed("schema"))
        table = json.loads(self.succeed("options", "--json"))
        self.assertEqual(list(schema["properties"]), [entry["key"] for entry in table])
        kinds = {"number": (int, float), "integer": int, "string": str, "boolean": bool, "array": list,
                 "object": dict, "null": type(None)}
        for entry in table:
            types = schema["properties"][entry["key"]].get("type", list(kinds))
            types = [types] if isinstance(types, str) else types
            if "default" in entry:
                self.assertTrue(any(isinstance(entry["default"], kinds[kind]) for kind in types), entry["key"])
        may_be_null = [key for key, told in schema["properties"].items() if "null" in told.get("type", "")]
        self.assertGreater(len(may_be_null), 20)
        (self.folder / "null.json").write_text(json.dumps(dict.fromkeys(may_be_null)))
        self.rendered(self.small_picture(), "--options", self.folder / "null.json")

    def test_hints(self):
        """The engine's words as they are, and below them what to do."""
        plan = ["plan", self.small_picture()]
        self.fail_with(OPTIONS, *plan, "--set", "pusch=1", saying="hint: there is no such option: did you mean push?")
        self.fail_with(OPTIONS, *plan, "--set", "push=hard", saying="hint: that option")
        self.fail_with(OPTIONS, *plan, "--set", "dev=odd", saying="hint: the film cannot")
        for flag, name, meant in (("--film", "silver400", "silver_400"), ("--paper", "bw_worm", "bw_warm"),
                                  ("--lens", "trilpet", "triplet")):
            self.fail_with(PROFILE, *plan, flag, name, saying=f"did you mean {meant}")
        nowhere = {**os.environ, "MORVA_PROFILES_DIR": str(self.folder)}
        failed = run_host(*plan, env=nowhere)
        self.assertEqual(failed.returncode, PROFILE)
        self.assertRegex(failed.stderr.decode(), r"hint: .*MORVA_PROFILES_DIR|hint: there is no profile")
        self.fail_with(FAILED, "info", SOURCE / "README.md", saying="hint: the file is damaged, or no picture")

    @unittest.skipUnless(shutil.which("man"), "no man")
    def test_man_reads_it(self):
        page = subprocess.run(["man", "--warnings", "-l", SOURCE / "docs" / "morva.1"], capture_output=True, text=True)
        self.assertEqual((page.returncode, page.stderr), (0, ""))


if __name__ == "__main__":
    main()
