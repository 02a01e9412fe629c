// What the resize kernels share: how destination pixels map to source positions, the scratch of a call,
// and the rows that a destination row is blended from.
#ifndef UVEK_GEOMETRY_RESIZE_H
#define UVEK_GEOMETRY_RESIZE_H

#include "frame/memory.h"
#include "frame/simd_float.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Positions within this distance below a pixel count as that pixel.
constexpr Vek64f kPositionSlack = 1e-7;

enum class SampleKind { BytesC1, BytesC3, BytesC4, FloatC1 };
constexpr int kSampleKinds = 4;

enum class FactorKind { SourceSteps, ScaleFactors };

struct ResizeRequest {
    const void* src;
    VekImageSize srcSize;
    Vek32s srcStep;
    VekImageRect srcRoi;
    void* dst;
    Vek32s dstStep;
    VekImageSize dstSize;
    Vek64f xFactor, yFactor;
    SampleKind kind;
    Vek32s interpolation;
    FactorKind factors;
    Vek64f xShift, yShift;
};

// One direction of a call. Positions and indices count from the region's first pixel.
struct Axis {
    Vek32s image;   // length of the image
    Vek32s origin;  // where the region starts in it
    Vek32s region;  // length of the region, clipped to the image
    Vek64f factor;
    Vek64f shift;   // position of destination pixel 0
    Vek64f step;    // from one destination pixel to the next
    Vek32s length;  // destination pixels that are written
    Vek32s bound;   // the last pixel that nearest takes

    Vek32s last() const { return image - origin - 1; }  // the image's last pixel
};

// The length and step of an axis whose factor is destination length over source length.
VekStatus MapScaled(Axis& axis, Vek32s wanted, bool nearest);

// What a kernel gets; steps are bytes, src is the region's first pixel.
struct ResizeJob {
    const Vek8u* src;
    Vek32s srcStep;
    Vek8u* dst;
    Vek32s dstStep;
    Axis x, y;
};

using ResizeKernel = VekStatus (*)(const ResizeJob& job);
extern const ResizeKernel kNearestKernels[kSampleKinds];
extern const ResizeKernel kLinearKernels[kSampleKinds];
extern const ResizeKernel kCubicKernels[kSampleKinds];
extern const ResizeKernel kLanczosKernels[kSampleKinds];

// Area averaging of `x.length` by `y.length` destination pixels. limitX, limitY: the first column and
// row, from the region's origin, that must not be read; in their place the last one before counts.
// columns: the source columns that take part at all.
struct SuperSampleJob {
    const Vek8u* src;
    Vek32s srcStep;
    Vek8u* dst;
    Vek32s dstStep;
    VekImageSize size;
    Vek64f xFactor, yFactor;
    Vek32s columns;
    Vek32s limitX, limitY;
};

VekStatus SuperSample(const SuperSampleJob& job, SampleKind kind);

