/// \file
/// Numbers made from stored integers and read back, and the text that a call prints.
#pragma once

#include "support/recordingclient.h"
#include "support/storage.h"

#include <orvex/number/number.h>

#include <algorithm>
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
          number(storage.data(), s(16), client, count(dims), fxpModeRoundingNearest, fxpModeOverflowSaturate,
                 false)
    {
        number.setNDims(dims.size());
        number.setDims(dims.data());
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
