// Statuses, views, memory and records of the C++ layer, which uvek.hpp introduces.
#ifndef UVEK_TYPES_HPP
#define UVEK_TYPES_HPP

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "uvek/uvek.h"

namespace uvek {

// ---- Statuses ----

// Name here, name in C, what it means.
#define UVEK_STATUSES(ROW) \
    ROW(ok, StatusOk, "success") \
    ROW(bad_coder_state, StatusBadCoderState, "the Huffman coder cannot proceed") \
    ROW(bad_range, StatusBadRange, "a parameter is out of range") \
    ROW(bad_size, StatusBadSize, "a width, height or length is too small") \
    ROW(null_pointer, StatusNullPointer, "a required pointer is null") \
    ROW(no_memory, StatusNoMemory, "out of memory") \
    ROW(divide_by_zero, StatusDivideByZero, "a divisor or pivot is zero") \
    ROW(bad_step, StatusBadStep, "a row step is not accepted") \
    ROW(bad_fft_order, StatusBadFftOrder, "the transform's order is not accepted") \
    ROW(bad_fft_flag, StatusBadFftFlag, "the normalisation flag is not accepted") \
    ROW(bad_context, StatusBadContext, "a record is of another kind") \
    ROW(bad_mirror_axis, StatusBadMirrorAxis, "the mirror axis is unknown") \
    ROW(bad_interpolation, StatusBadInterpolation, "the interpolation is not accepted") \
    ROW(bad_resize_factor, StatusBadResizeFactor, "a resize factor is not positive") \
    ROW(bad_filter_order, StatusBadFilterOrder, "the filter's order is below 1") \
    ROW(bad_shift, StatusBadShift, "a shift count is negative") \
    ROW(bad_mask_size, StatusBadMaskSize, "the mask size is not accepted") \
    ROW(bad_anchor, StatusBadAnchor, "the anchor lies outside the mask") \
    ROW(step_too_small, StatusStepTooSmall, "the step does not hold the region and its border") \
    ROW(bad_alpha_type, StatusBadAlphaType, "the alpha composition is unknown") \
    ROW(bad_divisor, StatusBadDivisor, "the filter's divisor is zero") \
    ROW(bad_channel_of_interest, StatusBadChannelOfInterest, "the channel of interest does not exist") \
    ROW(bad_channel_count, StatusBadChannelCount, "the channel count is not accepted") \
    ROW(bad_coefficients, StatusBadCoefficients, "the coefficients are degenerate") \
    ROW(bad_rectangle, StatusBadRectangle, "a rectangle has no usable extent") \
    ROW(bad_quadrangle, StatusBadQuadrangle, "the quadrangle is degenerate or not convex") \
    ROW(bad_channel_order, StatusBadChannelOrder, "an entry of the channel order does not exist") \
    ROW(bitstream_exhausted, StatusBitstreamExhausted, "the source ran out, or the destination is full") \
    ROW(bitstream_end, StatusBitstreamEnd, "a marker stopped the stream, or no code matches") \
    ROW(bad_huffman_table, StatusBadHuffmanTable, "the Huffman table is over-full or lacks a code") \
    ROW(bad_histogram_levels, StatusBadHistogramLevels, "fewer than 2 histogram levels") \
    ROW(bad_alignment, StatusBadAlignment, "a step of a 16-bit image is odd") \
    ROW(bad_matrix_stride, StatusBadMatrixStride, "a matrix stride is not accepted") \
    ROW(resize_too_small, StatusResizeTooSmall, "the scaled image would have no pixels") \
    ROW(bad_matrix_size, StatusBadMatrixSize, "the matrix has more rows than columns") \
    ROW(warn_unaligned, WarnUnaligned, "done, but a buffer was not aligned") \
    ROW(warn_sqrt_of_negative, WarnSqrtOfNegative, "done, but an element was negative") \
    ROW(warn_divide_by_zero, WarnDivideByZero, "done, but a divisor of zero was replaced") \
    ROW(warn_empty_intersection, WarnEmptyIntersection, "nothing to do: the regions do not overlap") \
    ROW(warn_no_rotation_overlap, WarnNoRotationOverlap, "nothing to do: the rotated source misses the destination") \
    ROW(warn_odd_size, WarnOddSize, "done, but an odd size was rounded down") \
    ROW(warn_asymmetric_kernel, WarnAsymmetricKernel, "done, but only the kernel's left half was used")

// clang-format off
enum class [[nodiscard]] status : VekStatus {
// clang-format on
#define UVEK_ENUMERATOR(name, value, text) name = value,
    UVEK_STATUSES(UVEK_ENUMERATOR)
#undef UVEK_ENUMERATOR
};

namespace detail {

class category final : public std::error_category {
public:
    const char* name() const noexcept override { return "uvek"; }
    std::string message(int value) const override
    {
        switch (value) {
#define UVEK_CASE(name, value, text) case value: return text;
            UVEK_STATUSES(UVEK_CASE)
#undef UVEK_CASE
        }
        return "status " + std::to_string(value);
    }
    std::error_condition default_error_condition(int value) const noexcept override
    {
        return value == StatusNoMemory ? std::errc::not_enough_memory : std::error_condition(value, *this);
    }
};

}  // namespace detail
#undef UVEK_STATUSES

inline const std::error_category& status_category() noexcept
{
    static const detail::category category;
    return category;
}

inline std::error_code make_error_code(status value) noexcept { return {static_cast<int>(value), status_category()}; }

}  // namespace uvek

