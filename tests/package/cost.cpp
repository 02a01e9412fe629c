// Calls through the C++ layer, each beside the plain one; what a compiler makes of a pair is compared.
#include <uvek/uvek.hpp>

using namespace uvek;
using Pixels = image_view<Vek8u, 3>;
using ConstPixels = const_image_view<Vek8u, 3>;
using Plane = image_view<Vek8u, 1>;
using ConstPlane = const_image_view<Vek8u, 1>;

#define PAIR(name, parameters, layer, plain) \
    extern "C" VekStatus layer_##name parameters { return static_cast<VekStatus>(layer); } \
    extern "C" VekStatus plain_##name parameters { return plain; }

PAIR(copy, (const ConstPixels& s, const Pixels& d), copy(s, d), vekiCopy_8u_C3R(s.data(), s.step(), d.data(), d.step(), d.size()))
PAIR(as_const, (const Pixels& s, const Pixels& d), copy(s, d), vekiCopy_8u_C3R(s.data(), s.step(), d.data(), d.step(), d.size()))
PAIR(fill, (const Plane& d, Vek8u value), fill(d, value), vekiSet_8u_C1R(value, d.data(), d.step(), d.size()))
PAIR(extract, (const ConstPixels& s, int k, const Plane& d), extract(s, k, d), vekiCopy_8u_C3C1R(s.data() + k, s.step(), d.data(), d.step(), d.size()))
PAIR(median, (const ConstPlane& s, const Plane& d, VekImageSize mask, VekPoint anchor), median(s, d, mask, anchor),
     vekiFilterMedian_8u_C1R(s.data(), s.step(), d.data(), d.step(), d.size(), mask, anchor))
PAIR(rotate, (const ConstPixels& s, const Pixels& d, double angle), rotate(s, d, angle, 1, 2, InterLinear),
     vekiRotate_8u_C3R(s.data(), s.size(), s.step(), {0, 0, s.width(), s.height()}, d.data(), d.step(), {0, 0, d.width(), d.height()}, angle, 1, 2, InterLinear))
PAIR(convert, (const span<const Vek8u>& s, const span<Vek32f>& d), convert(s, d), veksConvert_8u32f(s.data(), d.data(), d.length()))
PAIR(draw, (const span<Vek32f>& d, gauss_random& random), draw(random, d), veksRandGauss_32f(d.data(), d.length(), random.get()))
PAIR(forward, (const fft_real& plan, const Vek32f* s, Vek32f* d), forward(plan, s, d), veksFFTFwd_RToCCS_32f(s, d, plan.get(), nullptr))
