#include "support/random.h"

#include <cstdio>
#include <cstdlib>

namespace uvek::test {
namespace {

uint32_t ChooseSeed()
{
    const char* given = std::getenv("UVEK_TEST_SEED");
    const uint32_t seed = given ? (uint32_t)std::strtoul(given, nullptr, 10) : std::random_device{}();
    std::printf("UVEK_TEST_SEED=%u\n", seed);
    return seed;
}

}  // namespace

uint32_t Seed()
{
    static const uint32_t seed = ChooseSeed();
    return seed;
}

}  // namespace uvek::test
