#include "array_engine/bulk.h"

#include "array_engine/container.h"
#include "array_engine/storedcast.h"
#include "multiword/chunkarith.h"
#include "multiword/chunkdouble.h"

#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/client/fxpclientnull.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <typeinfo>

namespace ORVEX::array_engine
{

namespace
{

__extension__ typedef __int128 Wide;

/// What a lane may hold: a closed interval.
struct Range {
    Wide least;
    Wide most;
};

template <class Lane>
bool fits(Range r)
{
    return r.least >= std::numeric_limits<Lane>::min() && r.most <= std::numeric_limits<Lane>::max();
}

Range rangeOfBits(int bits, bool isSigned)
{
    if (isSigned) return {-(Wide{1} << (bits - 1)), (Wide{1} << (bits - 1)) - 1};
    return {0, (Wide{1} << bits) - 1};
}

/// One array of single words.
struct Words {
    unsigned char* data;
    Container container;
    std::size_t parts;
    bool isScalar;
    fxpDataTypeProp const& type;

    /// A body of one element is read at `scalarIndex`.
    explicit Words(NumberBody const& body, unsigned long long scalarIndex = 0)
        : data(static_cast<unsigned char*>(const_cast<void*>(body.getSIArray()))),
          container(body.container()), parts(body.isComplex() ? 2 : 1), isScalar(body.isScalar()),
          type(body.dataType())
    {
        if (isScalar) data += scalarIndex * body.bytesPerElement();
    }

    /// The record reads the words as they are.
    bool agree() const
    {
        return type.mode == fxpModeDataTypeFixed && isWord(container) &&
               isSignedWord(container) == type.isSigned() && type.wordLength >= 1 &&
               type.wordLength <= bitsOfWord(container);
    }

    Range typeRange() const { return rangeOfBits(type.wordLength, type.isSigned()); }

    /// What a loaded lane holds. A word may lie outside its type, so that is all that the container can hold;
    /// of 64-bit words, of which lanes could then not add two, it is the type's range, and `load` marks the
    /// others.
    Range laneRange() const
    {
        return isWide() ? typeRange() : rangeOfBits(bitsOfWord(container), type.isSigned());
    }
    bool isWide() const { return bitsOfWord(container) == 64; }

    std::size_t bytes() const { return static_cast<std::size_t>(bitsOfWord(container)) / 8; }

    /// Parts [at, at + n) in lanes that hold laneRange(), or are marked; of a scalar its parts over and over.
    /// `at` is even where there are two parts.
    template <class Lane>
    void load(std::size_t at, std::size_t n, Lane* lanes, Marks* marks) const
    {
        loadWords(at, n, lanes);
        if (!isWide()) return;
        Range const range = typeRange();
        markOutside(lanes, n, static_cast<Lane>(range.least), static_cast<Lane>(range.most), marks);
    }

    template <class Lane>
    void loadWords(std::size_t at, std::size_t n, Lane* lanes) const
    {
        withWordOf(container, [&](auto word) {
            using T = decltype(word);
            T const* const words = reinterpret_cast<T const*>(data);
            if (!isScalar) return widen(words + at, n, lanes);
            for (std::size_t i = 0; i < n; ++i) lanes[i] = static_cast<Lane>(words[parts == 2 ? i % 2 : 0]);
        });
    }

    template <class Lane>
    void store(std::size_t at, std::size_t n, Lane const* lanes) const
    {
        withWordOf(container,
                   [&](auto word) { narrow(lanes, n, reinterpret_cast<decltype(word)*>(data) + at); });
    }

