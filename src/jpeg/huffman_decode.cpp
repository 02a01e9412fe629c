// Decodes baseline blocks, and the differences of lossless scans.
#include "frame/simd.h"
#include "jpeg/huffman_reader.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// One by one: of a loop the compiler makes a call or a string instruction, dear for so few bytes.
VEK_HOT void ClearBlock(Vek16s* dst)
{
    StoreU(dst, Zero());
    StoreU(dst + 8, Zero());
    StoreU(dst + 16, Zero());
    StoreU(dst + 24, Zero());
    StoreU(dst + 32, Zero());
    StoreU(dst + 40, Zero());
    StoreU(dst + 48, Zero());
    StoreU(dst + 56, Zero());
}

// Leaves in *next the zigzag position after the last one that was consumed.
VEK_HOT VekStatus DecodeAc(HuffmanReader& reader, const DecodeHuffmanSpec& table, Vek16s* dst, Vek32s* next)
{
    Vek32s at = 1;
    VekStatus status;
    do {
        Vek32u symbol;
        status = reader.ReadSymbol(table, &symbol);
        if (status < 0)
            break;
        const Vek32s run = symbol >> 4 & 15, size = symbol & 15;
        if (size == 0) {
            if (run < 15)
                break;
            at += 16;
            continue;
        }
        at += run;
        Vek32s value;
        status = reader.ReadValue(size, &value);
        const Vek32s natural = kNaturalOrder[at++];
        if (status < 0)
            break;
        if (natural < 0) {
            status = StatusBadCoderState;
            break;
        }
        Put(dst + natural, (Vek16s)value);
    } while (at < kBlockSize);
    *next = at;
    return status;
}

}  // namespace

VekStatus vekiDecodeHuffman8x8_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                             Vek16s* pLastDC, Vek32s* pMarker, const DecodeHuffmanSpec* pDcTable,
                                             const DecodeHuffmanSpec* pAcTable, DecodeHuffmanState* pDecHuffState)
{
    if (!pSrc)                                                        return StatusNullPointer;
    if (srcLenBytes < 0)                                              return StatusBadRange;
    if (!pSrcCurrPos || !pDst || !pLastDC || !pMarker)                return StatusNullPointer;
    if (!pDcTable || !pAcTable || !pDecHuffState)                     return StatusNullPointer;

    ClearBlock(pDst);
    HuffmanReader reader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState);
    Vek32s consumed = 0;
    VekStatus status = ReadDc(reader, *pDcTable, pLastDC);
    if (status >= 0) {
        Put(pDst, Get(pLastDC));
        status = DecodeAc(reader, *pAcTable, pDst, &consumed);
    }
    // A run that leaves the block still fills no more than the block.
    pDecHuffState->coefCount = Min(consumed, kBlockSize);
    reader.Save(pSrc, pSrcCurrPos, pMarker, pDecHuffState);
    return status;
}

VekStatus vekiDecodeHuffmanOne_JPEG_1u16s_C1(const Vek8u* pSrc, Vek32s srcLenBytes, Vek32s* pSrcCurrPos, Vek16s* pDst,
                                             Vek32s* pMarker, const DecodeHuffmanSpec* pDecHuffTable,
                                             DecodeHuffmanState* pDecHuffState)
{
    if (!pSrc)                                                        return StatusNullPointer;
    if (srcLenBytes < 1)                                              return StatusBadSize;
    if (!pSrcCurrPos || !pDst || !pMarker)                            return StatusNullPointer;
    if (!pDecHuffTable || !pDecHuffState)                             return StatusNullPointer;

    HuffmanReader reader(pSrc, srcLenBytes, pSrcCurrPos, pMarker, pDecHuffState);
    Vek32u symbol = 0;
    Vek32s value = 0;
    VekStatus status = reader.ReadSymbol(*pDecHuffTable, &symbol);
    if (status >= 0) {
        if (symbol > 15)
            value = -32768;
        else if (symbol > 0)
            status = reader.ReadValue((Vek32s)symbol, &value);
        if (status >= 0)
            Put(pDst, (Vek16s)value);
    }
    reader.Save(pSrc, pSrcCurrPos, pMarker, pDecHuffState);
    return status;
}

}  // namespace uvek::VEK_TIER_NAMESPACE
