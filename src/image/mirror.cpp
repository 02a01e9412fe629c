// Images turned over: top to bottom, left to right, or both.
#include "frame/simd.h"
#include "image/copy.h"
#include "uvek/image.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Byte j of a run of 48 bytes whose pixels stand in the opposite order comes from this byte of
// register `part`.
template <int pixelBytes>
constexpr int ReversedByte(int j, int part)
{
    const int from = 48 - pixelBytes - j / pixelBytes * pixelBytes + j % pixelBytes;
    return from / 16 == part ? from % 16 : 0x80;
}

template <int pixelBytes, int out, int part>
inline V ReverseIndex()
{
    constexpr int k = 16 * out;
    constexpr auto from = ReversedByte<pixelBytes>;
    return Lanes8(from(k, part), from(k + 1, part), from(k + 2, part), from(k + 3, part),
                  from(k + 4, part), from(k + 5, part), from(k + 6, part), from(k + 7, part),
                  from(k + 8, part), from(k + 9, part), from(k + 10, part), from(k + 11, part),
                  from(k + 12, part), from(k + 13, part), from(k + 14, part), from(k + 15, part));
}

// The first and the third sample of each pixel exchanged, in 16 bytes between those before and behind, which
// begin `offset` bytes after a pixel.
template <typename T, int offset>
inline V ExchangeOuter(V before, V v, V behind)
{
    constexpr int size = (int)sizeof(T);
    constexpr auto sample = [](int channel) {
        const auto at = [=](int j) { return (offset + j) / size % 3 == channel ? -1 : 0; };
        return Lanes8(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7), at(8), at(9), at(10), at(11), at(12), at(13), at(14), at(15));
    };
    const V outer = Or(And(Concat<2 * size>(v, behind), sample(0)), And(Concat<16 - 2 * size>(before, v), sample(2)));
    return Or(outer, And(v, sample(1)));
}

// 48 bytes of three-sample pixels in the opposite order. Without a byte shuffle all samples are reversed, and
// then the outer two of each pixel exchanged.
template <typename T>
inline void ReversePixels3(const V (&v)[3], V (&to)[3])
{
    constexpr int pixelBytes = 3 * (int)sizeof(T);
    const V a = v[0], b = v[1], c = v[2];
    if constexpr (kHasByteShuffle) {
        to[0] = Or(Shuffle8(b, ReverseIndex<pixelBytes, 0, 1>()), Shuffle8(c, ReverseIndex<pixelBytes, 0, 2>()));
        to[1] = Or(Or(Shuffle8(a, ReverseIndex<pixelBytes, 1, 0>()), Shuffle8(b, ReverseIndex<pixelBytes, 1, 1>())),
                   Shuffle8(c, ReverseIndex<pixelBytes, 1, 2>()));
        to[2] = Or(Shuffle8(a, ReverseIndex<pixelBytes, 2, 0>()), Shuffle8(b, ReverseIndex<pixelBytes, 2, 1>()));
    } else {
        const auto reversed = [](V samples) { return sizeof(T) == 1 ? Reverse8(samples) : Reverse16(samples); };
        const V ra = reversed(a), rb = reversed(b), rc = reversed(c);
        to[0] = ExchangeOuter<T, 0>(Zero(), rc, rb);
        to[1] = ExchangeOuter<T, 16>(rc, rb, ra);
        to[2] = ExchangeOuter<T, 32>(rb, ra, Zero());
    }
}

// A block of whole pixels: one register, or three for pixels of three samples. Of four samples the
// last is alpha.
template <typename T, int channels>
struct Block {
    static constexpr int kPixelBytes = channels * (int)sizeof(T);
    static constexpr int kRegisters = channels == 3 ? 3 : 1;
    static constexpr int kPixels = 16 * kRegisters / kPixelBytes;

    V v[kRegisters];

    static Block Load(const T* p)
    {
        Block block;
        for (int i = 0; i < kRegisters; ++i)
            block.v[i] = LoadU((const Vek8u*)p + 16 * i);
        return block;
    }

    void Store(T* p) const
    {
        for (int i = 0; i < kRegisters; ++i)
            StoreU((Vek8u*)p + 16 * i, v[i]);
    }

    // These pixels in the place of `old`, whose alpha stays.
    Block Over(const Block& old) const
    {
        if constexpr (channels == 4)
            return {{Select(sizeof(T) == 1 ? Splat32(0xffffff) : Lanes32(-1, 0xffff, -1, 0xffff), v[0], old.v[0])}};
        else
            return *this;
    }

