// Resize, rotation, warps and window filters: what depends on factors, angles, kernels and regions.
#include "digest/recorder.h"

namespace uvek::digest {
namespace {

struct View {
    VekImageSize size;
    VekImageRect roi;
    VekImageSize dst;
    Vek64f x, y;  // factors
};

constexpr View kViews[] = {
    {{40, 31}, {0, 0, 40, 31}, {40, 31}, 1, 1},
    {{40, 31}, {0, 0, 40, 31}, {20, 15}, 0.5, 0.5},
    {{40, 31}, {2, 3, 37, 25}, {90, 60}, 2.37, 2.4},
    {{64, 48}, {0, 0, 64, 48}, {31, 17}, 0.49, 0.37},
    {{63, 47}, {4, 0, 50, 47}, {17, 40}, 0.25, 0.8},
    {{16, 9}, {0, 0, 16, 9}, {70, 40}, 4.3, 4.1},
    {{7, 3}, {0, 0, 7, 3}, {22, 9}, 3, 3},
    {{3, 5}, {0, 0, 3, 5}, {9, 3}, 2.9, 0.7},
    {{1, 1}, {0, 0, 1, 1}, {5, 4}, 5, 4},
    {{200, 33}, {10, 4, 180, 21}, {150, 30}, 1.0 / 3, 1.3},
    {{131, 131}, {0, 0, 131, 131}, {260, 150}, 1.97, 1.1},
    {{300, 20}, {0, 0, 300, 20}, {40, 10}, 0.05, 0.1},
};

template <typename T, typename F, typename... Rest>
void CallResize(Recorder& r, F* f, Rest... rest)
{
    Random random(7);
    int turn = 0;
    for (const View& view : kViews)
        for (const Vek32s code : {InterNearest + 0, InterLinear + 0, InterCubic + 0, InterSuper + 0, InterLanczos + 0, 3}) {
            const bool upward = ++turn % 5 == 0;
            const Raster<T> src(random, {view.size.width, view.size.height, (Kind)(turn % 3), false, upward, turn % 4 * (int)sizeof(T)});
            const Raster<T> dst(random, {view.dst.width, view.dst.height});
            const auto call = [&](const VekImageRect& roi, Vek64f x, Vek64f y) {
                r.Call(f, src.data(), view.size, src.step(), roi, dst.data(), dst.step(), view.dst, x, y, rest..., code);
                dst.NoteFor(r, f);
            };
            call(view.roi, view.x, view.y);
            call({view.roi.x & ~1, view.roi.y, (view.roi.width / 2 + 1) & ~1, view.roi.height}, view.x * 0.9, view.y * 0.77);
        }
}

struct Turn {
    Vek64f angle, x, y;
};

// Sines and cosines are the C runtime's, and runtimes differ in the last bit at about one angle in 600; not
// at these.
constexpr Turn kTurns[] = {
    {0, 0, 0}, {90, 45, 3}, {180, 50, 41}, {270, 3, 50}, {90, 45.5, 3}, {180, 44.25, 40}, {30, -3, 18.5}, {-123.4, 33, 12.75}, {725.5, 1, 2}, {45, 0, 30}, {0, 3.5, -2.25}, {1e-3, 0.1, 0.2}, {179.999, 52, 39}, {60, 500, 0},
};

constexpr Vek32s kCodes[] = {InterNearest, InterLinear, InterCubic, InterNearest | SmoothEdgeFlag, InterLinear | SmoothEdgeFlag, InterCubic | SmoothEdgeFlag, InterSuper};

// call(destination raster, source raster, sizes, regions, code)
template <typename T, typename F, typename... Rest>
void CallMapping(Recorder& r, F* f, Rest... rest)
{
    static constexpr VekImageSize kSizes[] = {{53, 41}, {2, 3}, {130, 9}};
    Random random(8);
    int turn = 0;
    for (const VekImageSize size : kSizes)
        for (const Vek32s code : kCodes) {
            ++turn;
            const Raster<T> src(random, {size.width, size.height, (Kind)(turn % 3), false, false, turn % 3 * (int)sizeof(T)});
            const Raster<T> dst(random, {90, 60});
            for (const VekImageRect& roi : {VekImageRect{0, 0, size.width, size.height}, VekImageRect{1, 2, size.width / 2 + 1, size.height}}) {
                r.Call(f, src.data(), size, src.step(), roi, dst.data(), dst.step(), VekImageRect{turn % 7, turn % 5, 82, 55}, rest..., code);
                dst.NoteFor(r, f);
            }
        }
}

template <typename T, typename F>
void CallRotation(Recorder& r, F* f)
{
    for (const Turn& t : kTurns)
        CallMapping<T>(r, f, t.angle, t.x, t.y);
}

constexpr Vek64f kQuads[][4][2] = {
    {{3, 4}, {60, 2}, {70, 50}, {1, 44}},
    {{10, 5}, {110, 15}, {120, 60}, {5, 45}},
    {{40, 1}, {90, 30}, {45, 60}, {2, 33}},
    {{0, 0}, {52, 0}, {52, 40}, {0, 40}},
    {{0, 0}, {10, 10}, {20, 20}, {30, 30}},
    {{100.5, 60.25}, {12.125, 62}, {-20, 7}, {130.75, -5}},
};

void CallWarps(Recorder& r)
{
    for (const auto& quad : kQuads)
        for (const VekImageRect& roi : {VekImageRect{0, 0, 53, 41}, VekImageRect{3, 1, 20, 1}, VekImageRect{5, 2, 31, 30}}) {
            Vek64f bilinear[2][4] = {}, perspective[3][3] = {};
            r.Call(vekiGetBilinearTransform, roi, quad, bilinear);
            r.Add(vekiGetBilinearTransform, bilinear[0], 8);
            r.Call(vekiGetPerspectiveTransform, roi, quad, perspective);
            r.Add(vekiGetPerspectiveTransform, perspective[0], 9);
            CallMapping<Vek8u>(r, vekiWarpBilinear_8u_C3R, bilinear);
            CallMapping<Vek8u>(r, vekiWarpPerspective_8u_C3R, perspective);
        }
}

void CallShapes(Recorder& r)
{
    for (const View& view : kViews)
        for (const Vek32s code : {InterNearest + 0, InterLinear + 0, InterSuper + 0, InterLanczos + 0}) {
            Vek64f x = 0, y = 0;
            r.Call(vekiGetResizeFract, view.size, view.roi, view.x, view.y, &x, &y, code);
            r.Add(vekiGetResizeFract, x);
            r.Add(vekiGetResizeFract, y);
        }
    for (const Turn& t : kTurns) {
        Vek64f bound[4] = {}, x = t.x, y = t.y;
        r.Call(vekiGetRotateBound, VekImageRect{3, 5, 50, 31}, bound, t.angle, t.x, t.y);
        r.Add(vekiGetRotateBound, bound, 4);
        r.Call(vekiAddRotateShift, 26.5, 13.25, t.angle, &x, &y);
        r.Add(vekiAddRotateShift, x);
        r.Add(vekiAddRotateShift, y);
    }
}

struct Mask {
    VekImageSize size;
    VekPoint anchor;
};

constexpr Mask kMasks[] = {
    {{1, 1}, {0, 0}}, {{3, 3}, {1, 1}}, {{3, 3}, {0, 2}}, {{2, 3}, {1, 1}}, {{5, 5}, {2, 2}}, {{7, 3}, {3, 0}}, {{4, 1}, {2, 0}}, {{1, 6}, {0, 3}}, {{9, 9}, {4, 4}}, {{11, 5}, {10, 4}}, {{3, 3}, {3, 0}},
};

template <typename F, typename Run>
void CallWindow(Recorder& r, F* f, int channels, Run&& run)
{
    Random random(9);
    for (const Shape& shape : kShapes) {
        if (shape.upward || shape.width > 400)
            continue;
        const Raster<Vek8u> src(random, shape, channels), dst(random, shape, channels);
        for (const Mask& mask : kMasks) {
            run(random, src, dst, VekImageSize{shape.width, shape.height}, mask);
            dst.NoteFor(r, f);
        }
    }
}

template <typename F>
void CallMask(Recorder& r, F* f, int channels)
{
    CallWindow(r, f, channels, [&](Random&, const Raster<Vek8u>& src, const Raster<Vek8u>& dst, VekImageSize size, const Mask& m) {
        r.Call(f, src.data(), src.step(), dst.data(), dst.step(), size, m.size, m.anchor);
    });
}

template <typename T, typename F>
void CallKernel(Recorder& r, F* f, int channels)
{
    CallWindow(r, f, channels, [&](Random& random, const Raster<Vek8u>& src, const Raster<Vek8u>& dst, VekImageSize size, const Mask& m) {
        std::vector<T> kernel((size_t)m.size.width * (size_t)m.size.height);
        const auto call = [&](auto... divisor) {
            r.Call(f, src.data(), src.step(), dst.data(), dst.step(), size, (const T*)kernel.data(), m.size, m.anchor, divisor...);
            dst.NoteFor(r, f);
        };
        if constexpr (std::is_floating_point_v<T>) {
            for (T& k : kernel)
                k = (T)(random.Uniform() * 4 / (Vek64f)kernel.size());
            call();
        } else {
            for (const T reach : {3, 1000, 0x7fffffff}) {
                for (T& k : kernel)
                    k = (T)(random.Uniform() * reach);
                for (const Vek32s divisor : {1, 4, 9, -7, 100000, 0})
                    call(divisor);
            }
        }
    });
}

}  // namespace

void CallGeometry(Recorder& r)
{
    CallResize<Vek8u>(r, vekiResize_8u_C1R);
    CallResize<Vek8u>(r, vekiResize_8u_C3R);
    CallResize<Vek8u>(r, vekiResize_8u_C4R);
    CallResize<Vek32f>(r, vekiResize_32f_C1R);
    CallResize<Vek8u>(r, vekiResizeYUV422_8u_C2R);
    for (const Vek64f x : {3.5, 20.0}) {
        CallResize<Vek8u>(r, vekiResizeCenter_8u_C3R, x, 4.25);
        CallResize<Vek8u>(r, vekiResizeShift_8u_C3R, x - 6, 1.125);
    }
    CallRotation<Vek8u>(r, vekiRotate_8u_C1R);
    CallRotation<Vek8u>(r, vekiRotate_8u_C3R);
    CallRotation<Vek8u>(r, vekiRotate_8u_C4R);
    CallRotation<Vek8u>(r, vekiRotateCenter_8u_C3R);
    CallRotation<Vek16u>(r, vekiRotate_16u_C1R);
    CallRotation<Vek16u>(r, vekiRotate_16u_C3R);
    CallRotation<Vek32f>(r, vekiRotate_32f_C3R);
    CallWarps(r);
    CallShapes(r);
    CallKernel<Vek32s>(r, vekiFilter_8u_C1R, 1);
    CallKernel<Vek32s>(r, vekiFilter_8u_C3R, 3);
    CallKernel<Vek32f>(r, vekiFilter32f_8u_C1R, 1);
    CallKernel<Vek32f>(r, vekiFilter32f_8u_C3R, 3);
    CallMask(r, vekiFilterBox_8u_C3R, 3);
    CallMask(r, vekiFilterMax_8u_C1R, 1);
    CallMask(r, vekiFilterMedian_8u_C1R, 1);

    // A mask of more than 8100 pixels, whose sums slide in floats.
    Random random(10);
    const Raster<Vek8u> src(random, {200, 200}), dst(random, {40, 50});
    r.Call(vekiFilterBox_8u_C3R, src.data() + 3 * 60 + 60 * src.step(), src.step(), dst.data(), dst.step(), VekImageSize{40, 50}, VekImageSize{95, 99}, VekPoint{50, 47});
    dst.NoteFor(r, vekiFilterBox_8u_C3R);
}

}  // namespace uvek::digest
