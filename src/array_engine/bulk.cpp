#include "array_engine/bulk.h"

#include "array_engine/pipeline.h"
#include "multiword/chunkdivide.h"
#include "multiword/chunkdouble.h"

#include <orvex/client/fxpclientfullprecision.h>
#include <orvex/client/fxpclientnull.h>

#include <bit>
#include <cmath>
#include <typeinfo>

namespace ORVEX::array_engine
{

namespace
{

static_assert(blockSize % 2 == 0, "a block ends between elements of two parts");

/// The first mark from a place on, or n.
std::size_t nextMark(Marks const* marks, std::size_t from, std::size_t n)
{
    static_assert(std::endian::native == std::endian::little);
    for (; from + 8 <= n; from += 8) {
        std::uint64_t eight;
        std::memcpy(&eight, marks + from, sizeof eight);
        if (eight != 0) return from + static_cast<std::size_t>(std::countr_zero(eight)) / 8;
    }
    while (from < n && marks[from] == silent) ++from;
    return from;
}

/// Puts lanes into the words of a target. What is put in pieces is brought into words at once, since pieces
/// are short.
template <class Lane>
class StoreIn
{
public:
    explicit StoreIn(Words const& target) : target_(target) {}

    void all(std::size_t at, std::size_t n, Lane const* lanes) { target_.store(at, n, lanes); }

    void take(std::size_t at, std::size_t n, Lane const* lanes)
    {
        at_ = at;
        lanes_ = lanes;
        if constexpr (inWords)
            target_.withWord([&](auto word) { narrow(lanes, n, reinterpret_cast<decltype(word)*>(words_)); });
    }
    void piece(std::size_t from, std::size_t n)
    {
        std::size_t const bytes = target_.bytes();
        if constexpr (inWords)
            std::memcpy(target_.data + (at_ + from) * bytes, words_ + from * bytes, n * bytes);
        else
            target_.store(at_ + from, n, lanes_ + from);
    }

private:
    static constexpr bool inWords = std::is_integral_v<Lane>; // no word need hold a double that is outside
    Words const& target_;
    std::size_t at_ = 0;
    Lane const* lanes_ = nullptr;
    alignas(TwoChunks) unsigned char words_[inWords ? blockSize * sizeof(TwoChunks) : 1];
};

/// Gives lanes to put(at, n, lanes).
template <class Lane, class Put>
class PutBy
{
public:
    explicit PutBy(Put put) : put_(put) {}

