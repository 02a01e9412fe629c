// Quantised coefficients to samples: multiplication by the steps, inverse 8x8 DCT, level shift, clamp.
// Tier 0 has a 32-bit transform, columns first; tiers 1 to 3 a 16-bit one, rows first. Coefficients
// may be anything that a corrupt file makes them: what wraps does so in unsigned arithmetic.
#include "frame/simd.h"
#include "jpeg/dct.h"
#include "uvek/jpeg.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// ---- Tier 0 ----

// One pass over x[0], x[stride], .. in place: (sum + (1 << shift) / 2) >> shift, the low 16 bits of it.
void InversePass(Vek16s* x, int stride, int shift)
{
    Vek32u in[8];
    for (int i = 0; i < 8; ++i)
        in[i] = (Vek32u)(Vek32s)x[i * stride];

    const Vek32u a = (in[5] + in[3]) * 27246, t3 = a - in[3] * 45451, t5 = a - in[5] * 9041;
    const Vek32u b = (in[1] + in[7]) * 6393, t1 = b + in[1] * 25746, t7 = b - in[7] * 38531;
    const Vek32u u = t1 - t5, v = t7 - t3, s = u + v, d = u - v;
    const Vek32u r = (Vek32u)((Vek32s)(t1 + t5 + 2048) >> 12) * 5793, p = (Vek32u)((Vek32s)(t3 + t7 + 2048) >> 12) * 5793;

    const Vek32u c = (in[2] + in[6]) * 17734, g2 = c + in[2] * 25080, g6 = c - in[6] * 60547;
    const Vek32u e = (in[0] << 15) + (in[4] << 15), f = (in[0] << 15) - (in[4] << 15);
    const Vek32u even0 = e + g2, even3 = e - g2, even1 = f + g6, even2 = f - g6;

    const Vek32u y[8] = {even0 + r, even1 + s, even2 + d, even3 + p, even3 - p, even2 - d, even1 - s, even0 - r};
    for (int i = 0; i < 8; ++i)
        x[i * stride] = (Vek16s)((Vek32s)(y[i] + (1u << (shift - 1))) >> shift);
}

void InverseWide(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstStep, const Vek16u* pQuantInvTable)
{
    Vek16s block[64];
    for (int i = 0; i < 64; ++i)
        block[i] = Saturate16s(Get(pSrc + i) * (Vek16s)Get(pQuantInvTable + i));
    for (int column = 0; column < 8; ++column)
        InversePass(block + column, 8, 12);
    for (int row = 0; row < 8; ++row)
        InversePass(block + 8 * row, 1, 21);
    for (int i = 0; i < 64; ++i)
        Row(pDst, dstStep, i / 8)[i % 8] = Saturate8u(block[i] + 128);
}

// ---- Tiers 1 to 3 ----

// Products of signed lanes, saturated.
inline V Dequantise(V c, V step)
{
    const V low = MulLow16(c, step), high = MulHigh16s(c, step);
    return Pack32sTo16s(UnpackLow16(low, high), UnpackHigh16(low, high));
}

// Even frequencies give a sum u[n], odd ones v[n]; samples n and 7 - n are their sum and difference. Lane n of
// a product holds two frequencies' part of u[n] or v[n], from a pair that stands in every lane.
struct InverseRowTable {
    PairWeights pair[4];  // frequencies 0 and 4, 1 and 5, 2 and 6, 3 and 7
};

struct InverseTables {
    InverseRowTable row[4];
};

constexpr InverseTables MakeInverseTables()
{
    InverseTables tables = {};
    for (int rowClass = 0; rowClass < 4; ++rowClass)
        for (int frequency = 0; frequency < 8; ++frequency)
            for (int sample = 0; sample < 4; ++sample)
                tables.row[rowClass].pair[frequency % 4].lane[2 * sample + frequency / 4] = Weight(rowClass, frequency, sample);
    return tables;
}

constexpr InverseTables kInverseTables = MakeInverseTables();

// Tuned so that the biases of the two passes cancel; row 0's also rounds the column pass.
constexpr Vek32s kRowRound[8] = {65536, 2901, 2260, 1704, 1024, 455, 512, 373};

