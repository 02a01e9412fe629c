// The integer vector layer: an operation has one name and the tier's best instructions behind it.
// Lanes are counted from the low end of the register, which is the low address in memory.
#ifndef UVEK_FRAME_SIMD_H
#define UVEK_FRAME_SIMD_H

#include <emmintrin.h>
#if VEK_TIER >= 1
#include <pmmintrin.h>
#endif
#if VEK_TIER >= 2
#include <tmmintrin.h>
#endif
#if VEK_TIER >= 3
#include <smmintrin.h>
#endif

#include "frame/tier.h"

namespace uvek::VEK_TIER_NAMESPACE {

using V = __m128i;

// One instruction for a free byte shuffle, for multiply-add of bytes, for a rounded high product.
constexpr bool kHasByteShuffle = VEK_TIER >= 2;

// ---- Memory ----

inline V LoadU(const void* p) { return _mm_loadu_si128((const V*)p); }
inline V LoadA(const void* p) { return _mm_load_si128((const V*)p); }
inline void StoreU(void* p, V v) { _mm_storeu_si128((V*)p, v); }
inline void StoreA(void* p, V v) { _mm_store_si128((V*)p, v); }

// A store past the cache, to an aligned address; Fence() ends a run of them.
inline void Stream(void* p, V v) { _mm_stream_si128((V*)p, v); }
inline void Fence() { _mm_sfence(); }
template <bool stream>
inline void Store(void* p, V v)
{
    if (stream)
        Stream(p, v);
    else
        StoreU(p, v);
}

// A hint that the line at p will be read; p may be any address.
inline void Prefetch(const void* p) { _mm_prefetch((const char*)p, _MM_HINT_T0); }

// The low 8 or 4 bytes; the rest of the register is zero after a load.
inline V Load64(const void* p) { return _mm_loadl_epi64((const V*)p); }
inline void Store64(void* p, V v) { _mm_storel_epi64((V*)p, v); }
inline V Load32(const void* p) { return _mm_cvtsi32_si128(Get((const Vek32s*)p)); }
inline void Store32(void* p, V v) { Put((Vek32s*)p, (Vek32s)_mm_cvtsi128_si32(v)); }

// The high 8 bytes.
inline V LoadHigh64(V low, const void* p) { return _mm_castpd_si128(_mm_loadh_pd(_mm_castsi128_pd(low), (const Vek64f*)p)); }
inline void StoreHigh64(void* p, V v) { _mm_storeh_pd((Vek64f*)p, _mm_castsi128_pd(v)); }

// v, computed before it is used further. The compiler regroups sums as it likes, also into longer chains of
// operations that wait for each other.
inline V Held(V v)
{
    __asm__("" : "+x"(v));
    return v;
}

// ---- Constants ----

inline V Zero() { return _mm_setzero_si128(); }
inline V Splat8(int v) { return _mm_set1_epi8((char)v); }
inline V Splat16(int v) { return _mm_set1_epi16((short)v); }
inline V Splat32(Vek32s v) { return _mm_set1_epi32(v); }
inline V Splat64(int64_t v) { return _mm_set1_epi64x(v); }
inline V Lanes32(Vek32s a, Vek32s b, Vek32s c, Vek32s d) { return _mm_setr_epi32(a, b, c, d); }
inline V Lanes16(int a, int b, int c, int d, int e, int f, int g, int h)
{
    return _mm_setr_epi16((short)a, (short)b, (short)c, (short)d, (short)e, (short)f, (short)g, (short)h);
}
inline V SplatPair16(int a, int b) { return Lanes16(a, b, a, b, a, b, a, b); }
inline V Lanes8(int a, int b, int c, int d, int e, int f, int g, int h,
                int i, int j, int k, int l, int m, int n, int o, int p)
{
    return _mm_setr_epi8((char)a, (char)b, (char)c, (char)d, (char)e, (char)f, (char)g, (char)h,
                         (char)i, (char)j, (char)k, (char)l, (char)m, (char)n, (char)o, (char)p);
}

// ---- Logic ----

inline V And(V a, V b) { return _mm_and_si128(a, b); }
inline V Or(V a, V b) { return _mm_or_si128(a, b); }
inline V Xor(V a, V b) { return _mm_xor_si128(a, b); }
inline V AndNot(V mask, V v) { return _mm_andnot_si128(mask, v); }  // v where mask is clear

// a where the mask's byte is all ones, b where it is zero.
inline V Select(V mask, V a, V b)
{
#if VEK_TIER >= 3
    return _mm_blendv_epi8(b, a, mask);
#else
    return Or(And(mask, a), AndNot(mask, b));
#endif
}

// a, with the 16-bit lanes of mask fromB taken from b and those of fromC from c.
template <int fromB, int fromC>
inline V MergeWords(V a, V b, V c)
{
#if VEK_TIER >= 3
    return _mm_blend_epi16(_mm_blend_epi16(a, b, fromB), c, fromC);
#else
    constexpr auto lane = [](int mask, int i) { return mask >> i & 1 ? -1 : 0; };
    const V b1 = Lanes16(lane(fromB, 0), lane(fromB, 1), lane(fromB, 2), lane(fromB, 3),
                         lane(fromB, 4), lane(fromB, 5), lane(fromB, 6), lane(fromB, 7));
    const V c1 = Lanes16(lane(fromC, 0), lane(fromC, 1), lane(fromC, 2), lane(fromC, 3),
                         lane(fromC, 4), lane(fromC, 5), lane(fromC, 6), lane(fromC, 7));
    return Or(Or(AndNot(Or(b1, c1), a), And(b1, b)), And(c1, c));
#endif
}

inline int MoveMask8(V v) { return _mm_movemask_epi8(v); }

inline bool AllZero(V v)
{
#if VEK_TIER >= 3
    return _mm_testz_si128(v, v) != 0;
#else
    return MoveMask8(_mm_cmpeq_epi8(v, Zero())) == 0xffff;
#endif
}

// ---- Compare: all ones where true ----

inline V Equal8(V a, V b) { return _mm_cmpeq_epi8(a, b); }
inline V Equal16(V a, V b) { return _mm_cmpeq_epi16(a, b); }
inline V Equal32(V a, V b) { return _mm_cmpeq_epi32(a, b); }
inline V Greater16s(V a, V b) { return _mm_cmpgt_epi16(a, b); }
inline V Greater32s(V a, V b) { return _mm_cmpgt_epi32(a, b); }

// ---- Add, subtract ----

inline V Add16(V a, V b) { return _mm_add_epi16(a, b); }
inline V Add32(V a, V b) { return _mm_add_epi32(a, b); }
inline V Add64(V a, V b) { return _mm_add_epi64(a, b); }
inline V Sub8(V a, V b) { return _mm_sub_epi8(a, b); }
inline V Sub16(V a, V b) { return _mm_sub_epi16(a, b); }
inline V Sub32(V a, V b) { return _mm_sub_epi32(a, b); }
inline V Sub64(V a, V b) { return _mm_sub_epi64(a, b); }
inline V AddSat8u(V a, V b) { return _mm_adds_epu8(a, b); }
inline V AddSat16u(V a, V b) { return _mm_adds_epu16(a, b); }
inline V AddSat16s(V a, V b) { return _mm_adds_epi16(a, b); }
inline V SubSat16u(V a, V b) { return _mm_subs_epu16(a, b); }
inline V SubSat16s(V a, V b) { return _mm_subs_epi16(a, b); }
inline V Average8u(V a, V b) { return _mm_avg_epu8(a, b); }    // (a + b + 1) >> 1
inline V Average16u(V a, V b) { return _mm_avg_epu16(a, b); }
inline V SumAbsDiff8u(V a, V b) { return _mm_sad_epu8(a, b); }  // two 64-bit sums of eight each

// ---- Multiply ----

inline V MulLow16(V a, V b) { return _mm_mullo_epi16(a, b); }
inline V MulHigh16s(V a, V b) { return _mm_mulhi_epi16(a, b); }
inline V MulHigh16u(V a, V b) { return _mm_mulhi_epu16(a, b); }
inline V MulAdd16(V a, V b) { return _mm_madd_epi16(a, b); }   // a0 b0 + a1 b1, .. in 32 bits

inline V MulLow32(V a, V b)
{
#if VEK_TIER >= 3
    return _mm_mullo_epi32(a, b);
#else
    const V even = _mm_shuffle_epi32(_mm_mul_epu32(a, b), _MM_SHUFFLE(0, 0, 2, 0));
    const V odd = _mm_shuffle_epi32(_mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32)),
                                    _MM_SHUFFLE(0, 0, 2, 0));
    return _mm_unpacklo_epi32(even, odd);
