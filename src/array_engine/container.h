/// \file
/// The machine words that hold the elements of a body.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <type_traits>

namespace ORVEX::array_engine
{

/// What one part of an element is stored in.
enum class Container : std::uint8_t { s8, u8, s16, u16, s32, u32, s64, u64, chunks, single, doubles };

template <class T>
constexpr Container containerOf()
{
    if constexpr (std::is_same_v<T, float>) return Container::single;
    if constexpr (std::is_same_v<T, double>) return Container::doubles;
    constexpr int width = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 2 : sizeof(T) == 4 ? 4 : 6;
    return static_cast<Container>(width + (std::is_signed_v<T> ? 0 : 1));
}

constexpr bool isWord(Container c) { return c <= Container::u64; }
constexpr bool isSignedWord(Container c) { return static_cast<int>(c) % 2 == 0; } ///< of a word
constexpr int bitsOfWord(Container c) { return 8 << (static_cast<int>(c) / 2); }

/// Calls f with a value of the word's type. Inlined, since scalar operations read each operand through it.
template <class F>
[[gnu::always_inline]] inline decltype(auto) withWordOf(Container c, F&& f)
{
    switch (c) {
    case Container::s8: return f(std::int8_t{});
    case Container::u8: return f(std::uint8_t{});
    case Container::s16: return f(std::int16_t{});
    case Container::u16: return f(std::uint16_t{});
    case Container::s32: return f(std::int32_t{});
    case Container::u32: return f(std::uint32_t{});
    case Container::s64: return f(0ll);
    case Container::u64: return f(0ull);
    default: throw std::logic_error("not a single word");
    }
}

} // namespace ORVEX::array_engine
