// Pixels of three or four samples to planes of 16 (or 8) samples and back.
#ifndef UVEK_FRAME_SIMD_INTERLEAVE_H
#define UVEK_FRAME_SIMD_INTERLEAVE_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// A shuffle index that fetches byte `byte` of the run of registers if it stands in register `part`.
constexpr int ByteOfPart(int byte, int part)
{
    return byte / 16 == part ? byte % 16 : 0x80;
}

// 16 pixels of three bytes stand in three registers, R0 G0 B0 .. R5, G5 B5 R6 .. G10, B10 R11 .. B15.
// Channel c of a pixel i is byte 3 i + c of the run: one shuffle of each register and two ORs.
template <int part, int c>
inline V Gather3Index()
{
    return Lanes8(ByteOfPart(c, part), ByteOfPart(3 + c, part), ByteOfPart(6 + c, part), ByteOfPart(9 + c, part),
                  ByteOfPart(12 + c, part), ByteOfPart(15 + c, part), ByteOfPart(18 + c, part), ByteOfPart(21 + c, part),
                  ByteOfPart(24 + c, part), ByteOfPart(27 + c, part), ByteOfPart(30 + c, part), ByteOfPart(33 + c, part),
                  ByteOfPart(36 + c, part), ByteOfPart(39 + c, part), ByteOfPart(42 + c, part), ByteOfPart(45 + c, part));
}

// One step of a perfect shuffle of 48 bytes: byte p moves to 2 p mod 47. Four steps make 16 p mod 47,
// which takes byte 3 i + c to 16 c + i.
inline void PerfectShuffle48(V& a, V& b, V& c)
{
    const V x = UnpackLow8(a, BytesDown<8>(b)), y = UnpackLow8(BytesDown<8>(a), c), z = UnpackLow8(b, BytesDown<8>(c));
    a = x;
    b = y;
    c = z;
}

// The step back: even bytes to the first 24, odd bytes to the last 24.
inline void PerfectUnshuffle48(V& a, V& b, V& c)
{
    const V low = Splat16(0xff);
    const V evenAB = Pack16sTo8u(And(a, low), And(b, low));
    const V oddAB = Pack16sTo8u(ShiftRight16u<8>(a), ShiftRight16u<8>(b));
    const V bothC = Pack16sTo8u(And(c, low), ShiftRight16u<8>(c));
    a = evenAB;
    b = UnpackLow64(bothC, oddAB);
    c = UnpackHigh64(oddAB, bothC);
}

// a, b, c: 16 interleaved pixels on entry, their three planes on return.
inline void Deinterleave3x8(V& a, V& b, V& c)
{
    if constexpr (kHasByteShuffle) {
        const V x = Or(Or(Shuffle8(a, Gather3Index<0, 0>()), Shuffle8(b, Gather3Index<1, 0>())), Shuffle8(c, Gather3Index<2, 0>()));
        const V y = Or(Or(Shuffle8(a, Gather3Index<0, 1>()), Shuffle8(b, Gather3Index<1, 1>())), Shuffle8(c, Gather3Index<2, 1>()));
        const V z = Or(Or(Shuffle8(a, Gather3Index<0, 2>()), Shuffle8(b, Gather3Index<1, 2>())), Shuffle8(c, Gather3Index<2, 2>()));
        a = x;
        b = y;
        c = z;
    } else {
        PerfectShuffle48(a, b, c);
        PerfectShuffle48(a, b, c);
        PerfectShuffle48(a, b, c);
        PerfectShuffle48(a, b, c);
    }
}

// Byte j of output register `part` comes from plane (16 part + j) % 3, sample (16 part + j) / 3.
constexpr int SampleOfPlane(int byte, int plane)
{
    return byte % 3 == plane ? byte / 3 : 0x80;
}

template <int part, int plane>
inline V Scatter3Index()
{
    constexpr int k = 16 * part;
    return Lanes8(SampleOfPlane(k, plane), SampleOfPlane(k + 1, plane), SampleOfPlane(k + 2, plane), SampleOfPlane(k + 3, plane),
                  SampleOfPlane(k + 4, plane), SampleOfPlane(k + 5, plane), SampleOfPlane(k + 6, plane), SampleOfPlane(k + 7, plane),
                  SampleOfPlane(k + 8, plane), SampleOfPlane(k + 9, plane), SampleOfPlane(k + 10, plane), SampleOfPlane(k + 11, plane),
                  SampleOfPlane(k + 12, plane), SampleOfPlane(k + 13, plane), SampleOfPlane(k + 14, plane), SampleOfPlane(k + 15, plane));
}

