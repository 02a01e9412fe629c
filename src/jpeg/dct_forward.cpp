// Samples to quantised coefficients: level shift, forward 8x8 DCT, multiplication by reciprocal steps.
// Tier 0 has a 32-bit transform, rows first; tiers 1 to 3 a 16-bit one, columns first. The coefficients
// of the two differ by their errors, so that neither stands for the other.
#include "frame/simd.h"
#include "jpeg/dct.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// round(product / 32768), ties to even, saturated.
Vek16s Quantise(Vek16s coefficient, Vek16u reciprocal)
{
    const Vek32s product = coefficient * (Vek32s)reciprocal;
    return Saturate16s((product + 16383 + (product >> 15 & 1)) >> 15);
}

// ---- Tier 0 ----

// Fractions of 12 to 16 bits; sums are left to wrap, which no 8-bit samples make them do.
struct Pass {
    Vek32u y[8];  // y[0] and y[4] are unscaled, the others are scaled by 4096
};

constexpr Vek32s Shift(Vek32u v, int bits) { return (Vek32s)v >> bits; }

Pass ForwardPass(const Vek16s* x, int stride)
{
    Vek32u s[4], d[4];
    for (int i = 0; i < 4; ++i) {
        const Vek32s low = x[i * stride], high = x[(7 - i) * stride];
        s[i] = (Vek32u)(low + high);
        d[i] = (Vek32u)(low - high);
    }
    const Vek32u e0 = s[0] + s[3], e1 = s[0] - s[3], e2 = s[1] + s[2], e3 = s[1] - s[2];
    const Vek32u c = (e1 + e3) * 17734;

    const Vek32u m0 = (Vek32u)Shift(d[0] * 46341 + 2048, 12), m3 = (Vek32u)Shift(d[3] * 46341 + 2048, 12);
    const Vek32u a = 8 * d[1] + 8 * d[2], b = 8 * d[1] - 8 * d[2];
    const Vek32u p = m0 + a, q = m0 - a, r = m3 + b, s3 = m3 - b;
    const Vek32u u = (p + r) * 799, w = (q + s3) * 3406;
    return {{e0 + e2, u + p * 3218, e1 * 25080 + c, w - s3 * 5681, e0 - e2, w - q * 1130, c - e3 * 60547, u - r * 4816}};
}

void ForwardWide(Vek16s* block)
{
    for (int row = 0; row < 8; ++row) {
        const Pass pass = ForwardPass(block + 8 * row, 1);
        for (int k = 0; k < 8; ++k)
            block[8 * row + k] = (Vek16s)(k % 4 == 0 ? (Vek32s)(pass.y[k] * 8) : Shift(pass.y[k] + 2048, 12));
    }
    for (int column = 0; column < 8; ++column) {
        const Pass pass = ForwardPass(block + column, 8);
        for (int k = 0; k < 8; ++k)
            block[8 * k + column] = (Vek16s)(k % 4 == 0 ? Shift(pass.y[k] + 32, 6) : Shift(pass.y[k] + (1 << 20), 21));
    }
}

void TransformWide(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, const Vek16u* pQuantFwdTable)
{
    Vek16s block[64];
    for (int i = 0; i < 64; ++i)
        block[i] = (Vek16s)(Row(pSrc, srcStep, i / 8)[i % 8] - 128);
    ForwardWide(block);
    for (int i = 0; i < 64; ++i)
        Put(pDst + i, Quantise(block[i], Get(pQuantFwdTable + i)));
}

// ---- Tiers 1 to 3 ----

// All eight columns at once. Samples of 8 bits come nowhere near saturation, so that the level shift,
// which the differences do not feel, is one subtraction from the row of sums.
inline void ForwardColumns(V r[8])
{
    const V one = Splat16(1), tan1 = Splat16(kTan1), tan2 = Splat16(kTan2), tan3LessOne = Splat16(kTan3LessOne);

    const V a = ShiftLeft16<3>(AddSat16s(r[1], r[6])), b = ShiftLeft16<3>(AddSat16s(r[5], r[2]));
    const V e = AddSat16s(r[0], r[7]), g = AddSat16s(r[3], r[4]);
    const V h = ShiftLeft16<3>(SubSat16s(e, g)), k = ShiftLeft16<3>(AddSat16s(e, g));
    const V m = SubSat16s(a, b), n = AddSat16s(a, b);

    const V f = ShiftLeft16<4>(SubSat16s(r[1], r[6])), l = ShiftLeft16<4>(SubSat16s(r[2], r[5]));
    const V half = Splat16(23170);  // 1 / sqrt(8): f and l stand a bit higher than o and i
    const V v = Or(MulHigh16s(AddSat16s(f, l), half), one), z = MulHigh16s(SubSat16s(f, l), half);
    const V o = ShiftLeft16<3>(SubSat16s(r[0], r[7])), i = ShiftLeft16<3>(SubSat16s(r[3], r[4]));
    const V p = AddSat16s(i, z), q = SubSat16s(i, z), s = AddSat16s(o, v), t = SubSat16s(o, v);
    const V u = AddSat16s(MulHigh16s(q, tan3LessOne), q), w = AddSat16s(MulHigh16s(t, tan3LessOne), t);

    r[0] = SubSat16s(AddSat16s(k, n), Splat16(8 * 8 * 128));
    r[1] = Or(AddSat16s(s, MulHigh16s(p, tan1)), one);
    r[2] = Or(AddSat16s(h, MulHigh16s(m, tan2)), one);
    r[3] = SubSat16s(t, u);
    r[4] = SubSat16s(k, n);
    r[5] = AddSat16s(w, q);
    r[6] = Or(SubSat16s(MulHigh16s(h, tan2), m), one);
    r[7] = SubSat16s(MulHigh16s(s, tan1), p);
}

