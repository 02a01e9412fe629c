// Whole files through the tool's readers, JPEG, PNG and PNM by their first bytes: an image or an error.
#include <cstdint>

#include "codec/jpeg.h"
#include "frame/frame.h"

using namespace uvek::codec;

namespace {

// Files that state a large image are refused here: to allocate it is no fault, but takes all the time.
bool StatesLargeImage(const Bytes& file)
{
    const auto at = [&](size_t i, int bytes) {
        uint64_t value = 0;
        for (int k = 0; k < bytes; ++k)
            value = value << 8 | (i + (size_t)k < file.size() ? file[i + (size_t)k] : 0);
        return value;
    };
    constexpr uint64_t kLarge = 1 << 16;
    if (at(0, 4) == 0x89504e47)
        return at(16, 4) * at(20, 4) > kLarge;
    for (size_t i = 0; i + 1 < file.size(); ++i)
        if (file[i] == 0xff && file[i + 1] >= 0xc0 && file[i + 1] <= 0xcf && at(i + 5, 2) * at(i + 7, 2) > kLarge)
            return true;
    return false;
}

}  // namespace

// The last byte chooses the tier.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    vekTierIndex = data[size - 1] & 3;
    const Bytes file(data, data + size - 1);
    if (StatesLargeImage(file))
        return 0;
    try {
        if (file[0] == 0xff)
            DecodeJpeg(file);
        else
            DecodeImage(file);
    } catch (const Error&) {
    }
    return 0;
}
