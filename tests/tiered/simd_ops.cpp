#include "tiered/simd_ops.h"

#include <math.h>

#include "frame/simd.h"
#include "frame/simd_float.h"
#include "frame/simd_interleave.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

using test::kOpBytes;
using test::SimdOp;

template <typename T>
T Read(const Vek8u* in, int lane) { return Get((const T*)in + lane); }

// Lane by lane over 16 bytes of a and of b.
#define LANES(op, T, Out, expression)                                                \
    {#op, [](const Vek8u* in, Vek8u* out) { StoreU(out, op(LoadU(in), LoadU(in + 16))); }, \
     [](const Vek8u* in, Vek8u* out) {                                               \
         for (int i = 0; i < (int)(16 / sizeof(T)); ++i) {                           \
             const T a = Read<T>(in, i), b = Read<T>(in + 16, i);                    \
             Put((Out*)out + i, (Out)(expression));                                  \
         }                                                                           \
     }}
#define UNARY(op, T, expression)                                                     \
    {#op, [](const Vek8u* in, Vek8u* out) { StoreU(out, op(LoadU(in))); },           \
     [](const Vek8u* in, Vek8u* out) {                                               \
         for (int i = 0; i < (int)(16 / sizeof(T)); ++i) {                           \
             const T a = Read<T>(in, i);                                             \
             Put((T*)out + i, (T)(expression));                                      \
         }                                                                           \
     }}
// Both sides written out.
#define FREE(name, vectorCode, scalarCode) \
    {name, [](const Vek8u* in, Vek8u* out) vectorCode, [](const Vek8u* in, Vek8u* out) scalarCode}

// Interleaved samples of `channels` each to planes of 16 bytes, and back.
template <typename T, int channels>
void ToPlanes(const Vek8u* in, Vek8u* out)
{
    constexpr int count = 16 / (int)sizeof(T);
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < channels; ++c)
            Put((T*)out + c * count + i, Read<T>(in, i * channels + c));
}

template <typename T, int channels>
void FromPlanes(const Vek8u* in, Vek8u* out)
{
    constexpr int count = 16 / (int)sizeof(T);
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < channels; ++c)
            Put((T*)out + i * channels + c, Read<T>(in, c * count + i));
}

template <void (*op)(V&, V&, V&)>
void InPlace3(const Vek8u* in, Vek8u* out)
{
    V a = LoadU(in), b = LoadU(in + 16), c = LoadU(in + 32);
    op(a, b, c);
    StoreU(out, a);
    StoreU(out + 16, b);
    StoreU(out + 32, c);
}

template <void (*op)(V&, V&, V&, V&)>
void InPlace4(const Vek8u* in, Vek8u* out)
{
    V a = LoadU(in), b = LoadU(in + 16), c = LoadU(in + 32), d = LoadU(in + 48);
    op(a, b, c, d);
    StoreU(out, a);
    StoreU(out + 16, b);
    StoreU(out + 32, c);
    StoreU(out + 48, d);
}

F ReadF(const Vek8u* in) { return LoadU((const Vek32f*)in); }
Vek32f SmallFloat(const Vek8u* in, int lane) { return (Vek32f)(Read<Vek16s>(in, lane)) / 64; }
F SmallFloats(const Vek8u* in) { return LanesF(SmallFloat(in, 0), SmallFloat(in, 1), SmallFloat(in, 2), SmallFloat(in, 3)); }

