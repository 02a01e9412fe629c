// The floating-point vector layer: F holds four singles, D two doubles. Nothing here contracts,
// reassociates or approximates unless its name says so.
#ifndef UVEK_FRAME_SIMD_FLOAT_H
#define UVEK_FRAME_SIMD_FLOAT_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

using F = __m128;
using D = __m128d;

// ---- Memory and constants ----

inline F LoadU(const Vek32f* p) { return _mm_loadu_ps(p); }
inline F LoadA(const Vek32f* p) { return _mm_load_ps(p); }
inline void StoreU(Vek32f* p, F v) { _mm_storeu_ps(p, v); }
inline void StoreA(Vek32f* p, F v) { _mm_store_ps(p, v); }
inline void Stream(Vek32f* p, F v) { _mm_stream_ps(p, v); }
inline D LoadU(const Vek64f* p) { return _mm_loadu_pd(p); }
inline D LoadA(const Vek64f* p) { return _mm_load_pd(p); }
inline void StoreU(Vek64f* p, D v) { _mm_storeu_pd(p, v); }
inline void StoreA(Vek64f* p, D v) { _mm_store_pd(p, v); }

inline F SplatF(Vek32f v) { return _mm_set1_ps(v); }
inline D SplatD(Vek64f v) { return _mm_set1_pd(v); }
inline F Held(F v)
{
    __asm__("" : "+x"(v));
    return v;
}

// a to d, computed before anything after this is loaded. Left to itself the compiler loads ahead more than there are
// registers for.
inline void Settle(F& a, F& b, F& c, F& d) { __asm__ volatile("" : "+x"(a), "+x"(b), "+x"(c), "+x"(d) : : "memory"); }

inline F ZeroF() { return _mm_setzero_ps(); }
inline D ZeroD() { return _mm_setzero_pd(); }
inline F LanesF(Vek32f a, Vek32f b, Vek32f c, Vek32f d) { return _mm_setr_ps(a, b, c, d); }
inline D LanesD(Vek64f a, Vek64f b) { return _mm_setr_pd(a, b); }

// ---- Arithmetic ----

inline F Add(F a, F b) { return _mm_add_ps(a, b); }
inline F Sub(F a, F b) { return _mm_sub_ps(a, b); }
inline F Mul(F a, F b) { return _mm_mul_ps(a, b); }
inline F Div(F a, F b) { return _mm_div_ps(a, b); }
inline F Sqrt(F v) { return _mm_sqrt_ps(v); }
inline F Min(F a, F b) { return _mm_min_ps(a, b); }  // b when either is a NaN, as the instruction has it
inline F Max(F a, F b) { return _mm_max_ps(a, b); }
inline F ReciprocalApprox(F v) { return _mm_rcp_ps(v); }
inline D Add(D a, D b) { return _mm_add_pd(a, b); }
inline D Sub(D a, D b) { return _mm_sub_pd(a, b); }
inline D Mul(D a, D b) { return _mm_mul_pd(a, b); }
inline D Div(D a, D b) { return _mm_div_pd(a, b); }
inline D Sqrt(D v) { return _mm_sqrt_pd(v); }
inline D Min(D a, D b) { return _mm_min_pd(a, b); }
inline D Max(D a, D b) { return _mm_max_pd(a, b); }

// ---- Logic and compare ----

inline F And(F a, F b) { return _mm_and_ps(a, b); }
inline F Or(F a, F b) { return _mm_or_ps(a, b); }
inline F Xor(F a, F b) { return _mm_xor_ps(a, b); }
inline F AndNot(F mask, F v) { return _mm_andnot_ps(mask, v); }
inline D And(D a, D b) { return _mm_and_pd(a, b); }
inline D Or(D a, D b) { return _mm_or_pd(a, b); }
inline D Xor(D a, D b) { return _mm_xor_pd(a, b); }
inline D AndNot(D mask, D v) { return _mm_andnot_pd(mask, v); }
inline F Less(F a, F b) { return _mm_cmplt_ps(a, b); }
inline F LessEqual(F a, F b) { return _mm_cmple_ps(a, b); }
inline F Equal(F a, F b) { return _mm_cmpeq_ps(a, b); }
inline F Unordered(F a, F b) { return _mm_cmpunord_ps(a, b); }
inline D Less(D a, D b) { return _mm_cmplt_pd(a, b); }
inline D LessEqual(D a, D b) { return _mm_cmple_pd(a, b); }
inline D Equal(D a, D b) { return _mm_cmpeq_pd(a, b); }
inline int MoveMask(F v) { return _mm_movemask_ps(v); }
inline int MoveMask(D v) { return _mm_movemask_pd(v); }

