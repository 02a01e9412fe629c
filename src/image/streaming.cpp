// The cache query of large transfers.
#include "image/streaming.h"

#include <cpuid.h>

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

struct CacheDescriptor {
    Vek8u descriptor;
    Vek32s bytes;
};

// Largest first, so that the first row that fits is the largest cache.
constexpr CacheDescriptor kCaches[] = {
    {77, 16777216}, {76, 12582912}, {75, 8388608}, {71, 8388608}, {78, 6291456},  {74, 6291456}, {73, 4194304},
    {41, 4194304},  {70, 4194304},  {72, 3145728}, {37, 2097152}, {125, 2097152}, {133, 2097152}, {69, 2097152},
    {35, 1048576},  {135, 1048576}, {124, 1048576}, {120, 1048576}, {132, 1048576}, {68, 1048576}, {34, 524288},
    {123, 524288},  {128, 524288},  {134, 524288}, {62, 524288},  {127, 524288},  {131, 524288},  {67, 524288},
};

bool DescribesCaches(const Vek32u leaf0[4])
{
    const Vek32u signature[3] = {leaf0[1], leaf0[3], leaf0[2]};
    return leaf0[0] >= 2 && memcmp(signature, UVEK_REFERENCE_VENDOR, sizeof signature) == 0;
}

}  // namespace

Vek32s LargestDescribedCache(const Vek32u leaf0[4], const Vek32u leaf2[4])
{
    if (!DescribesCaches(leaf0) || (leaf2[0] & 0xff) != 1)
        return 0;

    // A register with bit 31 set holds no descriptors. Position 0 is passed over: there stands the
    // repeat count of EAX.
    Vek8u area[16] = {};
    int packed = 0, count = 0;
    for (int i = 0; i < 4; ++i) {
        if (leaf2[i] == 0 || leaf2[i] >> 31 != 0)
            continue;
        memcpy(area + packed, &leaf2[i], sizeof leaf2[i]);
        packed += 4;
        count += i == 0 ? 3 : 4;
    }
    for (const CacheDescriptor& cache : kCaches)
        for (int i = 1; i <= count; ++i)
            if (area[i] == cache.descriptor)
                return cache.bytes;
    return 0;
}

Vek32s AskLargestCache()
{
    Vek32u leaf0[4], leaf2[4] = {};
    __cpuid_count(0, 0, leaf0[0], leaf0[1], leaf0[2], leaf0[3]);
    if (DescribesCaches(leaf0))  // under a hypervisor every question takes microseconds
        __cpuid_count(2, 0, leaf2[0], leaf2[1], leaf2[2], leaf2[3]);
    return LargestDescribedCache(leaf0, leaf2);
}

bool CopyStreams(int64_t bytes, Vek32s largestCache)
{
    return largestCache != 0 && bytes >= largestCache / 2;
}

bool FillStreams(int64_t bytes, Vek32s largestCache)
{
    return largestCache != 0 && bytes >= largestCache;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
