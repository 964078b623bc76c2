/// \file
/// The input of a fuzzer as tests take their random input, so that a target is a test of one case.
#pragma once

#include "support/types.h"

#include <cstddef>

namespace orvexfuzz
{

/// Reads the bytes from the front, as many for a number as its range needs; beyond their end all is zero.
class Bytes : public orvextest::Random
{
public:
    Bytes(std::uint8_t const* data, std::size_t size) : Random(0), next_(data), end_(data + size) {}

    orvextest::Chunk bits() override { return take(8); }
    orvextest::Chunk below(orvextest::Chunk count) override
    {
        int bytes = 1;
        while (bytes < 8 && count > orvextest::Chunk{1} << (8 * bytes)) ++bytes;
        return take(bytes) % count;
    }
    bool coin() override { return (take(1) & 1) != 0; }

private:
    orvextest::Chunk take(int bytes)
    {
        orvextest::Chunk value = 0;
        for (int i = 0; i < bytes && next_ != end_; ++i) value |= orvextest::Chunk{*next_++} << (8 * i);
        return value;
    }

    std::uint8_t const* next_;
    std::uint8_t const* end_;
};

} // namespace orvexfuzz
