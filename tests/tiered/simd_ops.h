// The vector layer's operations, each with the scalar code that it stands for. Built once a tier.
#ifndef UVEK_TESTS_TIERED_SIMD_OPS_H
#define UVEK_TESTS_TIERED_SIMD_OPS_H

#include <stddef.h>

#include "uvek/base.h"

namespace uvek::test {

constexpr size_t kOpBytes = 64;  // of input and of output

struct SimdOp {
    const char* name;
    void (*vector)(const Vek8u* in, Vek8u* out);
    void (*scalar)(const Vek8u* in, Vek8u* out);
};

struct SimdOps {
    const SimdOp* ops;
    size_t count;
};

}  // namespace uvek::test

namespace uvek::mx { test::SimdOps AllSimdOps(); }
namespace uvek::m7 { test::SimdOps AllSimdOps(); }
namespace uvek::u8 { test::SimdOps AllSimdOps(); }
namespace uvek::y8 { test::SimdOps AllSimdOps(); }

#endif
