// Decodes the four kinds of progressive scan. A state carries the run of blocks without new
// coefficients from call to call.
#include "jpeg/huffman_block.h"
#include "jpeg/huffman_reader.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Starts a run of 2^size blocks and more, by the next bits.
VEK_HOT VekStatus StartRun(HuffmanReader& reader, Vek32u size, DecodeHuffmanState* state)
{
    state->eobRun = 1 << size;
    if (size == 0)
        return StatusOk;
    Vek32u more;
    const VekStatus status = reader.ReadBits((Vek32s)size, &more);
    if (status >= 0)
        state->eobRun += (Vek32s)more;
    return status;
}

VEK_HOT VekStatus DecodeAcFirst(HuffmanReader& reader, const DecodeHuffmanSpec& table, Vek16s* dst, Vek32s at, Vek32s last, Vek32s bit,
                                DecodeHuffmanState* state)
{
    do {
        Vek32u symbol;
        VekStatus status = reader.ReadSymbol(table, &symbol);
        if (status < 0)
            return status;
        const Vek32u run = symbol >> 4 & 15, size = symbol & 15;
        if (size == 0) {
            if (run < 15) {
                status = StartRun(reader, run, state);
                if (status >= 0)
                    --state->eobRun;
                return status;
            }
            at += 16;
            continue;
        }
        at += (Vek32s)run;
        Vek32s value;
        status = reader.ReadValue((Vek32s)size, &value);
        if (status < 0)
            return status;
        if (at >= kBlockSize)
            return StatusBadCoderState;
        Put(dst + kNaturalOrder[at], (Vek16s)((Vek32u)value << bit));
        ++at;
    } while (at <= last);
    return StatusOk;
}

// One bit for each coefficient of the set: a one grows its magnitude by `step`, unless that is there.
VEK_HOT VekStatus ReadCorrections(HuffmanReader& reader, Vek16s* dst, uint64_t set, Vek32s step)
{
    for (; set != 0; set &= set - 1) {
        Vek32u one;
        const VekStatus status = reader.ReadBits(1, &one);
        if (status < 0)
            return status;
        Vek16s* const p = dst + kNaturalOrder[__builtin_ctzll(set)];
        const Vek32s value = Get(p), sign = value >> 31;
        const Vek32s change = one != 0 && (value & step) == 0 ? step : 0;
        Put(p, (Vek16s)(value + ((change ^ sign) - sign)));
    }
    return StatusOk;
}

// A set of zigzag positions stands for what the block holds; what this call adds lies behind it.
VEK_HOT VekStatus DecodeAcRefine(HuffmanReader& reader, const DecodeHuffmanSpec& table, Vek16s* dst, Vek32s at, Vek32s last, Vek32s bit,
                                 DecodeHuffmanState* state)
{
    const uint64_t band = ~From(last + 1), nonZero = NonZeroInZigzag(dst) & band, zero = ~nonZero & band;
    const Vek32s step = 1 << bit;
    VekStatus status = StatusOk;
    while (state->eobRun == 0 && at <= last) {
        Vek32u symbol;
        status = reader.ReadSymbol(table, &symbol);
        if (status < 0)
            return status;
        const Vek32u run = symbol >> 4 & 15;
        Vek32u positive = 0;
        const bool isNew = (symbol & 15) != 0;
        if (isNew) {
            status = reader.ReadBits(1, &positive);
            if (status < 0)
                return status;
        } else if (run < 15) {
            status = StartRun(reader, run, state);
            if (status < 0)
                return status;
            break;
        }
        // The zero that the run leads to, or the first position behind the band.
        uint64_t zeros = zero & From(at);
        for (Vek32u i = 0; i < run; ++i)
            zeros &= zeros - 1;
        const Vek32s stop = zeros != 0 ? __builtin_ctzll(zeros) : last + 1;
        status = ReadCorrections(reader, dst, nonZero & From(at) & ~From(stop), step);
        if (status < 0)
            return status;
        if (isNew)
            Put(dst + kNaturalOrder[stop], (Vek16s)(positive != 0 ? step : -step));
        at = stop + 1;
    }
    if (state->eobRun > 0) {
        status = ReadCorrections(reader, dst, nonZero & From(at), step);
        if (status >= 0)
            --state->eobRun;
    }
    return status;
}

}  // namespace

