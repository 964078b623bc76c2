/// \file
/// Arrays of stored parts as they lie in memory, and what a store of a real-world value leaves there.
#pragma once

#include "support/oracle.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <ostream>

namespace orvextest
{

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
    friend std::ostream& operator<<(std::ostream& out, Storage const& storage)
    {
        for (std::size_t part = 0; part < storage.parts(); ++part)
            out << (part == 0 ? "" : " ") << storage.integer(part, false);
        return out;
    }

private:
    static_assert(std::endian::native == std::endian::little);
    std::size_t bytesPerPart_;
    std::vector<std::byte> bytes_;
};

/// What the store of a real-world value leaves in a part of any representation, and what the client hears.
struct Stored {
    std::vector<Chunk> pattern;
    Events events;
};
inline Stored storedOf(double value, Type const& type, Modes modes)
{
    if (type.mode == fxpModeDataTypeFixed) {
        Outcome const outcome = quantize(value, type, modes.round, modes.sat);
        return {patternOf(outcome.stored, type), outcome.events};
    }
    ScaledOutcome const outcome = scaledFromRealWorld(value, type);
    return {patternOf(outcome.stored, type), outcome.events};
}

} // namespace orvextest