// a where the mask's lane is all ones, b where it is zero.
inline F Select(F mask, F a, F b)
{
#if VEK_TIER >= 3
    return _mm_blendv_ps(b, a, mask);
#else
    return Or(And(mask, a), AndNot(mask, b));
#endif
}

// a where the sign bit of the lane of `signs` is set, b where it is clear.
inline F SelectBySign(F signs, F a, F b)
{
#if VEK_TIER >= 3
    return _mm_blendv_ps(b, a, signs);
#else
    return Select(_mm_castsi128_ps(_mm_srai_epi32(_mm_castps_si128(signs), 31)), a, b);
#endif
}

inline D Select(D mask, D a, D b)
{
#if VEK_TIER >= 3
    return _mm_blendv_pd(b, a, mask);
#else
    return Or(And(mask, a), AndNot(mask, b));
#endif
}

inline F Abs(F v) { return AndNot(SplatF(-0.0f), v); }
inline D Abs(D v) { return AndNot(SplatD(-0.0), v); }

// ---- Conversion: Nearest follows the rounding mode in force, ties to even unless a caller set it ----

// Rounds to nearest while it lives, whatever mode the caller has set, which it puts back.
class RoundToNearest {
public:
    RoundToNearest() : saved_(_mm_getcsr())
    {
        if (saved_ & _MM_ROUND_MASK)
            _mm_setcsr(saved_ & ~(unsigned)_MM_ROUND_MASK);
    }
    ~RoundToNearest()
    {
        if (saved_ & _MM_ROUND_MASK)
            _mm_setcsr(saved_);
    }
    RoundToNearest(const RoundToNearest&) = delete;
    RoundToNearest& operator=(const RoundToNearest&) = delete;

private:
    unsigned saved_;
};

inline F ToFloat(V v) { return _mm_cvtepi32_ps(v); }
inline V Nearest32s(F v) { return _mm_cvtps_epi32(v); }   // 0x80000000 past the range and for NaN
inline V Truncate32s(F v) { return _mm_cvttps_epi32(v); }
inline D ToDoubleLow(F v) { return _mm_cvtps_pd(v); }
inline D ToDoubleHigh(F v) { return _mm_cvtps_pd(_mm_movehl_ps(v, v)); }
inline F ToFloatLow(D v) { return _mm_cvtpd_ps(v); }      // lanes 2 and 3 are zero
inline D ToDoubleLow(V v) { return _mm_cvtepi32_pd(v); }
inline V Nearest32s(D v) { return _mm_cvtpd_epi32(v); }   // lanes 2 and 3 are zero
inline V Truncate32s(D v) { return _mm_cvttpd_epi32(v); }
inline V AsInt(F v) { return _mm_castps_si128(v); }
inline F AsFloat(V v) { return _mm_castsi128_ps(v); }
inline V AsInt(D v) { return _mm_castpd_si128(v); }

// ---- Rearrange ----

// Lanes a, b of x, then lanes c, d of y.
template <int a, int b, int c, int d>
inline F Pick(F x, F y) { return _mm_shuffle_ps(x, y, _MM_SHUFFLE(d, c, b, a)); }
template <int a, int b>
inline D Pick(D x, D y) { return _mm_shuffle_pd(x, y, b * 2 + a); }

inline F UnpackLow(F a, F b) { return _mm_unpacklo_ps(a, b); }
inline F UnpackHigh(F a, F b) { return _mm_unpackhi_ps(a, b); }
inline D UnpackLow(D a, D b) { return _mm_unpacklo_pd(a, b); }
inline D UnpackHigh(D a, D b) { return _mm_unpackhi_pd(a, b); }
inline F LowHalves(F a, F b) { return _mm_movelh_ps(a, b); }   // a0 a1 b0 b1
inline F HighHalves(F a, F b) { return _mm_movehl_ps(b, a); }  // a2 a3 b2 b3
inline F DupOdd(F v) { return Pick<1, 1, 3, 3>(v, v); }

// The 4x4 transpose of four rows, in place.
inline void Transpose4(F& a, F& b, F& c, F& d)
{
    _MM_TRANSPOSE4_PS(a, b, c, d);
}

// ---- Single lanes ----

inline Vek32f LowF(F v) { return _mm_cvtss_f32(v); }
inline Vek64f LowD(D v) { return _mm_cvtsd_f64(v); }
inline Vek64f HighD(D v) { return _mm_cvtsd_f64(_mm_unpackhi_pd(v, v)); }

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