    void all(std::size_t at, std::size_t n, Lane const* lanes) { put_(at, n, lanes); }
    void take(std::size_t at, std::size_t, Lane const* lanes)
    {
        at_ = at;
        lanes_ = lanes;
    }
    void piece(std::size_t from, std::size_t n) { put_(at_ + from, n, lanes_ + from); }

private:
    Put put_;
    std::size_t at_ = 0;
    Lane const* lanes_ = nullptr;
};

/// Runs `fill(at, n, lanes, marks, found)` over parts [begin, end), which gives the lanes of a block, puts
/// what is not outside where `commit` says, and calls `scalar` for the rest, an element of `parts` parts at a
/// time. After a block in which nothing was marked, the next is tried without marks. Lanes in which nothing
/// can be found may be filled where they belong, in `inPlace`.
template <class Lane, class Fill, class Commit>
void runBlocks(NumberBody& body, std::size_t begin, std::size_t end, std::size_t parts, Fill fill,
               Commit commit, ScalarRoutine scalar, Lane* inPlace = nullptr)
{
    Lane buffer[blockSize];
    Marks marks[blockSize];
    bool expectsMarks = false;
    for (std::size_t at = begin; at < end; at += blockSize) {
        std::size_t const n = std::min(blockSize, end - at);
        if (!expectsMarks) {
            bool found = false;
            Lane const* const lanes = fill(at, n, inPlace ? inPlace + at : buffer, nullptr, found);
            if (!found) {
                commit.all(at, n, lanes);
                continue;
            }
        }
        std::fill_n(marks, n, silent);
        expectsMarks = false;
        bool found = false;
        commit.take(at, n, fill(at, n, buffer, marks, found));
        for (std::size_t i = 0; i < n;) {
            std::size_t const hit = nextMark(marks, i, n);
            bool const isStored = hit < n && marks[hit] != outside;
            std::size_t const upTo = isStored ? hit + 1 : hit / parts * parts;
            commit.piece(i, upTo - i);
            i = upTo;
            if (hit == n) break;
            expectsMarks = true;
            if (isStored) {
                tell(body.client(),
                     marks[hit] == belowLeast ? Event::saturationToMin : Event::saturationToMax);
            } else {
                scalar((at + upTo) / parts);
                i += parts;
            }
        }
    }
}

/// Whether a client may do anything when it is told. The library's own silent
/// ones do not; a class derived may.
bool listens(OrvexClientInterface const& client)
{
    return typeid(client) != typeid(FxpClientNull) && typeid(client) != typeid(FxpClientFullPrecision);
}

/// Tries an operation, called with a lane, in ever wider ones.
template <class Operation>
bool inNarrowestLanes(Operation operation)
{
    return operation(Lane32{}) || operation(Lane64{}) || operation(Lane128{});
}

template <class Lane>
bool assignInLanes(NumberBody& body, Words const& target, Words const& from, StoredCast const& cast,
                   std::size_t begin, std::size_t end, ScalarRoutine scalar, ScalarRoutine moveTo)
{
    Operand<Lane> source(from, target.parts);
    if (!source.start() || !source.pipeline.cast(cast) || !source.prepare()) return false;
    OrvexClientInterface& client = body.client();
    auto const fill = [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) {
        return source.block(at, n, lanes, marks, found);
    };
    if (!cast.last() || !listens(client)) {
        runBlocks<Lane>(body, begin, end, target.parts, fill, StoreIn<Lane>(target), scalar);
        return true;
    }
    auto const tellAndStore = [&](std::size_t at, std::size_t n, Lane const* lanes) {
        target.withWord([&](auto word) {
            auto* const words = reinterpret_cast<decltype(word)*>(target.data);
            for (std::size_t i = 0; i < n; ++i) {
                if (moveTo) moveTo((at + i) / target.parts);
                if (cast.firstOfTwo()) cast.firstOfTwo()->announce(client);
                cast.last()->announce(client);
                words[at + i] = toWord<decltype(word)>(lanes[i]);
            }
        });
    };
    runBlocks<Lane>(body, begin, end, target.parts, fill, PutBy<Lane, decltype(tellAndStore)>(tellAndStore),
                    scalar);
    return true;
}

/// The parts that an operand lacks are 0: converting and adding them changes nothing and tells nothing.
template <class Lane>
bool addInLanes(NumberBody& body, Words const& target, bool minus, Words const& left, Words const& right,
                fxpModeRounding_tag round, std::size_t end, ScalarRoutine scalar)
{
    Operand<Lane> a(left, target.parts, Lacking::zero);
    Operand<Lane> b(right, target.parts, Lacking::zero);
    for (auto const& [operand, words] : {std::pair(&a, &left), std::pair(&b, &right)})
        if (!operand->start() || !operand->pipeline.bring(words->type, target.type, round)) return false;
    Range const x = a.pipeline.range();
    Range const y = b.pipeline.range();
    Range const limits = rangeOfType(target.type);
    Range const sum = minus ? x.minus(y) : x.plus(y);
    if (!fits<Lane>(sum) || !fits<Lane>(limits)) return false;
    if (!a.prepare() || !b.prepare()) return false;
    auto const laneLimits = limitsOf<Lane>(limits);
    auto const limitsOfA = a.takeLimits();
    auto const fill = [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) {
        Lane other[blockSize];
        Lane const* const p = a.block(at, n, lanes, marks, found);
        Lane const* const q = b.block(at, n, other, marks, found);
        found |= addLanes(p, limitsOfA, q, n, minus, laneLimits, lanes, marks);
        return static_cast<Lane const*>(lanes);
    };
    bool const isSure = !a.finds() && !b.finds() && sum.isWithin(limits);
    runBlocks<Lane>(body, 0, end, target.parts, fill, StoreIn<Lane>(target), scalar,
                    isSure ? target.inPlace<Lane>() : nullptr);
    return true;
}

template <class Lane>
bool multiplyInLanes(NumberBody& body, Words const& target, Words const& left, Words const& right,
                     fxpDataTypeProp const& productType, fxpModeRounding_tag round, std::size_t end,
                     ScalarRoutine scalar)
{
    Operand<Lane> a(left, target.parts, Lacking::twice);
    Operand<Lane> b(right, target.parts, Lacking::twice);
    if (!a.start() || !b.start()) return false;
    fxpDataTypeProp const full = multiword::productType(left.type, right.type);
    Pipeline<Lane> pipeline; // of a product
    if (!pipeline.start(a.pipeline.range().times(b.pipeline.range()))) return false;
    // Words may hold bits above their types, but no product more than the chunks of its own.
    pipeline.confine(rangeOfBits(64 * multiword::numChunksOfType(full), full.isSigned()));
    bool const isDirect = productType == target.type && (left.parts == 1 || right.parts == 1);
    if (full.wordLength > bitsOfLane<Lane128>) return false;
    if (!(full == productType) && !pipeline.convert(full, productType, round)) return false;
    if (!isDirect) pipeline.confine(rangeOfContainer(productType));
    if (!pipeline.bring(productType, target.type, round) || !a.prepare() || !b.prepare()) return false;
    if (left.parts == 1 || right.parts == 1) {
        auto const fill = [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) {
            Lane other[blockSize];
            Lane const* const p = a.block(at, n, lanes, marks, found);
            Lane const* const q = b.block(at, n, other, marks, found);
            multiplyLanes(p, q, n, lanes);
            return pipeline.apply(lanes, n, lanes, marks, found);
        };
        bool const isSure = !a.finds() && !b.finds() && !pipeline.finds();
        runBlocks<Lane>(body, 0, end, target.parts, fill, StoreIn<Lane>(target), scalar,
                        isSure ? target.inPlace<Lane>() : nullptr);
        return true;
    }
    // Four products, each converted by itself, and two sums.
    Range const product = pipeline.range();
    Range const limits = rangeOfType(target.type);
    if (!fits<Lane>(product.plus(product)) || !fits<Lane>(limits)) return false; // a difference is not larger
    auto const laneLimits = limitsOf<Lane>(limits);
    auto const fill = [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) {
        Lane other[blockSize], second[blockSize];
        Lane const* const p = a.block(at, n, lanes, marks, found);
        Lane const* const q = b.block(at, n, other, marks, found);
        multiplyPairs(p, q, n, lanes, second);
        pipeline.apply(lanes, n, lanes, marks, found);
        pipeline.apply(second, n, second, marks, found);
        negateFirsts(second, n);
        found |= addLanes(lanes, anyLane<Lane>(), second, n, false, laneLimits, lanes, marks);
        return static_cast<Lane const*>(lanes);
    };
    runBlocks<Lane>(body, 0, end, target.parts, fill, StoreIn<Lane>(target), scalar);
    return true;
}

template <class Lane>
bool divideInLanes(NumberBody& body, Words const& target, Words const& left, Words const& right,
                   fxpModeRounding_tag round, std::size_t end, ScalarRoutine scalar)
{
    long long const scale = static_cast<long long>(left.type.fixedExponent) - right.type.fixedExponent -
                            target.type.fixedExponent;
    long long const upA = std::max(scale, 0LL);
    long long const upB = std::max(-scale, 0LL);
    Operand<Lane> a(left, target.parts);
    Operand<Lane> b(right, target.parts, Lacking::twice);
    if (!a.start() || !b.start()) return false;
    Range const x = a.pipeline.range().shiftedUp(upA);
    // The least lane has no negation, and a division by -1 would ask for it.
    if (!fits<Lane>(x) || !fits<Lane>(x.minus({1, 1})) || !fits<Lane>(b.pipeline.range().shiftedUp(upB)) ||
        !a.prepare() || !b.prepare())
        return false;
    // At the minimum it takes the exact quotient to tell whether there is an event.
    Range limits = rangeOfType(target.type);
    bool const isSigned = target.type.isSigned();
    if (isSigned) ++limits.least;
    LaneQuotient<Lane> const how{static_cast<int>(upA), static_cast<int>(upB), round, limitsOf<Lane>(limits),
                                 isSigned};
    auto const fill = [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) {
        Lane other[blockSize];
        Lane const* const p = a.block(at, n, lanes, marks, found);
        Lane const* const q = b.block(at, n, other, marks, found);
        // Lanes outside may hold what is not to be divided.
        if (!found || marks) found |= divideLanes(p, q, n, how, lanes, marks);
        return static_cast<Lane const*>(lanes);
    };
    runBlocks<Lane>(body, 0, end, target.parts, fill, StoreIn<Lane>(target), scalar);
    return true;
}

template <class Lane>
bool compareInLanes(Words const& left, Words const& right, Comparison test, std::size_t begin,
                    std::size_t end, bool* out)
{
    long long const lowest = std::min(left.type.fixedExponent, right.type.fixedExponent);
    long long const upA = left.type.fixedExponent - lowest;
    long long const upB = right.type.fixedExponent - lowest;
    Operand<Lane> a(left, left.parts);
    Operand<Lane> b(right, left.parts);
    if (!a.start() || !b.start() || !fits<Lane>(a.pipeline.range().shiftedUp(upA)) ||
        !fits<Lane>(b.pipeline.range().shiftedUp(upB)) || !a.prepare() || !b.prepare())
        return false;
    bool const isEquality = test == Comparison::equal || test == Comparison::notEqual;
    Lane x[blockSize], y[blockSize];
    bool ofParts[blockSize];
    std::size_t const parts = left.parts;
    for (std::size_t at = begin * parts; at < end * parts; at += blockSize) {
        std::size_t const n = std::min(blockSize, end * parts - at);
        bool found = false;
        Lane const* const p = a.block(at, n, x, nullptr, found);
        Lane const* const q = b.block(at, n, y, nullptr, found);
        if (found) return false; // nothing has been done that cannot be done again
        bool* const result = parts == 1 ? out + at : ofParts;
        compareLanes(p, q, n, static_cast<int>(upA), static_cast<int>(upB), test, result);
        if (parts == 1) continue;
        // The order of complex numbers is that of their real parts.
        for (std::size_t i = 0; i < n; i += 2) {
            bool const other = isEquality ? ofParts[i + 1] : ofParts[i];
            out[(at + i) / 2] = test == Comparison::notEqual ? ofParts[i] | other : ofParts[i] & other;
        }
    }
    return true;
}

/// 2^exponent if that is a normal double, else 0.
double normalPower(long long exponent)
{
    return exponent >= -1022 && exponent <= 1023 ? multiword::scaledByPowerOfTwo(1.0, exponent) : 0.0;
}

/// What runs over the elements of `body` and takes those of two others in step with it; scalars stand at
/// their cursors. `left` is the body itself, or the body is new and complex if `left` is.
template <class Run>
bool withOperands(NumberBody& body, NumberBody const& left, NumberBody const& right, Run run)
{
    if (body.numberOfElements() < fewestParts) return false;
    Words const target(body);
    Words const a(left, left.index());
    Words const b(right, right.index());
    if (!target.agree() || !a.agree() || !b.agree()) return false;
    if (b.parts > target.parts) return false;
    std::size_t const parts = body.numberOfElements() * target.parts;
    return target.mayStream(b, parts) && run(target, a, b, parts);
}

} // namespace

bool storeReals(NumberBody& body, double const* values, std::size_t begin, std::size_t end,
                ScalarRoutine scalar)
{
    Words const target(body);
    fxpDataTypeProp const& type = target.type;
    double const power = normalPower(-static_cast<long long>(type.fixedExponent));
    double const factor = type.slopeAdjustmentFactor;
    if (!target.agree() || power == 0.0 || !std::isnormal(factor) || !std::isfinite(type.bias)) return false;
    // Of an unsigned word of 128 bits what a lane holds; the highest words are left to the scalar routine.
    double const above = std::ldexp(1.0, std::min(type.getWordLengthNonSign(), 127));
    bool const isNarrow = fits<Lane32>(rangeOfType(type));
    RealToLane const how{type.bias,
                         factor,
                         power,
                         type.isSigned() ? -above : 0.0,
                         above,
                         type.bias != 0.0 || factor != 1.0,
                         isNarrow && body.overflowMode() != fxpModeOverflowWrap};
    fxpModeRounding_tag const round =
        body.roundMode() == fxpModeRoundingCheapest ? fxpModeRoundingZero : body.roundMode();
    auto const run = [&](auto lane) {
        using Lane = decltype(lane);
        auto const fill = [&](std::size_t at, std::size_t n, Lane* lanes, Marks* marks, bool& found) {
            found |= roundReals(values + at, n, how, round, lanes, marks);
            return static_cast<Lane const*>(lanes);
        };
        runBlocks<Lane>(body, begin, end, 1, fill, StoreIn<Lane>(target), scalar);
    };
    if (isNarrow)
        run(Lane32{});
    else
        run(double{});
    return true;
}

bool assignElements(NumberBody& body, NumberBody const& other, StoredCast const& cast, std::size_t begin,
                    std::size_t end, ScalarRoutine scalar, ScalarRoutine moveTo)
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
    return inNarrowestLanes([&](auto lane) {
        return assignInLanes<decltype(lane)>(body, target, source, cast, begin, end, scalar, moveTo);
    });
}