// An expression among a macro's arguments is taken for a declaration of pointers.
// clang-format off
const SimdOp kOps[] = {
    LANES(MulLow32, Vek32s, Vek32s, (Vek32u)a * (Vek32u)b),
    LANES(MulRound16s, Vek16s, Vek16s, (a * b + 0x4000) >> 15),
    LANES(Min32s, Vek32s, Vek32s, Min(a, b)),
    LANES(Max32s, Vek32s, Vek32s, Max(a, b)),
    UNARY(Abs16, Vek16s, a < 0 ? -a : a),
    FREE("MulAdd8us", { StoreU(out, MulAdd8us(LoadU(in), LoadU(in + 16))); }, {
        for (int i = 0; i < 8; ++i)
            Put((Vek16s*)out + i, Saturate16s(in[2 * i] * (Vek8s)in[16 + 2 * i] + in[2 * i + 1] * (Vek8s)in[17 + 2 * i]));
    }),
    FREE("SumAbsDiff8u", { Put((int64_t*)out, Sum64(SumAbsDiff8u(LoadU(in), LoadU(in + 16)))); }, {
        int64_t sum = 0;
        for (int i = 0; i < 16; ++i)
            sum += in[i] > in[16 + i] ? in[i] - in[16 + i] : in[16 + i] - in[i];
        Put((int64_t*)out, sum);
    }),
    FREE("Select", { StoreU(out, Select(Greater16s(LoadU(in), LoadU(in + 16)), LoadU(in + 32), LoadU(in + 48))); }, {
        for (int i = 0; i < 16; ++i)
            out[i] = Read<Vek16s>(in, i / 2) > Read<Vek16s>(in + 16, i / 2) ? in[32 + i] : in[48 + i];
    }),
    FREE("AllZero", { out[0] = AllZero(Xor(LoadU(in), LoadU(in + 16))); out[1] = AllZero(Xor(LoadU(in), LoadU(in))); }, {
        out[0] = memcmp(in, in + 16, 16) == 0;
        out[1] = 1;
    }),
    FREE("Concat", { StoreU(out, Concat<5>(LoadU(in), LoadU(in + 16))); }, { memcpy(out, in + 5, 16); }),
    FREE("Shuffle8", { StoreU(out, Shuffle8(LoadU(in), LoadU(in + 16))); }, {
        for (int i = 0; i < 16; ++i)
            out[i] = in[16 + i] & 0x80 ? (Vek8u)0 : in[in[16 + i] & 15];
    }),
    FREE("Pack32sTo16u", { StoreU(out, Pack32sTo16u(LoadU(in), LoadU(in + 16))); }, {
        for (int i = 0; i < 8; ++i)
            Put((Vek16u*)out + i, Saturate16u(Read<Vek32s>(in, i)));
    }),
    FREE("Widen16s", { StoreU(out, WidenLow16s(LoadU(in))); StoreU(out + 16, WidenHigh16s(LoadU(in))); }, {
        for (int i = 0; i < 8; ++i)
            Put((Vek32s*)out + i, (Vek32s)Read<Vek16s>(in, i));
    }),
    FREE("Widen8uTo32", { StoreU(out, WidenLow8uTo32(LoadU(in))); }, {
        for (int i = 0; i < 4; ++i)
            Put((Vek32s*)out + i, (Vek32s)in[i]);
    }),
    FREE("High64", { StoreU(out, LoadHigh64(LoadU(in), in + 17)); StoreHigh64(out + 17, LoadU(in)); }, {
        memcpy(out, in, 8);
        memcpy(out + 8, in + 17, 8);
        memcpy(out + 17, in + 8, 8);
    }),
    FREE("SumPairs8u", { StoreU(out, SumPairs8u(LoadU(in))); }, {
        for (int i = 0; i < 8; ++i)
            Put((Vek16u*)out + i, (Vek16u)(in[2 * i] + in[2 * i + 1]));
    }),
    FREE("Reverse", { StoreU(out, Reverse8(LoadU(in))); StoreU(out + 16, Reverse16(LoadU(in))); }, {
        for (int i = 0; i < 16; ++i) {
            out[i] = in[15 - i];
            out[16 + i] = in[(7 - i / 2) * 2 + i % 2];
        }
    }),
    FREE("MergeWords", { StoreU(out, MergeWords<0x92, 0x24>(LoadU(in), LoadU(in + 16), LoadU(in + 32))); }, {
        for (int i = 0; i < 8; ++i)
            Put((Vek16u*)out + i, Read<Vek16u>(in + (0x24 >> i & 1 ? 32 : 0x92 >> i & 1 ? 16 : 0), i));
    }),
    FREE("SelectBySign", { StoreU((Vek32f*)out, SelectBySign(ReadF(in), ReadF(in + 16), ReadF(in + 32))); }, {
        for (int i = 0; i < 4; ++i)
            memcpy(out + 4 * i, in + (in[4 * i + 3] & 0x80 ? 16 : 32) + 4 * i, 4);
    }),
    // The signed words of three planes stand low half by high half.
    FREE("ClampInterleave3x8", {
        V a;
        V b;
        V c;
        ClampInterleave3x8(LoadU(in), LoadU(in + 16), LoadU(in + 8), LoadU(in + 24), LoadU(in + 32), LoadU(in + 40), a, b, c);
        StoreU(out, a);
        StoreU(out + 16, b);
        StoreU(out + 32, c);
    }, {
        for (int i = 0; i < 16; ++i)
            for (int plane = 0; plane < 3; ++plane) {
                const Vek8u* const words = in + (plane == 2 ? 32 : 8 * plane) + (i < 8 ? 0 : plane == 2 ? 8 : 16);
                out[3 * i + plane] = Saturate8u(Read<Vek16s>(words, i % 8));
            }
    }),
    FREE("Pixels3x8", {
        V a;
        V b;
        V c;
        LoadPixels3x8<16>(in, a, b, c);
        StorePixels3x8<16>(out, a, b, c);
        LoadPixels3x8<8>(in + 3, a, b, c);
        StorePixels3x8<8>(out, a, b, c);
        LoadPixels3x8<4>(in + 1, a, b, c);
        StoreU(out + 32, a);
    }, {
        memcpy(out, in, 48);
        memcpy(out, in + 3, 24);
        memset(out + 32, 0, 16);
        memcpy(out + 32, in + 1, 12);
    }),
    FREE("SplitWords", { StoreU(out, SplitWords(LoadU(in))); }, {
        for (int i = 0; i < 8; ++i)
            Put((Vek16s*)out + i, Read<Vek16s>(in, i < 4 ? 2 * i : 2 * i - 7));
    }),
    {"Deinterleave3x8", InPlace3<Deinterleave3x8>, ToPlanes<Vek8u, 3>},
    {"Interleave3x8", InPlace3<Interleave3x8>, FromPlanes<Vek8u, 3>},
    {"Deinterleave4x8", InPlace4<Deinterleave4x8>, ToPlanes<Vek8u, 4>},
    {"Interleave4x8", InPlace4<Interleave4x8>, FromPlanes<Vek8u, 4>},
    {"Deinterleave3x16", InPlace3<Deinterleave3x16>, ToPlanes<Vek16s, 3>},
    {"Deinterleave4x16", InPlace4<Deinterleave4x16>, ToPlanes<Vek16s, 4>},
    FREE("SelectF", { StoreU((Vek32f*)out, Select(Less(SmallFloats(in), SmallFloats(in + 16)), ReadF(in + 32), ReadF(in + 48))); }, {
        for (int i = 0; i < 4; ++i)
            memcpy(out + 4 * i, (SmallFloat(in, i) < SmallFloat(in + 16, i) ? in + 32 : in + 48) + 4 * i, 4);
    }),
    FREE("Nearest32s", { StoreU(out, Nearest32s(SmallFloats(in))); }, {
        for (int i = 0; i < 4; ++i)
            Put((Vek32s*)out + i, (Vek32s)rintf(SmallFloat(in, i)));
    }),
    FREE("Transpose4", {
        F a = ReadF(in);
        F b = ReadF(in + 16);
        F c = ReadF(in + 32);
        F d = ReadF(in + 48);
        Transpose4(a, b, c, d);
        StoreU((Vek32f*)out, a);
        StoreU((Vek32f*)out + 4, b);
        StoreU((Vek32f*)out + 8, c);
        StoreU((Vek32f*)out + 12, d);
    }, {
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x)
                memcpy(out + 4 * (4 * y + x), in + 4 * (4 * x + y), 4);
    }),
};
// clang-format on

}  // namespace

test::SimdOps AllSimdOps() { return {kOps, sizeof kOps / sizeof kOps[0]}; }

}  // namespace uvek::VEK_TIER_NAMESPACE
