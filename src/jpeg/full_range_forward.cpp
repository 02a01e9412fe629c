// RGB, BGR and inverted CMY to full-range luma and chroma. Tier 0 has a 16-bit fraction. Tiers 1 to 3
// have 15 bits where whole blocks of columns are converted and 14 bits in the columns that are left.
#include "frame/simd.h"
#include "frame/simd_interleave.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

enum class Layout { RGB, BGR, CMYK };

template <Layout layout> constexpr int kChannels = layout == Layout::CMYK ? 4 : 3;
template <Layout layout> constexpr int kRed = layout == Layout::BGR ? 2 : 0;
template <Layout layout> constexpr int kBlue = 2 - kRed<layout>;

// ---- Tier 0 ----

struct Rgb {
    Vek32s r, g, b;
};

template <Layout layout>
inline Rgb Pixel(const Vek8u* p)
{
    constexpr int flip = layout == Layout::CMYK ? 255 : 0;
    return {p[kRed<layout>] ^ flip, p[1] ^ flip, p[kBlue<layout>] ^ flip};
}

constexpr Vek32s kHalf16 = 1 << 15;
constexpr Vek32s kCentre16 = (128 << 16) + kHalf16 - 1;  // less one, so that a chroma of 256 becomes 255

inline Vek8u Luma16(Rgb p) { return (Vek8u)((19595 * p.r + 38470 * p.g + 7471 * p.b + kHalf16) >> 16); }
inline Vek8u Cb16(Rgb p) { return (Vek8u)((-11059 * p.r - 21709 * p.g + 32768 * p.b + kCentre16) >> 16); }
inline Vek8u Cr16(Rgb p) { return (Vek8u)((32768 * p.r - 27439 * p.g - 5329 * p.b + kCentre16) >> 16); }

// ---- Tiers 1 to 3 ----

// Each output is a multiply-add of the pairs R G and another of B 1, so that the second one brings the
// offset: the rounding alone, as the centre of 128 is added to the bytes at the end.
struct Weights {
    int r, g, b, offset;
};

struct WeightSet {
    Weights y, cb, cr;
    int bits;
};

constexpr WeightSet kSet15 = {{9798, 19235, 3736, 16266}, {-5529, -10855, 16384, 16384}, {16384, -13720, -2664, 16400}, 15};
constexpr WeightSet kSet14 = {{4899, 9617, 1868, 8192}, {-2764, -5428, 8192, 8192}, {8192, -6860, -1332, 8192}, 14};

struct Pairs {
    V redGreen[4], blueOne[4];  // of four pixels each
};

// Four pixels in a register.
template <Layout layout>
inline void SplitGroup(V v, V& redGreen, V& blueOne)
{
    constexpr int r = kRed<layout>, g = 1, b = kBlue<layout>, n = kChannels<layout>;
    if constexpr (layout == Layout::CMYK)
        v = Xor(v, Splat8(255));
    redGreen = Shuffle8(v, Lanes8(r, -1, g, -1, r + n, -1, g + n, -1, r + 2 * n, -1, g + 2 * n, -1, r + 3 * n, -1, g + 3 * n, -1));
    blueOne = Or(Shuffle8(v, Lanes8(b, -1, -1, -1, b + n, -1, -1, -1, b + 2 * n, -1, -1, -1, b + 3 * n, -1, -1, -1)), Splat32(1 << 16));
}

// A group that is the last one of 16, 8 or 4 pixels: the load ends with it.
template <Layout layout, int pixels>
inline V LoadLastGroup(const Vek8u* p)
{
    if constexpr (layout == Layout::CMYK)
        return LoadU(p);
    else if constexpr (pixels == 4)
        return UnpackLow64(Load64(p), Load32(p + 8));
    else
        return BytesDown<4>(LoadU(p - 4));
}