    /// Storage that reads and writes in blocks do not disturb: apart, or the same
    /// words in step.
    bool mayStream(Words const& source, std::size_t parts_) const
    {
        auto const from = [](Words const& w) { return reinterpret_cast<std::uintptr_t>(w.data); };
        std::size_t const own = parts_ * bytes();
        std::size_t const others = (source.isScalar ? source.parts : parts_) * source.bytes();
        if (from(*this) + own <= from(source) || from(source) + others <= from(*this)) return true;
        return data == source.data && container == source.container && isScalar == source.isScalar;
    }
};

/// A shift from one type to another in lanes, if lanes can do it, and what they
/// hold afterwards.
template <class Lane>
struct ShiftPlan {
    LaneShift<Lane> shift;
    Range range;
};

template <class Lane>
std::optional<ShiftPlan<Lane>> planShift(fxpDataTypeProp const& from, Range values, fxpDataTypeProp const& to,
                                         fxpModeRounding_tag round)
{
    constexpr int laneBits = std::numeric_limits<Lane>::digits + 1;
    constexpr Range lane{std::numeric_limits<Lane>::min(), std::numeric_limits<Lane>::max()};
    Range const target = rangeOfBits(to.wordLength, to.isSigned());
    long long const shift = static_cast<long long>(to.fixedExponent) - from.fixedExponent;
    if (!fits<Lane>(values) || shift <= -laneBits || shift >= laneBits - 1) return {};
    // From here on every positive value would underflow.
    if (shift > 0 && shift >= from.getWordLengthNonSign()) return {};
    ShiftPlan<Lane> plan{{static_cast<int>(shift), round, 0, 0}, target};
    Range limits = target;
    if (shift > 0) {
        plan.range = {std::max(target.least, values.least >> shift),
                      std::min(target.most, (values.most >> shift) + 1)};
    } else {
        Wide const scale = Wide{1} << -shift;
        limits = {-(-target.least / scale), target.most / scale};
        plan.range = {std::max(target.least, values.least * scale),
                      std::min(target.most, values.most * scale)};
    }
    if (!fits<Lane>(plan.range)) return {};
    plan.shift.least = static_cast<Lane>(std::max(limits.least, lane.least));
    plan.shift.most = static_cast<Lane>(std::min(limits.most, lane.most));
    return plan;
}

/// What happens to a value on its way into another type, in lanes.
template <class Lane>
class Pipeline
{
public:
    /// Starts with values that a container can hold; false if the lanes cannot.
    bool start(Range values)
    {
        range_ = values;
        return fits<Lane>(values);
    }
    Range range() const { return range_; }

    /// To another exponent and range.
    bool convert(fxpDataTypeProp const& from, fxpDataTypeProp const& to, fxpModeRounding_tag round)
    {
        auto const plan = planShift<Lane>(from, range_, to, round);
        if (!plan) return false;
        range_ = plan->range;
        append({Step::shift, plan->shift, 0, false});
        return true;
    }

    bool multiply(long long factor)
    {
        Wide const a = range_.least * factor;
        Wide const b = range_.most * factor;
        range_ = {std::min(a, b), std::max(a, b)};
        append({Step::scale, {}, static_cast<Lane>(factor), false});
        return fits<Lane>(range_) && fits<Lane>({factor, factor});
    }

    bool add(long long term, bool minus, fxpDataTypeProp const& type)
    {
        Wide const offset = minus ? -Wide{term} : Wide{term};
        Range const limits = rangeOfBits(type.wordLength, type.isSigned());
        Range const sum{range_.least + offset, range_.most + offset};
        range_ = {std::max(sum.least, limits.least), std::min(sum.most, limits.most)};
        append({Step::offset,
                {0, fxpModeRoundingFloor, static_cast<Lane>(limits.least), static_cast<Lane>(limits.most)},
                static_cast<Lane>(term),
                minus});
        return fits<Lane>(sum) && fits<Lane>(limits) && fits<Lane>({term, term});
    }

    /// A whole cast: false too where a net slope is applied by division.
    bool cast(StoredCast const& cast)
    {
        if (cast.copies()) return true;
        if (!cast.last()) return convert(cast.from(), cast.to(), cast.round());
        return (!cast.firstOfTwo() || stage(*cast.firstOfTwo())) && stage(*cast.last());
    }

    void apply(Lane* lanes, std::size_t n, Marks* marks) const
    {
        for (int i = 0; i < count_; ++i) {
            Step const& step = steps_[i];
            switch (step.kind) {
            case Step::shift: shiftLanes(lanes, n, step.limits, marks); break;
            case Step::scale: scaleLanes(lanes, n, step.constant); break;
            case Step::offset:
                offsetLanes(lanes, n, step.constant, step.minus, step.limits.least, step.limits.most, marks);
                break;
            }
        }
    }

private:
    struct Step {
        enum Kind { shift, scale, offset } kind;
        LaneShift<Lane> limits;
        Lane constant;
        bool minus;
    };

    void append(Step const& step) { steps_[count_++] = step; }

    /// A net value as a number, if one chunk holds it and a lane could.
    static std::optional<long long> valueOf(NetValue const& value)
    {
        bool const oneChunk = value.type().wordLength <= multiword::chunkBits;
        auto const word = static_cast<long long>(value.chunks()[0]);
        if (!oneChunk || (word < 0 && !value.type().isSigned())) return {};
        return word;
    }

