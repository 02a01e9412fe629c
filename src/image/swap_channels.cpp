// Channels in another order: destination channel k takes source channel order[k], and entries of the
// order may repeat.
#include "frame/simd.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Byte j of 48 bytes of three-sample pixels comes from byte from[j]. An output register draws on the
// input registers beside it: part[0] from a, b; part[1] from a, b, c; part[2] from b, c.
struct ThreeChannelShuffle {
    V part[3][3];

    ThreeChannelShuffle(const Vek32s* order, int sampleBytes)
    {
        if (!kHasByteShuffle)
            return;
        alignas(16) Vek8u index[3][3][16];
        for (int j = 0; j < 48; ++j) {
            const int pixelBytes = 3 * sampleBytes, within = j % pixelBytes;
            const int from = j - within + order[within / sampleBytes] * sampleBytes + within % sampleBytes;
            for (int in = 0; in < 3; ++in)
                index[j / 16][in][j % 16] = (Vek8u)(from / 16 == in ? from % 16 : 0x80);
        }
        for (int out = 0; out < 3; ++out)
            for (int in = 0; in < 3; ++in)
                part[out][in] = LoadA(index[out][in]);
    }
};

// Without a byte shuffle: five pixels of bytes, each byte from at most two places up or down.
struct ThreeByteMoves {
    V mask[5];  // where bytes come from k - 2 places up

    explicit ThreeByteMoves(const Vek32s* order)
    {
        for (int k = 0; k < 5; ++k) {
            const auto byte = [&](int channel) { return order[channel] - channel == k - 2 ? -1 : 0; };
            const int r = byte(0), g = byte(1), b = byte(2);
            mask[k] = Lanes8(r, g, b, r, g, b, r, g, b, r, g, b, r, g, b, 0);
        }
    }

    V operator()(V v) const
    {
        const V down = Or(And(BytesUp<2>(v), mask[0]), And(BytesUp<1>(v), mask[1]));
        const V up = Or(And(BytesDown<1>(v), mask[3]), And(BytesDown<2>(v), mask[4]));
        return Or(Or(down, And(v, mask[2])), up);
    }
};

template <typename T>
void SwapSamples(const T* src, T* dst, int64_t from, int64_t width, int srcPixel, int dstPixel, const Vek32s* order)
{
    for (int64_t x = from; x < width; ++x) {
        const T* pixel = src + x * srcPixel;
        const T a = Get(pixel + order[0]), b = Get(pixel + order[1]), c = Get(pixel + order[2]);
        Put(dst + x * dstPixel, a);
        Put(dst + x * dstPixel + 1, b);
        Put(dst + x * dstPixel + 2, c);
    }
}

// The first three of each four bytes in another order, and zero. For tiers without a byte shuffle, which move
// wider samples as fast one by one.
struct FourByteMoves {
    V from0, from1, from2;

    explicit FourByteMoves(const Vek32s* order) : from0(ShiftCount(8 * order[0])), from1(ShiftCount(8 * order[1])), from2(ShiftCount(8 * order[2])) {}

    V operator()(V v) const
    {
        const auto sample = [=](V from) { return And(ShiftRight32uBy(v, from), Splat32(0xff)); };
        return Or(sample(from0), Or(ShiftLeft32<8>(sample(from1)), ShiftLeft32<16>(sample(from2))));
    }
};

template <typename T>
void SwapRows3(const T* pSrc, Vek32s srcStep, T* pDst, Vek32s dstStep, int64_t width, Vek32s height, const Vek32s* order)
{
    constexpr int samples = 16 / (int)sizeof(T);
    const ThreeChannelShuffle shuffle(order, sizeof(T));
    const V(&part)[3][3] = shuffle.part;
    const ThreeByteMoves moves(order);
    for (Vek32s y = 0; y < height; ++y) {
        const T* src = Row(pSrc, srcStep, y);
        T* dst = Row(pDst, dstStep, y);
        int64_t x = 0;
        if (kBlocks && kHasByteShuffle) {
            for (; width - x >= samples; x += samples) {
                const T* from = src + x * 3;
                T* to = dst + x * 3;
                const V a = LoadU(from), b = LoadU(from + samples), c = LoadU(from + 2 * samples);
                StoreU(to, Or(Shuffle8(a, part[0][0]), Shuffle8(b, part[0][1])));
                StoreU(to + samples, Or(Or(Shuffle8(a, part[1][0]), Shuffle8(b, part[1][1])), Shuffle8(c, part[1][2])));
                StoreU(to + 2 * samples, Or(Shuffle8(b, part[2][1]), Shuffle8(c, part[2][2])));
            }
        } else if (kBlocks && sizeof(T) == 1) {
            for (; width - x >= 6; x += 5) {
                const V swapped = moves(LoadU(src + x * 3));
                Store64(dst + x * 3, swapped);
                Store64(dst + x * 3 + 7, BytesDown<7>(swapped));
            }
        }
        SwapSamples(src, dst, x, width, 3, 3, order);
    }
}