bool addElements(NumberBody& body, bool minus, NumberBody const& left, NumberBody const& right,
                 ScalarRoutine scalar)
{
    return withOperands(body, left, right, [&](auto& target, auto& a, auto& b, std::size_t parts) {
        return inNarrowestLanes([&](auto lane) {
            return addInLanes<decltype(lane)>(body, target, minus, a, b, body.roundMode(), parts, scalar);
        });
    });
}

bool multiplyElements(NumberBody& body, NumberBody const& left, NumberBody const& right,
                      fxpDataTypeProp const& productType, ScalarRoutine scalar)
{
    return withOperands(body, left, right, [&](auto& target, auto& a, auto& b, std::size_t parts) {
        bool const ofComplex = a.parts == 2 && b.parts == 2;
        // A complex second factor of a real one counts as real; that is left to the scalar routine, and so
        // are the zeros of biased types, of which clients may hear, that it takes for its parts.
        if (a.parts < b.parts || (!(productType == target.type) && productType.bias != 0.0)) return false;
        bool const isHeld = productType.mode == fxpModeDataTypeFixed && productType.wordLength >= 1 &&
                            productType.wordLength <= bitsOfLane<Lane128>;
        if (!isHeld) return false;
        if (ofComplex && (a.type.bias != 0.0 || b.type.bias != 0.0 || productType.bias != 0.0)) return false;
        return inNarrowestLanes([&](auto lane) {
            return multiplyInLanes<decltype(lane)>(body, target, a, b, productType, body.roundMode(), parts,
                                                   scalar);
        });
    });
}