VekStatus vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                     Vek16s* pLastDC, Vek32s* pMarker, Vek32s Al,
                                                     const DecodeHuffmanSpec* pDcTable, DecodeHuffmanState* pDecHuffState)
{
    if (!pSrc)                                          return StatusNullPointer;
    if (srcLenBytes < 1)                                return StatusBadSize;
    if (!pSrcCurrPos || !pDst || !pLastDC || !pMarker)  return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit)                         return StatusBadRange;
    if (!pDcTable || !pDecHuffState)                    return StatusNullPointer;

    HuffmanReader reader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState);
    const VekStatus status = ReadDc(reader, *pDcTable, pLastDC);
    if (status >= 0)
        Put(pDst, (Vek16s)((Vek32u)Get(pLastDC) << Al));
    reader.Save(pSrc, pSrcCurrPos, pMarker, pDecHuffState);
    return status;
}

VekStatus vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                      Vek32s* pMarker, Vek32s Al, DecodeHuffmanState* pDecHuffState)
{
    if (!pSrc)                                          return StatusNullPointer;
    if (srcLenBytes < 1)                                return StatusBadSize;
    if (!pSrcCurrPos || !pDst || !pMarker)              return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit)                         return StatusBadRange;
    if (!pDecHuffState)                                 return StatusNullPointer;

    HuffmanReader reader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState);
    Vek32u one = 0;
    const VekStatus status = reader.ReadBits(1, &one);
    if (status >= 0)
        Put(pDst, (Vek16s)(Get(pDst) | (Vek32s)(one << Al)));
    reader.Save(pSrc, pSrcCurrPos, pMarker, pDecHuffState);
    return status;
}

VekStatus vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                     Vek32s* pMarker, Vek32s Ss, Vek32s Se, Vek32s Al,
                                                     const DecodeHuffmanSpec* pAcTable, DecodeHuffmanState* pDecHuffState)
{
    if (!pSrc)                                          return StatusNullPointer;
    if (srcLenBytes < 1)                                return StatusBadSize;
    if (!pSrcCurrPos || !pDst || !pMarker)              return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit || !IsBand(Ss, Se))      return StatusBadRange;
    if (!pAcTable || !pDecHuffState)                    return StatusNullPointer;

    if (pDecHuffState->eobRun > 0) {
        --pDecHuffState->eobRun;
        return StatusOk;
    }
    HuffmanReader reader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState);
    const VekStatus status = DecodeAcFirst(reader, *pAcTable, pDst, Ss, Se, Al, pDecHuffState);
    reader.Save(pSrc, pSrcCurrPos, pMarker, pDecHuffState);
    return status;
}

VekStatus vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                                      Vek32s* pMarker, Vek32s Ss, Vek32s Se, Vek32s Al,
                                                      const DecodeHuffmanSpec* pAcTable, DecodeHuffmanState* pDecHuffState)
{
    if (!pSrc)                                          return StatusNullPointer;
    if (srcLenBytes < 1)                                return StatusBadSize;
    if (!pSrcCurrPos || !pDst || !pMarker)              return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit || !IsBand(Ss, Se))      return StatusBadRange;
    if (!pAcTable || !pDecHuffState)                    return StatusNullPointer;

    HuffmanReader reader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState);
    const VekStatus status = DecodeAcRefine(reader, *pAcTable, pDst, Ss, Se, Al, pDecHuffState);
    reader.Save(pSrc, pSrcCurrPos, pMarker, pDecHuffState);
    return status;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
