// One record serves many threads at once, each with its own buffer or with none.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "support/tiers.h"
#include "uvek/uvek.h"

namespace uvek::test {
namespace {

class ThreadsTest : public TierTest {};

// Runs `transform(in, out, buffer)` on four threads, and expects of all of them what one alone gives.
void ShareAmongThreads(size_t samples, size_t bufferBytes, const std::function<VekStatus(const float*, float*, Vek8u*)>& transform)
{
    std::vector<float> in(samples), truth(samples);
    for (size_t i = 0; i < samples; ++i)
        in[i] = (float)((i * 7919) % 257) - 128;
    ASSERT_EQ(StatusOk, transform(in.data(), truth.data(), nullptr));
    std::vector<std::thread> threads;
    std::vector<int> same(4);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            std::vector<float> out(samples);
            std::vector<Vek8u> buffer(bufferBytes + 32);
            for (int round = 0; round < 5; ++round)
                same[(size_t)t] += transform(in.data(), out.data(), t % 2 ? buffer.data() : nullptr) == StatusOk
                    && std::memcmp(out.data(), truth.data(), samples * sizeof(float)) == 0;
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(std::vector<int>(4, 5), same);
}

TEST_P(ThreadsTest, OneRecordServesManyTransforms)
{
    for (const Vek32s order : {3, 9, 13, 18}) {
        const size_t n = (size_t)1 << order;
        VekFftSpec* spec = nullptr;
        ASSERT_EQ(StatusOk, veksFFTInitAlloc_C_32f(&spec, order, FftScaleSqrt, 0));
        ShareAmongThreads(2 * n, 2 << 20, [=](const float* in, float* out, Vek8u* buffer) {
            return veksFFTFwd_CToC_32f(in, in + n, out, out + n, spec, buffer);
        });
        EXPECT_EQ(StatusOk, veksFFTFree_C_32f(spec));
    }
    for (const Vek32s width : {30, 64, 151}) {
        VekDft2Spec* spec = nullptr;
        ASSERT_EQ(StatusOk, vekiDFTInitAlloc_R_32f(&spec, {width, 45}, FftScaleNone, 0));
        ShareAmongThreads((size_t)width * 45, 1 << 16, [=](const float* in, float* out, Vek8u* buffer) {
            return vekiDFTFwd_RToPack_32f_C1R(in, width * 4, out, width * 4, spec, buffer);
        });
        EXPECT_EQ(StatusOk, vekiDFTFree_R_32f(spec));
    }
}

UVEK_ON_ALL_TIERS(ThreadsTest);

}  // namespace
}  // namespace uvek::test
