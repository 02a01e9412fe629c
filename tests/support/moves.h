// Functions that move samples, held to a model that moves them one at a time.
#ifndef UVEK_TESTS_SUPPORT_MOVES_H
#define UVEK_TESTS_SUPPORT_MOVES_H

#include <gtest/gtest.h>

#include "support/pixels.h"

namespace uvek::test {

using Moves = std::vector<std::pair<int, int>>;  // source channel, destination channel

const Moves kOne = {{0, 0}}, kThree = {{0, 0}, {1, 1}, {2, 2}}, kFour = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};

// Aligned, padded and turned otherwise than a source of the shape. Packed stays packed.
inline Shape OtherThan(Shape shape)
{
    shape.padding = shape.padding == 0 ? 0 : (shape.padding * 5 + 3) % 11;
    shape.upward = !shape.upward && shape.width % 8 == 1;
    shape.offset = (shape.offset * 7 + shape.width) % 16;
    return shape;
}

// call(src, srcStep, dst, dstStep, size) makes these moves and no other change. One move alone is chosen
// by the pointers.
template <int from, int to, typename S, typename D, typename Call>
void ExpectMovesOn(const Shape& shape, const Shape& dstShape, std::mt19937& random, const Moves& moves, Call call)
{
    const auto src = Noise<S, from>(shape, random);
    auto dst = Noise<D, to>(dstShape, random);
    auto expected = dst;
    ForEachPixel(shape.width, shape.height, [&](Vek32s x, Vek32s y) {
        for (const auto& [s, d] : moves)
            expected.set(x, y, d, (D)src.at(x, y, s));
    });
    const int s = moves.size() == 1 ? moves[0].first : 0, d = moves.size() == 1 ? moves[0].second : 0;
    ASSERT_EQ(StatusOk, call(src.data() + s, src.step(), dst.data() + d, dst.step(), src.size()));
    ASSERT_TRUE(expected == dst) << dst << " seed " << Seed();
}

// Which steps the function takes.
enum class Steps { Any, Positive };

template <int from, int to, typename S, typename D = S, typename Call>
void ExpectMoves(std::mt19937& random, const Moves& moves, Call call, Steps steps = Steps::Any)
{
    ForEachShape([&](Shape shape) {
        Shape other = OtherThan(shape);
        if (steps == Steps::Positive)
            shape.upward = other.upward = false;
        ExpectMovesOn<from, to, S, D>(shape, other, random, moves, call);
    });
}

}  // namespace uvek::test

#endif
