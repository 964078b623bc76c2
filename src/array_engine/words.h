/// \file
/// The elements of a body as lanes see them, and what lanes may hold.
#pragma once

#include "array_engine/container.h"
#include "array_engine/lanes.h"

#include <orvex/number_body/numberbody.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

namespace ORVEX::array_engine
{

inline constexpr Lane128 greatest128 = static_cast<Lane128>(~0ull >> 1) << 64 | static_cast<Lane128>(~0ull);
inline constexpr Lane128 least128 = -greatest128 - 1;

template <class Lane>
inline constexpr int bitsOfLane = static_cast<int>(8 * sizeof(Lane));

/// A closed interval. Of sums and products that a Lane128 does not hold, one that nothing holds.
struct Range {
    Lane128 least = 0;
    Lane128 most = 0;
    bool isHeld = true;

    Range plus(Range other) const
    {
        Range sum{0, 0, static_cast<bool>(isHeld & other.isHeld)};
        sum.isHeld &= !__builtin_add_overflow(least, other.least, &sum.least);
        sum.isHeld &= !__builtin_add_overflow(most, other.most, &sum.most);
        return sum;
    }
    Range minus(Range other) const
    {
        Range difference{0, 0, static_cast<bool>(isHeld & other.isHeld)};
        difference.isHeld &= !__builtin_sub_overflow(least, other.most, &difference.least);
        difference.isHeld &= !__builtin_sub_overflow(most, other.least, &difference.most);
        return difference;
    }
    Range times(Range other) const
    {
        Lane128 corners[4];
        bool over = __builtin_mul_overflow(least, other.least, &corners[0]);
        over |= __builtin_mul_overflow(least, other.most, &corners[1]);
        over |= __builtin_mul_overflow(most, other.least, &corners[2]);
        over |= __builtin_mul_overflow(most, other.most, &corners[3]);
        return {std::min({corners[0], corners[1], corners[2], corners[3]}),
                std::max({corners[0], corners[1], corners[2], corners[3]}),
                static_cast<bool>(isHeld & other.isHeld & !over)};
    }
    Range shiftedUp(long long bits) const
    {
        return bits < bitsOfLane<Lane128> - 1 ? times({Lane128{1} << bits, Lane128{1} << bits})
                                              : Range{0, 0, false};
    }
    Range within(Range other) const
    {
        return {std::max(least, other.least), std::min(most, other.most),
                static_cast<bool>(isHeld & other.isHeld)};
    }
    Range withZero() const { return {std::min<Lane128>(least, 0), std::max<Lane128>(most, 0), isHeld}; }
    bool isWithin(Range other) const { return isHeld && least >= other.least && most <= other.most; }
};

template <class Lane>
Range rangeOfLane()
{
    if constexpr (std::is_same_v<Lane, Lane128>)
        return {least128, greatest128};
    else
        return {std::numeric_limits<Lane>::min(), std::numeric_limits<Lane>::max()};
}

template <class Lane>
bool fits(Range r)
{
    return r.isWithin(rangeOfLane<Lane>());
}

/// Of unsigned 128 bits the half that a lane holds.
inline Range rangeOfBits(int bits, bool isSigned)
{
    int const magnitudeBits = isSigned ? bits - 1 : bits;
    Lane128 const most = magnitudeBits >= 127 ? greatest128 : (Lane128{1} << magnitudeBits) - 1;
    return {isSigned ? -most - 1 : 0, most};
}

inline Range rangeOfType(fxpDataTypeProp const& type)
{
    return rangeOfBits(type.wordLength, type.isSigned());
}

/// Of the word that holds a number of this type.
inline Range rangeOfContainer(fxpDataTypeProp const& type)
{
    int bits = 8;
    while (bits < type.wordLength) bits *= 2;
    return rangeOfBits(bits, type.isSigned());
}

template <class Lane>
LaneLimits<Lane> limitsOf(Range r)
{
    Range const held = r.within(rangeOfLane<Lane>());
    return {static_cast<Lane>(held.least), static_cast<Lane>(held.most)};
}

/// One array of words of up to 128 bits.
struct Words {
    unsigned char* data;
    Container container;
    int bits; ///< of a word
    std::size_t parts;
    bool isScalar;
    fxpDataTypeProp const& type;

