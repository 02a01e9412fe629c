// The order of an export's checks, which two faults at once show, and that a call with a fault writes nothing.
#ifndef UVEK_TESTS_SUPPORT_CHECKS_H
#define UVEK_TESTS_SUPPORT_CHECKS_H

#include <gtest/gtest.h>

#include <algorithm>

#include "uvek/base.h"

namespace uvek::test {

// What comes after the pointers. Without Step any step will do.
enum class Then { Size, SizeStep, StepSize };

// call(src, srcStep, dst, dstStep, size). `after` is what a call without these faults reports, of a fault of its own or none.
template <typename S, typename D, typename Call>
void ExpectOrder(Then then, Call call, VekStatus after = StatusOk)
{
    const S before[64] = {1, 2, 3};
    S src[64] = {1, 2, 3};
    D dst[64] = {};
    const VekImageSize good = {2, 2};
    EXPECT_EQ(StatusNullPointer, call((S*)nullptr, 0, dst, 0, VekImageSize{0, 0}));
    EXPECT_EQ(StatusNullPointer, call(src, 0, (D*)nullptr, 0, VekImageSize{0, 0}));
    for (const VekImageSize bad : {VekImageSize{2, 0}, {0, 2}, {2, -1}}) {
        EXPECT_EQ(then == Then::StepSize ? StatusBadStep : StatusBadSize, call(src, 0, dst, 0, bad));
        EXPECT_EQ(StatusBadSize, call(src, 32, dst, 32, bad));
    }
    if (then != Then::Size)
        for (const Vek32s bad : {0, -32}) {
            EXPECT_EQ(StatusBadStep, call(src, bad, dst, 32, good));
            EXPECT_EQ(StatusBadStep, call(src, 32, dst, bad, good));
        }
    if (after != StatusOk) {
        EXPECT_EQ(after, call(src, 32, dst, 32, good));
    }
    EXPECT_TRUE(std::count(dst, dst + 64, D(0)) == 64 && std::equal(src, src + 64, before));
    if (after == StatusOk) {
        EXPECT_EQ(StatusOk, call(src, then == Then::Size ? 0 : 32, dst, then == Then::Size ? 0 : 32, good));
    }
}

// For a call(image, step, size) in place, which is told of both sides' faults.
template <typename Call>
auto InPlace(Call call)
{
    return [call](auto* src, Vek32s srcStep, auto* dst, Vek32s dstStep, VekImageSize size) {
        return call(src ? dst : nullptr, std::min(srcStep, dstStep), size);
    };
}

// call(planes) reports a null pointer for no planes and for any of `count` that is missing.
template <typename T, typename Call>
void ExpectPlanesAreLookedAt(int count, T* plane, Call call)
{
    EXPECT_EQ(StatusNullPointer, call((T**)nullptr));
    for (int hole = 0; hole < 4; ++hole) {
        T* planes[4] = {plane, plane, plane, plane};
        planes[hole] = nullptr;
        EXPECT_EQ(hole < count, call(planes) == StatusNullPointer) << hole;
    }
}

}  // namespace uvek::test

#endif