    Block Reversed() const
    {
        if constexpr (channels == 3) {
            Block reversed;
            ReversePixels3<T>(v, reversed.v);
            return reversed;
        } else if constexpr (kPixelBytes == 1) {
            return {{Reverse8(v[0])}};
        } else if constexpr (kPixelBytes == 2) {
            return {{Reverse16(v[0])}};
        } else if constexpr (kPixelBytes == 4) {
            return {{Permute32<3, 2, 1, 0>(v[0])}};
        } else {
            return {{Permute32<2, 3, 0, 1>(v[0])}};
        }
    }
};

template <typename T, int channels>
inline void ExchangePixels(T* a, T* b)
{
    for (int c = 0; c < (channels == 4 ? 3 : channels); ++c) {
        const T x = Get(a + c), y = Get(b + c);
        Put(a + c, y);
        Put(b + c, x);
    }
}

template <typename T, int channels>
inline void ExchangeBlocks(T* a, T* b)
{
    using B = Block<T, channels>;
    const B p = B::Load(a), q = B::Load(b);
    q.Over(p).Store(a);
    p.Over(q).Store(b);
}

// The block at `front` against the one that ends before `back`.
template <typename T, int channels>
inline void ExchangeBlocksReversed(T* front, T* back)
{
    using B = Block<T, channels>;
    T* const low = back - B::kPixels * channels;
    const B a = B::Load(front), b = B::Load(low);
    b.Reversed().Over(a).Store(front);
    a.Reversed().Over(b).Store(low);
}

// `count` pixels from `front` on against those from before `end` down; the two runs are apart.
template <typename T, int channels, bool isLarge>
void ExchangeReversed(T* front, T* end, int64_t count, int64_t frontAhead, int64_t endAhead)
{
    constexpr int step = Block<T, channels>::kPixels * channels;
    int64_t left = count;
    if (kBlocks) {
        for (; left * channels >= 2 * step; left -= 2 * step / channels, front += 2 * step, end -= 2 * step) {
            if constexpr (isLarge)
                for (int i = 0; i < Block<T, channels>::kRegisters; ++i) {
                    Prefetch((const Vek8u*)front + 64 * i + frontAhead);
                    Prefetch((const Vek8u*)end - 64 * i + endAhead);
                }
            ExchangeBlocksReversed<T, channels>(front, end);
            ExchangeBlocksReversed<T, channels>(front + step, end - step);
        }
        for (; left * channels >= step; left -= step / channels, front += step, end -= step)
            ExchangeBlocksReversed<T, channels>(front, end);
    }
    for (; left > 0; --left, front += channels, end -= channels)
        ExchangePixels<T, channels>(front, end - channels);
}

template <typename T, int channels, bool isLarge>
void ExchangeRows(T* a, T* b, int64_t width, int64_t bAhead)
{
    constexpr int pixels = Block<T, channels>::kPixels, step = pixels * channels;
    int64_t x = 0;
    if (kBlocks) {
        for (; width - x >= 4 * pixels; x += 4 * pixels) {
            T *const p = a + x * channels, *const q = b + x * channels;
            if constexpr (isLarge)
                for (int i = 0; i < Block<T, channels>::kRegisters; ++i)
                    Prefetch((const Vek8u*)q + 64 * i + bAhead);
            ExchangeBlocks<T, channels>(p, q);
            ExchangeBlocks<T, channels>(p + step, q + step);
            ExchangeBlocks<T, channels>(p + 2 * step, q + 2 * step);
            ExchangeBlocks<T, channels>(p + 3 * step, q + 3 * step);
        }
        for (; width - x >= pixels; x += pixels)
            ExchangeBlocks<T, channels>(a + x * channels, b + x * channels);
    }
    for (; x < width; ++x)
        ExchangePixels<T, channels>(a + x * channels, b + x * channels);
}

VekStatus CheckAxis(VekImageSize size, Vek32s axis)
{
    if (size.width < 1 || size.height < 1)              return StatusBadSize;
    if (axis < AxisHorizontal || axis > AxisBoth)       return StatusBadMirrorAxis;
    if (axis != AxisVertical && size.height < 2)        return StatusBadSize;
    if (axis != AxisHorizontal && size.width < 2)       return StatusBadSize;
    return StatusOk;
}

// The rows of a large image that come next are asked for: the processor's own look-ahead follows neither falling
// addresses nor a row into its next page.
constexpr bool IsLarge(int64_t rowBytes, Vek32s height) { return rowBytes * height > 1 << 20; }

