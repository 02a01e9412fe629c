// The C++ layer: what it checks, what it releases, and a call through each kind of wrapper with arguments that
// differ from each other, so that none can stand for another.
#include "uvek/uvek.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "support/allocator.h"
#include "support/tiers.h"

namespace uvek::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

// Linked statically, the library may not have chosen its tier.
class CppLayer : public ::testing::Test {
    const ScopedTier tier_{0};
};

// The status that `run` throws, or ok.
template <class Run>
status Thrown(Run run)
{
    try {
        run();
    } catch (const std::system_error& error) {
        EXPECT_EQ(&status_category(), &error.code().category());
        return static_cast<status>(error.code().value());
    }
    return status::ok;
}

template <class T, int C>
image<T, C> Ramp(Vek32s width, Vek32s height)
{
    image<T, C> result(width, height);
    for (Vek32s y = 0; y < height; ++y)
        std::iota(result.row(y).begin(), result.row(y).end(), (T)(17 * y));
    return result;
}

template <class T, int C>
std::vector<T> Samples(const image<T, C>& image)
{
    std::vector<T> result;
    for (Vek32s y = 0; y < image.height(); ++y)
        result.insert(result.end(), image.row(y).begin(), image.row(y).end());
    return result;
}

TEST_F(CppLayer, StatusesAreErrorCodes)
{
    const std::error_code code = status::bad_step;
    EXPECT_EQ(StatusBadStep, code.value());
    EXPECT_STREQ("uvek", code.category().name());
    EXPECT_EQ("a row step is not accepted", code.message());
    EXPECT_EQ("status -12345", std::error_code(static_cast<status>(-12345)).message());
    EXPECT_TRUE(std::error_code(status::no_memory) == std::errc::not_enough_memory);
    EXPECT_FALSE(code == std::errc::not_enough_memory);

    EXPECT_FALSE(check(StatusOk));
    EXPECT_EQ(status::warn_odd_size, check(WarnOddSize));
    EXPECT_EQ(status::null_pointer, Thrown([] { check(vekiSet_8u_C1R(0, nullptr, 1, {1, 1})); }));
}

TEST_F(CppLayer, ViewsAndSpansCheckTheirShape)
{
    using View = image_view<Vek16s, 3>;
    Vek16s samples[36] = {};
    const struct { Vek16s* data; Vek32s step; VekImageSize size; status expected; } cases[] = {
        {nullptr, 12, {2, 3}, status::null_pointer},
        {samples, 12, {0, 3}, status::bad_size},
        {samples, 12, {2, -1}, status::bad_size},
        {samples, 11, {2, 3}, status::bad_step},
        {samples, -11, {2, 3}, status::bad_step},
        {samples, INT32_MIN, {INT32_MAX, 2}, status::bad_step},
        {samples, 0, {2, 1}, status::ok},  // a single row has no next one
        {samples, 13, {2, 2}, status::ok},
        {samples + 24, -24, {4, 2}, status::ok},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.expected, Thrown([&] { View(c.data, c.step, c.size); })) << c.step << " for " << c.size.width << " by " << c.size.height;

    const View view(samples, 24, {4, 3});
    const const_image_view<Vek16s, 3> part = view.sub({1, 2, 3, 1});
    EXPECT_EQ(samples + 2 * 12 + 3, part.data());
    EXPECT_EQ(9, part.row(0).length());
    EXPECT_EQ(&samples[12 + 2 * 3 + 1], &view(2, 1, 1));
    for (const VekImageRect& outside : {VekImageRect{-1, 0, 1, 1}, {0, -1, 1, 1}, {0, 0, 5, 1}, {2, 0, 3, 1}, {0, 0, 1, 4}, {0, 0, 0, 1}, {INT32_MAX, 0, 4, 1}})
        EXPECT_EQ(status::bad_rectangle, Thrown([&] { view.sub(outside); }));

    std::vector<float> vector(5);
    const float array[3] = {1, 2, 3};
    EXPECT_EQ(5, span<float>(vector).length());
    EXPECT_EQ(array + 1, span<const float>(array).sub(1, 2).data());
    EXPECT_EQ(status::bad_range, Thrown([&] { span<const float>(array).sub(2, 2); }));
    EXPECT_EQ(status::bad_size, Thrown([&] { span<float>(vector.data(), -1); }));
    EXPECT_EQ(status::bad_size, Thrown([&] { span<float>(vector.data(), INT64_C(1) << 31); }));
    EXPECT_EQ(status::null_pointer, Thrown([&] { span<float>(nullptr, 1); }));
    static_assert(!std::is_constructible_v<span<float>, const std::vector<float>&>);
    static_assert(!std::is_constructible_v<span<const Vek16s>, std::vector<float>&>);
}