// a, b, c: planes of 16 bytes on entry, 16 interleaved pixels on return.
inline void Interleave3x8(V& a, V& b, V& c)
{
    if constexpr (kHasByteShuffle) {
        const V x = Or(Or(Shuffle8(a, Scatter3Index<0, 0>()), Shuffle8(b, Scatter3Index<0, 1>())), Shuffle8(c, Scatter3Index<0, 2>()));
        const V y = Or(Or(Shuffle8(a, Scatter3Index<1, 0>()), Shuffle8(b, Scatter3Index<1, 1>())), Shuffle8(c, Scatter3Index<1, 2>()));
        const V z = Or(Or(Shuffle8(a, Scatter3Index<2, 0>()), Shuffle8(b, Scatter3Index<2, 1>())), Shuffle8(c, Scatter3Index<2, 2>()));
        a = x;
        b = y;
        c = z;
    } else {
        PerfectUnshuffle48(a, b, c);
        PerfectUnshuffle48(a, b, c);
        PerfectUnshuffle48(a, b, c);
        PerfectUnshuffle48(a, b, c);
    }
}

// Where byte `byte` of 16 interleaved pixels comes from: part 0 holds the first and second samples of pixels 0 to
// 7, part 1 those of pixels 8 to 15, part 2 all third samples.
constexpr int ClampedIndex(int byte, int part)
{
    const int pixel = byte / 3, sample = byte % 3;
    const int from = sample == 2 ? 2 : pixel / 8;
    return from != part ? 0x80 : sample == 2 ? pixel : 8 * sample + pixel % 8;
}

template <int out, int part>
inline V PlaceClamped(V v)
{
    constexpr int k = 16 * out;
    return Shuffle8(v, Lanes8(ClampedIndex(k, part), ClampedIndex(k + 1, part), ClampedIndex(k + 2, part), ClampedIndex(k + 3, part),
                              ClampedIndex(k + 4, part), ClampedIndex(k + 5, part), ClampedIndex(k + 6, part), ClampedIndex(k + 7, part),
                              ClampedIndex(k + 8, part), ClampedIndex(k + 9, part), ClampedIndex(k + 10, part), ClampedIndex(k + 11, part),
                              ClampedIndex(k + 12, part), ClampedIndex(k + 13, part), ClampedIndex(k + 14, part), ClampedIndex(k + 15, part)));
}

// Clamps three planes of 16 signed words to bytes and interleaves them into a, b, c: packing two planes into one
// register saves shuffles against Interleave3x8.
inline void ClampInterleave3x8(V aLow, V aHigh, V bLow, V bHigh, V cLow, V cHigh, V& a, V& b, V& c)
{
    if constexpr (kHasByteShuffle) {
        const V low = Pack16sTo8u(aLow, bLow), high = Pack16sTo8u(aHigh, bHigh), third = Pack16sTo8u(cLow, cHigh);
        a = Or(PlaceClamped<0, 0>(low), PlaceClamped<0, 2>(third));
        b = Or(Or(PlaceClamped<1, 0>(low), PlaceClamped<1, 1>(high)), PlaceClamped<1, 2>(third));
        c = Or(PlaceClamped<2, 1>(high), PlaceClamped<2, 2>(third));
    } else {
        a = Pack16sTo8u(aLow, aHigh);
        b = Pack16sTo8u(bLow, bHigh);
        c = Pack16sTo8u(cLow, cHigh);
        Interleave3x8(a, b, c);
    }
}

// 16, 8 or 4 interleaved pixels of three bytes, and zero in what is left of a, b and c.
template <int pixels>
inline void LoadPixels3x8(const Vek8u* p, V& a, V& b, V& c)
{
    a = pixels == 4 ? UnpackLow64(Load64(p), Load32(p + 8)) : LoadU(p);
    b = pixels == 16 ? LoadU(p + 16) : pixels == 8 ? Load64(p + 16) : Zero();
    c = pixels == 16 ? LoadU(p + 32) : Zero();
}

template <int pixels>
inline void StorePixels3x8(Vek8u* p, V a, V b, V c)
{
    StoreU(p, a);
    if constexpr (pixels == 16) {
        StoreU(p + 16, b);
        StoreU(p + 32, c);
    } else {
        Store64(p + 16, b);
    }
}

// 16, 8 or 4 bytes.
template <int count>
inline void StoreBytes(Vek8u* p, V v)
{
    if constexpr (count == 16)
        StoreU(p, v);
    else if constexpr (count == 8)
        Store64(p, v);
    else
        Store32(p, v);
}

