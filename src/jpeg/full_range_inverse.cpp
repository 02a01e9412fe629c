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

// ---- Tiers 1 to 3: chroma is centred, and stands in words of two bytes, Cb below Cr ----

inline V SplatBytes(int low, int high) { return Splat16(high << 8 | low); }

// (offset + wb Cb + wr Cr) >> 14, or with both products subtracted. Byte products want weights of a byte: with
// w = 128 high + low the shift is one of 7 after another, floor((128 h + l) / 128^2) = floor((h + floor(l / 128)) / 128).
template <int wb, int wr, int offset, bool subtract = false>
inline V Scaled(V chroma)
{
    const V high = MulAdd8us(SplatBytes(wb >> 7, wr >> 7), chroma), low = MulAdd8us(SplatBytes(wb & 127, wr & 127), chroma);
    const V round = Splat16(offset);
    const V rest = ShiftRight16s<7>(subtract ? Sub16(round, low) : Add16(round, low));
    return ShiftRight16s<7>(subtract ? Sub16(rest, high) : Add16(rest, high));
}

// (offset + w x) >> 14 of doubled samples, where the offset, not being the half, rounds one of the 256 samples
// down that the rounding product rounds up: `exception`.
template <int w, int exception>
inline V Rounded(V doubled)
{
    return Add16(MulRound16s(doubled, Splat16(w)), Equal16(doubled, Splat16(2 * exception)));
}

struct Terms {
    V red, green, blue;  // to be added to luma
};

constexpr int kRedOfCr = 22970, kGreenOfCb = 5638, kGreenOfCr = 11700, kBlueOfCb = 29032;

template <Layout layout>
inline Terms ChromaTerms(V chroma)
{
    const V red = Rounded<kRedOfCr, 51>(MulAdd8us(SplatBytes(0, 2), chroma));  // offset 8145
    if constexpr (layout == Layout::CMYK) {
        // Inks have other offsets, and green is subtracted after its shift.
        return {red, Sub16(Zero(), Scaled<kGreenOfCb, kGreenOfCr, 8082>(chroma)), Scaled<kBlueOfCb, 0, 7535>(chroma)};
    } else {
        const V blue = Rounded<kBlueOfCb, -125>(MulAdd8us(SplatBytes(2, 0), chroma));  // offset 8135
        return {red, Scaled<kGreenOfCb, kGreenOfCr, 8302, true>(chroma), blue};
    }
}

struct Block {
    V v[4];
};

// 16 pixels; k counts for inks alone. Inlined into the loop and into what follows it, as its vectors fill the registers.
template <Layout layout>
[[gnu::always_inline]] inline Block Convert(V y, V cb, V cr, V k)
{
    const V centre = Splat8(128);
    const V blue = Xor(cb, centre), red = Xor(cr, centre);
    const Terms low = ChromaTerms<layout>(UnpackLow8(blue, red)), high = ChromaTerms<layout>(UnpackHigh8(blue, red));
    const V lumaLow = WidenLow8u(y), lumaHigh = WidenHigh8u(y);
    const V rLow = Add16(lumaLow, low.red), rHigh = Add16(lumaHigh, high.red);
    const V gLow = Add16(lumaLow, low.green), gHigh = Add16(lumaHigh, high.green);
    const V bLow = Add16(lumaLow, low.blue), bHigh = Add16(lumaHigh, high.blue);
    Block out;
    V& a = out.v[0];
    V& b = out.v[1];
    V& c = out.v[2];
    if constexpr (layout == Layout::RGB) {
        ClampInterleave3x8(rLow, rHigh, gLow, gHigh, bLow, bHigh, a, b, c);
    } else if constexpr (layout == Layout::BGR) {
        ClampInterleave3x8(bLow, bHigh, gLow, gHigh, rLow, rHigh, a, b, c);
    } else {
        const V flip = Splat8(255);
        a = Xor(Pack16sTo8u(rLow, rHigh), flip);
        b = Xor(Pack16sTo8u(gLow, gHigh), flip);
        c = Xor(Pack16sTo8u(bLow, bHigh), flip);
        Interleave4x8(a, b, c, k);
    }
    out.v[3] = k;
    return out;
}

template <Layout layout>
void ConvertRow(const SourcePlanes& src, Vek8u* pDst, Vek32s width)
{
    constexpr int channels = kChannels<layout>;
    constexpr bool inks = layout == Layout::CMYK;
    const Vek8u *const y = src.at[0], *const cb = src.at[1], *const cr = src.at[2], *const k = inks ? src.at[3] : y;
    Vek32s x = 0;
    if (kBlocks) {
        for (; width - x >= 16; x += 16) {
            const Block block = Convert<layout>(LoadU(y + x), LoadU(cb + x), LoadU(cr + x), inks ? LoadU(k + x) : Zero());
            Vek8u* const p = Offset(pDst, (int64_t)x * channels);
            for (int i = 0; i < channels; ++i)
                StoreU(p + 16 * i, block.v[i]);
        }
        // Eight, then four pixels, of which a block has the bytes at its start.
        for (int step = 8; step >= 4; step -= 4) {
            if (width - x < step)
                continue;
            const auto load = [=](const Vek8u* p) { return step == 8 ? Load64(p + x) : Load32(p + x); };
            const Block block = Convert<layout>(load(y), load(cb), load(cr), inks ? load(k) : Zero());
            Vek8u* const p = Offset(pDst, (int64_t)x * channels);
            if (inks || step == 8)
                StoreU(p, block.v[0]);
            else
                Store64(p, block.v[0]);
            if (inks && step == 8)
                StoreU(p + 16, block.v[1]);
            else if (step == 8)
                Store64(p + 16, block.v[1]);
            else if (!inks)
                Store32(p + 8, BytesDown<8>(block.v[0]));
            x += step;
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
