// How an export is called follows from its type: every signature that means one thing has its overload
// here. Any other is left to the Call... functions.
#ifndef UVEK_TESTS_DIGEST_SIGNATURES_H
#define UVEK_TESTS_DIGEST_SIGNATURES_H

#include "digest/recorder.h"

namespace uvek::digest {

// The channels of both images by an export's name: the figures after a C or P of its last part.
struct Channels {
    int src = 1, dst = 1;

    explicit Channels(const char* name)
    {
        int found = 0;
        for (const char* p = std::strrchr(name, '_') + 1; *p; ++p)
            if ((*p == 'C' || *p == 'P') && p[1] >= '1' && p[1] <= '4') {
                dst = p[1] - '0';
                if (found++ == 0)
                    src = dst;
            }
    }
};

// Copies and fills stream what is larger than a cache: they have one call of some megabytes.
constexpr int kStreamedBytes = 2300000;

template <typename Visit>
void ForShapes(const char* name, int sampleBytes, Visit&& visit)
{
    Random random(20240229);
    for (const Shape& shape : kShapes)
        visit(random, shape);
    const Channels channels(name);
    if (std::strstr(name, "iCopy_") || std::strstr(name, "iSet_"))
        visit(random, Shape{1111, kStreamedBytes / (1111 * sampleBytes * (channels.src < channels.dst ? channels.src : channels.dst)), Kind::Noise, false, false, 3});
}

template <typename T, typename Visit>
void ForLengths(const char* name, Visit&& visit)
{
    Random random(20240301);
    int turn = 0;
    const auto one = [&](Vek32s length) {
        visit(random, Shape{length, 1, (Kind)(turn % 4), true, false, turn % 5 == 3 ? turn % 32 : 0});
        ++turn;
    };
    for (Vek32s length = 1; length <= 41; ++length)
        one(length);
    for (const Vek32s length : {63, 64, 65, 100, 127, 1023, 1024, 1025, 4099})
        one(length);
    if (std::strstr(name, "sCopy_") || std::strstr(name, "sSet_") || std::strstr(name, "sZero_"))
        one((Vek32s)(kStreamedBytes / sizeof(T)));
}

template <typename T>
T ValueAt(int i)
{
    if constexpr (std::is_floating_point_v<T>)
        return (T)(i == 0 ? 0.0 : i == 1 ? 1.0 : i == 2 ? -3.7 : 0.3);
    else
        return (T)(i == 0 ? 0 : i == 1 ? 1 : i == 2 ? 5 : i == 3 ? 100 : 30000);
}
constexpr int kValues = 5;

// ---- Images ----

// source, destination, size, and what follows
template <typename S, typename D, typename F, typename... Rest>
void CallUnary(Recorder& r, const char* name, F* f, Rest... rest)
{
    const Channels channels(name);
    ForShapes(name, sizeof(D), [&](Random& random, const Shape& shape) {
        const Shape turned = {shape.width > shape.height ? shape.width : shape.height, shape.width > shape.height ? shape.width : shape.height,
                              shape.kind, shape.packed, shape.upward, shape.offset / 2};
        const Raster<S> src(random, shape, channels.src);
        const Raster<D> dst(random, std::strstr(name, "Transpose") ? turned : shape, channels.dst);
        r.Call(f, src.data(), src.step(), dst.data(), dst.step(), VekImageSize{shape.width, shape.height}, rest...);
        dst.NoteFor(r, f);
    });
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*, Vek32s, VekImageSize))
{
    CallUnary<S, D>(r, name, f);
}

template <typename S, typename D>  // an axis or a mask's size
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*, Vek32s, VekImageSize, Vek32s))
{
    for (const Vek32s code : {AxisHorizontal + 0, AxisVertical + 0, AxisBoth + 0, MaskSize3x3 + 0, MaskSize5x5 + 0})
        CallUnary<S, D>(r, name, f, code);
}

template <typename S, typename D>  // weights
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*, Vek32s, VekImageSize, const Vek32f*))
{
    static constexpr Vek32f kWeights[][3] = {{0.2f, 0.7f, 0.1f}, {0.9f, 0.8f, 0.7f}, {0, 0, 1}};
    CallUnary<S, D>(r, name, f, (const Vek32f*)nullptr);
    for (const auto& weights : kWeights)
        CallUnary<S, D>(r, name, f, (const Vek32f*)weights);
}

