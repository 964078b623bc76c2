/// \file
/// The kinds of events that a client can hear, and how many there were of each.
#pragma once

#include <orvex/foundation/export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace ORVEX
{

/// One kind for each operation of OrvexClientInterface that tells of something.
enum class EventKind : std::uint8_t {
    wrap,
    saturationToMin,
    saturationToMax,
    underflow,
    divisionByZero,
    potentialOverflow,  ///< of a scaled double
    potentialUnderflow, ///< of a scaled double
    netSlope,           ///< a cast has quantized its net slope, with or without loss
    netBias,            ///< a cast has quantized its net bias, with or without loss
    diagnostic          ///< receiveDiagnosticError: a type decision had to repair its input
};
inline constexpr std::size_t eventKindCount = 10; ///< how many kinds there are

/// In lower case and for a count other than 1 in the plural: "wrap", "saturations to the maximum". Lives as
/// long as the library.
ORVEX_API char const* eventName(EventKind kind, bool isPlural = false);

/// How many events of each kind. A plain value.
struct EventCounts {
    std::array<unsigned long long, eventKindCount> of{}; ///< by EventKind

    ///@{
    /// The count of one kind.
    unsigned long long& operator[](EventKind kind) { return of[static_cast<std::size_t>(kind)]; }
    unsigned long long operator[](EventKind kind) const { return of[static_cast<std::size_t>(kind)]; }
    ///@}
    unsigned long long overflows() const ///< wraps and saturations
    {
        return (*this)[EventKind::wrap] + (*this)[EventKind::saturationToMin] +
               (*this)[EventKind::saturationToMax];
    }
    /// Adds kind by kind.
    EventCounts& operator+=(EventCounts const& other)
    {
        for (std::size_t i = 0; i < of.size(); ++i) of[i] += other.of[i];
        return *this;
    }
    /// What came after `other` was read.
    EventCounts& operator-=(EventCounts const& other)
    {
        for (std::size_t i = 0; i < of.size(); ++i) of[i] -= other.of[i];
        return *this;
    }
    /// The sum, kind by kind.
    friend EventCounts operator+(EventCounts a, EventCounts const& b) { return a += b; }
    /// What came after `b` was read.
    friend EventCounts operator-(EventCounts a, EventCounts const& b) { return a -= b; }
    bool operator==(EventCounts const&) const = default;

    /// "2 wraps, 1 underflow", the kinds that there were in the order of EventKind; or "no events".
    ORVEX_API std::string summary() const;
    /// A line for every kind, also those that there were none of: the name, and the count flush right.
    ORVEX_API std::string table() const;
};

} // namespace ORVEX
