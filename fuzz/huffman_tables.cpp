// Tables from any lists, and a few blocks with those that can be built; lists from any statistics must
// build both tables unless they are refused.
#include "tiers.h"

using namespace uvek::fuzz;

namespace {

HuffmanLists ListsOf(Input& input)
{
    HuffmanLists lists;
    for (Vek8u& count : lists.bits)
        count = input.Byte();
    for (Vek8u& symbol : lists.vals)
        symbol = input.Byte();
    return lists;
}

void Check(bool holds)
{
    if (!holds)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    const uint8_t choice = input.Byte();
    if (choice & 1) {
        // Counters of up to 30 bits; their sum stays within the tree's bound.
        std::vector<Vek32s> counters(257);
        int64_t sum = 1;
        for (Vek32s& counter : counters) {
            const uint8_t byte = input.Byte();
            counter = (byte & 7) << (byte >> 3) % 28;
            sum += counter;
        }
        CompareTiers([&] {
            Trace trace;
            HuffmanLists lists;
            const VekStatus status = vekiEncodeHuffmanRawTableInit_JPEG_8u(counters.data(), lists.bits, lists.vals);
            Record<EncodeHuffmanSpec> encode(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
            if (status == StatusOk && sum <= 1000000000) {
                Check(vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, encode.get()) == StatusOk);
                Check(TableOfLists(lists).status == StatusOk);
                for (int symbol = 0; symbol < 256; ++symbol)
                    Check((((const Vek32u*)encode.get())[symbol] != 0) == (counters[(size_t)symbol] != 0));
            }
            trace.Add({status});
            trace.Add(&lists, sizeof lists);
            return trace;
        });
        return 0;
    }
    const HuffmanLists lists = ListsOf(input);
    const GuardedBytes stream = input.Rest();
    Vek16s* const block = ClearedBlock();
    CompareTiers([&] {
        Trace trace;
        const TableOfLists table(lists);
        Record<EncodeHuffmanSpec> encode(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u);
        const VekStatus encoder = vekiEncodeHuffmanSpecInit_JPEG_8u(lists.bits, lists.vals, encode.get());
        Check(encoder != StatusOk || table.status == StatusOk);  // the encoder's rule is the stricter
        trace.Add({table.status, encoder});
        Record<DecodeHuffmanState> state(vekiDecodeHuffmanStateGetBufSize_JPEG_8u);
        Vek32s position = 0, marker = 0;
        Vek16s lastDc = 0;
        for (int n = 0; table.status == StatusOk && n < 8; ++n) {
            trace.Add({vekiDecodeHuffman8x8_JPEG_1u16s_C1(stream.data(), (Vek32s)stream.size(), &position, block, &lastDc, &marker,
                                                          table.record.get(), table.record.get(), state.get())});
            AddState(trace, state);
            AddBlock(trace, block);
        }
        return trace;
    });
    return 0;
}
