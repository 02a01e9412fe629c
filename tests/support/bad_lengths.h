// The checks that signal functions begin with: null pointers, then lengths.
#ifndef UVEK_TESTS_SUPPORT_BAD_LENGTHS_H
#define UVEK_TESTS_SUPPORT_BAD_LENGTHS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <type_traits>

#include "uvek/base.h"

namespace uvek::test {

// Each pointer of a call is null in turn, beside bad lengths; then the lengths alone are bad. Whatever else is of a
// length's type is as bad, and other numbers are such that a call may have nothing to do. Nothing is written.
template <typename... Parameters>
void ExpectBadLengths(VekStatus (*call)(Parameters...), std::initializer_list<Vek32s> lengths = {0, -5})
{
    constexpr int kPointers = (0 + ... + std::is_pointer_v<Parameters>);
    alignas(16) Vek64f memory[4] = {9, 9, 9, 9};
    for (const Vek32s length : lengths)
        for (const int number : {0, 1, 16})
            for (int null = 0; null <= kPointers; ++null) {
                int pointers = 0;
                const auto argument = [&](auto* parameter) {
                    using T = std::remove_pointer_t<decltype(parameter)>;
                    if constexpr (std::is_pointer_v<T>)
                        return pointers++ == null ? (T) nullptr : (T)memory;
                    else
                        return std::is_same_v<T, Vek32s> ? (T)length : (T)number;
                };
                const std::tuple<Parameters...> arguments{argument((Parameters*)nullptr)...};
                EXPECT_EQ(null < kPointers ? StatusNullPointer : StatusBadSize, std::apply(call, arguments))
                    << "pointer " << null << " is null, length " << length << ", number " << number;
                EXPECT_EQ(4, std::count(memory, memory + 4, 9.0));
            }
}

}  // namespace uvek::test

#endif
