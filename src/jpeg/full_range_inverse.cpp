// Full-range luma and chroma to RGB, BGR and CMYK. Tier 0 has a 16-bit fraction; tiers 1 to 3 have 14
// bits in whole groups of four columns and tier 0's arithmetic in the up to three that are left.
#include "frame/simd.h"
#include "frame/simd_interleave.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

enum class Layout { RGB, BGR, CMYK };

template <Layout layout> constexpr int kChannels = layout == Layout::CMYK ? 4 : 3;

struct SourcePlanes {
    const Vek8u* at[4];
};

// ---- Tier 0, and the last columns of the others ----

constexpr Vek32s kHalf16 = 1 << 15;

template <Layout layout>
inline void ConvertPixel(const SourcePlanes& src, Vek32s x, Vek8u* p)
{
    constexpr int flip = layout == Layout::CMYK ? 255 : 0;
    constexpr int red = layout == Layout::BGR ? 2 : 0;
    const Vek32s luma = src.at[0][x], cb = src.at[1][x] - 128, cr = src.at[2][x] - 128;
    p[red] = Saturate8u(luma + ((91881 * cr + kHalf16) >> 16)) ^ flip;
    p[1] = Saturate8u(luma + ((-22554 * cb - 46802 * cr + kHalf16) >> 16)) ^ flip;
    p[2 - red] = Saturate8u(luma + ((116130 * cb + kHalf16) >> 16)) ^ flip;
    if constexpr (layout == Layout::CMYK)
        p[3] = src.at[3][x];
}

// ---- Tiers 1 to 3: chroma is centred and doubled, which halves the weights and loses nothing ----

constexpr int kRedOfCr = 22970, kGreenOfCb = 5638, kGreenOfCr = 11700, kBlueOfCb = 29032;

inline V SplatPair(int a, int b) { return Lanes16(a, b, a, b, a, b, a, b); }

// (a wa + b wb + offset) >> 14 of doubled samples.
template <int wa, int wb, int offset>
inline V TwoTerms(V a, V b)
{
    static_assert(wa % 2 == 0 && wb % 2 == 0);
    const V weights = SplatPair(wa / 2, wb / 2), round = Splat32(offset);
    return Pack32sTo16s(ShiftRight32s<14>(Add32(MulAdd16(UnpackLow16(a, b), weights), round)),
                        ShiftRight32s<14>(Add32(MulAdd16(UnpackHigh16(a, b), weights), round)));
}

// (a w + offset) >> 14 of doubled samples; the offset, not being the half, rounds one sample down that
// the rounding product rounds up. `exception` is that sample: no other of the 256 differs.
template <int w, int offset, int exception>
inline V OneTerm(V a)
{
    if constexpr (kHasByteShuffle && exception != 0)
        return Add16(MulRound16s(a, Splat16(w)), Equal16(a, Splat16(2 * exception)));
    const V weights = SplatPair(w / 2, offset), one = Splat16(1);
    return Pack32sTo16s(ShiftRight32s<14>(MulAdd16(UnpackLow16(a, one), weights)),
                        ShiftRight32s<14>(MulAdd16(UnpackHigh16(a, one), weights)));
}

struct Terms {
    V red, green, blue;  // to be added to luma
};

template <Layout layout>
inline Terms ChromaTerms(V cb, V cr)
{
    if constexpr (layout == Layout::CMYK) {
        // Inks have other offsets, and green is subtracted after its shift.
        const V green = TwoTerms<kGreenOfCb, kGreenOfCr, 8082>(cb, cr);
        return {OneTerm<kRedOfCr, 8145, 51>(cr), Sub16(Zero(), green), OneTerm<kBlueOfCb, 7535, 0>(cb)};
    } else {
        return {OneTerm<kRedOfCr, 8145, 51>(cr), TwoTerms<-kGreenOfCb, -kGreenOfCr, 8302>(cb, cr), OneTerm<kBlueOfCb, 8135, -125>(cb)};
    }
}

