// Encodes baseline blocks, and the differences of lossless scans.
#include "jpeg/huffman_scan.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32u kEndOfBlock = 0;

// Takes sixteens off *run. Rare, and kept away from the registers of its caller.
template <typename Writer>
VEK_HOT VekStatus PutZeros(Writer& writer, const EncodeHuffmanSpec& table, uint64_t* run)
{
    struct Apart {
        static __attribute__((noinline)) VekStatus Put(Writer& writer, const EncodeHuffmanSpec& table, uint64_t run)
        {
            VekStatus status = StatusOk;
            for (; run > 15 && status >= 0; run -= 16)
                status = writer.PutSymbol(table, kSixteenZeros);
            return status;
        }
    };
    Writer copy = writer;
    const VekStatus status = Apart::Put(copy, table, *run);
    writer = copy;
    *run &= 15;
    return status;
}

template <typename Writer>
VEK_HOT VekStatus EncodeBlock(Writer& writer, const Vek16s* src, Vek32s dcDifference, const EncodeHuffmanSpec& dcTable,
                              const EncodeHuffmanSpec& acTable)
{
    VekStatus status = writer.PutValue(dcTable, 0, dcDifference);
    if (status < 0)
        return status;
    const Vek8s* natural = kNaturalOrder + 1;
    for (uint64_t left = NonZeroInZigzag(src) >> 1; left != 0; left >>= 1, ++natural) {
        uint64_t run = (uint64_t)__builtin_ctzll(left);
        left >>= run;
        natural += run;
        if (__builtin_expect(run > 15, 0)) {
            status = PutZeros(writer, acTable, &run);
            if (status < 0)
                return status;
        }
        status = writer.PutValue(acTable, run, Get(src + *natural));
        if (status < 0)
            return status;
    }
    return natural == kNaturalOrder + kBlockSize ? (VekStatus)StatusOk : writer.PutSymbol(acTable, kEndOfBlock);
}

struct Destination {
    Vek8u* dst;
    Vek32s* position;
    EncodeHuffmanState* state;
};

// Each is a function of its own, so that its few variables fit the registers. The careful one looks at
// the room left before every byte.
__attribute__((noinline)) VekStatus EncodeBlockCarefully(HuffmanWriter writer, const Vek16s* src, Vek32s dcDifference,
                                                         const EncodeHuffmanSpec& dcTable, const EncodeHuffmanSpec& acTable)
{
    return EncodeBlock(writer, src, dcDifference, dcTable, acTable);
}

__attribute__((noinline)) VekStatus EncodeBlockFast(const Destination& to, const Vek16s* src, Vek32s dcDifference,
                                                    const EncodeHuffmanSpec& dcTable, const EncodeHuffmanSpec& acTable)
{
    FastHuffmanWriter::Buffer buffer;
    FastHuffmanWriter writer(buffer, to.state);
    const VekStatus status = EncodeBlock(writer, src, dcDifference, dcTable, acTable);
    writer.Save(buffer, to.dst, to.position, to.state);
    return status;
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
    if (bFlushState)                                   return HuffmanWriter(pDst, dstLenBytes, pDstCurrPos, pEncHuffState).Flush();
    if (!pSrc || !pLastDC || !pDcTable || !pAcTable)   return StatusNullPointer;

    const Vek16s dc = Get(pSrc);
    const Vek32s difference = dc - Get(pLastDC);
    Put(pLastDC, dc);
    if (!kBlocks || dstLenBytes - (int64_t)Get(pDstCurrPos) < FastHuffmanWriter::kBlockRoom)
        return EncodeBlockCarefully(HuffmanWriter(pDst, dstLenBytes, pDstCurrPos, pEncHuffState), pSrc, difference, *pDcTable,
                                    *pAcTable);
    return EncodeBlockFast({pDst, pDstCurrPos, pEncHuffState}, pSrc, difference, *pDcTable, *pAcTable);
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

    // -32768 is the one value of category 16, whose bits are not written.
    const Vek32s value = Get(pSrc);
    return value == -32768 ? writer.PutSymbol(*pEncHuffTable, 16) : writer.PutValue(*pEncHuffTable, 0, value);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