#endif
}

// a0 b0 + a1 b1, .. of unsigned bytes a and signed bytes b, saturated to 16 bits.
inline V MulAdd8us(V a, V b)
{
#if VEK_TIER >= 2
    return _mm_maddubs_epi16(a, b);
#else
    const V even = MulLow16(And(a, Splat16(0xff)), _mm_srai_epi16(_mm_slli_epi16(b, 8), 8));
    const V odd = MulLow16(_mm_srli_epi16(a, 8), _mm_srai_epi16(b, 8));
    return AddSat16s(even, odd);
#endif
}

// Sums of neighbouring bytes.
inline V SumPairs8u(V v)
{
#if VEK_TIER >= 2
    return _mm_maddubs_epi16(v, Splat8(1));
#else
    return Add16(And(v, Splat16(0xff)), _mm_srli_epi16(v, 8));
#endif
}

// (a b + 0x4000) >> 15 of signed 16-bit lanes.
inline V MulRound16s(V a, V b)
{
#if VEK_TIER >= 2
    return _mm_mulhrs_epi16(a, b);
#else
    const V low = MulLow16(a, b), high = MulHigh16s(a, b);
    const V round = Splat32(0x4000);
    const V p0 = _mm_srli_epi32(Add32(_mm_unpacklo_epi16(low, high), round), 15);
    const V p1 = _mm_srli_epi32(Add32(_mm_unpackhi_epi16(low, high), round), 15);
    const V q0 = _mm_srai_epi32(_mm_slli_epi32(p0, 16), 16), q1 = _mm_srai_epi32(_mm_slli_epi32(p1, 16), 16);
    return _mm_packs_epi32(q0, q1);
#endif
}