// 16 pixels.
template <Layout layout>
inline void ConvertBlock(const Vek8u* const* src, Vek8u* dst)
{
    const V luma = LoadU(src[0]), centre = Splat8(128);
    const V cb = Xor(LoadU(src[1]), centre), cr = Xor(LoadU(src[2]), centre);
    // A byte in the upper half of a word, shifted down by 7, is doubled.
    const Terms low = ChromaTerms<layout>(ShiftRight16s<7>(UnpackLow8(Zero(), cb)), ShiftRight16s<7>(UnpackLow8(Zero(), cr)));
    const Terms high = ChromaTerms<layout>(ShiftRight16s<7>(UnpackHigh8(Zero(), cb)), ShiftRight16s<7>(UnpackHigh8(Zero(), cr)));
    const V lumaLow = WidenLow8u(luma), lumaHigh = WidenHigh8u(luma);
    V r = Pack16sTo8u(Add16(lumaLow, low.red), Add16(lumaHigh, high.red));
    V g = Pack16sTo8u(Add16(lumaLow, low.green), Add16(lumaHigh, high.green));
    V b = Pack16sTo8u(Add16(lumaLow, low.blue), Add16(lumaHigh, high.blue));
    if constexpr (layout == Layout::CMYK) {
        const V flip = Splat8(255);
        V c = Xor(r, flip), m = Xor(g, flip), y = Xor(b, flip), k = LoadU(src[3]);
        Interleave4x8(c, m, y, k);
        StoreU(dst, c);
        StoreU(dst + 16, m);
        StoreU(dst + 32, y);
        StoreU(dst + 48, k);
    } else {
        V first = layout == Layout::RGB ? r : b, last = layout == Layout::RGB ? b : r;
        Interleave3x8(first, g, last);
        StoreU(dst, first);
        StoreU(dst + 16, g);
        StoreU(dst + 32, last);
    }
}

template <Layout layout>
void ConvertRow(const SourcePlanes& src, Vek8u* pDst, Vek32s width)
{
    constexpr int channels = kChannels<layout>;
    Vek32s x = 0;
    if constexpr (kBlocks) {
        for (; width - x >= 16; x += 16) {
            const Vek8u* const at[4] = {src.at[0] + x, src.at[1] + x, src.at[2] + x, layout == Layout::CMYK ? src.at[3] + x : nullptr};
            ConvertBlock<layout>(at, Offset(pDst, (int64_t)x * channels));
        }
        if (const int groups = (width - x) & ~3) {
            Vek8u in[4][16] = {}, out[16 * channels];
            for (int i = 0; i < channels; ++i)
                memcpy(in[i], src.at[i] + x, (size_t)groups);
            const Vek8u* const at[4] = {in[0], in[1], in[2], in[3]};
            ConvertBlock<layout>(at, out);
            memcpy(Offset(pDst, (int64_t)x * channels), out, (size_t)(groups * channels));
            x += groups;
        }
    }
    for (; x < width; ++x)
        ConvertPixel<layout>(src, x, Offset(pDst, (int64_t)x * channels));
}

template <Layout layout>
VekStatus FromPlanes(const Vek8u* const* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    constexpr int channels = kChannels<layout>;
    if (!pSrc || !pDst)                           return StatusNullPointer;
    for (int i = 0; i < channels; ++i)
        if (!pSrc[i])                             return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)               return StatusBadStep;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y) {
        SourcePlanes row = {};
        for (int i = 0; i < channels; ++i)
            row.at[i] = Row(pSrc[i], srcStep, y);
        ConvertRow<layout>(row, Row(pDst, dstStep, y), roiSize.width);
    }
    return StatusOk;
}

}  // namespace

VekStatus vekiYCbCrToRGB_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return FromPlanes<Layout::RGB>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiYCbCrToBGR_JPEG_8u_P3C3R(const Vek8u* const pSrc[3], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return FromPlanes<Layout::BGR>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiYCCKToCMYK_JPEG_8u_P4C4R(const Vek8u* const pSrc[4], Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return FromPlanes<Layout::CMYK>(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
