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

// Four pixels in the 16 bytes at p, which start `skip` bytes further on.
template <Layout layout, int skip>
inline void LoadPairs(const Vek8u* p, V& redGreen, V& blueOne)
{
    constexpr int r = skip + kRed<layout>, g = skip + 1, b = skip + kBlue<layout>, n = kChannels<layout>;
    V v = LoadU(p);
    if constexpr (layout == Layout::CMYK)
        v = Xor(v, Splat8(255));
    redGreen = Shuffle8(v, Lanes8(r, -1, g, -1, r + n, -1, g + n, -1, r + 2 * n, -1, g + 2 * n, -1, r + 3 * n, -1, g + 3 * n, -1));
    blueOne = Or(Shuffle8(v, Lanes8(b, -1, -1, -1, b + n, -1, -1, -1, b + 2 * n, -1, -1, -1, b + 3 * n, -1, -1, -1)), Splat32(1 << 16));
}

template <Layout layout>
inline Pairs Load16(const Vek8u* p)
{
    Pairs pairs;
    if constexpr (kHasByteShuffle) {
        constexpr int bytes = 4 * kChannels<layout>, skip = 16 - bytes;  // the last load ends with the pixels
        LoadPairs<layout, 0>(p, pairs.redGreen[0], pairs.blueOne[0]);
        LoadPairs<layout, 0>(p + bytes, pairs.redGreen[1], pairs.blueOne[1]);
        LoadPairs<layout, 0>(p + 2 * bytes, pairs.redGreen[2], pairs.blueOne[2]);
        LoadPairs<layout, skip>(p + 3 * bytes - skip, pairs.redGreen[3], pairs.blueOne[3]);
    } else {
        V first = LoadU(p), green = LoadU(p + 16), last = LoadU(p + 32);
        if constexpr (layout == Layout::CMYK) {
            V black = LoadU(p + 48);
            Deinterleave4x8(first, green, last, black);
            const V flip = Splat8(255);
            first = Xor(first, flip);
            green = Xor(green, flip);
            last = Xor(last, flip);
        } else {
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

// The fourth samples of 16 pixels.
inline V Black(const Vek8u* p)
{
    const V low = Pack32sTo16s(ShiftRight32u<24>(LoadU(p)), ShiftRight32u<24>(LoadU(p + 16)));
    const V high = Pack32sTo16s(ShiftRight32u<24>(LoadU(p + 32)), ShiftRight32u<24>(LoadU(p + 48)));
    return Pack16sTo8u(low, high);
}

// Loops of their own, so that a row and its remainder share one inlined body.
template <Layout layout>
void LumaBlocks(const Vek8u* src, Vek8u* dst, Vek32s blocks)
{
    for (; blocks > 0; --blocks, src += 48, dst += 16)
        StoreU(dst, Luma<kSet15>(Load16<layout>(src)));
}

template <Layout layout, const WeightSet& set>
void PlanarBlocks(const Vek8u* src, Vek8u* y, Vek8u* cb, Vek8u* cr, Vek8u* k, Vek32s blocks)
{
    for (; blocks > 0; --blocks) {
        const Pairs pairs = Load16<layout>(src);
        StoreU(y, Luma<set>(pairs));
        StoreU(cb, Chroma<set>(pairs, set.cb));
        StoreU(cr, Chroma<set>(pairs, set.cr));
        if constexpr (layout == Layout::CMYK) {
            StoreU(k, Black(src));
            k += 16;
        }
        src += 16 * kChannels<layout>;
        y += 16;
        cb += 16;
        cr += 16;
    }
}

// ---- Rows ----

template <Layout layout>
void LumaRow(const Vek8u* pSrc, Vek8u* pDst, Vek32s width)
{
    if constexpr (kBlocks) {
        LumaBlocks<layout>(pSrc, pDst, width / 16);
        const Vek32s x = width & ~15;
        if (const int rest = width - x) {
            Vek8u pixels[48] = {}, out[16];
            memcpy(pixels, Offset(pSrc, (int64_t)x * 3), (size_t)rest * 3);
            LumaBlocks<layout>(pixels, out, 1);
            memcpy(pDst + x, out, (size_t)rest);
        }
    } else {
        for (Vek32s x = 0; x < width; ++x)
            pDst[x] = Luma16(Pixel<layout>(Offset(pSrc, (int64_t)x * 3)));
    }
}

struct Planes {
    Vek8u* at[4];
};

// Columns first to last - 1 of 16 pixels, to columns x + first and on.
template <Layout layout, const WeightSet& set>
void PlanarPart(const Vek8u* pixels, const Planes& dst, Vek32s x, int first, int last)
{
    Vek8u out[4][16];
    PlanarBlocks<layout, set>(pixels, out[0], out[1], out[2], out[3], 1);
    for (int i = 0; i < kChannels<layout>; ++i)
        memcpy(dst.at[i] + x + first, out[i] + first, (size_t)(last - first));
}

template <Layout layout>
void PlanarRow(const Vek8u* pSrc, const Planes& dst, Vek32s width)
{
    constexpr int channels = kChannels<layout>;
    if constexpr (kBlocks) {
        constexpr const WeightSet& set = layout == Layout::CMYK ? kSet14 : kSet15;
        PlanarBlocks<layout, set>(pSrc, dst.at[0], dst.at[1], dst.at[2], dst.at[3], width / 16);
        const Vek32s x = width & ~15;
        if (const int rest = width - x) {
            Vek8u pixels[16 * channels] = {};
            memcpy(pixels, Offset(pSrc, (int64_t)x * channels), (size_t)(rest * channels));
            const int whole = rest & 8;
            if (whole)
                PlanarPart<layout, set>(pixels, dst, x, 0, whole);
            if (rest != whole)
                PlanarPart<layout, kSet14>(pixels, dst, x, whole, rest);
        }
    } else {
        for (Vek32s x = 0; x < width; ++x) {
            const Vek8u* const p = Offset(pSrc, (int64_t)x * channels);
            const Rgb pixel = Pixel<layout>(p);
            dst.at[0][x] = Luma16(pixel);
            dst.at[1][x] = Cb16(pixel);
            dst.at[2][x] = Cr16(pixel);
            if constexpr (layout == Layout::CMYK)
                dst.at[3][x] = p[3];
        }
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
