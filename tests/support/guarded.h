// Memory that starts and ends at inaccessible pages, and images in it.
#ifndef UVEK_TESTS_SUPPORT_GUARDED_H
#define UVEK_TESTS_SUPPORT_GUARDED_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <utility>
#include <vector>

#include "uvek/base.h"

namespace uvek::test {

// `size` bytes that touch an inaccessible page at their end (Flush::End) or start (Flush::Start). The
// slack on the other side, up to a page, is filled and can be checked with IsSlackIntact().
enum class Flush { End, Start };

class GuardedBytes {
public:
    GuardedBytes() = default;
    explicit GuardedBytes(size_t size, Flush flush = Flush::End);
    ~GuardedBytes();
    GuardedBytes(GuardedBytes&& other) noexcept { swap(other); }
    GuardedBytes& operator=(GuardedBytes&& other) noexcept { swap(other); return *this; }

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    bool IsSlackIntact() const;

private:
    void swap(GuardedBytes& other);

    uint8_t* mapping_ = nullptr;
    size_t pages_ = 0;  // bytes between the two guard pages
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
};

// A shape of a region: its size, how far its rows stand apart, and where it touches the guard.
struct Shape {
    Vek32s width = 1;
    Vek32s height = 1;
    Vek32s padding = 0;       // bytes between rows
    bool upward = false;      // rows go upward in memory: the step is negative
    Flush flush = Flush::End;
    int offset = 0;           // bytes between the guard and the first (Start) or last (End) byte: misaligns

    VekImageSize size() const { return {width, height}; }
};

std::ostream& operator<<(std::ostream& out, const Shape& shape);

// Widths 1 to 70 and some large odd ones; packed, padded and upward steps; both guards; alignments.
template <typename Visit>
void ForEachShape(Visit&& visit)
{
    for (Vek32s width = 1; width <= 70; ++width) {
        Shape shape;
        shape.width = width;
        shape.height = 1 + width % 5;
        shape.padding = width % 3 == 0 ? 0 : width % 7 + 1;
        shape.upward = width % 4 == 1;
        shape.flush = width % 2 ? Flush::End : Flush::Start;
        shape.offset = width % 16;
        visit(shape);
        shape.padding = 0;
        shape.upward = false;
        shape.flush = width % 2 ? Flush::Start : Flush::End;
        shape.offset = 0;
        visit(shape);
    }
    for (const Vek32s width : {127, 128, 129, 255, 359, 1021, 4099}) {
        Shape shape;
        shape.width = width;
        shape.height = 3;
        for (const int offset : {0, 1, 8, 15}) {
            shape.offset = offset;
            shape.flush = offset & 1 ? Flush::Start : Flush::End;
            shape.padding = offset;
            visit(shape);
        }
    }
}

// An image of `channels` interleaved samples in guarded memory. The bytes between rows hold a pattern,
// and operator== compares them too, so that a write outside the region shows.
template <typename T, int channels = 1>
class GuardedImage {
public:
    explicit GuardedImage(const Shape& shape)
        : shape_(shape),
          rowBytes_((size_t)shape.width * channels * sizeof(T)),
          stride_(rowBytes_ + (size_t)shape.padding),
          bytes_(stride_ * ((size_t)shape.height - 1) + rowBytes_ + (size_t)shape.offset, shape.flush)
    {
        std::memset(bytes_.data(), kPattern, bytes_.size());
    }
    GuardedImage(Vek32s width, Vek32s height) : GuardedImage(Shape{width, height}) {}
    GuardedImage(const GuardedImage& other) : GuardedImage(other.shape_)
    {
        std::memcpy(bytes_.data(), other.bytes_.data(), bytes_.size());
    }
    GuardedImage(GuardedImage&&) noexcept = default;
    GuardedImage& operator=(GuardedImage&&) noexcept = default;

    // The region's first sample, in the row that the step starts from.
    T* data() const { return (T*)(base() + (shape_.upward ? stride_ * ((size_t)shape_.height - 1) : 0)); }
    Vek32s step() const { return shape_.upward ? -(Vek32s)stride_ : (Vek32s)stride_; }
    VekImageSize size() const { return shape_.size(); }
    const Shape& shape() const { return shape_; }
    Vek32s width() const { return shape_.width; }
    Vek32s height() const { return shape_.height; }

    T at(Vek32s x, Vek32s y, int c = 0) const
    {
        T value;
        std::memcpy(&value, Address(x, y, c), sizeof value);
        return value;
    }
    void set(Vek32s x, Vek32s y, int c, T value) { std::memcpy(Address(x, y, c), &value, sizeof value); }

    template <typename Next>
    void Fill(Next&& next)
    {
        for (Vek32s y = 0; y < shape_.height; ++y)
            for (Vek32s x = 0; x < shape_.width; ++x)
                for (int c = 0; c < channels; ++c)
                    set(x, y, c, (T)next());
    }

    bool IsSlackIntact() const { return bytes_.IsSlackIntact(); }

    friend bool operator==(const GuardedImage& a, const GuardedImage& b)
    {
        return a.bytes_.size() == b.bytes_.size() && std::memcmp(a.bytes_.data(), b.bytes_.data(), a.bytes_.size()) == 0
            && a.IsSlackIntact() && b.IsSlackIntact();
    }
    friend std::ostream& operator<<(std::ostream& out, const GuardedImage& image)
    {
        return out << "image of " << channels << " channels, " << image.shape_;
    }

private:
    static constexpr uint8_t kPattern = 0xc3;

    uint8_t* base() const { return bytes_.data() + (shape_.flush == Flush::Start ? shape_.offset : 0); }
    uint8_t* Address(Vek32s x, Vek32s y, int c) const
    {
        return (uint8_t*)data() + (int64_t)step() * y + ((int64_t)x * channels + c) * (int64_t)sizeof(T);
    }

    Shape shape_;
    size_t rowBytes_;
    size_t stride_;
    GuardedBytes bytes_;
};

// A vector of samples that ends, or starts, at an inaccessible page, `offset` bytes away from it.
template <typename T>
class GuardedVector : public GuardedImage<T> {
public:
    explicit GuardedVector(Vek32s length, Flush flush = Flush::End, int offset = 0)
        : GuardedImage<T>(Shape{length, 1, 0, false, flush, offset})
    {
    }
    T operator[](Vek32s i) const { return this->at(i, 0); }
    Vek32s length() const { return this->width(); }
};

}  // namespace uvek::test

#endif