bool divideElements(NumberBody& body, NumberBody const& left, NumberBody const& right, ScalarRoutine scalar)
{
    return withOperands(body, left, right, [&](auto& target, auto& a, auto& b, std::size_t parts) {
        if (b.parts != 1) return false;
        auto const round = multiword::resolveDivisionRounding(body.client(), body.roundMode());
        return inNarrowestLanes([&](auto lane) {
            return divideInLanes<decltype(lane)>(body, target, a, b, round, parts, scalar);
        });
    });
}

bool compareElements(NumberBody const& left, NumberBody const& right, Comparison test, bool radixOnly,
                     std::size_t begin, std::size_t end, bool* out)
{
    if (end - begin < fewestParts) return false;
    Words const a(left);
    Words const b(right);
    if (!a.agree() || !b.agree() || a.parts != b.parts) return false;
    if (!sameScaling(a.type, b.type) && !radixOnly) return false;
    return inNarrowestLanes(
        [&](auto lane) { return compareInLanes<decltype(lane)>(a, b, test, begin, end, out); });
}

bool combineBitsOfElements(NumberBody& body, Bits operation, NumberBody const& other)
{
    Words const target(body);
    Words const source(other, other.index());
    std::size_t const parts = body.numberOfElements() * target.parts;
    if (parts < fewestParts || !isWord(target.container) || !isWord(source.container)) return false;
    if (target.parts != source.parts) return false;
    if (target.bits == source.bits && !source.isScalar) {
        combineBits(target.data, source.data, parts * target.bytes(), operation);
        return true;
    }
    auto const run = [&](auto lane) {
        using Lane = decltype(lane);
        Lane a[blockSize], b[blockSize];
        for (std::size_t at = 0; at < parts; at += blockSize) {
            std::size_t const n = std::min(blockSize, parts - at);
            Lane const* const own = target.read(at, n, a);
            if (own != a) std::copy_n(own, n, a);
            combineBits(a, source.read(at, n, b), n, operation);
            target.store(at, n, a);
        }
    };
    if (std::max(target.bits, source.bits) <= bitsOfLane<Lane32>)
        run(Lane32{});
    else
        run(Lane64{});
    return true;
}

bool complementElements(NumberBody& body)
{
    Words const target(body);
    std::size_t const parts = body.numberOfElements() * target.parts;
    if (parts < fewestParts || !isWord(target.container)) return false;
    auto const mask =
        target.type.isSigned() ? multiword::allOnes : multiword::lowMask(multiword::topBit(target.type));
    Lane64 lanes[blockSize];
    for (std::size_t at = 0; at < parts; at += blockSize) {
        std::size_t const n = std::min(blockSize, parts - at);
        Lane64 const* const own = target.read(at, n, lanes);
        if (own != lanes) std::copy_n(own, n, lanes);
        complementLanes(lanes, n, static_cast<Lane64>(mask));
        target.store(at, n, lanes);
    }
    return true;
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
