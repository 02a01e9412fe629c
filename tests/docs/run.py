"""Compiles and runs every example of the documents, and looks up what they link to.

usage: run.py ROOT LIBRARY CC CXX

An example is a block fenced as c or cpp with a main function. It returns 0 where it does what its page says.
"""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT, LIBRARY = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
COMPILERS = {"c": [sys.argv[3], "-std=c99"], "cpp": [sys.argv[4], "-std=c++17"]}
PAGES = sorted([*ROOT.glob("*.md"), *ROOT.glob("docs/*.md")])
FAMILIES = "image colour jpeg geometry filter statistics fourier signal vision matrix".split()


def examples(page):
    """(line, language, text) of each block with a main function."""
    text = page.read_text()
    for match in re.finditer(r"^```(c|cpp)\n(.*?)^```", text, re.M | re.S):
        if "main(" in match[2]:
            yield text.count("\n", 0, match.start()) + 2, match[1], match[2]


def fault(folder, page, line, language, text):
    """What is wrong with an example, or None."""
    source, program = folder / f"example.{language}", folder / "example"
    # Messages name the page and the line in it.
    source.write_text(f'#line {line} "{page.name}"\n{text}')
    command = [*COMPILERS[language], "-Wall", "-Wextra", "-Werror", "-I", ROOT / "include", source, "-o", program, LIBRARY, "-lm", f"-Wl,-rpath,{LIBRARY.parent}"]
    built = subprocess.run(command, capture_output=True, text=True)
    if built.returncode:
        return built.stderr
    done = subprocess.run([program], capture_output=True, text=True, timeout=60)
    return f"{page.name}:{line}: exit status {done.returncode}" if done.returncode else None


class DocumentsTest(unittest.TestCase):
    def test_every_example_compiles_and_does_what_it_says(self):
        with tempfile.TemporaryDirectory() as name:
            for page in PAGES:
                for example in examples(page):
                    self.assertIsNone(fault(pathlib.Path(name), page, *example))

    def test_an_example_that_fails_is_noticed(self):
        page = ROOT / "docs" / "README.md"
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            self.assertIn("README.md:7", fault(folder, page, 6, "c", "int main(void)\n{ return x; }\n"))
            self.assertIn("exit status 3", fault(folder, page, 6, "c", "int main(void)\n{ return 3; }\n"))

    def test_every_family_has_a_page_with_all_its_parts(self):
        for family in FAMILIES:
            text = (ROOT / "docs" / f"{family}.md").read_text()
            for part in (f"include/uvek/{family}.h", f"images/{family}.jpg", "\n## Formulas\n", "\n## Tiers\n", "\n## Example\n"):
                self.assertIn(part, text, family)
            self.assertTrue(list(examples(ROOT / "docs" / f"{family}.md")), family)

    def test_links_lead_somewhere(self):
        for page in PAGES:
            for target in re.findall(r"\]\(([^)#]+)(?:#[^)]*)?\)", page.read_text()):
                if not re.match(r"[a-z]+:", target):
                    self.assertTrue((page.parent / target).exists(), f"{page.name}: {target}")

    def test_functions_that_are_named_exist(self):
        headers = "".join(path.read_text() for path in ROOT.glob("include/uvek/*.h"))
        declared = set(re.findall(r"\b(vek[a-z]*[A-Z]\w+)\(", headers)) | {"vekTierIndex", "vekTiersOf_"}
        for page in PAGES:
            for name in re.findall(r"`(vek[a-z]*[A-Z]\w+)", page.read_text()):
                self.assertTrue(name in declared or any(other.startswith(name) for other in declared), f"{page.name}: {name}")


unittest.main(argv=sys.argv[:1], verbosity=1)
