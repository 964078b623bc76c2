/// \file
/// The implementation of every fixed-point body. How a part is stored (a word of T, or chunks) and how many
/// parts an element has (real, complex) are parameters; the named classes are thin.
#pragma once

#include "array_engine/container.h"
#include "multiword/chunkarith.h"
#include "multiword/chunkstore.h"
#include "multiword/target.h"
#include "number_body/fixedpointnumber.h"
#include "number_body/operand.h"

namespace ORVEX::number_body
{

/// A part is one word of type T.
template <class T>
struct WordStorage {
    using Word = T;
    using Count = multiword::One;
    static constexpr bool isWord = true;
    static constexpr auto container = array_engine::containerOf<T>();

    struct Value {
        Chunk chunk;
        Chunk const* chunks() const { return &chunk; }
    };
    static Value read(T const* place, Count) { return {multiword::extendWord(*place)}; }
    static multiword::WordTarget<T> target(T* place, Count) { return multiword::WordTarget<T>(place); }
};

/// A part is a run of chunks, the least significant first.
struct ChunkStorage {
    using Word = Chunk;
    using Count = int;
    static constexpr bool isWord = false;
    static constexpr auto container = array_engine::Container::chunks;

    struct Value {
        Chunk const* place;
        Chunk const* chunks() const { return place; }
    };
    static Value read(Chunk const* place, Count) { return {place}; }
    static multiword::ChunkTarget<int> target(Chunk* place, Count count)
    {
        return multiword::ChunkTarget<int>(place, count);
    }
};

template <class Storage, int Parts>
class FixedBody : public FixedPointNumber
{
public:
    static constexpr bool complex = Parts == 2;
    using Word = typename Storage::Word;
    using Count = typename Storage::Count;

    static constexpr std::size_t elementBytes(int numChunks)
    {
        return sizeof(Word) * static_cast<std::size_t>(numChunks) * Parts;
    }

    FixedBody(Spec const& spec, int numChunks)
        : FixedPointNumber(spec, elementBytes(numChunks), Storage::container, numChunks)
    {
    }
    FixedBody(NumberBody const& other, ORVEX::NumberUtils::CopyIndexOnly tag, int numChunks)
        : FixedPointNumber(other, tag, numChunks)
    {
    }

    double getRWDoubleValue() const override;
    double getImagRWDoubleValue() const override;
    double getSIDoubleValue() const override;
    double getImagSIDoubleValue() const override;
    void const* getSIArray() const override { return data(); }
    std::string getSIArrayInHex() const override;
    unsigned long long getSIArrayValueUnsigned() const override { return lowChunk(index(), Part::real); }
    long long getSIArrayValueSigned() const override
    {
        return static_cast<long long>(getSIArrayValueUnsigned());
    }
    long long getSIArrayValueSignedAt(unsigned long long at) const override;
    unsigned long long getSIArrayValueUnsignedAt(unsigned long long at) const override;
    unsigned long long getImagSIArrayValueUnsigned() const override;
    long long getImagSIArrayValueSigned() const override;
    long long getImagSIArrayValueSignedAt(unsigned long long at) const override;
    unsigned long long getImagSIArrayValueUnsignedAt(unsigned long long at) const override;
    void setSIArray(void* external) override { adopt(external); }
    void copyDataIntoSIArray(void const* from, unsigned long long count) override { copyIn(from, count); }

    void setValue(double const* values) override;
    void assignDouble(double const* value) override;
    void assignNumber(NumberBody const* other) override;
    void assignImagDouble(double const* value) override;
    void assignImagOf(NumberBody const* other) override;
    void conjugate() override;
    unsigned long long getChunkOffsetOfCursor() const override;
    bool isComplex() const override { return complex; }

    void plusEquals(NumberBody const* other) override;
    void minusEquals(NumberBody const* other) override;
    void timesEquals(NumberBody const* other) override;
    void imagEquals(NumberBody const* other) override;
    void imagPlusEquals(NumberBody const* other) override;
    void isProductOf(NumberBody const* a, NumberBody const* b) override;
    void isQuotientOf(NumberBody const* a, NumberBody const* b) override;

    void setNumberOfElements(unsigned long long count) override { resize(count); }
    void setMaxRWValue() override;
    void setMinRWValue() override;
    void setMinPositiveRWValue() override;
    bool isEqualTo(NumberBody const* other) const override;
    int compareTo(NumberBody const* other) const override;

    void bitAndEqual(NumberBody const* other) override;
    void bitOrEqual(NumberBody const* other) override;
    void bitXorEqual(NumberBody const* other) override;
    void bitCmp() override;
    bool bitGet(int bitFromOne) const override;
    void bitSet(int bitFromOne, bool value) override;
    void bitShiftRightArith(unsigned count) override;
    void bitShiftRightLogical(unsigned count) override;
    void bitShiftLeftLogical(unsigned count) override;
    void bitShiftArith(int count) override;

    void arrayCompareParallel(NumberBody const* other, bool* out, unsigned long long count) const override;
    void arrayAssignParallel(NumberBody const* other, unsigned long long count) override;

protected:
    /// One part of this body's type outside the storage, unset: where products and quotients wait for their
    /// events.
    using PartScratch = multiword::Scratch<Count>;

    Count count() const
    {
        if constexpr (Storage::isWord)
            return {};
        else
            return FixedPointNumber::getNumChunks();
    }
    /// How many elements are worth another thread, in operations that lanes do where they hold an element.
    std::size_t grainOfLanes() const;
    Word* place(unsigned long long element, Part part) const;
    Word* here(Part part) const { return place(index(), part); }
    Chunk lowChunk(unsigned long long element, Part part) const;
    auto read(Word const* place) const { return Storage::read(place, count()); }
    auto target(Word* place) const { return Storage::target(place, count()); }
    void storeScratch(Word* place, PartScratch& scratch);
    Operand operandOf(Word const* place) const;

    void storeRealWorld(Word* place, double value);
    void assignPart(Word* place, NumberBody const& other, Part part);
    /// place += or -= the other's part; false, with a text, where there is no rule.
    template <multiword::Sum sum>
    void addPart(Word* place, NumberBody const& other, Part part);
    template <multiword::Sum sum>
    void addNumber(NumberBody const& other);
    void multiply(PartScratch& product, Operand const& a, Operand const& b);
    void divide(Chunk* quotient, Operand const& a, Operand const& b);
    template <class Compute>
    void storeComputed(NumberBody const& a, NumberBody const& b, bool hasImag, Compute compute);
    int comparePart(Word const* place, NumberBody const& other, Part part) const;
    template <class Operation>
    void combineBits(NumberBody const& other, Operation operation);
    /// Calls f(target) for each part at the cursor, with the part loaded, and commits it afterwards.
    template <class F>
    void changeParts(F f);
};

} // namespace ORVEX::number_body