// ---- Minimum, maximum, magnitude ----

inline V Min8u(V a, V b) { return _mm_min_epu8(a, b); }
inline V Max8u(V a, V b) { return _mm_max_epu8(a, b); }
inline V Max16s(V a, V b) { return _mm_max_epi16(a, b); }

inline V Min32s(V a, V b)
{
#if VEK_TIER >= 3
    return _mm_min_epi32(a, b);
#else
    return Select(Greater32s(a, b), b, a);
#endif
}

inline V Max32s(V a, V b)
{
#if VEK_TIER >= 3
    return _mm_max_epi32(a, b);
#else
    return Select(Greater32s(a, b), a, b);
#endif
}

inline V Abs16(V v)
{
#if VEK_TIER >= 2
    return _mm_abs_epi16(v);
#else
    return Max16s(v, Sub16(Zero(), v));
#endif
}

// ---- Shifts ----

template <int n> inline V ShiftLeft16(V v) { return _mm_slli_epi16(v, n); }
template <int n> inline V ShiftLeft32(V v) { return _mm_slli_epi32(v, n); }
template <int n> inline V ShiftLeft64(V v) { return _mm_slli_epi64(v, n); }
template <int n> inline V ShiftRight16u(V v) { return _mm_srli_epi16(v, n); }
template <int n> inline V ShiftRight32u(V v) { return _mm_srli_epi32(v, n); }
template <int n> inline V ShiftRight64u(V v) { return _mm_srli_epi64(v, n); }
template <int n> inline V ShiftRight16s(V v) { return _mm_srai_epi16(v, n); }
template <int n> inline V ShiftRight32s(V v) { return _mm_srai_epi32(v, n); }

// By a count that stands in the low 64 bits of `count`; a count past the lane's width gives zero
// (all sign bits in the signed forms).
inline V ShiftCount(Vek32s n) { return _mm_cvtsi32_si128(n); }
inline V ShiftLeft16By(V v, V count) { return _mm_sll_epi16(v, count); }
inline V ShiftLeft32By(V v, V count) { return _mm_sll_epi32(v, count); }
inline V ShiftRight16uBy(V v, V count) { return _mm_srl_epi16(v, count); }
inline V ShiftRight32uBy(V v, V count) { return _mm_srl_epi32(v, count); }
inline V ShiftRight16sBy(V v, V count) { return _mm_sra_epi16(v, count); }
inline V ShiftRight32sBy(V v, V count) { return _mm_sra_epi32(v, count); }

// Whole bytes of the register: toward higher lanes, toward lower lanes.
template <int n> inline V BytesUp(V v) { return _mm_slli_si128(v, n); }
template <int n> inline V BytesDown(V v) { return _mm_srli_si128(v, n); }

// 16 bytes from byte n of the 32 bytes low, high.
template <int n>
inline V Concat(V low, V high)
{
#if VEK_TIER >= 2
    return _mm_alignr_epi8(high, low, n);
#else
    return Or(_mm_srli_si128(low, n), _mm_slli_si128(high, 16 - n));
#endif
}

// ---- Rearrange ----