constexpr Vek32s kOrders[][3] = {{0, 1, 2}, {2, 1, 0}, {1, 2, 0}, {0, 0, 2}, {2, 0, 3}};

template <typename S, typename D>  // an order of channels
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*, Vek32s, VekImageSize, const Vek32s*))
{
    for (const auto& order : kOrders)
        CallUnary<S, D>(r, name, f, (const Vek32s*)order);
}

template <typename S, typename D>  // a mask
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*, Vek32s, VekImageSize, const Vek8u*, Vek32s))
{
    ForShapes(name, sizeof(D), [&](Random& random, const Shape& shape) {
        const Raster<S> src(random, shape, 3);
        const Raster<D> dst(random, shape, 3);
        std::vector<Vek8u> mask = Vector<Vek8u>(random, (size_t)shape.width * (size_t)shape.height);
        for (Vek8u& m : mask)
            m = m % 3 ? m : 0;
        r.Call(f, src.data(), src.step(), dst.data(), dst.step(), VekImageSize{shape.width, shape.height}, mask.data(), shape.width);
        dst.NoteFor(r, f);
    });
}

// Planes of one step, or of a step for each.
template <typename T>
struct Planes {
    Raster<T> a, b, c, d;
    T* pointers[4] = {a.data(), b.data(), c.data(), d.data()};
    Vek32s steps[4] = {a.step(), b.step(), c.step(), d.step()};

    Planes(Random& random, const Shape& shape) : a(random, shape, 1), b(random, shape, 1), c(random, shape, 1), d(random, shape, 1) {}

    template <typename F>
    void NoteFor(Recorder& r, F* f) const
    {
        for (const Raster<T>* plane : {&a, &b, &c, &d})
            plane->NoteFor(r, f);
    }
    Vek32s StepOr(Vek32s) const { return a.step(); }
    const Vek32s* StepOr(const Vek32s*) const { return steps; }
};

template <typename S, typename D, typename Step>
void CallToPlanes(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D* const*, Step, VekImageSize))
{
    ForShapes(name, sizeof(D), [&](Random& random, const Shape& shape) {
        const Raster<S> src(random, shape, Channels(name).src);
        const Planes<D> dst(random, shape);
        r.Call(f, src.data(), src.step(), dst.pointers, dst.StepOr(Step{}), VekImageSize{shape.width, shape.height});
        dst.NoteFor(r, f);
    });
}

template <typename S, typename D, typename Step>
void CallFromPlanes(Recorder& r, const char* name, VekStatus (*f)(const S* const*, Step, D*, Vek32s, VekImageSize))
{
    ForShapes(name, sizeof(D), [&](Random& random, const Shape& shape) {
        const Planes<S> src(random, shape);
        const Raster<D> dst(random, shape, Channels(name).dst);
        r.Call(f, src.pointers, src.StepOr(Step{}), dst.data(), dst.step(), VekImageSize{shape.width, shape.height});
        dst.NoteFor(r, f);
    });
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D* const*, Vek32s, VekImageSize))
{
    CallToPlanes(r, name, f);
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D* const*, const Vek32s*, VekImageSize))
{
    CallToPlanes(r, name, f);
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S* const*, Vek32s, D*, Vek32s, VekImageSize))
{
    CallFromPlanes(r, name, f);
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S* const*, const Vek32s*, D*, Vek32s, VekImageSize))
{
    CallFromPlanes(r, name, f);
}

// in place, with what comes before the image and what follows it: call(pointer, step, size) -> status
template <typename T, typename F, typename Run>
void CallInPlace(Recorder& r, const char* name, F* f, Run&& run)
{
    ForShapes(name, sizeof(T), [&](Random& random, const Shape& shape) {
        const Raster<T> image(random, shape, Channels(name).dst);
        run(image.data(), image.step(), VekImageSize{shape.width, shape.height});
        image.NoteFor(r, f);
    });
}

