// The four progressive decoders on one state, which carries its run of blocks from each to the next.
#include "tiers.h"

using namespace uvek::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const uint8_t choice = input.Byte();
    const Vek32s ss = input.Below(66) - 1, se = input.Below(66), al = input.Below(15);
    const Vek32s calls = 1 + input.Below(40);
    uint8_t kinds[40];
    for (Vek32s i = 0; i < calls; ++i)
        kinds[i] = input.Byte();
    const GuardedBytes stream = input.Rest();
    CompareTiers([&] {
        Vek16s* const block = ClearedBlock();
        const TableOfLists table(choice & 1 ? StandardAc() : AllSymbols());
        Record<DecodeHuffmanState> state(vekiDecodeHuffmanStateGetBufSize_JPEG_8u);
        Trace trace;
        Vek32s position = 0, marker = 0;
        Vek16s lastDc = 0;
        const Vek32s length = (Vek32s)stream.size();
        const Vek8u* const src = stream.data();
        for (int n = 0; n < 4 * calls; ++n) {
            VekStatus status;
            switch (kinds[n % calls] & 7) {
            case 0:
                status = vekiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(src, length, &position, block, &lastDc, &marker, al, table.record.get(),
                                                                    state.get());
                break;
            case 1: status = vekiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(src, length, &position, block, &marker, al, state.get()); break;
            case 2:
            case 3:
            case 4:
                status = vekiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(src, length, &position, block, &marker, ss, se, al, table.record.get(),
                                                                    state.get());
                break;
            default:
                status = vekiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(src, length, &position, block, &marker, ss, se, al, table.record.get(),
                                                                     state.get());
                break;
            }
            trace.Add({status, position, marker, lastDc});
            AddState(trace, state);
            AddBlock(trace, block);
        }
        return trace;
    });
    return 0;
}
