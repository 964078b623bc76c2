/// \file
/// What happens to values on their way from one type into another, in lanes.
#pragma once

#include "array_engine/storedcast.h"
#include "array_engine/words.h"

#include <optional>

namespace ORVEX::array_engine
{

/// Steps worked out once, from types and modes, for any number of blocks. Each is left out where it would
/// neither change nor find anything.
template <class Lane>
class Pipeline
{
public:
    /// Starts with values of this range; false if the lanes do not hold it.
    bool start(Range values)
    {
        range_ = values;
        return fits<Lane>(values);
    }
    Range range() const { return range_; }
    bool isEmpty() const { return count_ == 0; }
    bool finds() const { return finds_; } ///< a lane outside is possible

    /// To another exponent and range.
    bool convert(fxpDataTypeProp const& from, fxpDataTypeProp const& to, fxpModeRounding_tag round)
    {
        long long const shift = static_cast<long long>(to.fixedExponent) - from.fixedExponent;
        if (shift < 2 - bitsOfLane<Lane> || shift >= bitsOfLane<Lane> - 1) return false;
        // From here on every positive value would underflow.
        if (shift > 0 && shift >= from.getWordLengthNonSign()) return false;
        Range const target = rangeOfType(to);
        Range limits = target;
        Range checked = range_;
        if (shift > 0) {
            checked = {range_.least >> shift, (range_.most >> shift) + 1};
            range_ = checked.within(target);
        } else {
            Lane128 const scale = Lane128{1} << -shift;
            limits = {target.least / scale, target.most / scale};
            Range const inside = range_.within(limits);
            range_ = {inside.least * scale, inside.most * scale};
        }
        finds_ |= !checked.isWithin(limits);
        if (shift != 0 || !checked.isWithin(limits))
            append({Step::shift, {static_cast<int>(shift), round, limitsOf<Lane>(limits)}, 0, false});
        return fits<Lane>(range_);
    }

    /// Through a place that holds no more than this.
    void confine(Range limits)
    {
        bool const mayLeave = !range_.isWithin(limits);
        finds_ |= mayLeave;
        range_ = range_.within(limits);
        if (mayLeave) append({Step::shift, {0, fxpModeRoundingFloor, limitsOf<Lane>(limits)}, 0, false});
    }

    /// `convert`, unless the types are equal: then the words stay as they stand.
    bool bring(fxpDataTypeProp const& from, fxpDataTypeProp const& to, fxpModeRounding_tag round)
    {
        return from == to || (sameScaling(from, to) && convert(from, to, round));
    }

    /// A whole cast: false too where a net slope is applied by division.
    bool cast(StoredCast const& cast)
    {
        if (cast.copies()) return true;
        if (!cast.last()) return convert(cast.from(), cast.to(), cast.round());
        return (!cast.firstOfTwo() || stage(*cast.firstOfTwo())) && stage(*cast.last());
    }

    /// The lanes after all steps: `in` where there is none, else `out`, which may be `in`. Adds to `found`
    /// whether there is one outside.
    Lane const* apply(Lane const* in, std::size_t n, Lane* out, Marks* marks, bool& found) const
    {
        for (int i = 0; i < count_; ++i) {
            Step const& step = steps_[i];
            auto const limits = step.how.limits;
            switch (step.kind) {
            case Step::shift: found |= shiftLanes(in, n, step.how, out, marks); break;
            case Step::scale: scaleLanes(in, n, step.constant, out); break;
            case Step::offset:
                found |= offsetLanes(in, n, step.constant, step.minus, limits, out, marks);
                break;
            }
            in = out;
        }
        return in;
    }

private:
    struct Step {
        enum Kind { shift, scale, offset } kind;
        LaneShift<Lane> how;
        Lane constant;
        bool minus;
    };

    void append(Step const& step) { steps_[count_++] = step; }

    bool multiply(Lane128 factor)
    {
        range_ = range_.times({factor, factor});
        append({Step::scale, {}, static_cast<Lane>(factor), false});
        return fits<Lane>(range_); // and so the factor, since a range has 0 and another value
    }