template <typename T>
void Simple(Recorder& r, const char* name, VekStatus (*f)(T*, Vek32s, VekImageSize))
{
    CallInPlace<T>(r, name, f, [&](T* p, Vek32s step, VekImageSize size) { r.Call(f, p, step, size); });
}

template <typename T>
void Simple(Recorder& r, const char* name, VekStatus (*f)(T*, Vek32s, VekImageSize, Vek32s))
{
    for (Vek32s axis = 0; axis < 4; ++axis)
        CallInPlace<T>(r, name, f, [&](T* p, Vek32s step, VekImageSize size) { r.Call(f, p, step, size, axis); });
}

template <typename T>
void Simple(Recorder& r, const char* name, VekStatus (*f)(T*, Vek32s, VekImageSize, const Vek32s*))
{
    for (const auto& order : kOrders)
        CallInPlace<T>(r, name, f, [&](T* p, Vek32s step, VekImageSize size) { r.Call(f, p, step, size, order); });
}

template <typename T>  // a threshold and its replacement
void Simple(Recorder& r, const char* name, VekStatus (*f)(T*, Vek32s, VekImageSize, T, T))
{
    for (const int threshold : {0, 100, 255})
        CallInPlace<T>(r, name, f, [&](T* p, Vek32s step, VekImageSize size) { r.Call(f, p, step, size, (T)threshold, (T)7); });
}

template <typename V, typename T>  // a value for all channels
void Simple(Recorder& r, const char* name, VekStatus (*f)(V, T*, Vek32s, VekImageSize))
{
    for (int i = 0; i < kValues; ++i)
        CallInPlace<T>(r, name, f, [&](T* p, Vek32s step, VekImageSize size) { r.Call(f, ValueAt<V>(i), p, step, size); });
}

template <typename V, typename T>  // a value for each
void Simple(Recorder& r, const char* name, VekStatus (*f)(const V*, T*, Vek32s, VekImageSize))
{
    for (int i = 0; i < kValues; ++i) {
        const V values[4] = {ValueAt<V>(i), ValueAt<V>(2), ValueAt<V>((i + 1) % kValues), ValueAt<V>(3)};
        CallInPlace<T>(r, name, f, [&](T* p, Vek32s step, VekImageSize size) { r.Call(f, values, p, step, size); });
    }
}

template <typename T>  // one size into another
void Simple(Recorder& r, const char* name, VekStatus (*f)(const T*, Vek32s, VekImageSize, T*, Vek32s, VekImageSize))
{
    ForShapes(name, sizeof(T), [&](Random& random, const Shape& shape) {
        const Shape twice = {2 * shape.width, 2 * shape.height, shape.kind, shape.packed, false, shape.offset};
        const Raster<T> src(random, twice, 1), dst(random, shape, 1);
        r.Call(f, src.data(), src.step(), VekImageSize{twice.width, twice.height}, dst.data(), dst.step(), VekImageSize{shape.width, shape.height});
        dst.NoteFor(r, f);
    });
}

template <typename T>  // and with a border's height and width
void Simple(Recorder& r, const char* name, VekStatus (*f)(const T*, Vek32s, VekImageSize, T*, Vek32s, VekImageSize, Vek32s, Vek32s))
{
    const int channels = Channels(name).src;
    ForShapes(name, sizeof(T), [&](Random& random, const Shape& shape) {
        for (const Vek32s top : {0, 2}) {
            const Vek32s left = 3 * top, right = top + 1;
            const Shape larger = {shape.width + left + right, shape.height + top + 5, shape.kind, shape.packed, shape.upward, shape.offset};
            const Raster<T> src(random, shape, channels), dst(random, larger, channels);
            r.Call(f, src.data(), src.step(), VekImageSize{shape.width, shape.height}, dst.data(), dst.step(), VekImageSize{larger.width, larger.height}, top, left);
            dst.NoteFor(r, f);
        }
    });
}

// ---- Vectors ----

// in place: call(pointer, length) -> status
template <typename T, typename F, typename Run>
void CallVector(Recorder& r, const char* name, F* f, Run&& run)
{
    ForLengths<T>(name, [&](Random& random, const Shape& shape) {
        const Raster<T> vector(random, shape, 1, 0);
        run(vector.data(), shape.width);
        vector.NoteFor(r, f);
    });
}