    bool stage(NetScalingCast const& stage)
    {
        if (stage.divides() || stage.to().wordLength > multiword::chunkBits) return false;
        fxpDataTypeProp type = stage.from();
        if (stage.slope()) {
            auto const factor = valueOf(*stage.slope());
            if (!factor || !multiply(*factor)) return false;
            type = multiword::productType(stage.slope()->type(), type);
        }
        if (!(stage.slope() && type == stage.to()) && !convert(type, stage.to(), stage.round())) return false;
        if (!stage.bias()) return true;
        auto const term = valueOf(*stage.bias());
        return term && add(*term, stage.subtractsBias(), stage.to());
    }

    Step steps_[6]; // two stages of a product, a shift and a sum
    int count_ = 0;
    Range range_{};
};

/// An operand brought into another type by a shift alone; equal types take the
/// words as they stand.
template <class Lane>
std::optional<Pipeline<Lane>> planConversion(Words const& from, fxpDataTypeProp const& to,
                                             fxpModeRounding_tag round)
{
    Pipeline<Lane> pipeline;
    if (!pipeline.start(from.laneRange())) return {};
    if (from.type == to) return pipeline;
    if (!sameScaling(from.type, to) || !pipeline.convert(from.type, to, round)) return {};
    return pipeline;
}

/// Runs `fill(at, n, lanes, marks)` over parts [begin, end), `commit(at, n,
/// lanes)` for what is not marked, and `scalar` for the others, an element of
/// `parts` parts at a time.
template <class Lane, class Fill, class Commit>
void runBlocks(std::size_t begin, std::size_t end, std::size_t parts, Fill fill, Commit commit,
               ScalarRoutine const& scalar)
{
    Lane lanes[blockSize];
    Marks marks[blockSize];
    for (std::size_t at = begin; at < end; at += blockSize) {
        std::size_t const n = std::min(blockSize, end - at);
        std::fill_n(marks, n, Marks{0});
        fill(at, n, lanes, marks);
        for (std::size_t i = 0; i < n;) {
            auto const* const hit = static_cast<Marks const*>(std::memchr(marks + i, 1, n - i));
            std::size_t const upTo = hit ? static_cast<std::size_t>(hit - marks) / parts * parts : n;
            commit(at + i, upTo - i, lanes + i);
            if (!hit) break;
            scalar((at + upTo) / parts);
            i = upTo + parts;
        }
    }
}

template <class Lane>
auto storeIn(Words const& target)
{
    return [&target](std::size_t at, std::size_t n, Lane const* lanes) { target.store(at, n, lanes); };
}

/// Whether a client may do anything when it is told. The library's own silent
/// ones do not; a class derived may.
bool listens(OrvexClientInterface const& client)
{
    return typeid(client) != typeid(FxpClientNull) && typeid(client) != typeid(FxpClientFullPrecision);
}

static_assert(blockSize % 2 == 0, "a block ends between elements of two parts");

template <class Lane>
bool assignInLanes(NumberBody& body, Words const& target, Words const& source, StoredCast const& cast,
                   std::size_t begin, std::size_t end, ScalarRoutine const& scalar,
                   ScalarRoutine const& moveTo)
{
    Pipeline<Lane> pipeline;
    if (!pipeline.start(source.laneRange()) || !pipeline.cast(cast)) return false;
    OrvexClientInterface& client = body.client();
    bool const tells = cast.last() && listens(client);
    runBlocks<Lane>(
        begin, end, target.parts,
        [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks) {
            source.load(at, n, lanes, marks);
            pipeline.apply(lanes, n, marks);
        },
        [&](std::size_t at, std::size_t n, Lane const* lanes) {
            if (!tells) return target.store(at, n, lanes);
            for (std::size_t i = 0; i < n; ++i) {
                if (moveTo) moveTo((at + i) / target.parts);
                if (cast.firstOfTwo()) cast.firstOfTwo()->announce(client);
                cast.last()->announce(client);
                target.store(at + i, 1, lanes + i);
            }
        },
        scalar);
    return true;
}

template <class Lane>
bool addInLanes(Words const& target, bool minus, Words const& a, Words const& b, fxpModeRounding_tag round,
                std::size_t end, ScalarRoutine const& scalar)
{
    auto const convertA = planConversion<Lane>(a, target.type, round);
    auto const convertB = planConversion<Lane>(b, target.type, round);
    if (!convertA || !convertB) return false;
    Range const y = convertB->range();
    Range const sum = minus ? Range{convertA->range().least - y.most, convertA->range().most - y.least}
                            : Range{convertA->range().least + y.least, convertA->range().most + y.most};
    Range const limits = target.typeRange();
    if (!fits<Lane>(sum) || !fits<Lane>(limits)) return false;
    runBlocks<Lane>(
        0, end, target.parts,
        [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks) {
            Lane other[blockSize];
            a.load(at, n, lanes, marks);
            convertA->apply(lanes, n, marks);
            b.load(at, n, other, marks);
            convertB->apply(other, n, marks);
            addLanes(lanes, other, n, minus, static_cast<Lane>(limits.least), static_cast<Lane>(limits.most),
                     marks);
        },
        storeIn<Lane>(target), scalar);
    return true;
}

template <class Lane>
bool multiplyInLanes(Words const& target, Words const& a, Words const& b, fxpModeRounding_tag round,
                     std::size_t end, ScalarRoutine const& scalar)
{
    Range const x = a.laneRange();
    Range const y = b.laneRange();
    if (!fits<Lane>(x) || !fits<Lane>(y)) return false;
    Wide const corners[] = {x.least * y.least, x.least * y.most, x.most * y.least, x.most * y.most};
    Range const product{*std::min_element(corners, corners + 4), *std::max_element(corners, corners + 4)};
    fxpDataTypeProp const full = multiword::productType(a.type, b.type);
    if (!fits<Lane>(product) || full.wordLength > 64) return false;
    std::optional<LaneShift<Lane>> shift;
    if (!(full == target.type)) {
        auto const plan = planShift<Lane>(full, product, target.type, round);
        if (!plan) return false;
        shift = plan->shift;
    }
    runBlocks<Lane>(
        0, end, 1,
        [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks) {
            Lane other[blockSize];
            a.load(at, n, lanes, marks);
            b.load(at, n, other, marks);
            multiplyLanes(lanes, other, n);
            if (shift) shiftLanes(lanes, n, *shift, marks);
        },
        storeIn<Lane>(target), scalar);
    return true;
}

template <class Lane>
bool compareInLanes(Words const& a, Words const& b, Comparison test, std::size_t begin, std::size_t end,
                    bool* out)
{
    long long const lowest = std::min(a.type.fixedExponent, b.type.fixedExponent);
    long long const upA = a.type.fixedExponent - lowest;
    long long const upB = b.type.fixedExponent - lowest;
    auto const fitsUp = [](Words const& w, long long up) {
        if (up >= 64) return false;
        Range const r = w.laneRange();
        Wide const scale = Wide{1} << up;
        return fits<Lane>({r.least * scale, r.most * scale});
    };
    if (!fitsUp(a, upA) || !fitsUp(b, upB)) return false;
    Lane x[blockSize];
    Lane y[blockSize];
    Marks marks[blockSize];
    for (std::size_t at = begin; at < end; at += blockSize) {
        std::size_t const n = std::min(blockSize, end - at);
        std::fill_n(marks, n, Marks{0});
        a.load(at, n, x, marks);
        b.load(at, n, y, marks);
        if (std::memchr(marks, 1, n)) return false; // nothing has been done that cannot be done again
        compareLanes(x, y, n, static_cast<int>(upA), static_cast<int>(upB), test, out + at);
    }
    return true;
}

/// 2^exponent if that is a normal double, else 0.
double normalPower(long long exponent)
{
    return exponent >= -1022 && exponent <= 1023 ? multiword::scaledByPowerOfTwo(1.0, exponent) : 0.0;
}

} // namespace

bool storeReals(NumberBody& body, double const* values, std::size_t begin, std::size_t end,
                ScalarRoutine const& scalar)
{
    if (end - begin < fewestParts) return false;
    Words const target(body);
    fxpDataTypeProp const& type = target.type;
    double const power = normalPower(-static_cast<long long>(type.fixedExponent));
    double const factor = type.slopeAdjustmentFactor;
    bool const inChunks = target.container == Container::chunks;
    if (!inChunks && !target.agree()) return false;
    if (power == 0.0 || !std::isnormal(factor) || !std::isfinite(type.bias)) return false;
    // Of a multi-word number, values that one chunk holds; it extends their sign.
    int const magnitudeBits = inChunks ? 63 : type.getWordLengthNonSign();
    double const above = std::ldexp(1.0, magnitudeBits);
    RealToLane const how{
        type.bias, factor, power, type.isSigned() ? -above : 0.0, above, type.bias != 0.0 || factor != 1.0};
    fxpModeRounding_tag const round =
        body.roundMode() == fxpModeRoundingCheapest ? fxpModeRoundingZero : body.roundMode();
    auto const fill = [&](std::size_t at, std::size_t n, double* lanes, Marks* marks) {
        roundReals(values + at, n, how, round, lanes, marks);
    };
    if (!inChunks) {
        runBlocks<double>(begin, end, 1, fill, storeIn<double>(target), scalar);
        return true;
    }
    auto const count = static_cast<std::size_t>(body.getNumChunks());
    auto* const chunks = reinterpret_cast<multiword::Chunk*>(target.data);
    auto const store = [=](std::size_t at, std::size_t n, double const* lanes) {
        for (std::size_t i = 0; i < n; ++i) {
            auto const value = static_cast<long long>(lanes[i]);
            multiword::Chunk* const element = chunks + (at + i) * count;
            element[0] = static_cast<multiword::Chunk>(value);
            std::fill_n(element + 1, count - 1, value < 0 ? multiword::allOnes : 0);
        }
    };
    runBlocks<double>(begin, end, 1, fill, store, scalar);
    return true;
}

bool assignElements(NumberBody& body, NumberBody const& other, StoredCast const& cast, std::size_t begin,
                    std::size_t end, ScalarRoutine const& scalar, ScalarRoutine const& moveTo)
{
    if (end - begin < fewestParts) return false;
    Words const target(body);
    Words const source(other);
    if (!target.agree() || !source.agree() || target.parts != source.parts) return false;
    std::size_t const parts = body.numberOfElements() * target.parts;
    if (!target.mayStream(source, parts)) return false;
    begin *= target.parts;
    end *= target.parts;
    if (cast.copies() && target.container == source.container && !source.isScalar) {
        std::memmove(target.data + begin * target.bytes(), source.data + begin * target.bytes(),
                     (end - begin) * target.bytes());
        return true;
    }
    return assignInLanes<Lane32>(body, target, source, cast, begin, end, scalar, moveTo) ||
           assignInLanes<Lane64>(body, target, source, cast, begin, end, scalar, moveTo);
}

bool combineElements(NumberBody& body, Binary operation, NumberBody const& left, NumberBody const& right,
                     ScalarRoutine const& scalar)
{
    if (body.numberOfElements() < fewestParts) return false;
    Words const target(body);
    Words const a(left, left.index());
    Words const b(right, right.index());
    if (!target.agree() || !a.agree() || !b.agree()) return false;
    if (a.parts != target.parts || b.parts != target.parts) return false;
    std::size_t const parts = body.numberOfElements() * target.parts;
    if (!target.mayStream(a, parts) || !target.mayStream(b, parts)) return false;
    if (operation == Binary::times)
        return target.parts == 1 && (multiplyInLanes<Lane32>(target, a, b, body.roundMode(), parts, scalar) ||
                                     multiplyInLanes<Lane64>(target, a, b, body.roundMode(), parts, scalar));
    bool const minus = operation == Binary::minus;
    return addInLanes<Lane32>(target, minus, a, b, body.roundMode(), parts, scalar) ||
           addInLanes<Lane64>(target, minus, a, b, body.roundMode(), parts, scalar);
}

bool compareElements(NumberBody const& left, NumberBody const& right, Comparison test, bool radixOnly,
                     std::size_t begin, std::size_t end, bool* out)
{
    if (end - begin < fewestParts) return false;
    Words const a(left);
    Words const b(right);
    if (!a.agree() || !b.agree() || a.parts != 1 || b.parts != 1) return false;
    if (!sameScaling(a.type, b.type) && !radixOnly) return false;
    return compareInLanes<Lane32>(a, b, test, begin, end, out) ||
           compareInLanes<Lane64>(a, b, test, begin, end, out);
}

template <class Real>
bool readElements(NumberBody const& body, bool storedIntegers, Real* out)
{
    if (!isWord(body.container())) return false;
    fxpDataTypeProp const& type = body.dataType();
    // The record says whether a word counts as negative.
    double const power = storedIntegers ? 1.0 : normalPower(type.fixedExponent);
    if (power == 0.0 || isSignedWord(body.container()) != type.isSigned()) return false;
    double const factor = storedIntegers ? 1.0 : type.slopeAdjustmentFactor;
    double const bias = storedIntegers ? 0.0 : type.bias;
    withWordOf(body.container(), [&](auto word) {
        auto const* const words = static_cast<decltype(word) const*>(body.getSIArray());
        readWords(words, body.numberOfElements() * (body.isComplex() ? 2 : 1), power, factor, bias, out);
    });
    return true;
}

template bool readElements<double>(NumberBody const&, bool, double*);
template bool readElements<float>(NumberBody const&, bool, float*);

} // namespace ORVEX::array_engine
