"""Runs the command-line tool like a user.

usage: run.py TOOL PHOTOGRAPH

Exit statuses, messages, round trips; lossless files are read by ffmpeg where it is installed.
"""
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

TOOL, PHOTOGRAPH = sys.argv[1], pathlib.Path(sys.argv[2])
WIDTH, HEIGHT = 61, 37


def uvek(*arguments):
    return subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True, timeout=60)


def grey(bits):
    """Slopes and grain over the whole range of `bits` bits."""
    source, largest = random.Random(bits), (1 << bits) - 1
    return [min(largest, max(0, int(largest * (0.5 + 0.49 * ((x * 3 + y * 5) % 97 - 48) / 48)) + source.randint(-3, 3)))
            for y in range(HEIGHT) for x in range(WIDTH)]


def pnm(kind, samples, bits):
    width = 1 if bits <= 8 else 2
    return b"P%d\n%d %d\n%d\n" % (kind, WIDTH, HEIGHT, (1 << bits) - 1) + b"".join(v.to_bytes(width, "big") for v in samples)


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.path = pathlib.Path(self.folder.name)

    def tearDown(self):
        self.folder.cleanup()

    def expect(self, status, *arguments):
        done = uvek(*arguments)
        self.assertEqual(status, done.returncode, done.stderr)
        return done

    def test_info_names_version_and_tiers(self):
        text = self.expect(0, "info").stdout
        for part in ("5.3 Update 4 build 85.38", "table exports", "slot exports", "processor class"):
            self.assertIn(part, text)

    def test_photograph_makes_the_round_trip(self):
        png, jpeg, ppm = self.path / "a.png", self.path / "a.jpg", self.path / "b.ppm"
        self.expect(0, "jpeg", "decode", PHOTOGRAPH, png)
        for options in ([], ["--sampling", "444", "--quality", "95"], ["--optimize", "--restart", "5"], ["--progressive"], ["--non-interleaved"]):
            self.expect(0, "jpeg", "encode", png, jpeg, *options)
            self.expect(0, "jpeg", "decode", jpeg, ppm)
            self.assertTrue(ppm.read_bytes().startswith(b"P6\n1024 768\n255\n"))

    def test_bad_files_get_one_line_and_status_1(self):
        bad = self.path / "bad.jpg"
        for content in (b"", b"\xff\xd8", b"\xff\xd8\xff\xd9", b"not a picture", PHOTOGRAPH.read_bytes()[:300]):
            bad.write_bytes(content)
            done = self.expect(1, "jpeg", "decode", bad, self.path / "out.png")
            self.assertEqual(1, done.stderr.count("\n"), done.stderr)
            self.assertIn("bad.jpg", done.stderr)
        self.expect(1, "jpeg", "decode", self.path / "absent.jpg", self.path / "out.png")
        self.expect(1, "jpeg", "decode", PHOTOGRAPH, self.path / "out.tiff")
        self.expect(1, "jpeg", "encode", PHOTOGRAPH, self.path / "out.jpg")

    def test_cut_file_gives_what_is_there_and_status_2(self):
        cut, out = self.path / "cut.jpg", self.path / "out.ppm"
        cut.write_bytes(PHOTOGRAPH.read_bytes()[:100000])
        done = self.expect(2, "jpeg", "decode", cut, out)
        self.assertEqual(1, done.stderr.count("\n"), done.stderr)
        self.assertIn("cut off", done.stderr)
        self.assertEqual(16 + 1024 * 768 * 3, out.stat().st_size)

    def test_lossless_files_come_back_and_another_decoder_agrees(self):
        coded, back, raw = self.path / "a.jpg", self.path / "back.pnm", self.path / "a.raw"
        colour = [random.Random(3).randrange(256) for _ in range(WIDTH * HEIGHT * 3)]
        pictures = [(5, grey(bits), bits) for bits in (8, 10, 12, 16)] + [(6, colour, 8)]
        for kind, samples, bits in pictures:
            source = self.path / "source.pnm"
            source.write_bytes(pnm(kind, samples, bits))
            for predictor in range(1, 8):
                self.expect(0, "jpeg", "encode", source, coded, "--lossless", "--predictor", predictor, "--restart", predictor % 3 * 4)
                self.expect(0, "jpeg", "decode", coded, back)
                self.assertEqual(source.read_bytes(), back.read_bytes())
                if not shutil.which("ffmpeg"):
                    continue
                pixels = "rgb24" if kind == 6 else "gray" if bits == 8 else "gray16be"
                subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", coded, "-f", "rawvideo", "-pix_fmt", pixels, raw], check=True)
                # Grey of more than 8 bits comes out of it scaled to 16.
                expected = samples if bits == 8 else [v << (16 - bits) for v in samples]
                self.assertEqual(pnm(kind, expected, 8 if bits == 8 else 16).split(b"\n", 3)[3], raw.read_bytes(), (bits, predictor))

    def test_colour_models_go_there_and_back(self):
        ppm, other, back = self.path / "a.ppm", self.path / "b.ppm", self.path / "c.ppm"
        self.expect(0, "jpeg", "decode", PHOTOGRAPH, ppm)
        header = len(b"P6\n1024 768\n255\n")

        def difference():
            a, b = ppm.read_bytes()[header:], back.read_bytes()[header:]
            self.assertEqual(len(a), len(b))
            return sum(abs(x - y) for x, y in zip(a[::7], b[::7])) / len(a[::7])

        self.expect(0, "colour", "ycbcr", ppm, other)
        self.expect(0, "colour", "ycbcr", other, back, "--inverse")
        # Rounded down both ways: half a unit of luma is 0.6, of chroma up to 0.8, and half a unit again.
        self.assertLess(difference(), 1.9)
        raw = self.path / "a.yuv"
        self.expect(0, "colour", "420", ppm, raw)
        self.assertEqual(1024 * 768 * 3 // 2, raw.stat().st_size)
        self.expect(0, "colour", "420", raw, back, "--size", "1024x768")
        self.assertLess(difference(), 6)  # chroma of four pixels is one
        self.expect(0, "colour", "422", ppm, raw)
        self.assertEqual(1024 * 768 * 2, raw.stat().st_size)
        self.expect(0, "colour", "gray", ppm, self.path / "a.pgm")
        self.expect(0, "colour", "hsv", ppm, self.path / "a.png")
        self.expect(1, "colour", "420", PHOTOGRAPH, back, "--size", "9000x9000")

    def picture(self):
        """The photograph's middle as a PPM of 256 by 192 pixels, and its rows."""
        whole, part = self.path / "whole.ppm", self.path / "part.ppm"
        self.expect(0, "jpeg", "decode", PHOTOGRAPH, whole)
        data = whole.read_bytes()[len(b"P6\n1024 768\n255\n"):]
        rows = [data[(y * 1024 + 400) * 3:(y * 1024 + 656) * 3] for y in range(220, 412)]
        part.write_bytes(b"P6\n256 192\n255\n" + b"".join(rows))
        return part, data

    def test_geometry(self):
        part, _ = self.picture()
        out = self.path / "out.ppm"
        for interpolation in ("nearest", "linear", "cubic", "lanczos", "super"):
            self.expect(0, "resize", part, out, "--size", "100x75", "--interpolation", interpolation)
            self.assertTrue(out.read_bytes().startswith(b"P6\n100 75\n"))
        self.expect(0, "resize", part, out, "--factor", "2.5")
        self.assertTrue(out.read_bytes().startswith(b"P6\n640 480\n"))
        turned = part
        for i in range(4):
            self.expect(0, "rotate", turned, self.path / f"turn{i}.ppm", "--angle", 90)
            turned = self.path / f"turn{i}.ppm"
        self.assertEqual(part.read_bytes(), turned.read_bytes())
        for form in ([], ["--bilinear"]):
            self.expect(0, "warp", part, out, "--corners", 0, 0, 255, 0, 255, 191, 0, 191, "--interpolation", "nearest", *form)
            self.assertEqual(part.read_bytes(), out.read_bytes())
        self.expect(1, "warp", part, out, "--corners", 0, 0, 9, 9, 0, 9, 9, 0)
        self.expect(1, "resize", part, out)

    def test_filters_and_statistics(self):
        part, _ = self.picture()
        out = self.path / "out.ppm"
        self.expect(0, "filter", "kernel", part, out, "--kernel", 0, 0, 0, 0, 1, 0, 0, 0, 0)
        self.assertEqual(part.read_bytes(), out.read_bytes())
        for name in ("gauss", "hipass", "sobel", "box", "max", "median", "erode", "dilate"):
            self.expect(0, "filter", name, part, out)
            self.assertEqual(part.stat().st_size, out.stat().st_size)
        self.expect(0, "filter", "box", part, out, "--size", 101)
        self.expect(1, "filter", "gauss", part, out, "--size", 7)
        samples = part.read_bytes()[len(b"P6\n256 192\n255\n"):]
        text = self.expect(0, "stats", part).stdout
        self.assertIn(f"mean {sum(samples[1::3]) / (256 * 192):7.3f}", text)
        self.assertIn(f"from {min(samples[2::3]):3d} to {max(samples[2::3]):3d}", text)

    def test_transforms_and_noise(self):
        part, _ = self.picture()
        point, out, again = self.path / "point.pgm", self.path / "out.ppm", self.path / "again.ppm"
        point.write_bytes(b"P5\n5 5\n255\n" + bytes(12) + b"\xff" + bytes(12))
        self.expect(0, "convolve", part, point, out)
        self.assertEqual(part.read_bytes(), out.read_bytes())
        self.expect(0, "spectrum", part, self.path / "out.pgm")
        spectrum = (self.path / "out.pgm").read_bytes()[len(b"P5\n256 192\n255\n"):]
        self.assertEqual(max(spectrum), spectrum[96 * 256 + 128])
        self.expect(0, "noise", part, out, "--seed", 5)
        self.expect(0, "noise", part, again, "--seed", 5)
        self.assertEqual(out.read_bytes(), again.read_bytes())
        self.assertNotEqual(part.read_bytes(), out.read_bytes())

    def test_points_are_tracked(self):
        part, data = self.picture()
        moved, out = self.path / "moved.ppm", self.path / "out.png"
        rows = [data[(y * 1024 + 405) * 3:(y * 1024 + 661) * 3] for y in range(217, 409)]
        moved.write_bytes(b"P6\n256 192\n255\n" + b"".join(rows))
        lines = self.expect(0, "track", part, moved, out, "--points", 60).stdout.splitlines()[1:]
        moves = [tuple(map(float, line.split()[2:4])) for line in lines if "lost" not in line]
        self.assertGreater(len(moves), 40)
        good = [move for move in moves if abs(move[0] + 5) < 0.05 and abs(move[1] - 3) < 0.05]
        self.assertGreater(len(good), 0.9 * len(moves), lines)
        self.expect(0, "pyramid", part, out)


unittest.main(argv=sys.argv[:1], verbosity=1)
