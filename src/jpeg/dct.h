// What the two directions of the 16-bit transform of tiers 1 to 3 share: the weights of their row pass
// and the fixed-point multiplication of their column pass.
#ifndef UVEK_JPEG_DCT_H
#define UVEK_JPEG_DCT_H

#include "frame/simd.h"

namespace uvek::VEK_TIER_NAMESPACE {

// Signed 16-bit fractions of the column pass: tan(pi/16), tan(pi/8), and tan(3 pi/16) less one.
constexpr int kTan1 = 13036;
constexpr int kTan2 = 27146;
constexpr int kTan3LessOne = -21746;

// The row pass multiplies frequency k of sample n of a row by w[j], +- as cos((2 n + 1) k pi / 16) is
// +-cos(j pi / 16), and by w[4] for k = 0. What the column pass leaves unscaled in a row is in its w.
struct RowWeights {
    Vek16s w[8];
};

constexpr RowWeights kRowWeights[4] = {
    {{0, 22725, 21407, 19266, 16384, 12873, 8867, 4520}},   // rows 0 and 4
    {{0, 31521, 29692, 26722, 22725, 17855, 12299, 6270}},  // rows 1 and 7
    {{0, 29692, 27969, 25172, 21407, 16819, 11585, 5906}},  // rows 2 and 6
    {{0, 26722, 25172, 22654, 19266, 15137, 10426, 5315}},  // rows 3 and 5
};

// The class of a row, an index of kRowWeights.
constexpr int RowClass(int row)
{
    return row % 4 == 0 ? 0 : row == 1 || row == 7 ? 1 : row % 4 == 2 ? 2 : 3;
}

constexpr Vek16s Weight(int rowClass, int frequency, int sample)
{
    if (frequency == 0)
        return kRowWeights[rowClass].w[4];
    int j = (2 * sample + 1) * frequency % 32;  // a whole turn is 32
    if (j > 16)
        j = 32 - j;
    return j > 8 ? (Vek16s)-kRowWeights[rowClass].w[16 - j] : kRowWeights[rowClass].w[j];
}

// Weights of four pair products: lane i holds those of one multiply-add.
struct alignas(16) PairWeights {
    Vek16s lane[8];
};

inline V LoadA(const PairWeights& weights) { return LoadA(weights.lane); }

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