inline V UnpackLow8(V a, V b) { return _mm_unpacklo_epi8(a, b); }  // a0 b0 a1 b1 ..
inline V UnpackHigh8(V a, V b) { return _mm_unpackhi_epi8(a, b); }
inline V UnpackLow16(V a, V b) { return _mm_unpacklo_epi16(a, b); }
inline V UnpackHigh16(V a, V b) { return _mm_unpackhi_epi16(a, b); }
inline V UnpackLow32(V a, V b) { return _mm_unpacklo_epi32(a, b); }
inline V UnpackHigh32(V a, V b) { return _mm_unpackhi_epi32(a, b); }
inline V UnpackLow64(V a, V b) { return _mm_unpacklo_epi64(a, b); }
inline V UnpackHigh64(V a, V b) { return _mm_unpackhi_epi64(a, b); }

// Lane i of the result is lane a, b, c, d of v for i = 0 to 3.
template <int a, int b, int c, int d>
inline V Permute32(V v) { return _mm_shuffle_epi32(v, _MM_SHUFFLE(d, c, b, a)); }
template <int a, int b, int c, int d>
inline V PermuteLow16(V v) { return _mm_shufflelo_epi16(v, _MM_SHUFFLE(d, c, b, a)); }
template <int a, int b, int c, int d>
inline V PermuteHigh16(V v) { return _mm_shufflehi_epi16(v, _MM_SHUFFLE(d, c, b, a)); }

// Byte i of the result is byte index[i] & 15 of v, or 0 where the index is negative. Without the
// instruction it goes through memory: kernels below that ask kHasByteShuffle first.
inline V Shuffle8(V v, V index)
{
#if VEK_TIER >= 2
    return _mm_shuffle_epi8(v, index);
#else
    alignas(16) Vek8u from[16], by[16], to[16];
    StoreA(from, v);
    StoreA(by, index);
    for (int i = 0; i < 16; ++i)
        to[i] = by[i] & 0x80 ? (Vek8u)0 : from[by[i] & 15];
    return LoadA(to);
#endif
}

// All lanes in the opposite order.
inline V Reverse16(V v)
{
    return Permute32<2, 3, 0, 1>(PermuteHigh16<3, 2, 1, 0>(PermuteLow16<3, 2, 1, 0>(v)));
}

inline V Reverse8(V v)
{
#if VEK_TIER >= 2
    return Shuffle8(v, Lanes8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
#else
    const V words = Reverse16(v);
    return Or(_mm_slli_epi16(words, 8), _mm_srli_epi16(words, 8));
#endif
}

// ---- Width ----

inline V Pack16sTo8s(V a, V b) { return _mm_packs_epi16(a, b); }
inline V Pack16sTo8u(V a, V b) { return _mm_packus_epi16(a, b); }
inline V Pack32sTo16s(V a, V b) { return _mm_packs_epi32(a, b); }

inline V Pack32sTo16u(V a, V b)
{
#if VEK_TIER >= 3
    return _mm_packus_epi32(a, b);
#else
    const V low = Splat32(0), high = Splat32(65535), bias = Splat32(32768);
    const V x = Sub32(Min32s(Max32s(a, low), high), bias), y = Sub32(Min32s(Max32s(b, low), high), bias);
    return Xor(_mm_packs_epi32(x, y), Splat16(-32768));
#endif
}

inline V WidenLow8u(V v) { return _mm_unpacklo_epi8(v, Zero()); }
inline V WidenHigh8u(V v) { return _mm_unpackhi_epi8(v, Zero()); }
inline V WidenLow8uTo32(V v)
{
#if VEK_TIER >= 3
    return _mm_cvtepu8_epi32(v);
#else
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(v, Zero()), Zero());
#endif
}

// Four bytes of memory as 32-bit lanes.
inline V Load8uTo32s(const void* p) { return WidenLow8uTo32(Load32(p)); }

inline V WidenLow16u(V v) { return _mm_unpacklo_epi16(v, Zero()); }
inline V WidenHigh16u(V v) { return _mm_unpackhi_epi16(v, Zero()); }
inline V WidenLow32u(V v) { return _mm_unpacklo_epi32(v, Zero()); }
inline V WidenHigh32u(V v) { return _mm_unpackhi_epi32(v, Zero()); }
inline V WidenLow16s(V v)
{
#if VEK_TIER >= 3
    return _mm_cvtepi16_epi32(v);
#else
    return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16);
#endif
}
inline V WidenHigh16s(V v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }

// ---- Single lanes and sums ----

inline Vek32s Low32(V v) { return _mm_cvtsi128_si32(v); }
inline int64_t Low64(V v) { return _mm_cvtsi128_si64(v); }
template <int lane> inline V Insert16(V v, Vek32s x) { return _mm_insert_epi16(v, (Vek16s)x, lane); }

inline int64_t Sum64(V v) { return Low64(Add64(v, Permute32<2, 3, 0, 1>(v))); }

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
