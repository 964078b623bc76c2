/// \file
/// How a stored integer of any fixed type reaches any other: a copy, one stage, or two stages through an
/// intermediate type.
#pragma once

#include "array_engine/netscalingcast.h"

namespace ORVEX::array_engine
{

/// A cast from U to Y, worked out once for any number of elements. May be shared by threads once it is built.
class StoredCast
{
public:
    /// Asks for the intermediate type if the types differ. The modes are requests: what each stage applies is
    /// what that choice returns. May throw what the client throws at a slope that is not positive and finite.
    StoredCast(OrvexClientInterface& client, fxpDataTypeProp const& y, fxpDataTypeProp const& u,
               fxpModeRounding_tag round, int sat);

    bool copies() const { return stages_ == 0; }
    bool goesThroughIntermediate() const { return stages_ == 2; }
    fxpDataTypeProp const& intermediate() const { return between_; }

    /// Casts one stored integer of type U; `count` is its chunk count. Equal types copy the chunks as they
    /// stand. Each stage tells its events separately, the first stage's first.
    template <class Target, class Count>
    void run(OrvexClientInterface& client, Target target, Chunk const* source, Count count) const
    {
        if (stages_ == 0) {
            std::copy_n(source, static_cast<int>(target.count()), target.data());
            target.commit();
        } else if (stages_ == 1) {
            last_.run(client, target, source, count);
        } else {
            withCount(numChunksOfType(between_), [&](auto n) {
                Scratch value(n);
                first_.run(client, ChunkTarget(value.data(), n), source, count);
                last_.run(client, target, value.data(), n);
            });
        }
    }

private:
    int stages_ = 0;
    fxpDataTypeProp between_;
    NetScalingCast first_;
    NetScalingCast last_;
};

} // namespace ORVEX::array_engine
