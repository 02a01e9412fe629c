// 16 pixels as kernels want their samples: in words, and summed in pairs. With a byte shuffle the pixels stay in
// groups of four, as they come from memory, and one shuffle places what a step needs; without it they are split
// into planes first.
#ifndef UVEK_COLOUR_GROUPS_H
#define UVEK_COLOUR_GROUPS_H

#include "frame/simd_interleave.h"

namespace uvek::VEK_TIER_NAMESPACE {

template <int channels>
struct Pixels16 {
    V v[4];  // groups of four pixels, or three planes
};

// 16 pixels, or 8 that stand in the first two groups or the low halves of the planes.
template <int channels, int pixels = 16>
inline Pixels16<channels> LoadPixels(const Vek8u* p)
{
    constexpr int bytes = 4 * channels, skip = 16 - bytes, last = pixels / 4 - 1;
    if constexpr (kHasByteShuffle) {
        Pixels16<channels> groups = {};
        for (int i = 0; i < last; ++i)
            groups.v[i] = LoadU(p + i * bytes);
        groups.v[last] = BytesDown<skip>(LoadU(p + last * bytes - skip));  // the load ends with the pixels
        return groups;
    }
    V a, b, c, d = Zero();
    if constexpr (channels == 4) {
        a = LoadU(p);
        b = LoadU(p + 16);
        c = pixels == 16 ? LoadU(p + 32) : Zero();
        d = pixels == 16 ? LoadU(p + 48) : Zero();
        Deinterleave4x8(a, b, c, d);
    } else {
        LoadPixels3x8<pixels>(p, a, b, c);
        Deinterleave3x8(a, b, c);
    }
    return {{a, b, c, d}};
}

// R0 .. R3 and G0 .. G3 in the upper halves of words.
template <int channels>
inline V RedGreenHigh(V v)
{
    constexpr int n = channels;
    return Shuffle8(v, Lanes8(-1, 0, -1, n, -1, 2 * n, -1, 3 * n, -1, 1, -1, n + 1, -1, 2 * n + 1, -1, 3 * n + 1));
}

// B0 .. B3 of two groups in the upper halves of words.
template <int channels>
inline V BlueHigh(V first, V second)
{
    constexpr int b = 2, n = channels;
    return Or(Shuffle8(first, Lanes8(-1, b, -1, b + n, -1, b + 2 * n, -1, b + 3 * n, -1, -1, -1, -1, -1, -1, -1, -1)),
              Shuffle8(second, Lanes8(-1, -1, -1, -1, -1, -1, -1, -1, -1, b, -1, b + n, -1, b + 2 * n, -1, b + 3 * n)));
}

// Blue of pixels 0 to 7 (half 0) or 8 to 15, in the upper halves of words.
template <int half, int channels>
inline V BlueWords(const Pixels16<channels>& pixels)
{
    if constexpr (kHasByteShuffle)
        return BlueHigh<channels>(pixels.v[2 * half], pixels.v[2 * half + 1]);
    else
        return half == 0 ? UnpackLow8(Zero(), pixels.v[2]) : UnpackHigh8(Zero(), pixels.v[2]);
}

struct ProductWeights {
    V rg, b;  // of red in the low half and green in the high half; of blue

    ProductWeights(int kr, int kg, int kb) : rg(Lanes16(kr, kr, kr, kr, kg, kg, kg, kg)), b(Splat16(kb)) {}
};

struct Products {
    V r, g, b;
};

// (sample * weight) >> 8, unsigned, of eight pixels.
template <int half, int channels>
inline Products HighProducts(const Pixels16<channels>& pixels, const ProductWeights& w)
{
    const V b = MulHigh16u(BlueWords<half>(pixels), w.b);
    if constexpr (kHasByteShuffle) {
        const V first = MulHigh16u(RedGreenHigh<channels>(pixels.v[2 * half]), w.rg);
        const V second = MulHigh16u(RedGreenHigh<channels>(pixels.v[2 * half + 1]), w.rg);
        return {UnpackLow64(first, second), UnpackHigh64(first, second), b};
    } else {
        const V red = half == 0 ? UnpackLow8(Zero(), pixels.v[0]) : UnpackHigh8(Zero(), pixels.v[0]);
        const V green = half == 0 ? UnpackLow8(Zero(), pixels.v[1]) : UnpackHigh8(Zero(), pixels.v[1]);
        return {MulHigh16u(red, UnpackLow64(w.rg, w.rg)), MulHigh16u(green, UnpackHigh64(w.rg, w.rg)), b};
    }
}

// Pairs R G, in words, of the four pixels of a group.
template <int group>
inline V RedGreenPairs(const Pixels16<3>& pixels)
{
    if constexpr (kHasByteShuffle) {
        return Shuffle8(pixels.v[group], Lanes8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1));
    } else {
        const V rg = group < 2 ? UnpackLow8(pixels.v[0], pixels.v[1]) : UnpackHigh8(pixels.v[0], pixels.v[1]);
        return group % 2 == 0 ? WidenLow8u(rg) : WidenHigh8u(rg);
    }
}

// Sums of pixels 2 i and 2 i + 1 of a row, in words; sums of rows add lane by lane.
struct PairSums {
    V v[4];

    // Pairs R G, and B and nothing, of pair sums 4 i to 4 i + 3.
    V rg(int i) const { return kHasByteShuffle ? UnpackLow64(v[2 * i], v[2 * i + 1]) : v[i]; }
    V b(int i) const { return kHasByteShuffle ? UnpackHigh64(v[2 * i], v[2 * i + 1]) : v[2 + i]; }
};

// R G R G B - B - of the two pair sums of a group.
inline V SumsOfGroup(V v) { return SumPairs8u(Shuffle8(v, Lanes8(0, 3, 1, 4, 6, 9, 7, 10, 2, 5, -1, -1, 8, 11, -1, -1))); }

inline PairSums SumPairs(const Pixels16<3>& pixels)
{
    const V* const v = pixels.v;
    if constexpr (kHasByteShuffle)
        return {{SumsOfGroup(v[0]), SumsOfGroup(v[1]), SumsOfGroup(v[2]), SumsOfGroup(v[3])}};
    const V r = SumPairs8u(v[0]), g = SumPairs8u(v[1]), b = SumPairs8u(v[2]);
    return {{UnpackLow16(r, g), UnpackHigh16(r, g), UnpackLow16(b, Zero()), UnpackHigh16(b, Zero())}};
}

inline PairSums Add(const PairSums& x, const PairSums& y)
{
    return {{Add16(x.v[0], y.v[0]), Add16(x.v[1], y.v[1]), Add16(x.v[2], y.v[2]), Add16(x.v[3], y.v[3])}};
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
