/* A customer in C99: a call through the table, one through a slot, and memory. */
#include <stdio.h>
#include <uvek/uvek.h>

int main(void)
{
    const VekImageSize size = {6, 4}, inner = {4, 2};
    Vek32s step, x, y;
    Vek16s gradient[2][4];
    Vek8u* image = vekiMalloc_8u_C1(size.width, size.height, &step);
    if (!image)
        return 1;
    for (y = 0; y < size.height; ++y)
        for (x = 0; x < size.width; ++x)
            image[y * step + x] = (Vek8u)(10 * x);
    if (vekiMirror_8u_C1IR(image, step, size, AxisVertical) != StatusOk || image[0] != 50)
        return 2;
    /* It falls by 20 from the left neighbour to the right one, four times. */
    if (vekiSobel3x3_Dx_8u16s_C1R(image + step + 1, step, gradient[0], sizeof gradient[0], inner) != StatusOk || gradient[1][3] != 80)
        return 3;
    vekiFree(image);
    printf("uvek %s in C\n", vekjGetLibVersion()->versionText);
    return 0;
}
