// The full convolution of two images: directly where one is small, else through one transform of the
// whole or through overlapping blocks of the larger one.
#include "fourier/transform2d.h"
#include "frame/memory.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr int64_t kDirectResult = kTier == 0 ? 1705 : 2961;  // samples of the result below which sums pay
constexpr int64_t kDirectKernel = 121;                       // samples of the narrower image, likewise
constexpr int64_t kWholeRatio = 7;                           // above it the larger image goes in blocks
constexpr Vek32s kDoublingOrder = 8;                         // blocks below this order are doubled once

struct Plane {
    const Vek32f* data;
    Vek32s step;
    int64_t width, height;
};

// dst[x + c] += a[x] b[c] for the `taps` columns c. A sample of dst takes its products from the last
// column to the first, which is the order in which x meets it.
template <int taps>
void AccumulateRow(const Vek32f* a, int64_t width, const Vek32f* b, Vek32f* dst)
{
    Vek32f tap[taps];
    memcpy(tap, b, sizeof tap);
    const auto one = [&](int64_t i) {
        Vek32f sum = Get(dst + i);
        for (int c = taps - 1; c >= 0; --c)
            if (i - c >= 0 && i - c < width)
                sum += Get(a + i - c) * tap[c];
        Put(dst + i, sum);
    };
    int64_t i = 0;
    if (kBlocks) {
        for (; i < Min((int64_t)taps - 1, width + taps - 1); ++i)
            one(i);
        for (; width - i >= 4; i += 4) {
            F sum = LoadU((const Vek32f*)dst + i);
            for (int c = taps - 1; c >= 0; --c)
                sum = Add(sum, Mul(LoadU(a + i - c), SplatF(tap[c])));
            StoreU(dst + i, sum);
        }
    }
    for (; i < width + taps - 1; ++i)
        one(i);
}

void ConvolveDirectly(const Plane& a, const Plane& b, Vek32f* dst, Vek32s dstStep)
{
    for (int64_t y = 0; y < a.height + b.height - 1; ++y)
        memset(Offset(dst, dstStep * y), 0, (size_t)(a.width + b.width - 1) * sizeof *dst);
    for (int64_t i = 0; i < b.height; ++i) {
        const Vek32f* const taps = Offset(b.data, b.step * i);
        for (int64_t g = 0; g < b.width;) {
            const bool isGroup = b.width - g >= 4;
            for (int64_t y = 0; y < a.height; ++y) {
                const Vek32f* const row = Offset(a.data, a.step * y);
                Vek32f* const to = Offset(dst, dstStep * (i + y)) + g;
                if (isGroup)
                    AccumulateRow<4>(row, a.width, taps + g, to);
                else
                    AccumulateRow<1>(row, a.width, taps + g, to);
            }
            g += isGroup ? 4 : 1;
        }
    }
}

// The size of the transforms in one dimension, and how many results a block of it yields.
struct Extent {
    Vek32s order;
    int64_t length, block;
};

Vek32s OrderFor(int64_t n)
{
    Vek32s order = 1;
    while ((int64_t)1 << order < n)
        ++order;
    return order;
}

Extent WholeExtent(int64_t full)
{
    const Vek32s order = OrderFor(full);
    return {order, (int64_t)1 << order, full};
}

Extent BlockExtent(int64_t kernel, int64_t full)
{
    Vek32s order = OrderFor(2 * kernel);
    if (order < kDoublingOrder && (int64_t)1 << order < full)
        ++order;
    const int64_t length = (int64_t)1 << order;
    return {order, length, length - kernel + 1};
}

// Copies a region to the top left of a transform's image and clears the rest of it.
void PlaceRegion(const Vek32f* src, Vek32s step, int64_t width, int64_t height, Vek32f* image, const Extent& x, const Extent& y)
{
    for (int64_t row = 0; row < y.length; ++row) {
        Vek32f* const to = image + row * x.length;
        const int64_t copied = row < height ? width : 0;
        if (copied)
            memcpy(to, Offset(src, step * row), (size_t)copied * sizeof *to);
        memset(to + copied, 0, (size_t)(x.length - copied) * sizeof *to);
    }
}

