// Encodes baseline blocks, and the differences of lossless scans.
#include "jpeg/huffman_block.h"
#include "jpeg/huffman_writer.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kSixteenZeros = 0xf0;
constexpr Vek32s kEndOfBlock = 0;

template <typename Writer>
VekStatus EncodeBlock(Writer& writer, const Vek16s* src, Vek32s dcDifference, const EncodeHuffmanSpec& dcTable,
                      const EncodeHuffmanSpec& acTable)
{
    const SignedValue dc(dcDifference);
    VekStatus status = writer.PutSymbol(dcTable, dc.category, dc.bits, dc.category);
    if (status < 0)
        return status;
    Vek32s last = 0;
    for (uint64_t left = NonZeroInZigzag(src) & ~(uint64_t)1; left != 0; left &= left - 1) {
        const Vek32s at = __builtin_ctzll(left);
        Vek32s run = at - last - 1;
        last = at;
        for (; run > 15; run -= 16) {
            status = writer.PutSymbol(acTable, kSixteenZeros);
            if (status < 0)
                return status;
        }
        const SignedValue ac(Get(src + kNaturalOrder[at]));
        status = writer.PutSymbol(acTable, 16 * run + ac.category, ac.bits, ac.category);
        if (status < 0)
            return status;
    }
    return last == kBlockSize - 1 ? (VekStatus)StatusOk : writer.PutSymbol(acTable, kEndOfBlock);
}

}  // namespace

VekStatus vekiEncodeHuffman8x8_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                             Vek16s* pLastDC, const EncodeHuffmanSpec* pDcTable,
                                             const EncodeHuffmanSpec* pAcTable, EncodeHuffmanState* pEncHuffState,
                                             Vek32s bFlushState)
{
    if (!pDst)                                         return StatusNullPointer;
    if (dstLenBytes < 1)                               return StatusBadSize;
    if (!pDstCurrPos || !pEncHuffState)                return StatusNullPointer;
    HuffmanWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
    if (bFlushState)                                   return writer.Flush();
    if (!pSrc || !pLastDC || !pDcTable || !pAcTable)   return StatusNullPointer;

    const Vek16s dc = Get(pSrc);
    const Vek32s difference = dc - Get(pLastDC);
    Put(pLastDC, dc);
    if (!kBlocks || dstLenBytes - (int64_t)Get(pDstCurrPos) < FastHuffmanWriter::kRoomPerBlock)
        return EncodeBlock(writer, pSrc, difference, *pDcTable, *pAcTable);
    FastHuffmanWriter fast(pDst, pDstCurrPos, pEncHuffState);
    const VekStatus status = EncodeBlock(fast, pSrc, difference, *pDcTable, *pAcTable);
    fast.Save(pDst, pDstCurrPos, pEncHuffState);
    return status;
}

VekStatus vekiEncodeHuffmanOne_JPEG_16s1u_C1(const Vek16s* pSrc, Vek8u* pDst, Vek32s dstLenBytes, Vek32s* pDstCurrPos,
                                             const EncodeHuffmanSpec* pEncHuffTable, EncodeHuffmanState* pEncHuffState,
                                             Vek32s bFlushState)
{
    if (!pDst)                                         return StatusNullPointer;
    if (dstLenBytes < 1)                               return StatusBadSize;
    if (!pDstCurrPos || !pEncHuffState)                return StatusNullPointer;
    HuffmanWriter writer(pDst, dstLenBytes, pDstCurrPos, pEncHuffState);
    if (bFlushState)                                   return writer.Flush();
    if (!pSrc || !pEncHuffTable)                       return StatusNullPointer;

    const SignedValue value(Get(pSrc));
    return writer.PutSymbol(*pEncHuffTable, value.category, value.bits, value.category & 15);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