template <int y>
inline V InverseRow(const Vek16s* pSrc, const Vek16u* pQuantInvTable)
{
    const InverseRowTable& table = kInverseTables.row[RowClass(y)];
    const V x = Dequantise(LoadU(pSrc + 8 * y), LoadU(pQuantInvTable + 8 * y));
    V pairs;  // x0 x4 x1 x5 x2 x6 x3 x7
    if constexpr (kHasByteShuffle)
        pairs = Shuffle8(x, Lanes8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    else
        pairs = UnpackLow16(x, Permute32<2, 3, 2, 3>(x));
    const V even0 = MulAdd16(Permute32<0, 0, 0, 0>(pairs), LoadA(table.pair[0])), odd1 = MulAdd16(Permute32<1, 1, 1, 1>(pairs), LoadA(table.pair[1]));
    const V even2 = MulAdd16(Permute32<2, 2, 2, 2>(pairs), LoadA(table.pair[2])), odd3 = MulAdd16(Permute32<3, 3, 3, 3>(pairs), LoadA(table.pair[3]));
    const V u = Add32(Add32(even0, Splat32(kRowRound[y])), even2), v = Add32(odd1, odd3);
    return PermuteHigh16<3, 2, 1, 0>(Pack32sTo16s(ShiftRight32s<11>(Add32(u, v)), ShiftRight32s<11>(Sub32(u, v))));
}

inline void InverseColumns(V r[8])
{
    const V tan1 = Splat16(kTan1), tan2 = Splat16(kTan2), tan3LessOne = Splat16(kTan3LessOne);
    const V cos4LessOne = Splat16(-19195);  // cos(pi/4), of which one is added back

    const V m5 = AddSat16s(r[5], MulHigh16s(r[5], tan3LessOne)), m3 = AddSat16s(r[3], MulHigh16s(r[3], tan3LessOne));
    const V t35 = AddSat16s(m5, r[3]), d35 = SubSat16s(r[5], m3);
    const V s17 = AddSat16s(MulHigh16s(r[7], tan1), r[1]), d17 = SubSat16s(MulHigh16s(r[1], tan1), r[7]);
    const V s26 = AddSat16s(MulHigh16s(r[6], tan2), r[2]), d26 = SubSat16s(MulHigh16s(r[2], tan2), r[6]);

    const V a = AddSat16s(s17, t35), b = SubSat16s(s17, t35), c = SubSat16s(d17, d35), d = AddSat16s(d17, d35);
    const V e = AddSat16s(b, c), f = SubSat16s(b, c);
    const V e2 = AddSat16s(e, MulHigh16s(e, cos4LessOne)), f2 = AddSat16s(f, MulHigh16s(f, cos4LessOne));
    const V g = AddSat16s(r[0], r[4]), h = SubSat16s(r[0], r[4]);
    const V i = AddSat16s(g, s26), j = SubSat16s(g, s26), k = AddSat16s(h, d26), l = SubSat16s(h, d26);

    r[0] = ShiftRight16s<6>(AddSat16s(i, a));
    r[7] = ShiftRight16s<6>(SubSat16s(i, a));
    r[1] = ShiftRight16s<6>(AddSat16s(k, e2));
    r[6] = ShiftRight16s<6>(SubSat16s(k, e2));
    r[2] = ShiftRight16s<6>(AddSat16s(l, f2));
    r[5] = ShiftRight16s<6>(SubSat16s(l, f2));
    r[3] = ShiftRight16s<6>(AddSat16s(j, d));
    r[4] = ShiftRight16s<6>(SubSat16s(j, d));
}

void InverseNarrow(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstStep, const Vek16u* pQuantInvTable)
{
    V r[8] = {
        InverseRow<0>(pSrc, pQuantInvTable), InverseRow<1>(pSrc, pQuantInvTable), InverseRow<2>(pSrc, pQuantInvTable), InverseRow<3>(pSrc, pQuantInvTable),
        InverseRow<4>(pSrc, pQuantInvTable), InverseRow<5>(pSrc, pQuantInvTable), InverseRow<6>(pSrc, pQuantInvTable), InverseRow<7>(pSrc, pQuantInvTable),
    };
    InverseColumns(r);
    const V shift = Splat8(128);
    for (int y = 0; y < 8; y += 2) {
        // Saturated to signed bytes and then shifted is shifted and then clamped.
        const V rows = Xor(Pack16sTo8s(r[y], r[y + 1]), shift);
        Store64(Row(pDst, dstStep, y), rows);
        Store64(Row(pDst, dstStep, y + 1), UnpackHigh64(rows, rows));
    }
}

}  // namespace

VekStatus vekiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstStep, const Vek16u* pQuantInvTable)
{
    if (!pSrc || !pDst)   return StatusNullPointer;
    if (dstStep < 1)      return StatusBadStep;
    if (!pQuantInvTable)  return StatusNullPointer;

    if constexpr (kBlocks)
        InverseNarrow(pSrc, pDst, dstStep, pQuantInvTable);
    else
        InverseWide(pSrc, pDst, dstStep, pQuantInvTable);
    return StatusOk;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
