// The library in the habits of C++17: views whose shape is checked once, memory and records that release
// themselves, statuses as std::error_code. It is optional, a layer of inline functions over the C headers,
// which tell what each call does; a call through it compiles to the plain call.
//
//     uvek::image<Vek8u, 3> small(320, 240);
//     check(uvek::resize(uvek::image_view<const Vek8u, 3>(pixels, step, {width, height}), small, InterSuper));
//
// A function picks the export by the types of its arguments and returns a status, which must be looked at:
// check() throws errors and hands warnings back. Where a call has one size for several images, theirs are
// the same (asserted); filters and the like still read the pixels around a view that their header tells of.
// The calls throw nothing, but are not declared so: that would cost each a frame to catch what C may throw.
#ifndef UVEK_UVEK_HPP
#define UVEK_UVEK_HPP

#include <array>
#include <cassert>
#include <limits>

#include "uvek/types.hpp"
#include "uvek/uvek.h"

namespace uvek {

namespace detail {

template <class A, class B>
bool same_size(const A& a, const B& b) noexcept { return a.width() == b.width() && a.height() == b.height(); }

// Source, destination, the size that both have, and the rest.
template <class F, class S, class D, class... Rest>
inline status map(F* f, const S& src, const D& dst, Rest... rest)
{
    assert(same_size(src, dst));
    return status(f(src.data(), src.step(), dst.data(), dst.step(), dst.size(), rest...));
}

template <class F, class S, class D, class... Rest>
inline status map(F* f, span<S> src, span<D> dst, Rest... rest)
{
    assert(src.length() == dst.length());
    return status(f(src.data(), dst.data(), dst.length(), rest...));
}

// Planes of one size and one step.
template <class P>
bool alike(const P& planes) noexcept
{
    return same_size(planes[0], planes[1]) && same_size(planes[0], planes[2]) && planes[0].step() == planes[1].step() && planes[0].step() == planes[2].step();
}

template <class F, class S, class P>
inline status to_planes(F* f, const S& src, const P& dst)
{
    assert(alike(dst) && same_size(src, dst[0]));
    Vek8u* const data[3] = {dst[0].data(), dst[1].data(), dst[2].data()};
    return status(f(src.data(), src.step(), data, dst[0].step(), src.size()));
}

template <class F, class P, class D>
inline status from_planes(F* f, const P& src, const D& dst)
{
    assert(alike(src) && same_size(src[0], dst));
    const Vek8u* const data[3] = {src[0].data(), src[1].data(), src[2].data()};
    return status(f(data, src[0].step(), dst.data(), dst.step(), dst.size()));
}

// From a channel of the source to a channel of the destination.
template <class F, class S, class D>
inline status move_channel(F* f, const S& src, int from, const D& dst, int to)
{
    assert(same_size(src, dst));
    return status(f(src.data() + from, src.step(), dst.data() + to, dst.step(), dst.size()));
}

template <class F, class D, class... Rest>
inline status change(F* f, const D& image, Rest... rest)
{
    return status(f(image.data(), image.step(), image.size(), rest...));
}

// The factor from `from` to `to` pixels, in whose product with `from` rounding loses no pixel.
inline double factor(Vek32s from, Vek32s to) noexcept
{
    const double ratio = double(to) / from;
    return ratio * from < to ? ratio * (1 + std::numeric_limits<double>::epsilon()) : ratio;
}

template <class V>
inline VekImageRect whole(const V& image) noexcept { return {0, 0, image.width(), image.height()}; }

template <class F, class S, class D>
inline status resize(F* f, const S& src, const D& dst, Vek32s interpolation)
{
    return status(f(src.data(), src.size(), src.step(), whole(src), dst.data(), dst.step(), dst.size(),
                    factor(src.width(), dst.width()), factor(src.height(), dst.height()), interpolation));
}

template <class F, class S, class D, class... Rest>
inline status warp(F* f, const S& src, const D& dst, Rest... rest)
{
    return status(f(src.data(), src.size(), src.step(), whole(src), dst.data(), dst.step(), whole(dst), rest...));
}

}  // namespace detail

#define UVEK_MAP(name, S, M, D, N, f) \
    inline status name(const_image_view<S, M> src, image_view<D, N> dst) { return detail::map(f, src, dst); }

// Copies; from 4 channels to 3 the last is dropped, from 3 to 4 the destination's last stays.
UVEK_MAP(copy, Vek8u, 1, Vek8u, 1, vekiCopy_8u_C1R)
UVEK_MAP(copy, Vek8u, 3, Vek8u, 3, vekiCopy_8u_C3R)
UVEK_MAP(copy, Vek8u, 4, Vek8u, 4, vekiCopy_8u_C4R)
UVEK_MAP(copy, Vek16s, 1, Vek16s, 1, vekiCopy_16s_C1R)
UVEK_MAP(copy, Vek16s, 3, Vek16s, 3, vekiCopy_16s_C3R)
UVEK_MAP(copy, Vek16s, 4, Vek16s, 4, vekiCopy_16s_C4R)
UVEK_MAP(copy, Vek32f, 1, Vek32f, 1, vekiCopy_32f_C1R)
UVEK_MAP(copy, Vek8u, 4, Vek8u, 3, vekiCopy_8u_AC4C3R)
UVEK_MAP(copy, Vek8u, 3, Vek8u, 4, vekiCopy_8u_C3AC4R)
UVEK_MAP(copy, Vek16s, 4, Vek16s, 3, vekiCopy_16s_AC4C3R)
UVEK_MAP(copy, Vek16s, 3, Vek16s, 4, vekiCopy_16s_C3AC4R)
UVEK_MAP(duplicate, Vek8u, 1, Vek8u, 3, vekiDup_8u_C1C3R)
UVEK_MAP(convert, Vek16s, 1, Vek8u, 1, vekiConvert_16s8u_C1R)
UVEK_MAP(convert, Vek8u, 1, Vek16s, 1, vekiConvert_8u16s_C1R)
UVEK_MAP(convert, Vek8u, 1, Vek16u, 1, vekiConvert_8u16u_C1R)
UVEK_MAP(convert, Vek8u, 3, Vek16u, 3, vekiConvert_8u16u_C3R)
UVEK_MAP(convert, Vek8u, 4, Vek16u, 4, vekiConvert_8u16u_C4R)
UVEK_MAP(rgb_to_gray, Vek8u, 3, Vek8u, 1, vekiRGBToGray_8u_C3C1R)
UVEK_MAP(rgb_to_hsv, Vek8u, 3, Vek8u, 3, vekiRGBToHSV_8u_C3R)
UVEK_MAP(rgb_to_ycbcr, Vek8u, 3, Vek8u, 3, vekiRGBToYCbCr_8u_C3R)
UVEK_MAP(ycbcr_to_rgb, Vek8u, 3, Vek8u, 3, vekiYCbCrToRGB_8u_C3R)
UVEK_MAP(sobel_dx, Vek8u, 1, Vek16s, 1, vekiSobel3x3_Dx_8u16s_C1R)
UVEK_MAP(sobel_dy, Vek8u, 1, Vek16s, 1, vekiSobel3x3_Dy_8u16s_C1R)
UVEK_MAP(sobel_dx, Vek32f, 1, Vek32f, 1, vekiSobel3x3_Dx_32f_C1R)
UVEK_MAP(sobel_dy, Vek32f, 1, Vek32f, 1, vekiSobel3x3_Dy_32f_C1R)
#undef UVEK_MAP

// One channel, counted from 0, out of an image or into it.
#define UVEK_EXTRACT(T, C, f) \
    inline status extract(const_image_view<T, C> src, int channel, image_view<T, 1> dst) \
    { return detail::move_channel(f, src, channel, dst, 0); }
UVEK_EXTRACT(Vek8u, 3, vekiCopy_8u_C3C1R)
UVEK_EXTRACT(Vek8u, 4, vekiCopy_8u_C4C1R)
UVEK_EXTRACT(Vek16s, 3, vekiCopy_16s_C3C1R)
UVEK_EXTRACT(Vek16s, 4, vekiCopy_16s_C4C1R)
#undef UVEK_EXTRACT
#define UVEK_INSERT(T, C, f) \
    inline status insert(const_image_view<T, 1> src, image_view<T, C> dst, int channel) \
    { return detail::move_channel(f, src, 0, dst, channel); }
UVEK_INSERT(Vek8u, 3, vekiCopy_8u_C1C3R)
UVEK_INSERT(Vek8u, 4, vekiCopy_8u_C1C4R)
UVEK_INSERT(Vek16s, 3, vekiCopy_16s_C1C3R)
UVEK_INSERT(Vek16s, 4, vekiCopy_16s_C1C4R)
#undef UVEK_INSERT

// Between pixels and planes; JPEG's YCbCr has the full range, the other one that of video.
using planes = std::array<image_view<Vek8u, 1>, 3>;
using const_planes = std::array<const_image_view<Vek8u, 1>, 3>;
inline status split(const_image_view<Vek8u, 3> src, const planes& dst) { return detail::to_planes(vekiCopy_8u_C3P3R, src, dst); }
inline status join(const const_planes& src, image_view<Vek8u, 3> dst) { return detail::from_planes(vekiCopy_8u_P3C3R, src, dst); }
inline status rgb_to_jpeg_ycbcr(const_image_view<Vek8u, 3> src, const planes& dst)
{
    return detail::to_planes(vekiRGBToYCbCr_JPEG_8u_C3P3R, src, dst);
}
inline status jpeg_ycbcr_to_rgb(const const_planes& src, image_view<Vek8u, 3> dst)
{
    return detail::from_planes(vekiYCbCrToRGB_JPEG_8u_P3C3R, src, dst);
}
inline status rgb_to_ycbcr420(const_image_view<Vek8u, 3> src, const planes& dst)
{
    Vek8u* const data[3] = {dst[0].data(), dst[1].data(), dst[2].data()};
    const Vek32s steps[3] = {dst[0].step(), dst[1].step(), dst[2].step()};
    return status(vekiRGBToYCbCr420_8u_C3P3R(src.data(), src.step(), data, steps, src.size()));
}
inline status ycbcr420_to_bgr(const const_planes& src, image_view<Vek8u, 3> dst)
{
    const Vek8u* const data[3] = {src[0].data(), src[1].data(), src[2].data()};
    const Vek32s steps[3] = {src[0].step(), src[1].step(), src[2].step()};
    return status(vekiYCbCr420ToBGR_8u_P3C3R(data, steps, dst.data(), dst.step(), dst.size()));
}

// Fills, orders, mirrors, borders, arithmetic.
inline status fill(image_view<Vek8u, 1> dst, Vek8u value) { return status(vekiSet_8u_C1R(value, dst.data(), dst.step(), dst.size())); }
inline status fill(image_view<Vek8u, 3> dst, const Vek8u (&value)[3])
{
    return status(vekiSet_8u_C3R(value, dst.data(), dst.step(), dst.size()));
}
inline status fill(image_view<Vek8u, 4> dst, const Vek8u (&value)[4])
{
    return status(vekiSet_8u_C4R(value, dst.data(), dst.step(), dst.size()));
}
using channel_order = Vek32s[3];
#define UVEK_SWAP_CHANNELS(T, C, f) \
    inline status swap_channels(const_image_view<T, C> src, image_view<T, C> dst, const channel_order& order) \
    { return detail::map(f, src, dst, order); }
UVEK_SWAP_CHANNELS(Vek8u, 3, vekiSwapChannels_8u_C3R)
UVEK_SWAP_CHANNELS(Vek8u, 4, vekiSwapChannels_8u_AC4R)
UVEK_SWAP_CHANNELS(Vek16u, 3, vekiSwapChannels_16u_C3R)
UVEK_SWAP_CHANNELS(Vek16u, 4, vekiSwapChannels_16u_AC4R)
#undef UVEK_SWAP_CHANNELS
inline status swap_channels(image_view<Vek8u, 3> image, const channel_order& order)
{
    return detail::change(vekiSwapChannels_8u_C3IR, image, order);
}
#define UVEK_MIRROR(T, C, f) \
    inline status mirror(image_view<T, C> image, Vek32s axis) \
    { return detail::change(f, image, axis); }
UVEK_MIRROR(Vek8u, 1, vekiMirror_8u_C1IR)
UVEK_MIRROR(Vek8u, 3, vekiMirror_8u_C3IR)
UVEK_MIRROR(Vek16u, 1, vekiMirror_16u_C1IR)
UVEK_MIRROR(Vek16u, 3, vekiMirror_16u_C3IR)
#undef UVEK_MIRROR
inline status mirror(const_image_view<Vek8u, 3> src, image_view<Vek8u, 3> dst, Vek32s axis)
{
    return detail::map(vekiMirror_8u_C3R, src, dst, axis);
}
// The destination is as wide as the source is high.
inline status transpose(const_image_view<Vek8u, 1> src, image_view<Vek8u, 1> dst)
{
    assert(src.width() == dst.height() && src.height() == dst.width());
    return status(vekiTranspose_8u_C1R(src.data(), src.step(), dst.data(), dst.step(), src.size()));
}
#define UVEK_REPLICATE_BORDER(C, f) \
    inline status replicate_border(const_image_view<Vek8u, C> src, image_view<Vek8u, C> dst, Vek32s top, Vek32s left) \
    { return status(f(src.data(), src.step(), src.size(), dst.data(), dst.step(), dst.size(), top, left)); }
UVEK_REPLICATE_BORDER(1, vekiCopyReplicateBorder_8u_C1R)
UVEK_REPLICATE_BORDER(3, vekiCopyReplicateBorder_8u_C3R)
#undef UVEK_REPLICATE_BORDER
inline status replace_above(image_view<Vek8u, 1> image, Vek8u threshold, Vek8u value)
{
    return detail::change(vekiThreshold_GTVal_8u_C1IR, image, threshold, value);
}
inline status replace_below(image_view<Vek8u, 1> image, Vek8u threshold, Vek8u value)
{
    return detail::change(vekiThreshold_LTVal_8u_C1IR, image, threshold, value);
}
inline status compose(const_image_view<Vek8u, 3> a, Vek8u alphaA, const_image_view<Vek8u, 3> b, Vek8u alphaB, image_view<Vek8u, 3> dst, Vek32s type)
{
    assert(detail::same_size(a, dst) && detail::same_size(b, dst));
    return status(vekiAlphaCompC_8u_C3R(a.data(), a.step(), alphaA, b.data(), b.step(), alphaB, dst.data(), dst.step(), dst.size(), type));
}

// Geometry: the whole source onto the whole destination. rotate() turns about the origin and then shifts by
// (x, y); rotate_about() keeps that point in its place.
#define UVEK_RESIZE(T, C, f) \
    inline status resize(const_image_view<T, C> src, image_view<T, C> dst, Vek32s interpolation) \
    { return detail::resize(f, src, dst, interpolation); }
UVEK_RESIZE(Vek8u, 1, vekiResize_8u_C1R)
UVEK_RESIZE(Vek8u, 3, vekiResize_8u_C3R)
UVEK_RESIZE(Vek8u, 4, vekiResize_8u_C4R)
UVEK_RESIZE(Vek32f, 1, vekiResize_32f_C1R)
#undef UVEK_RESIZE
#define UVEK_ROTATE(name, T, C, f) \
    inline status name(const_image_view<T, C> src, image_view<T, C> dst, double angle, double x, double y, Vek32s interpolation) \
    { return detail::warp(f, src, dst, angle, x, y, interpolation); }
UVEK_ROTATE(rotate, Vek8u, 1, vekiRotate_8u_C1R)
UVEK_ROTATE(rotate, Vek8u, 3, vekiRotate_8u_C3R)
UVEK_ROTATE(rotate, Vek8u, 4, vekiRotate_8u_C4R)
UVEK_ROTATE(rotate, Vek16u, 1, vekiRotate_16u_C1R)
UVEK_ROTATE(rotate, Vek16u, 3, vekiRotate_16u_C3R)
UVEK_ROTATE(rotate, Vek32f, 3, vekiRotate_32f_C3R)
UVEK_ROTATE(rotate_about, Vek8u, 3, vekiRotateCenter_8u_C3R)
#undef UVEK_ROTATE
using bilinear_coefficients = double[2][4];
using perspective_coefficients = double[3][3];
#define UVEK_WARP(name, coefficients_type, f) \
    inline status name(const_image_view<Vek8u, 3> src, image_view<Vek8u, 3> dst, const coefficients_type& coefficients, Vek32s interpolation) \
    { return detail::warp(f, src, dst, coefficients, interpolation); }
UVEK_WARP(warp_bilinear, bilinear_coefficients, vekiWarpBilinear_8u_C3R)
UVEK_WARP(warp_perspective, perspective_coefficients, vekiWarpPerspective_8u_C3R)
#undef UVEK_WARP

// Filters: `src` is the part of a larger image at the destination's place, as sub() gives it.
#define UVEK_FILTER(C, f) \
    inline status filter(const_image_view<Vek8u, C> src, image_view<Vek8u, C> dst, const Vek32s* kernel, VekImageSize size, VekPoint anchor, Vek32s divisor) \
    { return detail::map(f, src, dst, kernel, size, anchor, divisor); }
UVEK_FILTER(1, vekiFilter_8u_C1R)
UVEK_FILTER(3, vekiFilter_8u_C3R)
#undef UVEK_FILTER
#define UVEK_FILTER(C, f) \
    inline status filter(const_image_view<Vek8u, C> src, image_view<Vek8u, C> dst, const Vek32f* kernel, VekImageSize size, VekPoint anchor) \
    { return detail::map(f, src, dst, kernel, size, anchor); }
UVEK_FILTER(1, vekiFilter32f_8u_C1R)
UVEK_FILTER(3, vekiFilter32f_8u_C3R)
#undef UVEK_FILTER
#define UVEK_WINDOW(name, C, f) \
    inline status name(const_image_view<Vek8u, C> src, image_view<Vek8u, C> dst, VekImageSize mask, VekPoint anchor) \
    { return detail::map(f, src, dst, mask, anchor); }
UVEK_WINDOW(box, 3, vekiFilterBox_8u_C3R)
UVEK_WINDOW(window_max, 1, vekiFilterMax_8u_C1R)
UVEK_WINDOW(median, 1, vekiFilterMedian_8u_C1R)
#undef UVEK_WINDOW
inline status gauss(const_image_view<Vek8u, 1> src, image_view<Vek8u, 1> dst, Vek32s mask)
{
    return detail::map(vekiFilterGauss_8u_C1R, src, dst, mask);
}
inline status hipass(const_image_view<Vek8u, 1> src, image_view<Vek8u, 1> dst, Vek32s mask)
{
    return detail::map(vekiFilterHipass_8u_C1R, src, dst, mask);
}
inline status dilate(image_view<Vek8u, 1> image) { return detail::change(vekiDilate3x3_8u_C1IR, image); }
inline status erode(image_view<Vek8u, 1> image) { return detail::change(vekiErode3x3_8u_C1IR, image); }

// Statistics. A histogram has a count less than it has levels; channels are counted from 0.
inline status histogram(const_image_view<Vek8u, 1> src, span<Vek32s> counts, span<const Vek32s> levels)
{
    assert(counts.length() >= levels.length() - 1);
    return detail::change(vekiHistogramRange_8u_C1R, src, counts.data(), levels.data(), levels.length());
}
inline status mean_deviation(const_image_view<Vek8u, 3> src, int channel, double& mean, double& deviation)
{
    return detail::change(vekiMean_StdDev_8u_C3CR, src, channel + 1, &mean, &deviation);
}
inline status min_max(const_image_view<Vek8u, 3> src, Vek8u (&least)[3], Vek8u (&most)[3])
{
    return detail::change(vekiMinMax_8u_C3R, src, least, most);
}
inline status sum(const_image_view<Vek32f, 1> src, double& result, Vek32s hint = 0)
{
    return detail::change(vekiSum_32f_C1R, src, &result, hint);
}

// Fourier. Without work memory a call allocates its own.
#define UVEK_FFT(name, f) \
    inline status name(const fft_complex& plan, const Vek32f* re, const Vek32f* im, Vek32f* dstRe, Vek32f* dstIm, Vek8u* work = nullptr) \
    { return status(f(re, im, dstRe, dstIm, plan.get(), work)); }
UVEK_FFT(forward, veksFFTFwd_CToC_32f)
UVEK_FFT(inverse, veksFFTInv_CToC_32f)
#undef UVEK_FFT
inline status forward(const fft_real& plan, const Vek32f* src, Vek32f* spectrum, Vek8u* work = nullptr)
{
    return status(veksFFTFwd_RToCCS_32f(src, spectrum, plan.get(), work));
}
#define UVEK_DFT2(name, plan_type, T, f) \
    inline status name(const plan_type& plan, const_image_view<T, 1> src, image_view<T, 1> dst, Vek8u* work = nullptr) \
    { return status(f(src.data(), src.step(), dst.data(), dst.step(), plan.get(), work)); }
UVEK_DFT2(forward, dft2_complex, Vek32fc, vekiDFTFwd_CToC_32fc_C1R)
UVEK_DFT2(inverse, dft2_complex, Vek32fc, vekiDFTInv_CToC_32fc_C1R)
UVEK_DFT2(forward, dft2_real, Vek32f, vekiDFTFwd_RToPack_32f_C1R)
#undef UVEK_DFT2
inline status convolve(const_image_view<Vek32f, 1> a, const_image_view<Vek32f, 1> b, image_view<Vek32f, 1> dst)
{
    assert(dst.width() == a.width() + b.width() - 1 && dst.height() == a.height() + b.height() - 1);
    return status(vekiConvFull_32f_C1R(a.data(), a.step(), a.size(), b.data(), b.step(), b.size(), dst.data(), dst.step()));
}
#define UVEK_CORRELATE(T, f) \
    inline status correlate(span<const T> a, span<const T> b, span<T> dst, Vek32s lowLag) \
    { return status(f(a.data(), a.length(), b.data(), b.length(), dst.data(), dst.length(), lowLag)); }
UVEK_CORRELATE(Vek32f, veksCrossCorr_32f)
UVEK_CORRELATE(Vek64f, veksCrossCorr_64f)
#undef UVEK_CORRELATE

// Signals.
inline status convert(span<const Vek8u> src, span<Vek32f> dst) { return detail::map(veksConvert_8u32f, src, dst); }
inline status convert(span<const Vek16s> src, span<Vek32f> dst) { return detail::map(veksConvert_16s32f, src, dst); }
inline status convert(span<const Vek32f> src, span<Vek16s> dst, Vek32s rounding, Vek32s scale)
{
    return detail::map(veksConvert_32f16s_Sfs, src, dst, rounding, scale);
}
inline status filter(iir_filter& filter, span<const Vek32f> src, span<Vek32f> dst)
{
    return detail::map(veksIIR_32f, src, dst, filter.get());
}
inline status draw(gauss_random& random, span<Vek32f> dst) { return status(veksRandGauss_32f(dst.data(), dst.length(), random.get())); }
inline status multiply(span<Vek32f> srcDst, Vek32f value) { return status(veksMulC_32f_I(value, srcDst.data(), srcDst.length())); }
inline status multiply(span<Vek32f> srcDst, span<const Vek32f> src) { return detail::map(veksMul_32f_I, src, srcDst); }
inline status square_root(span<Vek32f> srcDst) { return status(veksSqrt_32f_I(srcDst.data(), srcDst.length())); }
inline status magnitude(span<const Vek32fc> src, span<Vek32f> dst) { return detail::map(veksMagnitude_32fc, src, dst); }
inline status hann(span<Vek32f> srcDst) { return status(veksWinHann_32f_I(srcDst.data(), srcDst.length())); }
inline status sort_descending(span<Vek32f> srcDst) { return status(veksSortDescend_32f_I(srcDst.data(), srcDst.length())); }
inline status sum(span<const Vek32f> src, Vek32f& result, Vek32s hint = 0)
{
    return status(veksSum_32f(src.data(), src.length(), &result, hint));
}
inline status mean(span<const Vek32f> src, Vek32f& result, Vek32s hint = 0)
{
    return status(veksMean_32f(src.data(), src.length(), &result, hint));
}

// Pyramids: the next lower level.
inline status layer_down(pyramid_layer& layer, const_image_view<Vek8u, 1> src, image_view<Vek8u, 1> dst)
{
    return status(vekiPyramidLayerDown_8u_C1R(src.data(), src.step(), src.size(), dst.data(), dst.step(), dst.size(), layer.get()));
}

}  // namespace uvek

#endif
