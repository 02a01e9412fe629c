// What a digest is made of: a hash for each export, seeded inputs, and images and vectors that are hashed
// with all that surrounds them.
#ifndef UVEK_TESTS_DIGEST_RECORDER_H
#define UVEK_TESTS_DIGEST_RECORDER_H

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <type_traits>
#include <vector>

#include "uvek/uvek.h"

namespace uvek::digest {

using Export = void (*)();

class Recorder {
public:
    // Calls an export and notes its status.
    template <typename F, typename... Args>
    VekStatus Call(F* f, Args... args)
    {
        const VekStatus status = f(args...);
        Add(f, status);
        return status;
    }

    template <typename F, typename T>
    void Add(F* f, T value)
    {
        Add(f, &value, 1);
    }

    // Notes results of an export. The sign and payload of a NaN are nobody's promise.
    template <typename F, typename T>
    void Add(F* f, const T* values, size_t count)
    {
        static_assert(std::is_arithmetic_v<T>);
        uint64_t& noted = hashes_.try_emplace((Export)f, 0x9e3779b97f4a7c15u).first->second;
        uint64_t hash = noted;
        for (size_t i = 0; i < count; ++i) {
            T value;
            std::memcpy(&value, (const char*)values + i * sizeof value, sizeof value);
            uint64_t bits = 0;
            if (value == value)
                std::memcpy(&bits, &value, sizeof value);
            else
                bits = 0x7ff8;
            hash = (hash ^ bits) * 0xff51afd7ed558ccdu;
            hash ^= hash >> 32;
        }
        noted = hash;
    }

    const uint64_t* Find(Export f) const
    {
        const auto found = hashes_.find(f);
        return found == hashes_.end() ? nullptr : &found->second;
    }

private:
    std::map<Export, uint64_t> hashes_;
};

// Numbers that are the same on every platform (Vigna's splitmix64, 2015).
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint32_t operator()()
    {
        uint64_t z = state_ += 0x9e3779b97f4a7c15u;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return (uint32_t)((z ^ (z >> 31)) >> 32);
    }
    Vek64f Uniform() { return ((Vek64f)(*this)() - 2147483648.0) / 2147483648.0; }  // -1 .. 1

private:
    uint64_t state_;
};

enum class Kind { Noise, Smooth, Extremes, Wide };  // Wide: floats of many exponents, zeros among them

template <typename T>
T Sample(Random& random, Kind kind, size_t i)
{
    if constexpr (std::is_floating_point_v<T>) {
        const Vek64f unit = random.Uniform();
        switch (kind) {
        case Kind::Smooth: return (T)(100 + (Vek64f)(i % 64) + unit);
        case Kind::Extremes: return (T)(i % 3 == 0 ? -40000.5 : i % 3 == 1 ? 40000.5 : 0);
        case Kind::Wide: return (T)(random() % 9 == 0 ? (unit < 0 ? -0.0 : 0.0) : unit * (random() % 2 ? 1e-20 : 1e15) * (Vek64f)(1u << random() % 32));
        default: return (T)(unit * 255);
        }
    } else {
        switch (kind) {
        case Kind::Smooth: return (T)(i * 2 + random() % 8);
        case Kind::Extremes: return i % 3 == 0 ? (T)0 : i % 3 == 1 ? std::numeric_limits<T>::max() : std::numeric_limits<T>::min();
        default: return (T)random();
        }
    }
}

struct Shape {
    Vek32s width, height;
    Kind kind = Kind::Noise;
    bool packed = false;  // rows follow each other without a gap
    bool upward = false;  // the step is negative
    int offset = 0;       // bytes that the first row stands off a multiple of 32
};

constexpr Shape kShapes[] = {
    {1, 1},
    {2, 2, Kind::Noise, true},
    {3, 2, Kind::Extremes, false, true},
    {5, 9, Kind::Smooth},
    {8, 8, Kind::Noise, true},
    {15, 3, Kind::Extremes, false, false, 1},
    {16, 16, Kind::Smooth, true},
    {17, 5, Kind::Noise, false, true, 3},
    {31, 4, Kind::Wide, true, false, 5},
    {33, 34},
    {64, 6, Kind::Extremes, true},
    {67, 7, Kind::Smooth, false, false, 15},
    {131, 40, Kind::Noise, false, true, 2},
    {359, 12, Kind::Smooth},
    {515, 21, Kind::Noise, true, false, 16},
};

constexpr int kBorder = 12;  // pixels that stand around every region

// An image with a border of kBorder pixels, for regions of up to `channels` samples to a pixel. A vector
// takes no rows around it.
template <typename T>
class Raster {
public:
    Raster(Random& random, const Shape& shape, int channels = 4, int rowsAround = kBorder)
    {
        const size_t row = (size_t)shape.width * (size_t)channels + (shape.packed ? 0 : (size_t)(2 * kBorder * channels) + 1);
        const size_t before = (size_t)rowsAround * row + (size_t)(kBorder * channels), rows = (size_t)(shape.height + 2 * rowsAround);
        count_ = before + row * rows + (size_t)(2 * kBorder * channels);
        bytes_.resize(count_ * sizeof(T) + 64);
        base_ = bytes_.data() + (32 - (uintptr_t)bytes_.data() % 32) % 32 + shape.offset;
        for (size_t i = 0; i < count_; ++i) {
            const T value = Sample<T>(random, shape.kind, i);
            std::memcpy(base_ + i * sizeof(T), &value, sizeof value);
        }
        step_ = (Vek32s)(row * sizeof(T)) * (shape.upward ? -1 : 1);
        data_ = (T*)(base_ + (before + (shape.upward ? row * ((size_t)shape.height - 1) : 0)) * sizeof(T));
    }
    Raster(const Raster&) = delete;
    Raster& operator=(const Raster&) = delete;

    T* data() const { return data_; }
    Vek32s step() const { return step_; }

    template <typename F>
    void NoteFor(Recorder& recorder, F* f) const
    {
        recorder.Add(f, (const T*)base_, count_);
    }

private:
    std::vector<uint8_t> bytes_;
    uint8_t* base_;
    size_t count_;
    T* data_;
    Vek32s step_;
};

template <typename T>
std::vector<T> Vector(Random& random, size_t count, Kind kind = Kind::Noise)
{
    std::vector<T> values(count);
    for (size_t i = 0; i < count; ++i)
        values[i] = Sample<T>(random, kind, i);
    return values;
}

// What no signature tells how to call: records, their users, and whatever depends on meaning.
void CallFrame(Recorder& recorder);
void CallGeometry(Recorder& recorder);
void CallHuffman(Recorder& recorder);
void CallBlocks(Recorder& recorder);
void CallFourier(Recorder& recorder);
void CallSignal(Recorder& recorder);
void CallVision(Recorder& recorder);

}  // namespace uvek::digest

#endif
