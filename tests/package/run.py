#!/usr/bin/env python3
"""Installs or unpacks the packages like a customer and builds against what is in them.

usage: run.py LINUX_PACKAGES WINDOWS_PACKAGES TOOLCHAIN

The folders hold what cpack made; TOOLCHAIN is a CMake toolchain file for Windows.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

LINUX, WINDOWS, TOOLCHAIN = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
HERE = pathlib.Path(__file__).resolve().parent
WARNINGS = ["-Wall", "-Wextra", "-Werror", "-pedantic"]
SOURCES = {"C": (["-std=c99"], HERE / "consumer.c"), "C++": (["-std=c++17"], HERE / "consumer.cpp")}
MACHINE = TOOLCHAIN.parent.parent


def run(*command, **options):
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if done.returncode:
        raise AssertionError(f"{command[0]} ended with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def only(folder, pattern):
    found = sorted(folder.glob(pattern))
    if len(found) != 1:
        raise AssertionError(f"{folder}/{pattern} matches {len(found)} files")
    return found[0]


class Package(unittest.TestCase):
    """What both platforms share; `prefix` is where the package was unpacked."""
    toolchain, emulator = [], []
    compilers = {"C": "gcc", "C++": "g++"}

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.prefix = cls.unpack(pathlib.Path(cls.folder.name))

    def setUp(self):
        self.build = pathlib.Path(tempfile.mkdtemp(dir=self.folder.name))

    def start(self, program, language):
        environment = dict(os.environ, LD_LIBRARY_PATH=str(self.prefix / "lib"), WINEPATH=str(self.prefix / "bin"), WINEDEBUG="-all")
        self.assertRegex(run(*self.emulator, program, env=environment), rf"^uvek 5\.3.* in {re.escape(language)}\s*$")

    def compile(self, language, *flags):
        standard, source = SOURCES[language]
        program = self.build / "consumer.exe"
        run(self.compilers[language], *standard, *WARNINGS, source, "-o", program, *flags)
        self.start(program, language)

    def configure(self, language, version):
        build = self.build / f"{language}{version}"
        run("cmake", "-G", "Ninja", "-S", HERE, "-B", build, f"-DLANGUAGE={language}", f"-DVERSION={version}",
            f"-Duvek_DIR={self.prefix}/lib/cmake/uvek", *self.toolchain)
        return build

    def check_find_package(self, programs):
        for language, name in (("C", "C"), ("CXX", "C++")):
            build = self.configure(language, "1.0")
            run("cmake", "--build", build)
            for program in programs:
                self.start(build / program, name)

    def check_no_machine_path(self):
        traces = [str(MACHINE / folder) for folder in ("build", "include", "src", "tools")]
        traces += [re.sub(r"\W", "_", trace) for trace in traces]
        for path in self.prefix.rglob("*"):
            content = path.read_bytes() if path.is_file() else b""
            for trace in traces:
                self.assertNotIn(trace.encode(), content, path)


class Debian(Package):
    @classmethod
    def unpack(cls, folder):
        cls.package = only(LINUX, "*.deb")
        # Into an empty root. What it depends on stands in the machine's own, and so would ldconfig look there.
        (folder / "var/lib/dpkg").mkdir(parents=True)
        (folder / "var/lib/dpkg/status").touch()
        ldconfig = folder / "scripts/ldconfig"
        ldconfig.parent.mkdir()
        ldconfig.write_text(f"#!/bin/sh\necho called >{folder}/scripts/called\n")
        ldconfig.chmod(0o755)
        cls.root = folder
        cls.dpkg("--force-depends", "-i", cls.package)
        return folder / "usr"

    @classmethod
    def dpkg(cls, *command):
        as_root = [] if os.geteuid() == 0 else ["unshare", "--map-root-user"]
        return run(*as_root, "dpkg", f"--root={cls.root}", "--force-script-chrootless", "--log=/dev/null", *command,
                   env=dict(os.environ, PATH=f"{cls.root}/scripts:{os.environ['PATH']}"))

    def test_it_is_installed_whole(self):
        self.assertIn("Status: install ok installed", self.dpkg("-s", "uvek"))
        self.assertEqual("", self.dpkg("-V", "uvek"))
        self.assertTrue((self.root / "scripts/called").exists(), "ldconfig")
        self.assertTrue((self.prefix / "share/doc/uvek/copyright").exists())

    def test_it_depends_on_what_its_files_load(self):
        depends = re.findall(r"([\w.+-]+) \(>= [\w.]+\)", run("dpkg-deb", "-f", self.package, "Depends"))
        needed = set()
        for path in (self.prefix / "bin/uvek", self.prefix / "lib/libuvek.so"):
            loads = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "-d", path))
            needed |= set(loads) - {"libuvek.so.1"}
        owners = {run("dpkg-query", "-S", f"*/x86_64-linux-gnu/{library}").split(":")[0] for library in needed}
        self.assertEqual(owners, set(depends))

    def test_it_holds_no_machine_path(self):
        self.check_no_machine_path()
        self.assertIn("[$ORIGIN/../lib]", run("readelf", "-d", self.prefix / "bin/uvek"))
        self.assertNotIn("PATH)", run("readelf", "-d", self.prefix / "lib/libuvek.so"))
        self.assertEqual("libuvek.so.1", os.readlink(self.prefix / "lib/libuvek.so"))

    def test_the_archive_holds_the_same_files(self):
        listed = run("tar", "-tzf", only(LINUX, "*.tar.gz")).split()
        self.assertEqual({str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*") if not path.is_dir()},
                         {name.partition("/")[2] for name in listed if not name.endswith("/")})

    def test_cmake_finds_it(self):
        self.check_find_package(["consumer", "consumer_static"])
        with self.assertRaisesRegex(AssertionError, "version: 1.0"):
            self.configure("C", "2.0")

    def test_its_examples_build(self):
        run("cmake", "-G", "Ninja", "-S", self.prefix / "share/doc/uvek/examples", "-B", self.build, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run("cmake", "--build", self.build, "--target", "resize", "denoise")

    def test_pkg_config_finds_it(self):
        environment = dict(os.environ, PKG_CONFIG_PATH=str(self.prefix / "lib/pkgconfig"))
        for language in SOURCES:
            self.compile(language, *run("pkg-config", "--cflags", "--libs", "uvek", env=environment).split())
        flags = run("pkg-config", "--static", "--cflags", "--libs", "uvek", env=environment).split()
        (self.prefix / "lib/libuvek.so").rename(self.prefix / "lib/hidden")
        try:
            self.compile("C", *flags)
        finally:
            (self.prefix / "lib/hidden").rename(self.prefix / "lib/libuvek.so")

    def test_a_call_through_the_cpp_layer_costs_what_the_plain_one_does(self):
        for compiler in ("g++", "clang++"):
            code = run(compiler, "-std=c++17", "-O2", "-DNDEBUG", f"-I{self.prefix}/include", "-S", HERE / "cost.cpp", "-o", "-")
            bodies = dict(re.findall(r"^((?:layer|plain)_\w+):(.*?)\.size", code, re.M | re.S))
            self.assertGreater(len(bodies), 10)
            for name in (name for name in bodies if name.startswith("layer_")):
                layer, plain = (re.findall(r"^\t([a-z]\w*)(?:\s+(\w+@PLT))?", bodies[key], re.M) for key in (name, name.replace("layer", "plain")))
                # The one call or jump, no other branch, and up to a few moves as many instructions.
                self.assertEqual(*([(op, to) for op, to in part if to or op.startswith("j") or op.startswith("call")] for part in (plain, layer)), name)
                self.assertLessEqual(len(layer), len(plain) + 2, f"{compiler} {name}")

    def test_the_tool_runs_and_its_page_tells_all_of_it(self):
        tool, page = self.prefix / "bin/uvek", self.prefix / "share/man/man1/uvek.1"
        done = subprocess.run(["groff", "-ww", "-man", "-Tutf8", page], capture_output=True, text=True)
        self.assertEqual("", done.stderr)
        text = run("man", "-l", "--no-hyphenation", page, env=dict(os.environ, MANWIDTH="200", LC_ALL="C", TERM="dumb"))

        def walk(*command):
            usage = run(tool, *command, "--help")
            for option in re.findall(r"^  (--[\w-]+)", usage, re.M):
                self.assertTrue(option in text, f"{command} {option}")
            children = re.findall(r"^  (\w+) ", usage.partition("Subcommands:")[2], re.M)
            for child in children:
                walk(*command, child)
            if not children:
                self.assertTrue(" ".join(("uvek", *command)) in text, command)
            return len(children)

        self.assertGreater(walk(), 10)
        self.assertIn("tier library", run(tool, "info"))


class Windows(Package):
    emulator = ["wine"]
    toolchain = [f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}"]
    compilers = {"C": "x86_64-w64-mingw32-gcc-posix", "C++": "x86_64-w64-mingw32-g++-posix"}

    @classmethod
    def unpack(cls, folder):
        shutil.unpack_archive(only(WINDOWS, "*.zip"), folder)
        return only(folder, "uvek-*")

    def test_it_holds_no_machine_path(self):
        self.check_no_machine_path()

    def test_the_library_needs_the_system_alone(self):
        headers = run("x86_64-w64-mingw32-objdump", "-p", self.prefix / "bin/uvek.dll")
        self.assertEqual({"KERNEL32.dll", "USER32.dll", "msvcrt.dll"}, set(re.findall(r"DLL Name: (\S+)", headers)))

    def test_cmake_finds_it(self):
        self.check_find_package(["consumer.exe"])

    def test_each_import_library_links(self):
        shutil.copy(self.prefix / "lib/uvek.def", self.build)
        run("x86_64-w64-mingw32-dlltool", "-d", "uvek.def", "-D", "uvek.dll", "-l", "anew.lib", cwd=self.build)
        for library in (self.prefix / "lib/libuvek.dll.a", self.prefix / "lib/uvek.lib", self.build / "anew.lib"):
            self.compile("C", "-static", f"-I{self.prefix}/include", library)


del Package  # a base, no case of its own
unittest.main(argv=sys.argv[:1], verbosity=1)
