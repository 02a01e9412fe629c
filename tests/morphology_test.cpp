#include <algorithm>

#include "support/allocator.h"
#include "support/tiers.h"
#include "support/window.h"
#include "uvek/filter.h"

namespace uvek::test {
namespace {

class MorphologyTest : public TierTest {};

using InPlace = VekStatus (*)(Vek8u*, Vek32s, VekImageSize);

constexpr Border kBorder = {1, 1, 1, 1};

template <typename Pick>
void CheckInPlace(InPlace filter, Pick pick)
{
    std::mt19937 random(Seed());
    unsigned turn = 0;
    ForEachShape([&](Shape shape) {
        shape.upward = false;
        BorderedImage<Vek8u> image(shape, kBorder);
        FillWithBytes(image, turn++, random);
        // Everything outside the region stays, the border and what lies between the rows.
        BorderedImage<Vek8u> before(shape, kBorder);
        before.whole() = GuardedImage<Vek8u>(image.whole());
        GuardedImage<Vek8u> want(image.whole());
        for (Vek32s y = 0; y < shape.height; ++y)
            for (Vek32s x = 0; x < shape.width; ++x) {
                Vek8u best = before.at(x, y);
                for (int i = 0; i < 9; ++i)
                    best = pick(best, before.at(x + i % 3 - 1, y + i / 3 - 1));
                want.set(x + 1, y + 1, 0, best);
            }
        ASSERT_EQ(StatusOk, filter(image.data(), image.step(), image.size())) << shape;
        EXPECT_EQ(want, image.whole()) << shape << " seed " << Seed();
    });
}

TEST_P(MorphologyTest, ReplacesEachPixelByItsNeighbourhoodsExtreme)
{
    CheckInPlace(vekiDilate3x3_8u_C1IR, [](Vek8u a, Vek8u b) { return std::max(a, b); });
    CheckInPlace(vekiErode3x3_8u_C1IR, [](Vek8u a, Vek8u b) { return std::min(a, b); });
}

TEST_P(MorphologyTest, BadCallsGiveTheirStatusInOrder)
{
    Vek8u image[64] = {};
    image[9] = 7;
    for (const InPlace filter : {InPlace(vekiDilate3x3_8u_C1IR), InPlace(vekiErode3x3_8u_C1IR)}) {
        EXPECT_EQ(StatusNullPointer, filter(nullptr, 0, {0, 0}));
        EXPECT_EQ(StatusBadStep, filter(image + 10, 0, {0, 1}));
        EXPECT_EQ(StatusBadSize, filter(image + 10, 1, {6, 0}));
        EXPECT_EQ(StatusStepTooSmall, filter(image + 10, 7, {6, 2}));
        {
            const ScopedAllocator failing(0);
            EXPECT_EQ(StatusNoMemory, filter(image + 10, 8, {6, 2}));
        }
        EXPECT_EQ(7, image[9]);
        EXPECT_EQ(0, image[10]);
    }
    ScopedAllocator counting;
    EXPECT_EQ(StatusOk, vekiDilate3x3_8u_C1IR(image + 9, 8, {6, 2}));
    EXPECT_EQ(0, counting.live());
    EXPECT_EQ(7, image[10]);
}

UVEK_ON_ALL_TIERS(MorphologyTest);

}  // namespace
}  // namespace uvek::test
