/// \file
/// Arrays of stored parts as they lie in memory, numbers made from stored integers and read back, and the
/// text that a call prints.
#pragma once

#include "support/oracle.h"
#include "support/recordingclient.h"

#include <orvex/number/number.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

namespace orvextest
{

using ORVEX::Number;
using Element = std::vector<Int>; ///< one part, or the real and the imaginary one
using Elements = std::vector<Element>;
using Dims = std::vector<unsigned long long>;

inline std::string const foreign = "Need to determine rules for heterogeneous arithmetic!\n";
inline std::string const dimsDisagree = Orvex::number::ArrayDimMustAgree().identifier();

/// Bytes of one part, real or imaginary.
inline std::size_t containerBytes(Type const& type)
{
    if (type.mode != fxpModeDataTypeFixed) return type.mode == fxpModeDataTypeSingle ? 4 : 8;
    for (int const bytes : {1, 2, 4, 8})
        if (type.wordLength <= 8 * bytes) return static_cast<std::size_t>(bytes);
    return 8 * chunkCount(type);
}

/// The chunks of a stored integer of a fixed-point type, at least one.
inline std::vector<Chunk> patternOf(Int const& stored, Type const& type)
{
    return chunksOf(stored, (containerBytes(type) + 7) / 8);
}

/// The same of a stored double.
inline std::vector<Chunk> patternOf(double raw, Type const& type)
{
    bool const isSingle = type.mode == fxpModeDataTypeSingle;
    return {isSingle ? std::bit_cast<std::uint32_t>(static_cast<float>(raw)) : std::bit_cast<Chunk>(raw)};
}

/// A copy of the parts of an array, or an array to be lent to a number.
class Storage
{
public:
    Storage(Type const& type, std::size_t parts, void const* from = nullptr)
        : bytesPerPart_(containerBytes(type)), bytes_(parts * bytesPerPart_)
    {
        if (from != nullptr && parts != 0) std::memcpy(bytes_.data(), from, bytes_.size());
    }
    void* data() { return bytes_.data(); }
    std::size_t parts() const { return bytes_.size() / bytesPerPart_; }

    /// The chunks of a part, least significant first; those of a narrow one are filled up with zeros.
    std::vector<Chunk> pattern(std::size_t part) const
    {
        std::vector<Chunk> chunks((bytesPerPart_ + 7) / 8);
        std::memcpy(chunks.data(), bytes_.data() + part * bytesPerPart_, bytesPerPart_);
        return chunks;
    }
    void put(std::size_t part, std::vector<Chunk> const& pattern)
    {
        std::memcpy(bytes_.data() + part * bytesPerPart_, pattern.data(), bytesPerPart_);
    }
    /// What the whole container holds.
    Int integer(std::size_t part, bool isSigned) const
    {
        Int const value = valueOf(pattern(part).data(), u(static_cast<int>(8 * bytesPerPart_)));
        return wrapTo(value, fixedType(isSigned, static_cast<int>(8 * bytesPerPart_)));
    }
    bool operator==(Storage const&) const = default;

private:
    static_assert(std::endian::native == std::endian::little);
    std::size_t bytesPerPart_;
    std::vector<std::byte> bytes_;
};

/// The stored parts of an array of numbers, to be lent to one or copied into it.
inline Storage storageOf(Type const& type, Elements const& elements)
{
    std::size_t const parts = elements.empty() ? 1 : elements[0].size();
    Storage storage(type, elements.size() * parts);
    for (std::size_t i = 0; i < storage.parts(); ++i)
        storage.put(i, patternOf(elements[i / parts][i % parts], type));
    return storage;
}

/// A row unless `dims` says otherwise. The client is cleared of what it heard on the way.
inline Number numberOf(Type const& type, Elements const& elements, RecordingClient& client,
                       Modes modes = {fxpModeRoundingFloor, 0}, Dims dims = {})
{
    if (dims.empty()) dims = {1, elements.size()};
    Number number(elements.size(), dims.size(), dims.data(), type, client, modes.rounding(), modes.overflow(),
                  !elements.empty() && elements[0].size() == 2);
    number.copyDataIntoSIArray(storageOf(type, elements).data(), elements.size());
    client.clear();
    return number;
}

/// One element, and all of them, as the containers hold them.
inline Element elementAt(Number const& number, std::size_t i)
{
    std::size_t const parts = number.isComplex() ? 2 : 1,
                      bytes = parts * containerBytes(number.getDataType());
    Storage const storage(number.getDataType(), parts,
                          static_cast<std::byte const*>(number.getSIArray()) + i * bytes);
    Element element{storage.integer(0, number.isSigned())};
    if (parts == 2) element.push_back(storage.integer(1, number.isSigned()));
    return element;
}
inline Elements elementsOf(Number const& number)
{
    Elements elements;
    for (std::size_t i = 0; i < number.getNumberOfElements(); ++i) elements.push_back(elementAt(number, i));
    return elements;
}

inline Dims dimsOf(Number const& number) { return {number.getDims(), number.getDims() + number.getNDims()}; }

/// All values of a type of up to 4 bits, or interesting ones of a wider one; imaginary parts at random.
inline Elements valuesOf(Type const& type, Random& random, bool isComplex, std::size_t atMost = 64)
{
    std::vector<Int> values = interestingStored(type, random, 6);
    if (type.wordLength <= 4) {
        values.clear();
        for (Int value = minStored(type); value <= maxStored(type); ++value) values.push_back(value);
    }
    std::ranges::shuffle(values, std::mt19937_64(random.bits()));
    Elements elements;
    for (Int const& value : values) elements.push_back({value});
    elements.resize(std::min(elements.size(), atMost));
    for (Element& element : elements)
        if (isComplex) element.push_back(random.pick(values));
    return elements;
}

/// A number of the given shape on the first elements of a lent array of 1, 2, 3... up to 7, standing at
/// `cursor`, also if it has one element only.
struct Lent {
    Storage storage;
    RecordingClient client;
    Number number;
    Lent(Dims const& dims, unsigned long long cursor)
        : storage(storageOf(s(16), {{1}, {2}, {3}, {4}, {5}, {6}, {7}})),
          number(count(dims), dims.size(), dims.data(), s(16), client, fxpModeRoundingNearest,
                 fxpModeOverflowSaturate, false)
    {
        number.setSIArray(storage.data());
        number.setIndex(cursor);
    }
    static unsigned long long count(Dims const& dims)
    {
        unsigned long long n = 1;
        for (auto const size : dims) n *= size;
        return n;
    }
};

/// What `run` writes to std::cout.
template <class Run>
std::string printedBy(Run const& run)
{
    struct Capture {
        std::ostringstream text;
        std::streambuf* before = std::cout.rdbuf(text.rdbuf());
        ~Capture() { std::cout.rdbuf(before); }
    } capture;
    run();
    return capture.text.str();
}

/// The identifier of the diagnostic that leaves `run`, or nothing.
template <class Run>
std::string thrownBy(Run const& run)
{
    try {
        run();
    } catch (kvxDiagnosticException const& exception) {
        return exception.identifier();
    }
    return {};
}

} // namespace orvextest
