// A customer in C++, through the convenience layer.
#include <cstdio>
#include <uvek/uvek.hpp>

int main()
{
    uvek::image<Vek8u, 3> large(64, 48), small(16, 12);
    check(uvek::fill(large, {10, 20, 30}));
    check(uvek::resize(large, small, InterSuper));
    if (small(15, 11, 2) != 30)
        return 1;
    try {
        uvek::make_fft_complex(99);
        return 2;
    } catch (const std::system_error& error) {
        if (error.code() != uvek::status::bad_fft_order)
            return 3;
    }
    std::printf("uvek %s in C++\n", vekjGetLibVersion()->versionText);
}
