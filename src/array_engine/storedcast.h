/// \file
/// How a stored integer of any fixed type reaches any other: a copy, one stage,
/// or two stages through an intermediate type.
#pragma once

#include "array_engine/netscalingcast.h"

#include <optional>

namespace ORVEX::array_engine
{

/// A cast from U to Y, worked out once for any number of elements. Keeps the
/// types by address. May be shared by threads once it is built.
class StoredCast
{
public:
    /// Asks for the intermediate type if factor or bias differ. The modes are
    /// requests: what each stage applies is what that choice returns. May throw
    /// what the client throws at a slope that is not positive and finite.
    StoredCast(OrvexClientInterface& client, fxpDataTypeProp const& y, fxpDataTypeProp const& u,
               fxpModeRounding_tag round, int sat)
        : y_(y), u_(u), round_(round), sat_(sat), copies_(y == u)
    {
        if (!copies_ && !sameScaling(y, u)) planStages(client);
    }

    /// Casts one stored integer of type U; `count` is its chunk count. Equal
    /// types copy the chunks as they stand. Each stage tells its events
    /// separately, the first stage's first.
    template <class Target, class Count>
    void run(OrvexClientInterface& client, Target target, Chunk const* source, Count count) const
    {
        if (copies_) {
            int const common = std::min<int>(count, target.count());
            std::copy_n(source, common, target.data());
            std::fill(target.data() + common, target.data() + static_cast<int>(target.count()),
                      signFillChunk(source, u_, count)); // where the record says more than the storage has
            target.commit();
        } else if (!last_) {
            convertInto(client, target, y_, source, u_, round_, sat_, count);
        } else if (!first_) {
            last_->run(client, target, source, count);
        } else {
            withCount(numChunksOfType(between_), [&](auto n) {
                Scratch value(n);
                first_->run(client, ChunkTarget(value.data(), n), source, count);
                last_->run(client, target, value.data(), n);
            });
        }
    }

    bool copies() const { return copies_; }
    fxpDataTypeProp const& to() const { return y_; }
    fxpDataTypeProp const& from() const { return u_; }
    fxpModeRounding_tag round() const { return round_; }
    /// The stages: none where the types differ by a power of two at most, one, or
    /// two.
    NetScalingCast const* firstOfTwo() const { return first_ ? &*first_ : nullptr; }
    NetScalingCast const* last() const { return last_ ? &*last_ : nullptr; }

private:
    void planStages(OrvexClientInterface& client);

    fxpDataTypeProp const& y_;
    fxpDataTypeProp const& u_;
    fxpModeRounding_tag round_;
    int sat_;
    bool copies_;
    fxpDataTypeProp between_;
    std::optional<NetScalingCast> first_;
    std::optional<NetScalingCast> last_;
};

/// Casts a single stored integer, which needs no plan where the scaling is the same.
template <class Target, class Count>
void castOnce(OrvexClientInterface& client, Target target, fxpDataTypeProp const& y, Chunk const* source,
              fxpDataTypeProp const& u, fxpModeRounding_tag round, int sat, Count count)
{
    if (sameScaling(y, u) && !(y == u)) return convertInto(client, target, y, source, u, round, sat, count);
    StoredCast(client, y, u, round, sat).run(client, target, source, count);
}

} // namespace ORVEX::array_engine