// ---- Pixels with alpha, which stays as the destination has it ----

inline V BesideAlpha(const void* dst, V pixels, V alpha)
{
    return Or(And(LoadU(dst), alpha), AndNot(alpha, pixels));
}

template <typename T>
void SwapRowAlpha(const T* src, T* dst, int64_t width, const Vek32s* order)
{
    constexpr int pixels = 4 / (int)sizeof(T);
    const V alpha = sizeof(T) == 1 ? Splat32(-16777216) : Lanes32(0, -65536, 0, -65536);
    int64_t x = 0;
    if (kBlocks && kHasByteShuffle) {
        alignas(16) Vek8u index[16];
        for (int j = 0; j < 16; ++j) {
            constexpr int pixelBytes = 4 * (int)sizeof(T), sampleBytes = (int)sizeof(T);
            const int within = j % pixelBytes, channel = within / sampleBytes;
            index[j] = (Vek8u)(channel == 3 ? 0x80 : j - within + order[channel] * sampleBytes + within % sampleBytes);
        }
        const V byPixel = LoadA(index);
        for (; width - x >= pixels; x += pixels)
            StoreU(dst + x * 4, BesideAlpha(dst + x * 4, Shuffle8(LoadU(src + x * 4), byPixel), alpha));
    } else if (kBlocks && sizeof(T) == 1) {
        const FourByteMoves moved(order);
        for (; width - x >= pixels; x += pixels)
            StoreU(dst + x * 4, BesideAlpha(dst + x * 4, moved(LoadU(src + x * 4)), alpha));
    }
    SwapSamples(src, dst, x, width, 4, 4, order);
}

template <typename T>
void SwapRows4(const T* pSrc, Vek32s srcStep, T* pDst, Vek32s dstStep, int64_t width, Vek32s height, const Vek32s* order)
{
    for (Vek32s y = 0; y < height; ++y)
        SwapRowAlpha(Row(pSrc, srcStep, y), Row(pDst, dstStep, y), width, order);
}

bool IsGoodOrder(const Vek32s* order)
{
    for (int k = 0; k < 3; ++k)
        if (order[k] < 0 || order[k] > 2)
            return false;
    return true;
}

template <int channels, typename T>
VekStatus Swap(const T* pSrc, Vek32s srcStep, T* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s* dstOrder)
{
    if (!pSrc || !pDst || !dstOrder)              return StatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1)  return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)               return StatusBadStep;
    if (!IsGoodOrder(dstOrder))                   return StatusBadChannelOrder;

    int64_t width = roiSize.width;
    Vek32s height = roiSize.height;
    if (srcStep == dstStep && srcStep == width * channels * (int64_t)sizeof(T)) {
        width *= height;
        height = 1;
    }
    if (channels == 3)
        SwapRows3(pSrc, srcStep, pDst, dstStep, width, height, dstOrder);
    else
        SwapRows4(pSrc, srcStep, pDst, dstStep, width, height, dstOrder);
    return StatusOk;
}

}  // namespace

VekStatus vekiSwapChannels_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3])
{
    return Swap<3>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}

VekStatus vekiSwapChannels_16u_C3R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3])
{
    return Swap<3>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}

VekStatus vekiSwapChannels_8u_AC4R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3])
{
    return Swap<4>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}

VekStatus vekiSwapChannels_16u_AC4R(const Vek16u* pSrc, Vek32s srcStep, Vek16u* pDst, Vek32s dstStep, VekImageSize roiSize, const Vek32s dstOrder[3])
{
    return Swap<4>(pSrc, srcStep, pDst, dstStep, roiSize, dstOrder);
}

VekStatus vekiSwapChannels_8u_C3IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, const Vek32s dstOrder[3])
{
    return Swap<3, Vek8u>(pSrcDst, srcDstStep, pSrcDst, srcDstStep, roiSize, dstOrder);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