template <Layout layout, int pixels>
inline Pairs LoadPairs(const Vek8u* p)
{
    constexpr int bytes = 4 * kChannels<layout>;
    Pairs pairs = {};
    if constexpr (kHasByteShuffle) {
        if constexpr (pixels > 4)
            SplitGroup<layout>(LoadU(p), pairs.redGreen[0], pairs.blueOne[0]);
        if constexpr (pixels == 16) {
            SplitGroup<layout>(LoadU(p + bytes), pairs.redGreen[1], pairs.blueOne[1]);
            SplitGroup<layout>(LoadU(p + 2 * bytes), pairs.redGreen[2], pairs.blueOne[2]);
        }
        constexpr int last = pixels / 4 - 1;
        SplitGroup<layout>(LoadLastGroup<layout, pixels>(p + last * bytes), pairs.redGreen[last], pairs.blueOne[last]);
    } else {
        V first, green, last;
        if constexpr (layout == Layout::CMYK) {
            first = LoadU(p);
            green = pixels > 4 ? LoadU(p + 16) : Zero();
            last = pixels == 16 ? LoadU(p + 32) : Zero();
            V black = pixels == 16 ? LoadU(p + 48) : Zero();
            Deinterleave4x8(first, green, last, black);
            const V flip = Splat8(255);
            first = Xor(first, flip);
            green = Xor(green, flip);
            last = Xor(last, flip);
        } else {
            LoadPixels3x8<pixels>(p, first, green, last);
            Deinterleave3x8(first, green, last);
        }
        const V red = layout == Layout::BGR ? last : first, blue = layout == Layout::BGR ? first : last;
        const V rgLow = UnpackLow8(red, green), rgHigh = UnpackHigh8(red, green);
        const V bLow = UnpackLow8(blue, Zero()), bHigh = UnpackHigh8(blue, Zero()), one = Splat16(1);
        pairs = {{WidenLow8u(rgLow), WidenHigh8u(rgLow), WidenLow8u(rgHigh), WidenHigh8u(rgHigh)},
                 {UnpackLow16(bLow, one), UnpackHigh16(bLow, one), UnpackLow16(bHigh, one), UnpackHigh16(bHigh, one)}};
    }
    return pairs;
}

template <int bits>
inline V Sum4(V redGreen, V blueOne, const Weights& w)
{
    return ShiftRight32s<bits>(Add32(MulAdd16(redGreen, SplatPair16(w.r, w.g)), MulAdd16(blueOne, SplatPair16(w.b, w.offset))));
}

template <int bits>
inline V Sum8(const Pairs& pairs, int i, const Weights& w)
{
    return Pack32sTo16s(Sum4<bits>(pairs.redGreen[i], pairs.blueOne[i], w), Sum4<bits>(pairs.redGreen[i + 1], pairs.blueOne[i + 1], w));
}

template <const WeightSet& set>
inline V Luma(const Pairs& pairs)
{
    return Pack16sTo8u(Sum8<set.bits>(pairs, 0, set.y), Sum8<set.bits>(pairs, 2, set.y));
}

template <const WeightSet& set>
inline V Chroma(const Pairs& pairs, const Weights& w)
{
    return Xor(Pack16sTo8s(Sum8<set.bits>(pairs, 0, w), Sum8<set.bits>(pairs, 2, w)), Splat8(128));
}

// A pixel by a set's weights; chroma of pure red or blue comes to 256, and nothing falls below 0.
inline Vek8u Weighted(Rgb p, const Weights& w, int bits, int centre)
{
    return (Vek8u)Min((w.r * p.r + w.g * p.g + w.b * p.b + w.offset + (centre << bits)) >> bits, 255);
}

// The fourth samples of 16, 8 or 4 pixels.
template <int pixels>
inline V Black(const Vek8u* p)
{
    const auto group = [=](int i) { return 4 * i < pixels ? ShiftRight32u<24>(LoadU(p + 16 * i)) : Zero(); };
    return Pack16sTo8u(Pack32sTo16s(group(0), group(1)), Pack32sTo16s(group(2), group(3)));
}

struct Planes {
    Vek8u* at[4];
};

template <Layout layout, const WeightSet& set, int pixels>
[[gnu::always_inline]] inline void ConvertBlock(const Vek8u* src, const Planes& dst, Vek32s x)
{
    const Pairs pairs = LoadPairs<layout, pixels>(src);
    StoreBytes<pixels>(dst.at[0] + x, Luma<set>(pairs));
    StoreBytes<pixels>(dst.at[1] + x, Chroma<set>(pairs, set.cb));
    StoreBytes<pixels>(dst.at[2] + x, Chroma<set>(pairs, set.cr));
    if constexpr (layout == Layout::CMYK)
        StoreBytes<pixels>(dst.at[3] + x, Black<pixels>(src));
}

