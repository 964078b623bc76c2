/// \file
/// The loops of the fast array path: a block of elements at a time, in lanes of
/// one machine type.
///
/// A lane loop computes the value that an element gets when its store raises no
/// event, and marks the elements whose store would raise one. It never decides
/// what such an element becomes: the scalar kernels do, element by element. The
/// loops are compiled for several instruction sets and chosen when the library
/// is loaded.
#pragma once

#include <orvex/foundation/fxpmodes.h>

#include <cstddef>
#include <cstdint>

namespace ORVEX::array_engine
{

using Lane32 = std::int32_t;
using Lane64 = long long;

/// Elements per block: values and marks of two operands stay within a few
/// kilobytes.
inline constexpr std::size_t blockSize = 512;

/// One byte per element: 1 if its store would raise an event.
using Marks = std::uint8_t;

/// Reads n words into lanes, by their own signedness.
template <class T, class Lane>
void widen(T const* words, std::size_t n, Lane* lanes);

/// Marks lanes outside a range.
template <class Lane>
void markOutside(Lane const* lanes, std::size_t n, Lane least, Lane most, Marks* marks);

/// Writes n lanes into words that hold their values.
template <class Lane, class T>
void narrow(Lane const* lanes, std::size_t n, T* words);

/// How doubles become stored integers: (x - bias) / factor * power, then
/// rounded.
struct RealToLane {
    double bias;
    double factor;
    double power; ///< 2^-fixedExponent
    double least; ///< the type's minimum
    double above; ///< one more than its maximum, which may be no double
    bool scaled;  ///< bias and factor are not trivial
};

/// Rounds doubles to whole doubles. Marks what underflows, is out of range or
/// infinite, and what the power scales to zero. NaN gives 0, unmarked. Cheapest
/// is not a mode here.
void roundReals(double const* reals, std::size_t n, RealToLane const& how, fxpModeRounding_tag round,
                double* lanes, Marks* marks);

/// How a stored integer moves to another exponent: down by `shift` bits with
/// rounding, or up by -shift.
template <class Lane>
struct LaneShift {
    int shift;
    fxpModeRounding_tag round;
    Lane least; ///< of the lanes after a shift down, before a shift up
    Lane most;
};

/// Shifts in place and marks what leaves the range.
template <class Lane>
void shiftLanes(Lane* lanes, std::size_t n, LaneShift<Lane> const& how, Marks* marks);

/// a := a + b or a - b; marks what leaves the range. The lanes themselves do
/// not overflow.
template <class Lane>
void addLanes(Lane* a, Lane const* b, std::size_t n, bool minus, Lane least, Lane most, Marks* marks);

/// a := a + b or a - b for one b; marks what leaves the range.
template <class Lane>
void offsetLanes(Lane* a, std::size_t n, Lane b, bool minus, Lane least, Lane most, Marks* marks);

/// a := a * b for one b, which the lanes hold.
template <class Lane>
void scaleLanes(Lane* a, std::size_t n, Lane b);

/// a := a * b, which the lanes hold.
template <class Lane>
void multiplyLanes(Lane* a, Lane const* b, std::size_t n);

enum class Comparison { equal, notEqual, less, greater, lessOrEqual, greaterOrEqual };

/// Compares a * 2^upA with b * 2^upB, which the lanes hold.
template <class Lane>
void compareLanes(Lane const* a, Lane const* b, std::size_t n, int upA, int upB, Comparison test, bool* out);

/// value * power * factor + bias of each word, in double, into doubles or
/// floats.
template <class T, class Real>
void readWords(T const* words, std::size_t n, double power, double factor, double bias, Real* out);

} // namespace ORVEX::array_engine
