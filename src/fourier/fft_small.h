// Transforms of 1, 2, 4 and 8 elements without any table, in place or not. A scale other than 1 is
// applied after the first level of additions.
#ifndef UVEK_FOURIER_FFT_SMALL_H
#define UVEK_FOURIER_FFT_SMALL_H

#include "fourier/forms.h"

namespace uvek::VEK_TIER_NAMESPACE {

template <int order>
struct DirectOrder {
    static constexpr int value = order;
};

// Calls `kernel` with the order, 0 to 3, as a constant.
template <typename Kernel>
VEK_BUTTERFLY void WithDirectOrder(Vek32s order, Kernel kernel)
{
    switch (order) {
    case 0: return kernel(DirectOrder<0>{});
    case 1: return kernel(DirectOrder<1>{});
    case 2: return kernel(DirectOrder<2>{});
    default: return kernel(DirectOrder<3>{});
    }
}

// Unrolled: an array that is indexed by a loop variable stays in memory.
template <bool inverse, int order, typename T, typename Form>
VEK_BUTTERFLY void DirectKernel(Form src, Form dst, T scale)
{
    constexpr int n = 1 << order;
    Cx<T> x[n];
#pragma GCC unroll 8
    for (int i = 0; i < n; ++i)
        x[i] = LoadOne(src, i);
#pragma GCC unroll 4
    for (int i = 0; i < n / 2; ++i)
        Butterfly2(x[i], x[i + n / 2]);
#pragma GCC unroll 8
    for (int i = 0; i < n; ++i)
        x[i] = Scale(x[i], scale);
    if constexpr (order == 2) {
        // Sums give the even outputs, differences (the second one turned) the odd ones.
        const Cx<T> s0 = x[0], s1 = x[1], d0 = x[2], d1 = x[3];
        x[0] = Add(s0, s1);
        x[1] = AddTurned<inverse>(d0, d1);
        x[2] = Sub(s0, s1);
        x[3] = SubTurned<inverse>(d0, d1);
    } else if constexpr (order == 3) {
        const T half = (T)0.70710678118654752440;
        Cx<T> e[4] = {x[0], x[1], x[2], x[3]};
        Butterfly4<inverse>(e[0], e[1], e[2], e[3]);
        // The differences turn by 0, 1, 2, 3 eighths before their transform of four.
        const Cx<T> d1 = x[5], d3 = x[7];
        const Cx<T> zero = {0, 0}, turned1 = AddTurned<inverse>(d1, d1), turned3 = SubTurned<inverse>(d3, d3);
        Cx<T> d[4] = {x[4], Scale(turned1, half), AddTurned<inverse>(zero, x[6]), Scale(Sub(zero, turned3), half)};
        Butterfly4<inverse>(d[0], d[1], d[2], d[3]);
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            x[2 * i] = e[i];
            x[2 * i + 1] = d[i];
        }
    }
#pragma GCC unroll 8
    for (int i = 0; i < n; ++i)
        StoreOne(dst, i, x[i]);
}

template <bool inverse, typename T, typename Form>
void TransformSmall(Vek32s order, Form src, Form dst, T scale)
{
    WithDirectOrder(order, [=](auto n) { DirectKernel<inverse, n.value>(src, dst, scale); });
}

}  // namespace uvek::VEK_TIER_NAMESPACE

#endif