// ---- Rows ----

template <Layout layout>
void LumaRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width)
{
    const auto pixel = [=](Vek32s x) { return Offset(pSrc, (int64_t)x * 3); };
    Vek32s x = 0;
    if (kBlocks) {
        for (; width - x >= 16; x += 16)
            StoreU(pDst + x, Luma<kSet15>(LoadPairs<layout, 16>(pixel(x))));
        if (width - x >= 8) {
            Store64(pDst + x, Luma<kSet15>(LoadPairs<layout, 8>(pixel(x))));
            x += 8;
        }
        if (width - x >= 4) {
            Store32(pDst + x, Luma<kSet15>(LoadPairs<layout, 4>(pixel(x))));
            x += 4;
        }
    }
    for (; x < width; ++x) {
        const Rgb p = Pixel<layout>(pixel(x));
        pDst[x] = kBlocks ? Weighted(p, kSet15.y, kSet15.bits, 0) : Luma16(p);
    }
}

template <Layout layout>
void PlanarRow(const Vek8u* pSrc, const Planes& row, Vek32s width)
{
    constexpr const WeightSet& set = layout == Layout::CMYK ? kSet14 : kSet15;
    const auto pixel = [=](Vek32s x) { return Offset(pSrc, (int64_t)x * kChannels<layout>); };
    const Planes dst = row;
    Vek32s x = 0;
    if (kBlocks) {
        for (; width - x >= 16; x += 16)
            ConvertBlock<layout, set, 16>(pixel(x), dst, x);
        if (width - x >= 8) {
            ConvertBlock<layout, set, 8>(pixel(x), dst, x);
            x += 8;
        }
        if (width - x >= 4) {
            ConvertBlock<layout, kSet14, 4>(pixel(x), dst, x);
            x += 4;
        }
    }
    for (; x < width; ++x) {
        const Rgb p = Pixel<layout>(pixel(x));
        dst.at[0][x] = kBlocks ? Weighted(p, kSet14.y, kSet14.bits, 0) : Luma16(p);
        dst.at[1][x] = kBlocks ? Weighted(p, kSet14.cb, kSet14.bits, 128) : Cb16(p);
        dst.at[2][x] = kBlocks ? Weighted(p, kSet14.cr, kSet14.bits, 128) : Cr16(p);
        if constexpr (layout == Layout::CMYK)
            dst.at[3][x] = pixel(x)[3];
    }
}

template <Layout layout>
VekStatus ToLuma(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    if (!pSrc || !pDst)                           return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)               return StatusBadStep;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y)
        LumaRow<layout>(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), roiSize.width);
    return StatusOk;
}

template <Layout layout>
VekStatus ToPlanes(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    constexpr int channels = kChannels<layout>;
    if (!pSrc || !pDst)                           return StatusNullPointer;
    for (int i = 0; i < channels; ++i)
        if (!pDst[i])                             return StatusNullPointer;
    if (srcStep < 1 || dstStep < 1)               return StatusBadStep;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;

    for (Vek32s y = 0; y < roiSize.height; ++y) {
        Planes row = {};
        for (int i = 0; i < channels; ++i)
            row.at[i] = Row(pDst[i], dstStep, y);
        PlanarRow<layout>(Row(pSrc, srcStep, y), row, roiSize.width);
    }
    return StatusOk;
}

}  // namespace

VekStatus vekiRGBToY_JPEG_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return ToLuma<Layout::RGB>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiBGRToY_JPEG_8u_C3C1R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize)
{
    return ToLuma<Layout::BGR>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiRGBToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize)
{
    return ToPlanes<Layout::RGB>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiBGRToYCbCr_JPEG_8u_C3P3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[3], Vek32s dstStep, VekImageSize roiSize)
{
    return ToPlanes<Layout::BGR>(pSrc, srcStep, pDst, dstStep, roiSize);
}

VekStatus vekiCMYKToYCCK_JPEG_8u_C4P4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* const pDst[4], Vek32s dstStep, VekImageSize roiSize)
{
    return ToPlanes<Layout::CMYK>(pSrc, srcStep, pDst, dstStep, roiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