// One step of a perfect shuffle of 64 bytes: of its bytes, of its words.
inline void PerfectShuffle64(V& a, V& b, V& c, V& d)
{
    const V x = UnpackLow8(a, c), y = UnpackHigh8(a, c), z = UnpackLow8(b, d), w = UnpackHigh8(b, d);
    a = x;
    b = y;
    c = z;
    d = w;
}

inline void PerfectShuffleWords64(V& a, V& b, V& c, V& d)
{
    const V x = UnpackLow16(a, c), y = UnpackHigh16(a, c), z = UnpackLow16(b, d), w = UnpackHigh16(b, d);
    a = x;
    b = y;
    c = z;
    d = w;
}

// 16 pixels of four bytes: the four samples of a channel in a register move together first, where
// a shuffle can do that.
inline void Deinterleave4x8(V& a, V& b, V& c, V& d)
{
    if constexpr (kHasByteShuffle) {
        const V byChannel = Lanes8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        const V p = Shuffle8(a, byChannel), q = Shuffle8(b, byChannel), r = Shuffle8(c, byChannel), s = Shuffle8(d, byChannel);
        const V pqLow = UnpackLow32(p, q), pqHigh = UnpackHigh32(p, q), rsLow = UnpackLow32(r, s), rsHigh = UnpackHigh32(r, s);
        a = UnpackLow64(pqLow, rsLow);
        b = UnpackHigh64(pqLow, rsLow);
        c = UnpackLow64(pqHigh, rsHigh);
        d = UnpackHigh64(pqHigh, rsHigh);
    } else {
        PerfectShuffle64(a, b, c, d);
        PerfectShuffle64(a, b, c, d);
        PerfectShuffle64(a, b, c, d);
        PerfectShuffle64(a, b, c, d);
    }
}

inline void Interleave4x8(V& a, V& b, V& c, V& d)
{
    const V abLow = UnpackLow8(a, b), abHigh = UnpackHigh8(a, b), cdLow = UnpackLow8(c, d), cdHigh = UnpackHigh8(c, d);
    a = UnpackLow16(abLow, cdLow);
    b = UnpackHigh16(abLow, cdLow);
    c = UnpackLow16(abHigh, cdHigh);
    d = UnpackHigh16(abHigh, cdHigh);
}

// One step of a perfect shuffle of 24 words, w to 2 w mod 23.
inline void PerfectShuffleWords48(V& a, V& b, V& c)
{
    const V x = UnpackLow16(a, BytesDown<8>(b)), y = UnpackLow16(BytesDown<8>(a), c), z = UnpackLow16(b, BytesDown<8>(c));
    a = x;
    b = y;
    c = z;
}

// Eight pixels of three 16-bit samples. A channel's words stand in different lanes of a, b and c, so
// that the three merge in place and one shuffle puts them in order. Without it, three steps of a
// perfect shuffle make 8 w mod 23, which takes word 3 i + c to 8 c + i.
inline void Deinterleave3x16(V& a, V& b, V& c)
{
    if constexpr (kHasByteShuffle) {
        constexpr int lanes036 = 0x49, lanes147 = 0x92, lanes25 = 0x24;
        const V x = MergeWords<lanes147, lanes25>(a, b, c);
        const V y = MergeWords<lanes25, lanes036>(a, b, c);
        const V z = MergeWords<lanes036, lanes147>(a, b, c);
        a = Shuffle8(x, Lanes8(0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15, 4, 5, 10, 11));
        b = Shuffle8(y, Lanes8(2, 3, 8, 9, 14, 15, 4, 5, 10, 11, 0, 1, 6, 7, 12, 13));
        c = Shuffle8(z, Lanes8(4, 5, 10, 11, 0, 1, 6, 7, 12, 13, 2, 3, 8, 9, 14, 15));
    } else {
        PerfectShuffleWords48(a, b, c);
        PerfectShuffleWords48(a, b, c);
        PerfectShuffleWords48(a, b, c);
    }
}

// The low and the high words of the four pairs, as the low and the high half.
inline V SplitWords(V v)
{
    if constexpr (kHasByteShuffle)
        return Shuffle8(v, Lanes8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15));
    else
        return Permute32<0, 2, 1, 3>(PermuteHigh16<0, 2, 1, 3>(PermuteLow16<0, 2, 1, 3>(v)));
}

inline void Deinterleave4x16(V& a, V& b, V& c, V& d)
{
    PerfectShuffleWords64(a, b, c, d);
    PerfectShuffleWords64(a, b, c, d);
    PerfectShuffleWords64(a, b, c, d);
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
