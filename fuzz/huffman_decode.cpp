// Baseline blocks and lossless differences from any bytes.
#include "tiers.h"

using namespace uvek::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const uint8_t choice = input.Byte();
    const GuardedBytes stream = input.Rest();
    Vek16s* const block = ClearedBlock();
    CompareTiers([&] {
        const TableOfLists dc(choice & 1 ? AllSymbols() : StandardDc()), ac(choice & 2 ? AllSymbols() : StandardAc());
        Record<DecodeHuffmanState> state(vekiDecodeHuffmanStateGetBufSize_JPEG_8u);
        Trace trace;
        Vek32s position = 0, marker = 0;
        Vek16s lastDc = 0, value = 0;
        const Vek32s length = (Vek32s)stream.size();
        for (int failures = 0, n = 0; failures < 3 && n < 400; ++n) {
            const VekStatus status =
                choice & 4 ? vekiDecodeHuffmanOne_JPEG_1u16s_C1(stream.data(), length, &position, &value, &marker, dc.record.get(), state.get())
                           : vekiDecodeHuffman8x8_JPEG_1u16s_C1(stream.data(), length, &position, block, &lastDc, &marker, dc.record.get(),
                                                                ac.record.get(), state.get());
            trace.Add({status, position, marker, lastDc, value});
            AddState(trace, state);
            AddBlock(trace, block);
            failures += status < 0;
        }
        return trace;
    });
    return 0;
}
