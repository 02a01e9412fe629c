// What all tier code stands on. A file that includes it is compiled once for each tier, with
// VEK_TIER 0 to 3, and keeps everything it defines inside uvek::VEK_TIER_NAMESPACE.
//
// An export that calls another export of its tier writes (vekiSet_8u_C1R)(...): the parentheses
// keep argument-dependent lookup from finding the public stub beside it.
#ifndef UVEK_FRAME_TIER_H
#define UVEK_FRAME_TIER_H

#include <stddef.h>
#include <string.h>

#include "uvek/base.h"

#if VEK_TIER == 0
#define VEK_TIER_NAMESPACE mx
#elif VEK_TIER == 1
#define VEK_TIER_NAMESPACE m7
#elif VEK_TIER == 2
#define VEK_TIER_NAMESPACE u8
#elif VEK_TIER == 3
#define VEK_TIER_NAMESPACE y8
#else
#error "VEK_TIER is 0, 1, 2 or 3"
#endif

namespace uvek::VEK_TIER_NAMESPACE {

constexpr int kTier = VEK_TIER;

// Whether block kernels run; in tier 0 the scalar loops do it all.
constexpr bool kBlocks = VEK_TIER > 0;

// Row y of an image; steps are bytes and may be negative.
template <typename T>
inline T* Row(T* base, Vek32s step, Vek32s y)
{
    return (T*)((uintptr_t)base + (uintptr_t)((int64_t)step * y));
}

// The address `bytes` further on.
template <typename T>
inline T* Offset(T* base, int64_t bytes)
{
    return (T*)((uintptr_t)base + (uintptr_t)bytes);
}

// Samples wider than a byte may stand at any address; a plain T* would promise the compiler more.
template <typename T>
inline T Get(const T* p)
{
    T value;
    memcpy(&value, p, sizeof value);
    return value;
}

template <typename T>
inline void Put(T* p, T value)
{
    memcpy(p, &value, sizeof value);
}

template <typename T>
constexpr T Min(T a, T b)
{
    return a < b ? a : b;
}

template <typename T>
constexpr T Max(T a, T b)
{
    return a > b ? a : b;
}

template <typename T>
constexpr T Clamp(T v, T low, T high)
{
    return v < low ? low : v > high ? high : v;
}

constexpr Vek8u Saturate8u(Vek32s v)
{
    return (Vek8u)Clamp(v, 0, 255);
}

constexpr Vek16s Saturate16s(Vek32s v)
{
    return (Vek16s)Clamp(v, -32768, 32767);
}

constexpr Vek16u Saturate16u(Vek32s v)
{
    return (Vek16u)Clamp(v, 0, 65535);
}

// A product as a signed 32-bit number, wrapped: several limits are stated on it.
constexpr Vek32s WrappedProduct(Vek32s a, Vek32s b)
{
    return (Vek32s)((Vek32u)a * (Vek32u)b);
}

inline bool IsAligned(const void* p, size_t alignment)
{
    return ((uintptr_t)p & (alignment - 1)) == 0;
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
