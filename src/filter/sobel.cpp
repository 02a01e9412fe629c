// Sobel gradients. Dx is positive where the left is brighter, Dy where the lower side is.
#include "filter/sweep.h"
#include "frame/simd_float.h"
#include "uvek/filter.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Words in order, of even and odd places.
void StoreWords(Vek16s* p, V even, V odd)
{
    StoreU(p, UnpackLow16(even, odd));
    StoreU(Offset(p, 16), UnpackHigh16(even, odd));
}

struct BytesDx {
    using Src = Vek8u;
    using Dst = Vek16s;
    using Row = Vek32s;
    using BlockRow = WordPair;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return p[-1] - p[1]; }

    static Vek16s Combine(Row a, Row b, Row c, const Vek8u*) { return (Vek16s)(a + 2 * b + c); }

    static BlockRow Block(const Vek8u* p)
    {
        const V left = LoadU(p - 1), right = LoadU(p + 1);
        return {Sub16(EvenBytes(left), EvenBytes(right)), Sub16(OddBytes(left), OddBytes(right))};
    }

    static V Smooth(V a, V b, V c) { return Add16(Add16(a, b), Add16(b, c)); }

    static void StoreBlock(const BlockRow& a, const BlockRow& b, const BlockRow& c, const Vek8u*, Vek16s* dst)
    {
        StoreWords(dst, Smooth(a.even, b.even, c.even), Smooth(a.odd, b.odd, c.odd));
    }
};

struct BytesDy {
    using Src = Vek8u;
    using Dst = Vek16s;
    using Row = Vek32s;
    using BlockRow = WordPair;
    static constexpr Vek32s kBlock = 16;

    static Row Scalar(const Vek8u* p) { return p[-1] + 2 * p[0] + p[1]; }

    static Vek16s Combine(Row above, Row, Row below, const Vek8u*) { return (Vek16s)(below - above); }

    static BlockRow Block(const Vek8u* p)
    {
        const V here = LoadU(p);
        const V a = EvenBytes(LoadU(p - 1)), b = EvenBytes(here), c = OddBytes(here), d = OddBytes(LoadU(p + 1));
        const V middle = Add16(b, c);
        return {Add16(Add16(a, b), middle), Add16(Add16(c, d), middle)};
    }

    static void StoreBlock(const BlockRow& above, const BlockRow&, const BlockRow& below, const Vek8u*, Vek16s* dst)
    {
        StoreWords(dst, Sub16(below.even, above.even), Sub16(below.odd, above.odd));
    }
};

struct FloatsDx {
    using Src = Vek32f;
    using Dst = Vek32f;
    using Row = Vek32f;
    using BlockRow = F;
    static constexpr Vek32s kBlock = 4;

    static Row Scalar(const Vek32f* p) { return Get(p - 1) - Get(p + 1); }
    static Vek32f Combine(Row a, Row b, Row c, const Vek32f*) { return a + 2 * b + c; }
    static BlockRow Block(const Vek32f* p) { return Sub(LoadU(p - 1), LoadU(p + 1)); }
    static void StoreBlock(F a, F b, F c, const Vek32f*, Vek32f* dst) { StoreU(dst, Add(Add(a, Add(b, b)), c)); }
};

struct FloatsDy {
    using Src = Vek32f;
    using Dst = Vek32f;
    using Row = Vek32f;
    using BlockRow = F;
    static constexpr Vek32s kBlock = 4;

    static Row Scalar(const Vek32f* p) { return Get(p - 1) + 2 * Get(p) + Get(p + 1); }
    static Vek32f Combine(Row above, Row, Row below, const Vek32f*) { return below - above; }
    static BlockRow Block(const Vek32f* p)
    {
        const F here = LoadU(p);
        return Add(Add(LoadU(p - 1), Add(here, here)), LoadU(p + 1));
    }
    static void StoreBlock(F above, F, F below, const Vek32f*, Vek32f* dst) { StoreU(dst, Sub(below, above)); }
};

template <typename Kernel>
VekStatus Sobel(const typename Kernel::Src* pSrc, Vek32s srcStep, typename Kernel::Dst* pDst, Vek32s dstStep, VekImageSize size)
{
    if (!pSrc || !pDst)                      return StatusNullPointer;
    if (size.width < 1 || size.height < 1)   return StatusBadSize;
    if (srcStep < 1 || dstStep < 1)          return StatusBadStep;

    // Float images step by whole samples.
    constexpr bool floats = sizeof(typename Kernel::Src) == sizeof(Vek32f);
    return Sweep<Kernel, 3>(pSrc, floats ? srcStep & ~3 : srcStep, pDst, floats ? dstStep & ~3 : dstStep, size);
}

}  // namespace

VekStatus vekiSobel3x3_Dx_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    return Sobel<BytesDx>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

VekStatus vekiSobel3x3_Dy_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    return Sobel<BytesDy>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

VekStatus vekiSobel3x3_Dx_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    return Sobel<FloatsDx>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

VekStatus vekiSobel3x3_Dy_32f_C1R(const Vek32f* pSrc, Vek32s srcStep, Vek32f* pDst, Vek32s dstStep, VekImageSize dstRoiSize)
{
    return Sobel<FloatsDy>(pSrc, srcStep, pDst, dstStep, dstRoiSize);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
