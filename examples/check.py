#!/usr/bin/env python3
"""Runs the example programs on pictures made of one photograph, and checks what they say.

usage: check.py FOLDER TOOL PHOTOGRAPH

FOLDER holds the programs; TOOL, the command-line tool, decodes and scales the photograph.
"""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

FOLDER, TOOL, PHOTOGRAPH = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])


def run(program, *arguments):
    done = subprocess.run([program, *map(str, arguments)], capture_output=True, text=True, timeout=60)
    if done.returncode:
        raise AssertionError(f"{program} ended with {done.returncode}: {done.stderr}")
    return done.stdout


class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.path = pathlib.Path(cls.folder.name)
        cls.photograph = cls.path / "photograph.ppm"
        run(TOOL, "jpeg", "decode", PHOTOGRAPH, cls.photograph)

    def part(self, name, left, top, width, height):
        """A part of the photograph, a quarter as large: shifts by single pixels become quarters."""
        whole, part, small = self.photograph.read_bytes(), self.path / "part.ppm", self.path / name
        row = whole[len(b"P6\n1024 768\n255\n"):]
        rows = [row[((top + y) * 1024 + left) * 3:((top + y) * 1024 + left + width) * 3] for y in range(height)]
        part.write_bytes(b"P6\n%d %d\n255\n" % (width, height) + b"".join(rows))
        run(TOOL, "resize", part, small, "--factor", 0.25, "--interpolation", "super")
        return small

    def test_resize_shrinks_and_grows(self):
        small, back = self.path / "small.ppm", self.path / "back.ppm"
        run(FOLDER / "resize", self.photograph, small, 333, 77)
        self.assertTrue(small.read_bytes().startswith(b"P6\n333 77\n255\n"))
        run(FOLDER / "resize", self.photograph, small, 512, 384)
        run(FOLDER / "resize", small, back, 1024, 768)
        a, b = self.photograph.read_bytes()[16::97], back.read_bytes()[16::97]
        self.assertLess(sum(abs(x - y) for x, y in zip(a, b)) / len(a), 12)

    def test_thumbnails_do_not_depend_on_the_number_of_threads(self):
        files = [self.part(f"{i}.ppm", 40 * i, 20 * i, 700 - 50 * i, 600) for i in range(8)]
        results = []
        for threads in (1, 4):
            out = self.path / f"threads{threads}"
            out.mkdir()
            self.assertEqual("8 thumbnails\n", run(FOLDER / "thumbnails", threads, out, *files))
            results.append([(out / file.name).read_bytes() for file in files])
        self.assertEqual(*results)
        self.assertTrue(results[0][0].startswith(b"P6\n160 137\n"))  # of 175 by 150

    def test_transcoding_keeps_every_pixel_in_fewer_bytes(self):
        source, out = self.path / "source.jpg", self.path / "out.jpg"
        gray = self.path / "gray.pgm"
        run(TOOL, "colour", "gray", self.photograph, gray)
        for picture, *options in ((self.photograph, "--restart", 7), (self.photograph, "--sampling", 422, "--non-interleaved"), (gray, "--quality", 30)):
            run(TOOL, "jpeg", "encode", picture, source, *options)
            run(FOLDER / "jpeg_transcode", source, out)
            self.assertLess(out.stat().st_size, source.stat().st_size)
            pixels = []
            for file in (source, out):
                run(TOOL, "jpeg", "decode", file, self.path / "pixels.ppm")
                pixels.append((self.path / "pixels.ppm").read_bytes())
            self.assertEqual(*pixels)
        cut = self.path / "cut.jpg"
        for length in (0, 1, 20, 400, 1000):
            cut.write_bytes(source.read_bytes()[:length])
            self.assertEqual(1, subprocess.run([FOLDER / "jpeg_transcode", cut, out], capture_output=True).returncode)

    def test_denoising_raises_the_signal(self):
        text = run(FOLDER / "denoise", self.photograph, self.path / "clean.ppm")
        gaussian, impulses = ([float(v) for v in re.findall(r"\d+\.\d+", line)] for line in text.splitlines()[1:])
        for noisy, *filtered in (gaussian, impulses):
            self.assertGreater(min(filtered), noisy + 4)
        self.assertEqual(max(gaussian), gaussian[2])   # bell-shaped noise is best met by a bell
        self.assertEqual(max(impulses), impulses[3])   # and a few wild samples by the median
        self.assertEqual(self.photograph.stat().st_size, (self.path / "clean.ppm").stat().st_size)

    def test_registration_finds_known_shifts(self):
        first = self.part("first.ppm", 100, 70, 720, 560)
        for x, y in ((0, 0), (3, -2), (-37, 50), (95, -69), (150, 111)):
            second = self.part("second.ppm", 100 + x, 70 + y, 720, 560)
            text = run(FOLDER / "register_images", first, second)
            found = re.search(r"^shift: (\S+) (\S+)$", text, re.M)
            self.assertAlmostEqual(-x / 4, float(found[1]), delta=0.1, msg=text)
            self.assertAlmostEqual(-y / 4, float(found[2]), delta=0.1, msg=text)


unittest.main(argv=sys.argv[:1], verbosity=1)