template <>
struct std::is_error_code_enum<uvek::status> : std::true_type {};

namespace uvek {

// Throws std::system_error for an error; returns success, which is false, or the warning. It also takes what
// a C call returned.
inline std::error_code check(status value)
{
    if (static_cast<VekStatus>(value) < 0)
        throw std::system_error(make_error_code(value));
    return make_error_code(value);
}
inline std::error_code check(VekStatus value) { return check(static_cast<status>(value)); }

// ---- Vectors ----

namespace detail {

struct span_base {};

template <class C>
using element = std::remove_pointer_t<decltype(std::data(std::declval<C&>()))>;

// For containers that a span of T may look into: what is to be written is no temporary.
template <class C, class T>
using enable_container = std::enable_if_t<std::conjunction_v<
    std::negation<std::is_base_of<span_base, std::decay_t<C>>>, std::disjunction<std::is_lvalue_reference<C>, std::is_const<T>>,
    std::is_integral<decltype(std::size(std::declval<C&>()))>, std::is_convertible<element<C> (*)[], T (*)[]>>>;

}  // namespace detail

// `length` samples that something else owns.
template <class T>
class span : detail::span_base {
public:
    constexpr span() noexcept = default;
    constexpr span(T* data, std::ptrdiff_t length) : data_(data), length_(static_cast<Vek32s>(length))
    {
        if (length < 0 || length > std::numeric_limits<Vek32s>::max())
            check(status::bad_size);
        if (!data && length)
            check(status::null_pointer);
    }
    // An array, a vector or anything else that lies in one piece.
    template <class C, class = detail::enable_container<C, T>>
    constexpr span(C&& container) : span(std::data(container), static_cast<std::ptrdiff_t>(std::size(container)))
    {
    }
    constexpr operator span<const T>() const noexcept { return {data_, length_}; }

    constexpr T* data() const noexcept { return data_; }
    constexpr Vek32s length() const noexcept { return length_; }
    constexpr std::size_t size() const noexcept { return static_cast<std::size_t>(length_); }
    constexpr T& operator[](Vek32s i) const noexcept { return assert(i >= 0 && i < length_), data_[i]; }
    constexpr T* begin() const noexcept { return data_; }
    constexpr T* end() const noexcept { return data_ + length_; }
    constexpr span sub(Vek32s first, Vek32s length) const
    {
        if (first < 0 || length < 0 || first > length_ - length)
            check(status::bad_range);
        return {data_ + first, length};
    }

private:
    T* data_ = nullptr;
    Vek32s length_ = 0;
};

// `length` samples of its own, not cleared, on a boundary of 32 bytes.
template <class T>
class block {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    block() noexcept = default;
    explicit block(Vek32s length) : length_(length)
    {
        const std::int64_t bytes = std::int64_t(length) * std::int64_t(sizeof(T));
        if (length < 1 || bytes > std::numeric_limits<Vek32s>::max())
            check(status::bad_size);
        memory_.reset(static_cast<T*>(vekMalloc(static_cast<Vek32s>(bytes))));
        if (!memory_)
            check(status::no_memory);
    }
    block(block&& other) noexcept : memory_(std::move(other.memory_)), length_(std::exchange(other.length_, 0)) {}
    block& operator=(block&& other) noexcept
    {
        memory_ = std::move(other.memory_);
        length_ = std::exchange(other.length_, 0);
        return *this;
    }