    /// A body of one element is read at `scalarIndex`.
    explicit Words(NumberBody const& body, unsigned long long scalarIndex = 0)
        : data(static_cast<unsigned char*>(const_cast<void*>(body.getSIArray()))),
          container(body.container()),
          bits(isWord(container) ? bitsOfWord(container) : 64 * body.getNumChunks()),
          parts(body.isComplex() ? 2 : 1), isScalar(body.isScalar()), type(body.dataType())
    {
        if (isScalar) data += scalarIndex * body.bytesPerElement();
    }

    /// The record reads the words as they are.
    bool agree() const
    {
        bool const isRead = isWord(container) ? isSignedWord(container) == type.isSigned()
                                              : container == Container::chunks && bits == 128;
        return isRead && type.mode == fxpModeDataTypeFixed && type.wordLength >= 1 && type.wordLength <= bits;
    }

    /// What a loaded lane holds, unless it is outside. A word may lie outside its type, so that is all that
    /// the container can hold; of words of 64 bits or more, of which lanes could then not add two, it is the
    /// type's range.
    Range laneRange() const { return isWide() ? rangeOfType(type) : rangeOfBits(bits, type.isSigned()); }
    bool isWide() const { return bits >= 64; }

    std::size_t bytes() const { return static_cast<std::size_t>(bits) / 8; }

    /// Calls f with a value of the word's type.
    template <class F>
    decltype(auto) withWord(F&& f) const
    {
        return container == Container::chunks ? f(TwoChunks{}) : withWordOf(container, f);
    }

    /// Parts [at, at + n), where they are or in `lanes`. Of a scalar its parts over and over; then, `at` is
    /// even where there are two.
    template <class Lane>
    Lane const* read(std::size_t at, std::size_t n, Lane* lanes) const
    {
        return withWord([&](auto word) -> Lane const* {
            using T = decltype(word);
            T const* const words = reinterpret_cast<T const*>(data);
            if constexpr (sizeof(T) > sizeof(Lane)) {
                return nullptr; // whose range lanes do not hold
            } else if (isScalar) {
                for (std::size_t i = 0; i < n; ++i)
                    lanes[i] = static_cast<Lane>(words[parts == 2 ? i % 2 : 0]);
                return lanes;
            } else {
                if constexpr (sizeof(T) == sizeof(Lane) && std::is_integral_v<T>)
                    return reinterpret_cast<Lane const*>(words + at);
                widen(words + at, n, lanes);
                return lanes;
            }
        });
    }

    /// The first part as a lane, where lanes are as the words are.
    template <class Lane>
    Lane* inPlace() const
    {
        bool const same = withWord([](auto word) { return std::is_same_v<decltype(word), Lane>; });
        return same ? reinterpret_cast<Lane*>(data) : nullptr;
    }

    /// Unless they are there already.
    template <class Lane>
    void store(std::size_t at, std::size_t n, Lane const* lanes) const
    {
        if (reinterpret_cast<unsigned char const*>(lanes) == data + at * bytes()) return;
        withWord([&](auto word) { narrow(lanes, n, reinterpret_cast<decltype(word)*>(data) + at); });
    }

    /// Storage that reads and writes in blocks do not disturb: apart, or the same
    /// words in step.
    bool mayStream(Words const& source, std::size_t parts_) const
    {
        auto const from = [](Words const& w) { return reinterpret_cast<std::uintptr_t>(w.data); };
        std::size_t const elements = parts_ / parts;
        std::size_t const own = parts_ * bytes();
        std::size_t const others = (source.isScalar ? 1 : elements) * source.parts * source.bytes();
        if (from(*this) + own <= from(source) || from(source) + others <= from(*this)) return true;
        return data == source.data && container == source.container && parts == source.parts &&
               isScalar == source.isScalar;
    }
};

} // namespace ORVEX::array_engine
