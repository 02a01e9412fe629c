/* Scales a picture: resize IN.ppm OUT.ppm WIDTH HEIGHT */
#include <stdio.h>
#include <stdlib.h>

#include <uvek/uvek.h>

static int Fail(const char* what)
{
    fprintf(stderr, "resize: %s\n", what);
    return EXIT_FAILURE;
}

/* Reads a binary PPM file into an image whose rows start on 32-byte boundaries. */
static Vek8u* ReadPpm(const char* path, VekImageSize* size, Vek32s* step)
{
    FILE* file = fopen(path, "rb");
    Vek8u* pixels = NULL;
    int y;
    if (!file)
        return NULL;
    if (fscanf(file, "P6 %d %d 255", &size->width, &size->height) == 2 && fgetc(file) != EOF)
        pixels = vekiMalloc_8u_C3(size->width, size->height, step);
    for (y = 0; pixels && y < size->height; ++y)
        if (fread(pixels + (size_t)y * (size_t)*step, 3, (size_t)size->width, file) != (size_t)size->width) {
            vekiFree(pixels);
            pixels = NULL;
        }
    fclose(file);
    return pixels;
}

static int WritePpm(const char* path, const Vek8u* pixels, VekImageSize size, Vek32s step)
{
    FILE* file = fopen(path, "wb");
    int y;
    if (!file)
        return 0;
    fprintf(file, "P6\n%d %d\n255\n", size.width, size.height);
    for (y = 0; y < size.height; ++y)
        fwrite(pixels + (size_t)y * (size_t)step, 3, (size_t)size.width, file);
    return fclose(file) == 0;
}

int main(int argc, char** argv)
{
    VekImageSize inSize, outSize;
    VekImageRect whole = {0, 0, 0, 0};
    Vek32s inStep, outStep, interpolation;
    Vek8u *in, *out;
    VekStatus status;
    double xFactor, yFactor;

    if (argc != 5)
        return Fail("usage: resize IN.ppm OUT.ppm WIDTH HEIGHT");
    outSize.width = atoi(argv[3]);
    outSize.height = atoi(argv[4]);
    if (!(in = ReadPpm(argv[1], &inSize, &inStep)))
        return Fail("cannot read the picture");
    if (!(out = vekiMalloc_8u_C3(outSize.width, outSize.height, &outStep)))
        return Fail("no memory for that size");

    /* The scaled lengths are rounded down: a hair more than the ratio keeps the last pixel. */
    xFactor = (outSize.width + 1e-6) / inSize.width;
    yFactor = (outSize.height + 1e-6) / inSize.height;
    whole.width = inSize.width;
    whole.height = inSize.height;
    /* To shrink, the mean over each new pixel's area; to enlarge, a cubic. */
    interpolation = xFactor < 1 && yFactor < 1 ? InterSuper : InterCubic;
    status = vekiResize_8u_C3R(in, inSize, inStep, whole, out, outStep, outSize, xFactor, yFactor, interpolation);
    if (status != StatusOk) {
        fprintf(stderr, "resize: status %d\n", status);
        return EXIT_FAILURE;
    }
    if (!WritePpm(argv[2], out, outSize, outStep))
        return Fail("cannot write the result");
    vekiFree(out);
    vekiFree(in);
    return EXIT_SUCCESS;
}
