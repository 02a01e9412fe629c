// Counts the symbols that the encoders of progressive scans would write.
#include "jpeg/huffman_scan.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

// Stands where a writer would: counts codes, drops bits.
class SymbolCounter {
public:
    // One less than a fixed table can take.
    static constexpr Vek32s kMaxValueSize = 10;
    static constexpr bool kKeepsBits = false;

    explicit SymbolCounter(Vek32s* counters) : counters_(counters) {}

    VekStatus PutSymbol(const EncodeHuffmanSpec&, uint64_t symbol)
    {
        Put(counters_ + symbol, (Vek32s)((Vek32u)Get(counters_ + symbol) + 1));
        return StatusOk;
    }

    VekStatus PutValue(const EncodeHuffmanSpec& table, uint64_t run, Vek32s value)
    {
        return PutSymbol(table, 16 * run + CodeOfAnyValue(value).category);
    }

    static VekStatus PutBits(Vek32u, Vek32s) { return StatusOk; }

    static VekStatus PutEach(const Vek8u*, Vek32s* count)
    {
        *count = 0;
        return StatusOk;
    }

    static void Keep(Vek8u*, Vek32s, Vek32s) {}

private:
    Vek32s* counters_;
};

constexpr EncodeHuffmanSpec kNoTable{};

VekStatus FlushCounter(SymbolCounter counter, EncodeHuffmanState* state)
{
    const VekStatus status = PutRunAndCorrections(counter, kNoTable, state);
    ClearState(state);
    return status;
}

}  // namespace

VekStatus vekiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32s* pDcStatistics, Vek16s* pLastDC, Vek32s Al)
{
    if (!pSrc || !pDcStatistics || !pLastDC)        return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit)                     return StatusBadRange;

    const Vek32s difference = NextDcDifference(pSrc, Al, pLastDC);
    if (difference >= kDcLimit || difference <= -kDcLimit)
        return StatusBitstreamEnd;
    return SymbolCounter(pDcStatistics).PutValue(kNoTable, 0, difference);
}

VekStatus vekiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Vek16s* pSrc, Vek32s* pAcStatistics, Vek32s Ss, Vek32s Se,
                                                          Vek32s Al, EncodeHuffmanState* pEncHuffState, Vek32s bFlushState)
{
    if (!pAcStatistics || !pEncHuffState)           return StatusNullPointer;
    SymbolCounter counter(pAcStatistics);
    if (bFlushState)                                return FlushCounter(counter, pEncHuffState);
    if (!pSrc)                                      return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit || !IsBand(Ss, Se))  return StatusBadRange;

    return CodeAcFirst(counter, kNoTable, pSrc, Ss, Se, Al, pEncHuffState);
}

VekStatus vekiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Vek16s* pSrc, Vek32s* pAcStatistics, Vek32s Ss, Vek32s Se,
                                                           Vek32s Al, EncodeHuffmanState* pEncHuffState, Vek32s bFlushState)
{
    if (!pAcStatistics || !pEncHuffState)           return StatusNullPointer;
    SymbolCounter counter(pAcStatistics);
    if (bFlushState)                                return FlushCounter(counter, pEncHuffState);
    if (!pSrc)                                      return StatusNullPointer;
    if (Al < 0 || Al > kMaxBit || !IsBand(Ss, Se))  return StatusBadRange;

    return CodeAcRefine(counter, kNoTable, pSrc, Ss, Se, Al, pEncHuffState);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