// Sums s[n] = x[n] + x[7 - n] carry the even frequencies of a row, differences d the odd ones. They stand as
// the pairs s0 s1, d0 d1, s2 s3, d2 d3, and once more with their halves exchanged, so that
//     frequency 0 + 4 i of lane 0 = straight s0 s1 + crossed s2 s3    lane 2 = straight s2 s3 + crossed s0 s1
//     frequency 1 + 4 i of lane 1 = straight d0 d1 + crossed d2 d3    lane 3 = straight d2 d3 + crossed d0 d1
struct ForwardRowTable {
    PairWeights straight[2], crossed[2];
};

struct ForwardTables {
    ForwardRowTable row[4];
};

constexpr ForwardTables MakeForwardTables()
{
    ForwardTables tables = {};
    for (int rowClass = 0; rowClass < 4; ++rowClass)
        for (int frequency = 0; frequency < 8; ++frequency)
            for (int i = 0; i < 2; ++i) {
                const int lane = frequency % 4, first = lane < 2 ? 0 : 2, half = frequency / 4;
                ForwardRowTable& row = tables.row[rowClass];
                row.straight[half].lane[2 * lane + i] = Weight(rowClass, frequency, first + i);
                row.crossed[half].lane[2 * lane + i] = Weight(rowClass, frequency, 2 - first + i);
            }
    return tables;
}

constexpr ForwardTables kForwardTables = MakeForwardTables();

inline V ForwardRow(V x, const ForwardRowTable& table)
{
    V reversed;  // x7 x6 x5 x4 in the low half
    if constexpr (kHasByteShuffle)
        reversed = Shuffle8(x, Lanes8(14, 15, 12, 13, 10, 11, 8, 9, -1, -1, -1, -1, -1, -1, -1, -1));
    else
        reversed = PermuteLow16<3, 2, 1, 0>(Permute32<2, 3, 2, 3>(x));
    const V straight = UnpackLow32(AddSat16s(x, reversed), SubSat16s(x, reversed)), crossed = Permute32<2, 3, 0, 1>(straight);
    const V round = Splat32(1 << 19);
    const V low = Add32(MulAdd16(straight, LoadA(table.straight[0])), MulAdd16(crossed, LoadA(table.crossed[0])));
    const V high = Add32(MulAdd16(straight, LoadA(table.straight[1])), MulAdd16(crossed, LoadA(table.crossed[1])));
    return Pack32sTo16s(ShiftRight32s<20>(Add32(low, round)), ShiftRight32s<20>(Add32(high, round)));
}

// Quantise on eight coefficients of 8-bit samples: below 1200, they saturate by no table.
inline V QuantiseRow(V c, V reciprocal)
{
    const V one = Splat16(1), low = MulLow16(c, reciprocal);
    V quotient;
    if constexpr (kHasByteShuffle) {
        // Half up by the instruction; where the rest is a half, clearing the low bit makes it ties to even.
        const V tie = Equal16(Add16(low, low), Splat16(-32768));
        quotient = AndNot(ShiftRight16u<15>(tie), MulRound16s(c, reciprocal));
    } else {
        const V high = MulHigh16s(c, reciprocal);
        const V floor = Or(Add16(high, high), ShiftRight16u<15>(low));
        const V rest = And(low, Splat16(0x7fff));
        quotient = Add16(floor, ShiftRight16u<15>(Add16(Add16(rest, Splat16(16383)), And(floor, one))));
    }
    // A reciprocal of 32768 and more is negative to the multiplication, which is 2 c too little then.
    return Add16(quotient, And(Add16(c, c), ShiftRight16s<15>(reciprocal)));
}

template <int y>
inline void FinishRow(V row, Vek16s* pDst, const Vek16u* pQuantFwdTable)
{
    StoreU(pDst + 8 * y, QuantiseRow(ForwardRow(row, kForwardTables.row[RowClass(y)]), LoadU(pQuantFwdTable + 8 * y)));
}

void TransformNarrow(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, const Vek16u* pQuantFwdTable)
{
    const auto row = [=](int y) { return WidenLow8u(Load64(Row(pSrc, srcStep, y))); };
    V r[8] = {row(0), row(1), row(2), row(3), row(4), row(5), row(6), row(7)};
    ForwardColumns(r);
    FinishRow<0>(r[0], pDst, pQuantFwdTable);
    FinishRow<1>(r[1], pDst, pQuantFwdTable);
    FinishRow<2>(r[2], pDst, pQuantFwdTable);
    FinishRow<3>(r[3], pDst, pQuantFwdTable);
    FinishRow<4>(r[4], pDst, pQuantFwdTable);
    FinishRow<5>(r[5], pDst, pQuantFwdTable);
    FinishRow<6>(r[6], pDst, pQuantFwdTable);
    FinishRow<7>(r[7], pDst, pQuantFwdTable);
}

}  // namespace

VekStatus vekiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const Vek8u* pSrc, Vek32s srcStep, Vek16s* pDst, const Vek16u* pQuantFwdTable)
{
    if (!pSrc || !pDst)   return StatusNullPointer;
    if (srcStep < 1)      return StatusBadStep;
    if (!pQuantFwdTable)  return StatusNullPointer;

    if constexpr (kBlocks)
        TransformNarrow(pSrc, srcStep, pDst, pQuantFwdTable);
    else
        TransformWide(pSrc, srcStep, pDst, pQuantFwdTable);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