VekStatus ConvolveBlocks(const Plane& a, const Plane& b, Vek32f* dst, Vek32s dstStep, const Fft2Spec* spec,
                         Vek32f* kernel, Vek8u* work, const Extent& x, const Extent& y)
{
    const int64_t fullWidth = a.width + b.width - 1, fullHeight = a.height + b.height - 1;
    const Vek32s step = (Vek32s)(x.length * (int64_t)sizeof *dst);
    const VekImageSize size = {(Vek32s)x.length, (Vek32s)y.length};
    Vek32f* const block = kernel + x.length * y.length;

    PlaceRegion(b.data, b.step, b.width, b.height, kernel, x, y);
    VekStatus status = Fft2ForwardPack(kernel, step, kernel, step, spec, work);
    for (int64_t top = 0; status == StatusOk && top < fullHeight; top += y.block)
        for (int64_t left = 0; left < fullWidth; left += x.block) {
            // What wraps around falls on the rows and columns that the block before has given.
            const int64_t overlapY = top ? b.height - 1 : 0, overlapX = left ? b.width - 1 : 0;
            const int64_t width = Min(x.block + overlapX, a.width - left + overlapX);
            const int64_t height = Min(y.block + overlapY, a.height - top + overlapY);
            PlaceRegion(Offset(a.data, a.step * (top - overlapY)) + (left - overlapX), a.step, width, height, block, x, y);
            status = Fft2ForwardPack(block, step, block, step, spec, work);
            if (status == StatusOk)
                status = Pack2Mul(kernel, step, block, step, size);
            if (status == StatusOk)
                status = Fft2InversePack(block, step, block, step, spec, work);
            if (status != StatusOk)
                return status;
            const int64_t outWidth = Min(x.block, fullWidth - left), outHeight = Min(y.block, fullHeight - top);
            for (int64_t row = 0; row < outHeight; ++row)
                memcpy(Offset(dst, dstStep * (top + row)) + left, block + (overlapY + row) * x.length + overlapX,
                       (size_t)outWidth * sizeof *dst);
        }
    return status;
}

VekStatus ConvolveByTransform(const Plane& a, const Plane& b, Vek32f* dst, Vek32s dstStep)
{
    const int64_t fullWidth = a.width + b.width - 1, fullHeight = a.height + b.height - 1;
    const bool isWhole = a.width * a.height <= kWholeRatio * b.width * b.height;
    const Extent x = isWhole ? WholeExtent(fullWidth) : BlockExtent(b.width, fullWidth);
    const Extent y = isWhole ? WholeExtent(fullHeight) : BlockExtent(b.height, fullHeight);

    Fft2Spec* spec = nullptr;
    VekStatus status = Fft2SpecBuild(&spec, x.order, y.order, FftScaleInverse, 0);
    if (status != StatusOk)
        return status;
    Vek32s workBytes = 0;
    Fft2WorkBytes(spec, &workBytes);
    const int64_t imageBytes = x.length * y.length * (int64_t)sizeof *dst;
    Vek32f* const images = (Vek32f*)AllocateBlock(2 * imageBytes + ((workBytes + 15) & ~15));
    status = !images ? (VekStatus)StatusNoMemory
                     : ConvolveBlocks(a, b, dst, dstStep, spec, images, (Vek8u*)images + 2 * imageBytes, x, y);
    ReleaseBlock(images);
    Fft2SpecFree(spec);
    return status;
}

}  // namespace

VekStatus vekiConvFull_32f_C1R(const Vek32f* pSrc1, Vek32s src1Step, VekImageSize src1Size, const Vek32f* pSrc2, Vek32s src2Step,
                               VekImageSize src2Size, Vek32f* pDst, Vek32s dstStep)
{
    if (!pSrc1 || !pSrc2 || !pDst)                                                                           return StatusNullPointer;
    if (src1Size.width < 1 || src1Size.height < 1 || src2Size.width < 1 || src2Size.height < 1)              return StatusBadSize;
    if (src1Step < 1 || src2Step < 1 || dstStep < 1)                                                         return StatusBadStep;

    Plane a = {pSrc1, src1Step, src1Size.width, src1Size.height}, b = {pSrc2, src2Step, src2Size.width, src2Size.height};
    if (a.width < b.width) {
        const Plane wider = b;
        b = a;
        a = wider;
    }
    const int64_t results = (a.width + b.width - 1) * (a.height + b.height - 1);
    if (results < kDirectResult || b.width * b.height < kDirectKernel) {
        ConvolveDirectly(a, b, pDst, dstStep);
        return StatusOk;
    }
    return ConvolveByTransform(a, b, pDst, dstStep);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
