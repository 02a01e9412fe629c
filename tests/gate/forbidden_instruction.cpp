#include <tmmintrin.h>
namespace uvek::m7 {
__m128i Reverse(__m128i v, __m128i order) { return _mm_shuffle_epi8(v, order); }
}