// Scratch memory, given back at the end of its scope.
template <typename T>
class Block {
public:
    explicit Block(int64_t count) : data_((T*)AllocateBlock(count * (int64_t)sizeof(T))) {}
    ~Block() { ReleaseBlock(data_); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    operator T*() const { return data_; }

private:
    T* data_;
};

// Samples behind the last that a store of a whole register may touch.
constexpr Vek32s kLineSlack = 16;

// The fraction 0 .. 1 towards the next pixel, in 14 bits.
constexpr int kWeightBits = 14;
constexpr Vek32s kWholeWeight = 1 << kWeightBits;

inline Vek32s TruncateToInt(Vek64f v)
{
    if (!(v > -2147483648.0))  return -2147483647 - 1;  // NaN too
    if (v >= 2147483647.0)     return 2147483647;
    return (Vek32s)v;
}

// Calls visit(k, position, index) for every destination pixel. The position advances by addition alone,
// so that its rounding adds up in the one way.
template <typename Visit>
inline void ForEachPosition(const Axis& axis, Vek64f start, Visit visit)
{
    Vek64f p = start;
    for (Vek32s k = 0; k < axis.length; ++k, p += axis.step)
        visit(k, p, TruncateToInt(p + kPositionSlack));
}

// Source pixel of each destination pixel, times `stride`.
void NearestTable(const Axis& axis, Vek32s stride, Vek32s* index);

// First of the two pixels and the weight of the second. False when a position before the image's start
// made a weight that is none: only the scalar loops reproduce what comes of it.
bool LinearTable(const Axis& axis, Vek32s stride, Vek32s* index, Vek16u* weight);

// Second of the four pixels and the parameter, 0 there and 1 at the third.
void CubicTable(const Axis& axis, Vek32s stride, Vek32s* index, Vek32f* parameter);

// The cubic through s0 .. s3 at -1, 0, 1, 2, in Newton's form: s0 + c1 d1 + c2 d2 + c3 d3.
struct CubicWeights {
    Vek32f c1, c2, c3;
};

inline CubicWeights CubicAt(Vek32f t)
{
    CubicWeights w;
    w.c1 = 1 + t;
    w.c2 = t * (1 + t) * 0.5f;
    w.c3 = (t - 1) * w.c2 / 3;
    return w;
}

inline Vek32f Cubic(Vek32f s0, Vek32f s1, Vek32f s2, Vek32f s3, CubicWeights w)
{
    const Vek32f d1 = s1 - s0, d2 = (s2 - s1) - d1, d3 = (s1 - s2 - s2 + s3) - d2;
    return s0 + w.c1 * d1 + w.c2 * d2 + w.c3 * d3;
}

inline F Newton(F s0, F d1, F d2, F d3, F c1, F c2, F c3)
{
    return Add(Add(Add(s0, Mul(c1, d1)), Mul(c2, d2)), Mul(c3, d3));
}

inline F Cubic(F s0, F s1, F s2, F s3, F c1, F c2, F c3)
{
    const F d1 = Sub(s1, s0), d2 = Sub(Sub(s2, s1), d1), d3 = Sub(Add(Sub(Sub(s1, s2), s2), s3), d2);
    return Newton(s0, d1, d2, d3, c1, c2, c3);
}

// The same of four pixels' bytes as 32-bit integers: their differences are exact either way.
inline F CubicOfBytes(V s0, V s1, V s2, V s3, F c1, F c2, F c3)
{
    const V d1 = Sub32(s1, s0), e = Sub32(s2, s1), d2 = Sub32(e, d1), d3 = Sub32(Sub32(Sub32(s3, s2), e), d2);
    return Newton(ToFloat(s0), ToFloat(d1), ToFloat(d2), ToFloat(d3), c1, c2, c3);
}

// To a byte: half and a little more is added, so that sums a rounding error below a half still go up.
inline Vek8u RoundToByte(Vek32f v)
{
    const Vek64f sum = v + 0.5000001;
    return sum < 0 ? (Vek8u)0 : sum >= 255 ? (Vek8u)255 : (Vek8u)(Vek32s)sum;
}

inline V RoundToBytes8(F low, F high)
{
    const F half = SplatF(0.5000001192092896f);
    const V words = Pack32sTo16s(Truncate32s(Add(low, half)), Truncate32s(Add(high, half)));
    return Pack16sTo8u(words, words);
}

inline void PutSample(Vek8u* p, Vek32f v) { *p = RoundToByte(v); }
inline void PutSample(Vek32f* p, Vek32f v) { Put(p, v); }
inline void PutSamples8(Vek8u* p, F low, F high) { Store64(p, RoundToBytes8(low, high)); }
inline void PutSamples8(Vek32f* p, F low, F high)
{
    StoreU(p, low);
    StoreU(p + 4, high);
}

// Four 32-bit lanes of the bytes at 4 part ..
template <int part>
inline V Bytes32(V v)
{
    return WidenLow8uTo32(BytesDown<4 * part>(v));
}

// Columns from the left whose reads of `reach` bytes from their index end by `limit`.
inline Vek32s SafeColumns(const Vek32s* index, Vek32s columns, Vek32s reach, int64_t limit)
{
    while (columns > 0 && (int64_t)index[columns - 1] + reach > limit)
        --columns;
    return columns;
}

// The blend of two rows of a linear resize, and the column passes of the others: `count` samples.
void BlendRows(const Vek16u* top, const Vek16u* bottom, Vek32s weight, bool blocks, Vek8u* dst, Vek32s count);
void CubicColumns(const Vek32f* const rows[4], Vek32f t, Vek8u* dst, Vek32s count);

// The resampled source rows that are in use, row r in slot r mod `taps`: rows that a destination row needs
// stand within `taps` of each other and only ever move on.
template <int taps, typename T>
class RowCache {
public:
    RowCache(T* lines, int64_t length)
    {
        for (int i = 0; i < taps; ++i) {
            lines_[i] = lines + i * length;
            filled_[i] = false;
        }
    }
    // The row, which resample(row, line) makes when it is not there.
    template <typename Resample>
    const T* Fetch(Vek32s row, Resample resample)
    {
        const int slot = SlotOf(row);
        if (!Holds(row)) {
            resample(row, lines_[slot]);
            held_[slot] = row;
            filled_[slot] = true;
        }
        return lines_[slot];
    }
    bool Holds(Vek32s row) const
    {
        const int slot = SlotOf(row);
        return filled_[slot] && held_[slot] == row;
    }

private:
    static int SlotOf(Vek32s row) { return (row % taps + taps) % taps; }

    T* lines_[taps];
    Vek32s held_[taps];
    bool filled_[taps];
};

// Where destination bytes come from when a run of them is found in 16 source bytes: the offset of those,
// and which of them each byte is (128: none).
struct Window {
    Vek8u shuffle[16];
};

// Windows of `parts` shuffles of the same 16 bytes at offset[b], for b below `blocks`; source(b, j) is the
// offset of byte j or -1 - anything outside of [first, limit) - for none. False when a run is too long or the
// row too short.
template <int parts, typename Source>
inline bool BuildWindows(Vek32s blocks, int64_t first, int64_t limit, Source source, Vek32s* offset, Window* windows)
{
    for (Vek32s b = 0; b < blocks; ++b) {
        int64_t low = limit, high = first;
        for (int j = 0; j < 16 * parts; ++j) {
            const int64_t from = source(b, j);
            if (from < first)
                continue;
            low = Min(low, from);
            high = Max(high, from);
        }
        const int64_t base = Min(low, limit - 16);
        if (base < first || high - base > 15)
            return false;
        offset[b] = (Vek32s)base;
        for (int j = 0; j < 16 * parts; ++j) {
            const int64_t from = source(b, j);
            windows[b * parts + j / 16].shuffle[j % 16] = from < first ? (Vek8u)128 : (Vek8u)(from - base);
        }
    }
    return true;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