    T* data() noexcept { return memory_.get(); }
    const T* data() const noexcept { return memory_.get(); }
    std::size_t size() const noexcept { return static_cast<std::size_t>(length_); }
    T& operator[](Vek32s i) noexcept { return span<T>(*this)[i]; }
    const T& operator[](Vek32s i) const noexcept { return span<const T>(*this)[i]; }
    T* begin() noexcept { return data(); }
    T* end() noexcept { return data() + length_; }
    const T* begin() const noexcept { return data(); }
    const T* end() const noexcept { return data() + length_; }

private:
    struct release { void operator()(T* memory) const noexcept { vekFree(memory); } };
    std::unique_ptr<T, release> memory_;
    Vek32s length_ = 0;
};

// ---- Images ----

// Pixels of `Channels` interleaved samples that something else owns. Steps are bytes from row to row, negative
// in images that stand upside down; T is const where pixels are only read.
template <class T, int Channels>
class image_view {
public:
    using sample_type = T;
    static constexpr int channels = Channels;

    constexpr image_view() noexcept = default;
    image_view(T* data, Vek32s step, VekImageSize size) : data_(data), step_(step), size_(size)
    {
        if (!data)
            check(status::null_pointer);
        if (size.width < 1 || size.height < 1)
            check(status::bad_size);
        const std::int64_t distance = step < 0 ? -std::int64_t(step) : step;
        if (size.height > 1 && distance < std::int64_t(size.width) * std::int64_t(sizeof(T)) * Channels)
            check(status::bad_step);
    }
    template <class U, class = std::enable_if_t<std::is_same_v<const U, T> && !std::is_const_v<U>>>
    constexpr image_view(const image_view<U, Channels>& other) noexcept : data_(other.data()), step_(other.step()), size_(other.size())
    {
    }

    constexpr T* data() const noexcept { return data_; }
    constexpr Vek32s step() const noexcept { return step_; }
    constexpr VekImageSize size() const noexcept { return size_; }
    constexpr Vek32s width() const noexcept { return size_.width; }
    constexpr Vek32s height() const noexcept { return size_.height; }

    T* pixel(Vek32s x, Vek32s y) const noexcept
    {
        using byte = std::conditional_t<std::is_const_v<T>, const char, char>;
        assert(x >= 0 && x < width() && y >= 0 && y < height());
        return reinterpret_cast<T*>(reinterpret_cast<byte*>(data_) + std::ptrdiff_t(y) * step_) + std::ptrdiff_t(x) * Channels;
    }
    T& operator()(Vek32s x, Vek32s y, int channel = 0) const noexcept { return pixel(x, y)[channel]; }
    span<T> row(Vek32s y) const { return {pixel(0, y), std::ptrdiff_t(width()) * Channels}; }

    // A part of the image; throws if it is not inside.
    image_view sub(VekImageRect part) const
    {
        if (part.x < 0 || part.y < 0 || part.width < 1 || part.height < 1 || part.x > width() - part.width || part.y > height() - part.height)
            check(status::bad_rectangle);
        return {pixel(part.x, part.y), step_, {part.width, part.height}};
    }

private:
    T* data_ = nullptr;
    Vek32s step_ = 0;
    VekImageSize size_ = {0, 0};
};

template <class T, int Channels>
using const_image_view = image_view<const T, Channels>;

// Pixels of its own, not cleared, each row on a boundary of 32 bytes.
template <class T, int Channels>
class image {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using view_type = image_view<T, Channels>;
    using const_view_type = const_image_view<T, Channels>;