    bool add(Lane128 term, bool minus, fxpDataTypeProp const& type)
    {
        Range const limits = rangeOfType(type);
        Range const sum = minus ? range_.minus({term, term}) : range_.plus({term, term});
        range_ = sum.withZero().within(limits);
        finds_ |= !sum.isWithin(limits);
        append({Step::offset,
                {0, fxpModeRoundingFloor, limitsOf<Lane>(limits)},
                static_cast<Lane>(term),
                minus});
        return fits<Lane>(sum); // and so the term
    }

    /// A net value as a number, if a lane could hold it.
    static std::optional<Lane128> valueOf(NetValue const& value)
    {
        int const count = multiword::numChunksOfType(value.type()); // no more than of the types of the stage
        multiword::Chunk const* const chunks = value.chunks();
        TwoChunks both;
        both.low = chunks[0];
        both.high = count == 2 ? chunks[1] : multiword::signFillChunk(chunks, value.type(), count);
        auto const number = static_cast<Lane128>(both);
        if (number < 0 && !value.type().isSigned()) return {};
        return number;
    }

    bool stage(NetScalingCast const& stage)
    {
        if (stage.divides() || stage.to().wordLength > bitsOfLane<Lane128>) return false;
        fxpDataTypeProp type = stage.from();
        if (stage.slope()) {
            auto const factor = valueOf(*stage.slope());
            if (!factor || !multiply(*factor)) return false;
            type = multiword::productType(stage.slope()->type(), type);
            confine(rangeOfBits(64 * multiword::numChunksOfType(type), type.isSigned()));
        }
        if (!(stage.slope() && type == stage.to()) && !convert(type, stage.to(), stage.round())) return false;
        if (!stage.bias()) return true;
        auto const term = valueOf(*stage.bias());
        return term && add(*term, stage.subtractsBias(), stage.to());
    }

    Step steps_[8]{}; // two stages of a product, its limits, a shift and a sum
    int count_ = 0;
    bool finds_ = false;
    Range range_{};
};

/// What stands for the imaginary part of a real operand: its real part, or 0.
enum class Lacking { twice, zero };

/// An operand as an operation wants it, a block at a time.
template <class Lane>
class Operand
{
public:
    Pipeline<Lane> pipeline{}; ///< to be planned before use

    /// For an operation on elements of `targetParts` parts.
    Operand(Words const& words, std::size_t targetParts, Lacking lacking = Lacking::twice)
        : words_(words), spreads_(words.parts < targetParts), isRisky_(words.isWide() && !fillsLane()),
          checks_(isRisky_), lacking_(lacking)
    {
    }

    /// False if lanes cannot hold what is read.
    bool start() { return pipeline.start(words_.laneRange()); }

    /// To be called once all is planned. A scalar is brought here, once; false if that would raise an event
    /// each time.
    bool prepare()
    {
        if (!words_.isScalar) return true;
        bool found = false;
        fetch(0, blockSize, constant_, nullptr, found);
        return !found;
    }

    /// For an operation that looks itself for lanes outside these limits: then `block` does not.
    LaneLimits<Lane> takeLimits()
    {
        if (words_.isScalar || !pipeline.isEmpty()) return anyLane<Lane>();
        checks_ = false;
        return limitsOf<Lane>(words_.laneRange());
    }

    /// Whether lanes outside can be met, here or by who took the limits.
    bool finds() const { return isRisky_ || pipeline.finds(); }

    /// Parts [at, at + n) in `lanes` or elsewhere.
    Lane const* block(std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) const
    {
        return words_.isScalar ? constant_ : fetch(at, n, lanes, marks, found);
    }

private:
    bool fillsLane() const { return words_.type.isSigned() && words_.type.wordLength == bitsOfLane<Lane>; }

    Lane const* fetch(std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) const
    {
        Lane const* in = lanes;
        if (spreads_) {
            Lane half[blockSize / 2];
            spreadLanes(words_.read(at / 2, n / 2, half), n, lacking_ == Lacking::zero, lanes);
        } else {
            in = words_.read(at, n, lanes);
        }
        if (checks_) found |= checkLanes(in, n, limitsOf<Lane>(rangeOfType(words_.type)), marks);
        return pipeline.apply(in, n, lanes, marks, found);
    }

    Words const& words_;
    bool spreads_;
    bool isRisky_; ///< a lane can hold what is outside the type
    bool checks_;  ///< `fetch` sees to that
    Lacking lacking_;
    Lane constant_[blockSize];
};

} // namespace ORVEX::array_engine
