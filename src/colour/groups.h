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

// Where the pixels of a group start in its register: the last one is loaded so that it ends with them.
template <int channels, int group> constexpr int kSkip = group == 3 ? 16 - 4 * channels : 0;

template <int channels>
inline Pixels16<channels> LoadPixels(const Vek8u* p)
{
    constexpr int bytes = 4 * channels;
    if constexpr (kHasByteShuffle)
        return {{LoadU(p), LoadU(p + bytes), LoadU(p + 2 * bytes), LoadU(p + 3 * bytes - kSkip<channels, 3>)}};
    V a = LoadU(p), b = LoadU(p + 16), c = LoadU(p + 32), d = Zero();
    if constexpr (channels == 4) {
        d = LoadU(p + 48);
        Deinterleave4x8(a, b, c, d);
    } else {
        Deinterleave3x8(a, b, c);
    }
    return {{a, b, c, d}};
}

// R0 .. R3 and G0 .. G3 in the upper halves of words.
template <int channels, int group>
inline V RedGreenHigh(V v)
{
    constexpr int r = kSkip<channels, group>, g = r + 1, n = channels;
    return Shuffle8(v, Lanes8(-1, r, -1, r + n, -1, r + 2 * n, -1, r + 3 * n, -1, g, -1, g + n, -1, g + 2 * n, -1, g + 3 * n));
}

// B0 .. B3 in the upper halves of words of the low (group 0, 2) or the high (group 1, 3) half.
template <int channels, int group>
inline V BlueHigh(V v)
{
    constexpr int b = kSkip<channels, group> + 2, n = channels;
    if constexpr (group % 2 == 0)
        return Shuffle8(v, Lanes8(-1, b, -1, b + n, -1, b + 2 * n, -1, b + 3 * n, -1, -1, -1, -1, -1, -1, -1, -1));
    else
        return Shuffle8(v, Lanes8(-1, -1, -1, -1, -1, -1, -1, -1, -1, b, -1, b + n, -1, b + 2 * n, -1, b + 3 * n));
}

// Blue of pixels 0 to 7 (half 0) or 8 to 15, in the upper halves of words.
template <int half, int channels>
inline V BlueWords(const Pixels16<channels>& pixels)
{
    if constexpr (kHasByteShuffle)
        return Or(BlueHigh<channels, 2 * half>(pixels.v[2 * half]), BlueHigh<channels, 2 * half + 1>(pixels.v[2 * half + 1]));
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
        const V first = MulHigh16u(RedGreenHigh<channels, 2 * half>(pixels.v[2 * half]), w.rg);
        const V second = MulHigh16u(RedGreenHigh<channels, 2 * half + 1>(pixels.v[2 * half + 1]), w.rg);
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
        constexpr int r = kSkip<3, group>;
        return Shuffle8(pixels.v[group], Lanes8(r, -1, r + 1, -1, r + 3, -1, r + 4, -1, r + 6, -1, r + 7, -1, r + 9, -1, r + 10, -1));
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
template <int group>
inline V SumsOfGroup(V v)
{
    constexpr int k = kSkip<3, group>;
    return SumPairs8u(Shuffle8(v, Lanes8(k, k + 3, k + 1, k + 4, k + 6, k + 9, k + 7, k + 10, k + 2, k + 5, -1, -1, k + 8, k + 11, -1, -1)));
}

inline PairSums SumPairs(const Pixels16<3>& pixels)
{
    const V* const v = pixels.v;
    if constexpr (kHasByteShuffle)
        return {{SumsOfGroup<0>(v[0]), SumsOfGroup<1>(v[1]), SumsOfGroup<2>(v[2]), SumsOfGroup<3>(v[3])}};
    const V r = SumPairs8u(v[0]), g = SumPairs8u(v[1]), b = SumPairs8u(v[2]);
    return {{UnpackLow16(r, g), UnpackHigh16(r, g), UnpackLow16(b, Zero()), UnpackHigh16(b, Zero())}};
}

inline PairSums Add(const PairSums& x, const PairSums& y)
{
    return {{Add16(x.v[0], y.v[0]), Add16(x.v[1], y.v[1]), Add16(x.v[2], y.v[2]), Add16(x.v[3], y.v[3])}};
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
