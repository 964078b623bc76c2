/// \file
/// What all fixed-point bodies have in common.
#pragma once

#include <orvex/number_body/numberbody.h>

/// Adds the number of 64-bit chunks that one part of an element takes.
class FixedPointNumber : public NumberBody
{
public:
    int getNumChunks() const override { return numChunks_; }
    bool isSingleChunk() const override { return numChunks_ == 1; }
    bool isMultiChunk() const override { return numChunks_ > 1; }

protected:
    FixedPointNumber(Spec const& spec, std::size_t bytesPerElement, ORVEX::array_engine::Container container,
                     int numChunks)
        : NumberBody(spec, bytesPerElement, container), numChunks_(numChunks)
    {
    }
    FixedPointNumber(NumberBody const& other, ORVEX::NumberUtils::CopyIndexOnly tag, int numChunks)
        : NumberBody(other, tag), numChunks_(numChunks)
    {
    }

private:
    int numChunks_;
};