template <typename T, int channels, bool isLarge>
void MirrorRows(T* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    const int64_t width = roiSize.width, samples = width * channels, step = srcDstStep;
    const Vek32s height = roiSize.height;
    if (axis == AxisVertical) {
        for (Vek32s y = 0; y < height; ++y) {
            T* const row = Row(pSrcDst, srcDstStep, y);
            ExchangeReversed<T, channels, isLarge>(row, row + samples, width / 2, step, step);
        }
        return;
    }
    for (Vek32s y = 0; y < height / 2; ++y) {
        T* const upper = Row(pSrcDst, srcDstStep, y);
        T* const lower = Row(pSrcDst, srcDstStep, height - 1 - y);
        if (axis == AxisBoth)
            ExchangeReversed<T, channels, isLarge>(upper, lower + samples, width, step, -step);
        else
            ExchangeRows<T, channels, isLarge>(upper, lower, width, -step);
    }
    if (axis == AxisBoth && height % 2 != 0) {
        T* const middle = Row(pSrcDst, srcDstStep, height / 2);
        ExchangeReversed<T, channels, false>(middle, middle + samples, width / 2, 0, 0);
    }
}

template <int channels, typename T>
VekStatus MirrorInPlace(T* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    if (!pSrcDst)                                       return StatusNullPointer;
    if (const VekStatus status = CheckAxis(roiSize, axis))  return status;

    const bool isLarge = IsLarge(roiSize.width * (int64_t)(channels * sizeof(T)), roiSize.height);
    (isLarge ? MirrorRows<T, channels, true> : MirrorRows<T, channels, false>)(pSrcDst, srcDstStep, roiSize, axis);
    return StatusOk;
}

void CopyReversed(const Vek8u* src, Vek8u* dst, int64_t width)
{
    using B = Block<Vek8u, 3>;
    int64_t x = 0;
    if (kBlocks)
        for (; width - x >= B::kPixels; x += B::kPixels)
            B::Load(src + (width - x - B::kPixels) * 3).Reversed().Store(dst + x * 3);
    for (; x < width; ++x)
        for (int c = 0; c < 3; ++c)
            dst[x * 3 + c] = src[(width - 1 - x) * 3 + c];
}

// A row of a large region that is written from its last row up; the next one is asked for.
void CopyRowUpwards(const Vek8u* src, Vek8u* dst, int64_t bytes, const Vek8u* next)
{
    int64_t x = 0;
    if (bytes >= 80) {
        StoreU(dst, LoadU(src));
        for (x = (int64_t)(-(uintptr_t)dst & 15); bytes - x >= 64; x += 64) {
            Prefetch(next + x);
            const V a = LoadU(src + x), b = LoadU(src + x + 16), c = LoadU(src + x + 32), d = LoadU(src + x + 48);
            StoreU(dst + x, a);
            StoreU(dst + x + 16, b);
            StoreU(dst + x + 32, c);
            StoreU(dst + x + 48, d);
        }
    }
    CopyRow(src + x, dst + x, bytes - x);
}

}  // namespace

VekStatus vekiMirror_8u_C3R(const Vek8u* pSrc, Vek32s srcStep, Vek8u* pDst, Vek32s dstStep, VekImageSize roiSize, Vek32s axis)
{
    if (!pSrc || !pDst)                                 return StatusNullPointer;
    if (const VekStatus status = CheckAxis(roiSize, axis))  return status;

    const int64_t bytes = (int64_t)roiSize.width * 3;
    const bool isLarge = IsLarge(bytes, roiSize.height);
    for (Vek32s y = 0; y < roiSize.height; ++y) {
        const Vek8u* const src = Row(pSrc, srcStep, y);
        Vek8u* const dst = Row(pDst, dstStep, axis == AxisVertical ? y : roiSize.height - 1 - y);
        if (axis == AxisHorizontal && kBlocks && isLarge)
            CopyRowUpwards(src, dst, bytes, Offset(dst, -(int64_t)dstStep));
        else if (axis == AxisHorizontal)
            CopyRow(src, dst, bytes);
        else
            CopyReversed(src, dst, roiSize.width);
    }
    return StatusOk;
}

VekStatus vekiMirror_8u_C1IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    return MirrorInPlace<1>(pSrcDst, srcDstStep, roiSize, axis);
}

VekStatus vekiMirror_8u_C3IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    return MirrorInPlace<3>(pSrcDst, srcDstStep, roiSize, axis);
}

VekStatus vekiMirror_8u_AC4IR(Vek8u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    return MirrorInPlace<4>(pSrcDst, srcDstStep, roiSize, axis);
}

VekStatus vekiMirror_16u_C1IR(Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    return MirrorInPlace<1>(pSrcDst, srcDstStep, roiSize, axis);
}

VekStatus vekiMirror_16u_C3IR(Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    return MirrorInPlace<3>(pSrcDst, srcDstStep, roiSize, axis);
}

VekStatus vekiMirror_16u_AC4IR(Vek16u* pSrcDst, Vek32s srcDstStep, VekImageSize roiSize, Vek32s axis)
{
    return MirrorInPlace<4>(pSrcDst, srcDstStep, roiSize, axis);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