template <typename T>
void Simple(Recorder& r, const char* name, VekStatus (*f)(T*, Vek32s))
{
    if (!std::strstr(name, "_JPEG_"))  // there a table of 64 and its quality, called beside the blocks
        CallVector<T>(r, name, f, [&](T* p, Vek32s length) { r.Call(f, p, length); });
}

template <typename V, typename T>
void Simple(Recorder& r, const char* name, VekStatus (*f)(V, T*, Vek32s))
{
    for (int i = 0; i < kValues; ++i)
        CallVector<T>(r, name, f, [&](T* p, Vek32s length) { r.Call(f, ValueAt<V>(i), p, length); });
}

template <typename S, typename D, typename F, typename... Rest>
void CallVectors(Recorder& r, const char* name, F* f, Rest... rest)
{
    ForLengths<D>(name, [&](Random& random, const Shape& shape) {
        const Raster<S> src(random, shape, 1, 0);
        const Raster<D> dst(random, shape, 2, 0);  // two samples for each, of upsampling
        r.Call(f, src.data(), dst.data(), shape.width, rest...);
        dst.NoteFor(r, f);
    });
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, D*, Vek32s))
{
    CallVectors<S, D>(r, name, f);
}

inline void Simple(Recorder& r, const char* name, VekStatus (*f)(const Vek32fc*, Vek32f*, Vek32s))
{
    ForLengths<Vek32f>(name, [&](Random& random, const Shape& shape) {
        const Raster<Vek32f> src(random, shape, 2, 0), dst(random, shape, 1, 0);
        r.Call(f, (const Vek32fc*)src.data(), dst.data(), shape.width);
        dst.NoteFor(r, f);
    });
}

// a rounding mode and a scale, or a precision and a point transform
template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, D*, Vek32s, Vek32s, Vek32s))
{
    for (const Vek32s first : {0, 1, 2, 8, 12, 16})
        for (const Vek32s second : {-3, 0, 1, 2, 7})
            CallVectors<S, D>(r, name, f, first, second);
}

template <typename S, typename D, typename F, typename... Rest>
void CallTwoVectors(Recorder& r, const char* name, F* f, Rest... rest)
{
    ForLengths<D>(name, [&](Random& random, const Shape& shape) {
        const Raster<S> a(random, shape, 1, 0), b(random, shape, 1, 0);
        const Raster<D> dst(random, shape, 2, 0);
        if constexpr (std::is_invocable_v<F*, const S*, const S*, D*, Vek32s, Rest...>)
            r.Call(f, a.data(), b.data(), dst.data(), shape.width, rest...);
        else
            r.Call(f, a.data(), b.data(), shape.width, dst.data());
        dst.NoteFor(r, f);
    });
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, const S*, D*, Vek32s))
{
    CallTwoVectors<S, D>(r, name, f);
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, const S*, Vek32s, D*))
{
    CallTwoVectors<S, D>(r, name, f);
}

// a scale factor, or a predictor
template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, const S*, D*, Vek32s, Vek32s))
{
    for (const Vek32s code : {-15, -2, 0, 1, 2, 3, 4, 5, 6, 7, 16, 17})
        CallTwoVectors<S, D>(r, name, f, code);
}

// a result, or an upsampled row; with a hint
template <typename S, typename D, typename F, typename... Rest>
void CallReduction(Recorder& r, const char* name, F* f, Rest... rest)
{
    ForLengths<D>(name, [&](Random& random, const Shape& shape) {
        const Raster<S> src(random, shape, 1, 0);
        const Raster<D> dst(random, shape, 2, 0);
        r.Call(f, src.data(), shape.width, dst.data(), rest...);
        dst.NoteFor(r, f);
    });
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*))
{
    CallReduction<S, D>(r, name, f);
}

template <typename S, typename D>
void Simple(Recorder& r, const char* name, VekStatus (*f)(const S*, Vek32s, D*, Vek32s))
{
    for (const Vek32s hint : {0, 1, 2})
        CallReduction<S, D>(r, name, f, hint);
}

// ---- Everything else: nothing here ----

template <typename F>
void Simple(Recorder&, const char*, F*)
{
}

}  // namespace uvek::digest

#endif
