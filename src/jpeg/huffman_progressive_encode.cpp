// Encodes the four kinds of progressive scan.
#include "jpeg/huffman_scan.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

enum class Scan { First, Refine };

template <Scan scan, typename Writer>
VekStatus CodeAc(Writer& writer, const EncodeHuffmanSpec& table, const Vek16s* src, Vek32s first, Vek32s last, Vek32s bit,
                 EncodeHuffmanState* state)
{
    Writer local = writer;
    const VekStatus status = scan == Scan::First ? CodeAcFirst(local, table, src, first, last, bit, state)
                                                 : CodeAcRefine(local, table, src, first, last, bit, state);
    writer = local;
    return status;
}

template <Scan scan>
VekStatus EncodeAc(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos, Vek32s Ss, Vek32s Se, Vek32s Al,
                   const EncodeHuffmanSpec& table, EncodeHuffmanState* pEncHuffState)
{
    if (!kBlocks || dstLenBytes - (int64_t)Get(pDstCurrPos) < FastHuffmanWriter::kScanRoom) {
        HuffmanWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
        return CodeAc<scan>(writer, table, pSrc, Ss, Se, Al, pEncHuffState);
    }
    FastHuffmanWriter::Buffer buffer;
    FastHuffmanWriter writer(buffer, pEncHuffState);
    const VekStatus status = CodeAc<scan>(writer, table, pSrc, Ss, Se, Al, pEncHuffState);
    writer.Save(buffer, pDst, pDstCurrPos, pEncHuffState);
    return status;
}

struct FlushStatus {
    VekStatus pending;
    VekStatus padding;
};

// Pads and clears whatever becomes of the run and the correction bits.
FlushStatus FlushAc(HuffmanWriter writer, const EncodeHuffmanSpec& table, EncodeHuffmanState* state)
{
    const VekStatus pending = PutRunAndCorrections(writer, table, state);
    return {pending, writer.Flush()};
}

}  // namespace

VekStatus vekiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                     Vek16s* pLastDC, Vek32s Al, const EncodeHuffmanSpec* pDcTable,
                                                     EncodeHuffmanState* pEncHuffState, Vek32s bFlushState)
{
    if (!pDst)                                           return StatusNullPointer;
    if (dstLenBytes < 1)                                 return StatusBadSize;
    if (!pDstCurrPos || !pEncHuffState)                  return StatusNullPointer;
    HuffmanWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
    if (bFlushState)                                     return writer.Flush();
    if (!pSrc || !pLastDC)                               return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit)                          return StatusBadRange;
    if (!pDcTable)                                       return StatusNullPointer;

    const Vek32s difference = NextDcDifference(pSrc, Al, pLastDC);
    if (difference >= kDcLimit || difference <= -kDcLimit)
        return StatusBitstreamEnd;
    return writer.PutValue(*pDcTable, 0, difference);
}

VekStatus vekiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                      Vek32s Al, EncodeHuffmanState* pEncHuffState, Vek32s bFlushState)
{
    if (!pDst)                                           return StatusNullPointer;
    if (dstLenBytes < 1)                                 return StatusBadSize;
    if (!pDstCurrPos || !pEncHuffState)                  return StatusNullPointer;
    HuffmanWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
    if (bFlushState)                                     return writer.Flush();
    if (!pSrc)                                           return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit)                          return StatusBadRange;

    return writer.PutBits((Vek32u)(Get(pSrc) >> Al), 1);
}

VekStatus vekiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                     Vek32s Ss, Vek32s Se, Vek32s Al, const EncodeHuffmanSpec* pAcTable,
                                                     EncodeHuffmanState* pEncHuffState, Vek32s bFlushState)
{
    if (!pDst)                                           return StatusNullPointer;
    if (dstLenBytes < 1)                                 return StatusBadSize;
    if (!pDstCurrPos || !pAcTable || !pEncHuffState)     return StatusNullPointer;
    if (bFlushState)
        return FlushAc({pDst, dstLenBytes, pDstCurrPos, pEncHuffState}, *pAcTable, pEncHuffState).padding;
    if (!pSrc)                                           return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit || !IsBand(Ss, Se))       return StatusBadRange;

    return EncodeAc<Scan::First>(pSrc, pDst, dstLenBytes, pDstCurrPos, Ss, Se, Al, *pAcTable, pEncHuffState);
}

VekStatus vekiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                                      Vek32s Ss, Vek32s Se, Vek32s Al, const EncodeHuffmanSpec* pAcTable,
                                                      EncodeHuffmanState* pEncHuffState, Vek32s bFlushState)
{
    if (!pDst)                                           return StatusNullPointer;
    if (dstLenBytes < 1)                                 return StatusBadSize;
    if (!pDstCurrPos || !pAcTable || !pEncHuffState)     return StatusNullPointer;
    if (bFlushState) {
        const FlushStatus status = FlushAc({pDst, dstLenBytes, pDstCurrPos, pEncHuffState}, *pAcTable, pEncHuffState);
        return status.padding != StatusOk ? status.padding : status.pending;
    }
    if (!pSrc)                                           return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit || !IsBand(Ss, Se))       return StatusBadRange;

    return EncodeAc<Scan::Refine>(pSrc, pDst, dstLenBytes, pDstCurrPos, Ss, Se, Al, *pAcTable, pEncHuffState);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
