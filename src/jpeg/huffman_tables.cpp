// Builds the tables of the Huffman coders from the lists of a DHT segment, and those lists from the
// statistics of a picture.
#include "jpeg/huffman_records.h"

namespace uvek::VEK_TIER_NAMESPACE {
namespace {

constexpr Vek32s kMaxSymbols = 256;
constexpr Vek32s kFastBits = 8;

bool HasTooManyCodes(const Vek8u* counts)
{
    Vek32s total = 0;
    for (int i = 0; i < kMaxCodeLength; ++i)
        total += counts[i];
    return total > kMaxSymbols;
}

VekStatus BuildDecoder(const Vek8u* counts, const Vek8u* values, DecodeHuffmanSpec& spec)
{
    memset(&spec, 0, sizeof spec);
    if (HasTooManyCodes(counts))
        return StatusBadHuffmanTable;

    Vek32u code = 0;
    Vek32s index = 0;
    for (int length = 1; length <= kMaxCodeLength; ++length, code <<= 1) {
        const Vek32s count = counts[length - 1];
        spec.maxCode[length] = kNoCode;
        if (count == 0)
            continue;
        spec.symbolOffset[length] = (Vek16u)index;
        spec.minCode[length] = (Vek16u)code;
        for (const Vek32s end = index + count; index < end; ++index)
            spec.symbols[index] = values[index];
        code += (Vek32u)count;
        spec.maxCode[length] = (Vek16u)(code - 1);
    }
    spec.maxCode[kMaxCodeLength + 1] = kNoCode;

    code = 0;
    index = 0;
    for (int length = 1; length <= kFastBits; ++length, code <<= 1)
        for (Vek32s i = 0; i < counts[length - 1]; ++i, ++code, ++index) {
            const Vek32u first = code << (kFastBits - length), size = 1u << (kFastBits - length);
            for (Vek32u at = first; at < first + size; ++at) {
                if (at > kMaxSymbols)
                    return StatusBadHuffmanTable;
                if (at < kMaxSymbols)  // one code too many of 8 bits is let pass: no stream can hold it
                    spec.fastLookup[at] = (Vek32u)length << 16 | spec.symbols[index];
            }
        }
    return StatusOk;
}

VekStatus BuildEncoder(const Vek8u* counts, const Vek8u* values, EncodeHuffmanSpec& spec)
{
    memset(&spec, 0, sizeof spec);
    if (HasTooManyCodes(counts))
        return StatusBadHuffmanTable;

    // The whole list is looked at before an entry is set.
    Vek32u code = 0;
    for (int length = 1; length <= kMaxCodeLength; ++length, code <<= 1) {
        code += counts[length - 1];
        if (code >= 1u << length)
            return StatusBadHuffmanTable;
    }
    code = 0;
    for (int length = 1; length <= kMaxCodeLength; ++length, code <<= 1)
        for (Vek32s i = 0; i < counts[length - 1]; ++i)
            spec.entries[*values++] = (Vek32u)length << 16 | code++;
    return StatusOk;
}

// ---- An optimised code: the tree of least cost, cut to 16 bits ----

constexpr Vek32s kReserved = 256;  // a symbol that nobody writes takes the code of all ones
constexpr Vek32s kNodes = 257;
constexpr Vek32s kLargestCounter = 1000000000;
constexpr Vek32s kMaxTreeDepth = 32;

struct Tree {
    Vek32s counter[kNodes];
    Vek32s size[kNodes];
    Vek32s next[kNodes];  // chains the symbols that share a branch
};

Vek32s FindRarest(const Tree& tree, Vek32s except)
{
    Vek32s found = -1, least = kLargestCounter;
    for (Vek32s i = 0; i < kNodes; ++i)
        if (tree.counter[i] != 0 && tree.counter[i] <= least && i != except) {
            least = tree.counter[i];
            found = i;
        }
    return found;
}

// One bit more for each symbol of the chain; returns its last.
Vek32s Lengthen(Tree& tree, Vek32s symbol)
{
    for (;;) {
        ++tree.size[symbol];
        if (tree.next[symbol] < 0)
            return symbol;
        symbol = tree.next[symbol];
    }
}

void GrowTree(Tree& tree)
{
    for (;;) {
        const Vek32s first = FindRarest(tree, -1);
        const Vek32s second = FindRarest(tree, first);
        if (second < 0)
            return;
        tree.counter[first] = (Vek32s)((Vek32u)tree.counter[first] + (Vek32u)tree.counter[second]);
        tree.counter[second] = 0;
        tree.next[Lengthen(tree, first)] = second;
        Lengthen(tree, second);
    }
}

VekStatus CutTo16Bits(Vek32s (&counts)[kMaxTreeDepth + 1])
{
    for (int i = kMaxTreeDepth; i > kMaxCodeLength; --i)
        while (counts[i] > 0) {
            int j = i - 2;
            while (j > 0 && counts[j] == 0)
                --j;
            if (j == 0)  // no tree that fits 257 leaves, but memory must not depend on it
                return StatusBadHuffmanTable;
            counts[i] -= 2;
            counts[i - 1] += 1;
            counts[j + 1] += 2;
            counts[j] -= 1;
        }
    return StatusOk;
}

VekStatus BuildLists(const Vek32s* statistics, Vek8u* listBits, Vek8u* listVals)
{
    Tree tree;
    memcpy(tree.counter, statistics, sizeof tree.counter);
    tree.counter[kReserved] = 1;
    memset(tree.size, 0, sizeof tree.size);
    memset(tree.next, 0xff, sizeof tree.next);
    GrowTree(tree);

    Vek32s counts[kMaxTreeDepth + 1] = {};
    for (const Vek32s size : tree.size) {
        if (size > kMaxTreeDepth)
            return StatusBadHuffmanTable;
        counts[size] += size > 0;
    }
    if (CutTo16Bits(counts) != StatusOk)
        return StatusBadHuffmanTable;
    for (int i = kMaxCodeLength; i > 0; --i)
        if (counts[i] > 0) {
            --counts[i];
            break;
        }

    for (int i = 0; i < kMaxCodeLength; ++i)
        listBits[i] = (Vek8u)counts[i + 1];
    for (Vek32s size = 1; size <= kMaxTreeDepth; ++size)
        for (Vek32s symbol = 0; symbol < kReserved; ++symbol)
            if (tree.size[symbol] == size)
                *listVals++ = (Vek8u)symbol;
    return StatusOk;
}

template <typename Record>
VekStatus GetSize(Vek32s* pSize)
{
    if (!pSize)  return StatusNullPointer;

    Put(pSize, (Vek32s)sizeof(Record));
    return StatusOk;
}

template <typename State>
VekStatus InitState(State* state)
{
    if (!state)  return StatusNullPointer;

    ClearState(state);
    return StatusOk;
}

}  // namespace

VekStatus vekiDecodeHuffmanSpecGetBufSize_JPEG_8u(Vek32s* pSize)
{
    return GetSize<DecodeHuffmanSpec>(pSize);
}

VekStatus vekiDecodeHuffmanStateGetBufSize_JPEG_8u(Vek32s* pSize)
{
    return GetSize<DecodeHuffmanState>(pSize);
}

VekStatus vekiEncodeHuffmanSpecGetBufSize_JPEG_8u(Vek32s* pSize)
{
    return GetSize<EncodeHuffmanSpec>(pSize);
}

VekStatus vekiEncodeHuffmanStateGetBufSize_JPEG_8u(Vek32s* pSize)
{
    return GetSize<EncodeHuffmanState>(pSize);
}

VekStatus vekiDecodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals, DecodeHuffmanSpec* pDecHuffSpec)
{
    if (!pListBits || !pListVals || !pDecHuffSpec)  return StatusNullPointer;

    return BuildDecoder(pListBits, pListVals, *pDecHuffSpec);
}

VekStatus vekiEncodeHuffmanSpecInit_JPEG_8u(const Vek8u* pListBits, const Vek8u* pListVals, EncodeHuffmanSpec* pEncHuffSpec)
{
    if (!pListBits || !pListVals || !pEncHuffSpec)  return StatusNullPointer;

    return BuildEncoder(pListBits, pListVals, *pEncHuffSpec);
}

VekStatus vekiDecodeHuffmanStateInit_JPEG_8u(DecodeHuffmanState* pDecHuffState)
{
    return InitState(pDecHuffState);
}

VekStatus vekiEncodeHuffmanStateInit_JPEG_8u(EncodeHuffmanState* pEncHuffState)
{
    return InitState(pEncHuffState);
}

VekStatus vekiEncodeHuffmanRawTableInit_JPEG_8u(const Vek32s* pStatistics, Vek8u* pListBits, Vek8u* pListVals)
{
    if (!pStatistics || !pListBits || !pListVals)  return StatusNullPointer;

    return BuildLists(pStatistics, pListBits, pListVals);
}

}  // namespace uvek::VEK_TIER_NAMESPACE