TEST_F(CppLayer, MemoryIsReleasedOnceAndBothSidesOfAMoveAreSound)
{
    const ScopedAllocator allocator;
    {
        image<Vek16s, 3> a(70, 5), b(3, 3);
        EXPECT_EQ(0, (a.step() | (Vek32s)(intptr_t)a.data()) % 32);
        EXPECT_EQ(2, allocator.live());
        const Vek16s* data = a.data();
        b = std::move(a);
        EXPECT_EQ(data, b.data());
        EXPECT_EQ(nullptr, a.data());
        EXPECT_EQ(0, a.width());
        EXPECT_EQ(1, allocator.live());
        const image<Vek16s, 3> c(std::move(b));
        block<Vek64f> d(9);
        block<Vek64f> e(std::move(d));
        EXPECT_EQ(9u, e.size());
        EXPECT_EQ(0u, d.size());
        d = std::move(e);
        EXPECT_EQ(2, allocator.live());
    }
    EXPECT_EQ(0, allocator.live());
    EXPECT_EQ(status::bad_size, Thrown([] { image<Vek8u, 1>(0, 5); }));
    EXPECT_EQ(status::bad_size, Thrown([] { image<Vek32f, 4>(INT32_MAX / 8, 1); }));
    EXPECT_EQ(status::bad_size, Thrown([] { block<Vek32f>(-1); }));
}

TEST_F(CppLayer, RecordsThatCannotBeMadeThrowAndLeakNothing)
{
    const Vek8u bits[16] = {0, 2}, values[2] = {0, 1};
    const Vek16s kernel[3] = {1, 2, 1};
    const float taps[4] = {1, 0.5f, 1, 0.25f};
    const auto exercise = [](const char* name, auto make) {
        int requests = 1;
        for (int failAt = -1; failAt < requests; ++failAt) {
            const ScopedAllocator allocator(failAt);
            const auto run = [&] {
                const auto record = make();
                EXPECT_TRUE(record.get() && allocator.live() > 0) << name;
            };
            EXPECT_EQ(failAt < 0 ? status::ok : status::no_memory, Thrown(run)) << name << ", allocation " << failAt;
            EXPECT_EQ(0, allocator.live()) << name << ", allocation " << failAt;
            requests = failAt < 0 ? allocator.requests() : requests;
        }
    };
    exercise("complex FFT", [] { return make_fft_complex(5); });
    exercise("real FFT", [] { return make_fft_real(5); });
    exercise("complex DFT", [] { return make_dft2_complex({6, 4}); });
    exercise("real DFT", [] { return make_dft2_real({6, 4}); });
    exercise("IIR filter", [&] { return make_iir_filter(taps); });
    exercise("random numbers", [] { return make_gauss_random(0, 1, 7); });
    exercise("pyramid", [] { return make_pyramid(3, {40, 30}, 2); });
    exercise("pyramid layer", [&] { return make_pyramid_layer({40, 30}, 2, kernel); });
    exercise("optical flow", [] { return make_optical_flow({20, 15}, 7); });
    exercise("image", [] { return std::make_unique<image<Vek8u, 3>>(4, 4); });
    exercise("block", [] { return std::make_unique<block<Vek16s>>(4); });
    exercise("decoder table", [&] { return make_huffman_decode_table(bits, values); });
    exercise("decoder state", [] { return make_huffman_decode_state(); });
    exercise("encoder table", [&] { return make_huffman_encode_table(bits, values); });
    exercise("encoder state", [] { return make_huffman_encode_state(); });

    const float zeroLead[4] = {1, 1, 0, 1};
    EXPECT_EQ(status::divide_by_zero, Thrown([&] { make_iir_filter(zeroLead); }));
    EXPECT_EQ(status::bad_fft_order, Thrown([] { make_fft_complex(31); }));
}

