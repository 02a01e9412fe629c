// The operations of the vector layer that are more than an instruction, against scalar code, on every tier.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "support/random.h"
#include "support/tiers.h"
#include "tiered/simd_ops.h"

namespace uvek::test {
namespace {

class SimdTest : public TierTest {
protected:
    SimdOps Ops() const
    {
        SimdOps (*const tiers[])() = {mx::AllSimdOps, m7::AllSimdOps, u8::AllSimdOps, y8::AllSimdOps};
        return tiers[GetParam()]();
    }
};

// Bytes that reach the borders of every lane width.
Vek8u Sample(std::mt19937& random, int round)
{
    static const Vek8u kBorders[] = {0x00, 0x01, 0x7f, 0x80, 0x81, 0xff};
    return round % 3 ? (Vek8u)random() : kBorders[random() % sizeof kBorders];
}

TEST_P(SimdTest, EqualsScalarCode)
{
    std::mt19937 random(Seed());
    const SimdOps all = Ops();
    for (size_t i = 0; i < all.count; ++i) {
        const SimdOp& op = all.ops[i];
        for (int round = 0; round < 3000; ++round) {
            alignas(16) Vek8u in[kOpBytes], vector[kOpBytes] = {}, scalar[kOpBytes] = {};
            for (Vek8u& byte : in)
                byte = Sample(random, round);
            if (round % 11 == 0)
                std::memcpy(in + 16, in, 16);
            op.vector(in, vector);
            op.scalar(in, scalar);
            ASSERT_EQ(0, std::memcmp(vector, scalar, kOpBytes)) << op.name << " seed " << Seed();
        }
    }
}

UVEK_ON_ALL_TIERS(SimdTest);

}  // namespace
}  // namespace uvek::test
