"""Runs the demo on pictures of awkward shapes.

usage: run.py DEMO
"""
import pathlib
import random
import struct
import subprocess
import sys
import tempfile
import unittest

DEMO = sys.argv[1]
FAMILIES = "jpeg colour image statistics geometry filter fourier signal vision matrix".split()


def run(width, height, folder):
    source = pathlib.Path(folder) / "in.ppm"
    pixels = random.Random(width).randbytes(width * height * 3)
    source.write_bytes(b"P6\n%d %d\n255\n" % (width, height) + pixels)
    return subprocess.run([DEMO, source, folder], capture_output=True, text=True, timeout=120)


class DemoTest(unittest.TestCase):
    def sheet(self, width, height):
        """What the terminal shows, and the sheet's size."""
        with tempfile.TemporaryDirectory() as folder:
            done = run(width, height, folder)
            self.assertEqual(0, done.returncode, done.stderr)
            path = pathlib.Path(folder)
            for name in [*FAMILIES, "contact-sheet"]:
                self.assertTrue((path / f"{name}.jpg").read_bytes().endswith(b"\xff\xd9"))
            header = (path / "contact-sheet.png").read_bytes()[:24]
            self.assertEqual(b"\x89PNG", header[:4])
            return done.stdout, struct.unpack(">II", header[16:24])

    def test_every_panel_has_a_result_where_the_picture_is_large_enough(self):
        text, _ = self.sheet(160, 120)
        for family in FAMILIES:
            self.assertIn(f"\n{family}: ", text)
        self.assertNotIn("failed", text)
        self.assertNotIn("nothing to track", text)

    def test_a_pixel_and_a_line_of_pixels_make_a_sheet_all_the_same(self):
        widths = set()
        for size in ((1, 1), (8, 8), (2, 700), (1500, 3)):
            text, (width, height) = self.sheet(*size)
            widths.add(width)
            self.assertLess(height, 5000)
            self.assertIn("32 panels", text)
        self.assertEqual(1, len(widths))

    def test_what_is_no_picture_gets_one_line(self):
        with tempfile.TemporaryDirectory() as folder:
            bad = pathlib.Path(folder) / "in.ppm"
            bad.write_bytes(b"no picture")
            done = subprocess.run([DEMO, bad, folder], capture_output=True, text=True)
            self.assertEqual((1, 1), (done.returncode, done.stderr.count("\n")), done.stderr)


unittest.main(argv=sys.argv[:1], verbosity=1)