TEST_F(CppLayer, PixelsMoveBetweenImages)
{
    const image<Vek8u, 3> source = Ramp<Vek8u, 3>(21, 6);
    image<Vek8u, 3> other(21, 6), mirrored(21, 6);
    image<Vek8u, 1> planes[3] = {image<Vek8u, 1>(21, 6), image<Vek8u, 1>(21, 6), image<Vek8u, 1>(21, 6)}, turned(6, 21), gray(21, 6);

    check(split(source, {planes[0], planes[1], planes[2]}));
    check(join({planes[0], planes[1], planes[2]}, other));
    EXPECT_EQ(Samples(source), Samples(other));
    check(extract(source, 2, gray));
    EXPECT_EQ(Samples(planes[2]), Samples(gray));
    check(insert(planes[0], other, 2));
    EXPECT_EQ(source(20, 5, 0), other(20, 5, 2));
    check(swap_channels(source, other, {2, 1, 0}));
    check(swap_channels(other, {2, 1, 0}));
    EXPECT_EQ(Samples(source), Samples(other));
    check(mirror(source, mirrored, AxisVertical));
    EXPECT_EQ(source(0, 3, 1), mirrored(20, 3, 1));
    check(mirror(mirrored, AxisVertical));
    EXPECT_EQ(Samples(source), Samples(mirrored));
    check(transpose(gray, turned));
    EXPECT_EQ(gray(20, 1), turned(1, 20));
    check(fill(other, {1, 2, 3}));
    check(copy(source.sub({1, 1, 5, 5}), other.sub({0, 0, 5, 5})));
    EXPECT_THAT((std::array<int, 3>{other(4, 4, 0), other(5, 4, 0), other(7, 5, 2)}), ElementsAre(source(5, 5), 1, 3));
    check(replace_above(gray, 40, 200));
    check(replace_below(gray, 41, 200));
    EXPECT_THAT(Samples(gray), Each(200));
}

TEST_F(CppLayer, ResizeReachesTheLastPixel)
{
    for (Vek32s from = 1; from <= 1200; from += 1 + from / 40)
        for (Vek32s to = 1; to <= 1200; ++to) {
            const double factor = detail::factor(from, to);
            ASSERT_EQ(to, (Vek32s)(from * factor)) << from << " to " << to;
            ASSERT_TRUE(to > from || factor <= 1) << from << " to " << to;  // super-sampling does not enlarge
        }
    image<Vek8u, 1> grown(119, 11);
    check(fill(grown, 255));
    check(resize(Ramp<Vek8u, 1>(49, 3), grown, InterNearest));
    EXPECT_THAT(Samples(grown), Each(::testing::Lt(255)));
}

TEST_F(CppLayer, GeometryAndFiltersReachTheirExports)
{
    const image<Vek8u, 3> source = Ramp<Vek8u, 3>(16, 12);
    image<Vek8u, 3> other(16, 12), bordered(18, 15);
    check(fill(other, {0, 0, 0}));
    check(rotate(source, other, 180, 15, 11, InterNearest));
    EXPECT_EQ(source(3, 2, 1), other(12, 9, 1));
    check(rotate_about(source, other, 180, 7.5, 5.5, InterLinear));
    EXPECT_EQ(source(3, 2, 1), other(12, 9, 1));
    check(warp_bilinear(source, other, {{0, 1, 0, 0}, {0, 0, 1, 0}}, InterNearest));
    EXPECT_EQ(Samples(source), Samples(other));

    check(replicate_border(source, bordered, 2, 1));
    const auto inner = bordered.sub({1, 2, 16, 12});
    EXPECT_EQ(source(15, 11, 1), inner(15, 11, 1));
    const Vek32s delta[6] = {0, 0, 2, 0, 0, 0};  // of two columns and three rows; the anchor's place has the 2
    check(filter(inner, other, delta, {2, 3}, {0, 1}, 2));
    EXPECT_EQ(Samples(source), Samples(other));

    image<Vek8u, 1> point(9, 9), out(5, 5);
    check(fill(point, 0));
    point(4, 4) = 160;
    const auto middle = point.sub({2, 2, 5, 5});
    check(gauss(middle, out, MaskSize3x3));
    EXPECT_EQ(40, out(2, 2));
    check(window_max(middle, out, {3, 1}, {2, 0}));
    EXPECT_EQ(3, std::accumulate(&out(2, 2), &out(4, 2) + 1, 0) / 160);
    image<Vek16s, 1> gradient(5, 5);
    check(sobel_dx(middle, gradient));
    EXPECT_EQ(-320, gradient(1, 2));
    check(dilate(middle));
    EXPECT_EQ(160, point(5, 5));
    EXPECT_EQ(status::bad_anchor, static_cast<status>(median(middle, out, {3, 3}, {3, 1})));
}

