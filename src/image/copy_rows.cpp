// Row and region copies. Where rows do not overlap, every path below leaves the same bytes.
#include "image/copy.h"

#include "frame/simd.h"
#include "image/streaming.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// A block is loaded whole before any of it is stored.
inline void Copy32(const Vek8u* src, Vek8u* dst)
{
    const V a = LoadU(src), b = LoadU(src + 16);
    StoreU(dst, a);
    StoreU(dst + 16, b);
}

template <bool stream>
inline void Copy64(const Vek8u* src, Vek8u* dst)
{
    const V a = LoadU(src), b = LoadU(src + 16), c = LoadU(src + 32), d = LoadU(src + 48);
    Store<stream>(dst, a);
    Store<stream>(dst + 16, b);
    Store<stream>(dst + 32, c);
    Store<stream>(dst + 48, d);
}

template <typename T>
inline void CopySample(const Vek8u* src, Vek8u* dst)
{
    Put((T*)dst, Get((const T*)src));
}

// ---- Tier 0 ----

template <typename T>
void CopySamples(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    for (int64_t x = 0; x < bytes; x += (int64_t)sizeof(T))
        CopySample<T>(src + x, dst + x);
}

void CopyRowBySamples(const Vek8u* src, Vek8u* dst, int64_t bytes, int sampleBytes)
{
    switch (sampleBytes) {
    case 1: return CopySamples<Vek8u>(src, dst, bytes);
    case 2: return CopySamples<Vek16u>(src, dst, bytes);
    default: return CopySamples<Vek32u>(src, dst, bytes);
    }
}

void CopyRowPlain(const Vek8u* src, Vek8u* dst, int64_t bytes, int sampleBytes)
{
    if (Overlap(src, dst, bytes))
        return CopyRowBySamples(src, dst, bytes, sampleBytes);
    int64_t x = 0;
    for (; bytes - x >= 16; x += 16)
        memcpy(dst + x, src + x, 16);
    for (; x < bytes; ++x)
        dst[x] = src[x];
}

// A row of 64 bytes or more that does not overlap its destination, whose bytes come out the same whatever
// copies them: the C runtime knows the processor at hand, up to twice as fast as blocks of a tier's registers.
inline bool CopyApart(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    if (Overlap(src, dst, bytes))
        return false;
    memcpy(dst, src, (size_t)bytes);
    return true;
}

// Less than 64 bytes.
inline void CopyTail(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    if (bytes & 32) {
        Copy32(src, dst);
        src += 32;
        dst += 32;
    }
    if (bytes & 16) {
        StoreU(dst, LoadU(src));
        src += 16;
        dst += 16;
    }
    if (bytes & 8) {
        CopySample<int64_t>(src, dst);
        src += 8;
        dst += 8;
    }
    if (bytes & 4) {
        CopySample<Vek32u>(src, dst);
        src += 4;
        dst += 4;
    }
    if (bytes & 2) {
        CopySample<Vek16u>(src, dst);
        src += 2;
        dst += 2;
    }
    if (bytes & 1)
        *dst = *src;
}

// ---- Tier 1 ----

template <bool stream>
void CopyRowAligned(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    if (bytes >= 64) {
        if (!stream && CopyApart(src, dst, bytes))
            return;
        const int64_t head = (int64_t)(-(uintptr_t)dst & 15);
        if (head != 0) {
            StoreU(dst, LoadU(src));
            src += head;
            dst += head;
            bytes -= head;
        }
        for (; bytes >= 64; bytes -= 64, src += 64, dst += 64)
            Copy64<stream>(src, dst);
        if (stream)
            Fence();
    }
    for (; bytes >= 8; bytes -= 8, src += 8, dst += 8)
        CopySample<int64_t>(src, dst);
    CopyTail(src, dst, bytes);
}

// ---- Tiers 2 and 3 ----

// Less than 64 bytes, the last three at most from the end backward.
inline void CopyShortRow(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    const int64_t whole = bytes & ~(int64_t)3;
    CopyTail(src, dst, whole);
    for (int64_t x = bytes; x-- > whole;)
        dst[x] = src[x];
}

// From the last byte to the first; dst + bytes may stand anywhere.
void CopyBackward(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    for (; ((uintptr_t)(dst + bytes) & 15) != 0 && bytes > 0; --bytes)
        dst[bytes - 1] = src[bytes - 1];
    for (; bytes >= 64; bytes -= 64)
        Copy64<false>(src + bytes - 64, dst + bytes - 64);
    for (; bytes >= 16; bytes -= 16)
        StoreU(dst + bytes - 16, LoadU(src + bytes - 16));
    for (; bytes > 0; --bytes)
        dst[bytes - 1] = src[bytes - 1];
}