    image() noexcept = default;
    image(Vek32s width, Vek32s height)
    {
        const std::int64_t bytes = std::int64_t(width) * std::int64_t(sizeof(T)) * Channels;
        if (width < 1 || height < 1 || bytes > std::numeric_limits<Vek32s>::max())
            check(status::bad_size);
        Vek32s step;
        memory_.reset(vekiMalloc_8u_C1(static_cast<Vek32s>(bytes), height, &step));
        if (!memory_)
            check(status::no_memory);
        view_ = {reinterpret_cast<T*>(memory_.get()), step, {width, height}};
    }
    explicit image(VekImageSize size) : image(size.width, size.height) {}
    image(image&& other) noexcept : memory_(std::move(other.memory_)), view_(std::exchange(other.view_, {})) {}
    image& operator=(image&& other) noexcept
    {
        memory_ = std::move(other.memory_);
        view_ = std::exchange(other.view_, {});
        return *this;
    }

    view_type view() noexcept { return view_; }
    const_view_type view() const noexcept { return view_; }
    operator view_type() noexcept { return view_; }
    operator const_view_type() const noexcept { return view_; }

    T* data() noexcept { return view_.data(); }
    const T* data() const noexcept { return view_.data(); }
    Vek32s step() const noexcept { return view_.step(); }
    VekImageSize size() const noexcept { return view_.size(); }
    Vek32s width() const noexcept { return view_.width(); }
    Vek32s height() const noexcept { return view_.height(); }
    T& operator()(Vek32s x, Vek32s y, int channel = 0) noexcept { return view_(x, y, channel); }
    const T& operator()(Vek32s x, Vek32s y, int channel = 0) const noexcept { return view_(x, y, channel); }
    span<T> row(Vek32s y) { return view_.row(y); }
    span<const T> row(Vek32s y) const { return view_.row(y); }
    view_type sub(VekImageRect part) { return view_.sub(part); }
    const_view_type sub(VekImageRect part) const { return view_.sub(part); }

private:
    struct release { void operator()(Vek8u* memory) const noexcept { vekiFree(memory); } };
    std::unique_ptr<Vek8u, release> memory_;
    view_type view_;
};

// ---- Records ----

namespace detail {

template <auto Free>
struct release_record {
    template <class T>
    void operator()(T* record) const noexcept { Free(record); }
};

template <class Record>
struct release_memory { void operator()(Record* record) const noexcept { vekFree(record); } };

template <class Handle, class... Parameters, class... Arguments>
Handle create(VekStatus (*init)(typename Handle::element_type**, Parameters...), Arguments... arguments)
{
    typename Handle::pointer record = nullptr;
    check(init(&record, arguments...));
    return Handle(record);
}

// A record of which the caller has the memory, as large as getSize tells.
template <class Handle, class... Parameters, class... Arguments>
Handle create_sized(VekStatus (*getSize)(Vek32s*), VekStatus (*init)(Parameters...), Arguments... arguments)
{
    Vek32s bytes = 0;
    check(getSize(&bytes));
    Handle record(static_cast<typename Handle::pointer>(vekMalloc(bytes)));
    if (!record)
        check(status::no_memory);
    check(init(arguments..., record.get()));
    return record;
}

}  // namespace detail

// Owners of the library's records. get() is what C functions take.
template <class Record, auto Free>
using record = std::unique_ptr<Record, detail::release_record<Free>>;
using fft_complex = record<VekFftSpec, veksFFTFree_C_32f>;
using fft_real = record<VekFftSpec, veksFFTFree_R_32f>;
using dft2_complex = record<VekDft2Spec, vekiDFTFree_C_32fc>;
using dft2_real = record<VekDft2Spec, vekiDFTFree_R_32f>;
using iir_filter = record<VekIirState, veksIIRFree_32f>;
using gauss_random = record<VekRandGaussState, veksRandGaussFree_32f>;
using pyramid = record<VekPyramidState, vekiPyramidFree>;
using pyramid_layer = record<VekPyramidLayerState, vekiPyramidLayerDownFree_8u_C1R>;
using optical_flow = record<VekOpticalFlowState, vekiOpticalFlowPyrLKFree_8u_C1R>;
template <class Record>
using sized_record = std::unique_ptr<Record, detail::release_memory<Record>>;
using huffman_decode_table = sized_record<DecodeHuffmanSpec>;
using huffman_decode_state = sized_record<DecodeHuffmanState>;
using huffman_encode_table = sized_record<EncodeHuffmanSpec>;
using huffman_encode_state = sized_record<EncodeHuffmanState>;

inline fft_complex make_fft_complex(Vek32s order, Vek32s flag = FftScaleInverse)
{
    return detail::create<fft_complex>(veksFFTInitAlloc_C_32f, order, flag, 0);
}
inline fft_real make_fft_real(Vek32s order, Vek32s flag = FftScaleInverse)
{
    return detail::create<fft_real>(veksFFTInitAlloc_R_32f, order, flag, 0);
}
inline dft2_complex make_dft2_complex(VekImageSize size, Vek32s flag = FftScaleInverse)
{
    return detail::create<dft2_complex>(vekiDFTInitAlloc_C_32fc, size, flag, 0);
}
inline dft2_real make_dft2_real(VekImageSize size, Vek32s flag = FftScaleInverse)
{
    return detail::create<dft2_real>(vekiDFTInitAlloc_R_32f, size, flag, 0);
}
// taps: b[0] .. b[order], a[0] .. a[order]; the delay line starts with zeros.
inline iir_filter make_iir_filter(span<const Vek32f> taps)
{
    return detail::create<iir_filter>(veksIIRInitAlloc_32f, taps.data(), taps.length() / 2 - 1, nullptr);
}
inline gauss_random make_gauss_random(Vek32f mean, Vek32f deviation, Vek32u seed)
{
    return detail::create<gauss_random>(veksRandGaussInitAlloc_32f, mean, deviation, seed);
}
inline pyramid make_pyramid(Vek32s levels, VekImageSize base, Vek32f rate)
{
    return detail::create<pyramid>(vekiPyramidInitAlloc, levels, base, rate);
}
// An asymmetric kernel gets no warning here: its left half is mirrored.
inline pyramid_layer make_pyramid_layer(VekImageSize largest, Vek32f rate, span<const Vek16s> kernel)
{
    return detail::create<pyramid_layer>(vekiPyramidLayerDownInitAlloc_8u_C1R, largest, rate, kernel.data(), kernel.length(), Vek32s(InterLinear));
}
inline optical_flow make_optical_flow(VekImageSize small, Vek32s window)
{
    return detail::create<optical_flow>(vekiOpticalFlowPyrLKInitAlloc_8u_C1R, small, window, 0);
}
// bits: the 16 counts of a DHT segment; values: the symbols behind them, as many as the counts sum to.
inline huffman_decode_table make_huffman_decode_table(const Vek8u* bits, const Vek8u* values)
{
    return detail::create_sized<huffman_decode_table>(vekiDecodeHuffmanSpecGetBufSize_JPEG_8u, vekiDecodeHuffmanSpecInit_JPEG_8u, bits, values);
}
inline huffman_encode_table make_huffman_encode_table(const Vek8u* bits, const Vek8u* values)
{
    return detail::create_sized<huffman_encode_table>(vekiEncodeHuffmanSpecGetBufSize_JPEG_8u, vekiEncodeHuffmanSpecInit_JPEG_8u, bits, values);
}
inline huffman_decode_state make_huffman_decode_state()
{
    return detail::create_sized<huffman_decode_state>(vekiDecodeHuffmanStateGetBufSize_JPEG_8u, vekiDecodeHuffmanStateInit_JPEG_8u);
}
inline huffman_encode_state make_huffman_encode_state()
{
    return detail::create_sized<huffman_encode_state>(vekiEncodeHuffmanStateGetBufSize_JPEG_8u, vekiEncodeHuffmanStateInit_JPEG_8u);
}

}  // namespace uvek

#endif