TEST_F(CppLayer, StatisticsReachTheirExports)
{
    const image<Vek8u, 3> source = Ramp<Vek8u, 3>(4, 1);  // 0 3 6 9, 1 4 7 10, 2 5 8 11
    image<Vek8u, 1> first(4, 1);
    check(extract(source, 0, first));
    Vek32s counts[2];
    check(histogram(first, counts, std::array<Vek32s, 3>{0, 4, 9}));
    EXPECT_THAT(counts, ElementsAre(2, 1));
    double mean, deviation, total;
    check(mean_deviation(source, 1, mean, deviation));
    EXPECT_DOUBLE_EQ(5.5, mean);
    EXPECT_NEAR(std::sqrt(11.25), deviation, 1e-12);
    Vek8u least[3], most[3];
    check(min_max(source, least, most));
    EXPECT_THAT(least, ElementsAre(0, 1, 2));
    EXPECT_THAT(most, ElementsAre(9, 10, 11));
    check(sum(Ramp<Vek32f, 1>(5, 2), total));
    EXPECT_EQ(10 + 10 + 5 * 17, total);
}

TEST_F(CppLayer, TransformsAndSignalsReachTheirExports)
{
    std::vector<Vek32f> re(16), im(16, 2), spectrumRe(16), spectrumIm(16), backRe(16), backIm(16), lags(3), drawn(1000);
    std::iota(re.begin(), re.end(), 1.0f);
    const fft_complex plan = make_fft_complex(4);
    check(forward(plan, re.data(), im.data(), spectrumRe.data(), spectrumIm.data()));
    EXPECT_NEAR(136, spectrumRe[0], 1e-4);
    EXPECT_NEAR(32, spectrumIm[0], 1e-4);
    check(inverse(plan, spectrumRe.data(), spectrumIm.data(), backRe.data(), backIm.data()));
    EXPECT_NEAR(16, backRe[15], 1e-4);

    image<Vek32f, 1> a = Ramp<Vek32f, 1>(4, 3), two(2, 1), full(5, 3), pack(4, 3);
    two(0, 0) = 2;
    two(1, 0) = 0;
    check(convolve(a, two, full));
    EXPECT_EQ(2 * a(3, 2), full(3, 2));
    check(forward(make_dft2_real({4, 3}), a, pack));
    EXPECT_NEAR(3 * 6 + 4 * (17 + 34), pack(0, 0), 1e-3);
    check(correlate(std::vector<Vek32f>{1, 0}, std::vector<Vek32f>{0, 0, 0, 5}, lags, 1));
    EXPECT_THAT(lags, ElementsAre(0, 0, 5));

    gauss_random random = make_gauss_random(3, 0, 1);
    check(draw(random, drawn));
    Vek32f average;
    check(mean(drawn, average));
    EXPECT_EQ(3, average);
    check(multiply(drawn, -1));
    EXPECT_EQ(status::warn_sqrt_of_negative, check(square_root(drawn)));
    const float taps[4] = {0.5f, 0, 1, 0};
    iir_filter half = make_iir_filter(taps);
    check(filter(half, re, backRe));
    EXPECT_EQ(8, backRe[15]);

    image<Vek8u, 1> base(16, 12), below(8, 6);
    check(fill(base, 80));
    pyramid_layer layer = make_pyramid_layer({16, 12}, 2, std::array<Vek16s, 3>{1, 2, 1});
    check(layer_down(layer, base, below));
    EXPECT_THAT(Samples(below), Each(80));
}

}  // namespace
}  // namespace uvek::test