// 64 bytes or more.
inline void CopyLongRow(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    if (CopyApart(src, dst, bytes))
        return;
    const int64_t head = 16 - (int64_t)((uintptr_t)dst & 15);
    StoreU(dst, LoadU(src));
    src += head;
    dst += head;
    bytes -= head;
    if (bytes >= 64) {
        if (IsAligned(src, 16)) {
            // A destination up to 160 bytes ahead, modulo the page: a forward load would wait for a
            // store whose address looks the same in its low 12 bits.
            if ((((uintptr_t)src - (uintptr_t)dst) & 4095) >= 3936)
                return CopyBackward(src, dst, bytes);
        } else if (IsAligned(src, 4)) {
            StoreA(dst, LoadU(src));
            src += 16;
            dst += 16;
            bytes -= 16;
        }
        for (; bytes >= 64; bytes -= 64, src += 64, dst += 64)
            Copy64<false>(src, dst);
    }
    CopyTail(src, dst, bytes);
}

constexpr int64_t kChunk = 262144;  // read ahead at once

// A read for its effect on the cache alone.
inline void Touch(const Vek8u* src, int64_t bytes)
{
    for (int64_t x = 0; x < bytes; x += 64)
        (void)*(const volatile Vek8u*)(src + x);
}

void StreamRow(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    for (; bytes > 0 && !IsAligned(dst, 16); --bytes)
        *dst++ = *src++;
    while (bytes >= 16) {
        const int64_t chunk = Min(bytes, kChunk) & ~(int64_t)15;
        Touch(src, chunk);
        int64_t x = 0;
        for (; chunk - x >= 64; x += 64)
            Copy64<true>(src + x, dst + x);
        for (; x < chunk; x += 16)
            Stream(dst + x, LoadU(src + x));
        src += chunk;
        dst += chunk;
        bytes -= chunk;
    }
    for (; bytes > 0; --bytes)
        *dst++ = *src++;
}

}  // namespace

void CopyRow(const Vek8u* src, Vek8u* dst, int64_t bytes, int sampleBytes)
{
    if (kTier == 0)
        CopyRowPlain(src, dst, bytes, sampleBytes);
    else if (kTier == 1)
        CopyRowAligned<false>(src, dst, bytes);
    else if (bytes < 64)
        CopyShortRow(src, dst, bytes);
    else
        CopyLongRow(src, dst, bytes);
}

void CopyRegion(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, int64_t rowBytes, Vek32s height, int sampleBytes)
{
    if (kTier == 0) {
        for (Vek32s y = 0; y < height; ++y)
            CopyRowPlain(Row(src, srcStep, y), Row(dst, dstStep, y), rowBytes, sampleBytes);
        return;
    }
    const bool streamsTier1 = WrappedProduct((Vek32s)rowBytes, height) >= 1048577;
    // Rows that follow on each other are one, unless the image moves onto itself: a row that does not overlap
    // its own destination arrives whole then too.
    if (srcStep == dstStep && srcStep == rowBytes && !Overlap(src, dst, rowBytes * height)) {
        rowBytes *= height;
        height = 1;
    }
    if (kTier == 1) {
        for (Vek32s y = 0; y < height; ++y) {
            if (streamsTier1)
                CopyRowAligned<true>(Row(src, srcStep, y), Row(dst, dstStep, y), rowBytes);
            else
                CopyRowAligned<false>(Row(src, srcStep, y), Row(dst, dstStep, y), rowBytes);
        }
        return;
    }
    const int64_t bytes = rowBytes * height;
    if (bytes >= kLargeRegionCopy && CopyStreams(bytes, AskLargestCache()))
        return StreamRegion(src, srcStep, dst, dstStep, rowBytes, height);
    if (rowBytes < 64) {
        for (Vek32s y = 0; y < height; ++y)
            CopyShortRow(Row(src, srcStep, y), Row(dst, dstStep, y), rowBytes);
    } else {
        for (Vek32s y = 0; y < height; ++y)
            CopyLongRow(Row(src, srcStep, y), Row(dst, dstStep, y), rowBytes);
    }
}

void CopyForward(const Vek8u* src, Vek8u* dst, int64_t bytes)
{
    for (; bytes > 0 && !IsAligned(dst, 4); --bytes)
        *dst++ = *src++;
    for (; bytes >= 32; bytes -= 32, src += 32, dst += 32)
        Copy32(src, dst);
    for (; bytes > 0; --bytes)
        *dst++ = *src++;
}

void StreamRegion(const Vek8u* src, Vek32s srcStep, Vek8u* dst, Vek32s dstStep, int64_t rowBytes, int64_t height)
{
    for (int64_t y = 0; y < height; ++y)
        StreamRow(Offset(src, srcStep * y), Offset(dst, dstStep * y), rowBytes);
    Fence();
}

}  // namespace uvek::VEK_TIER_NAMESPACE
