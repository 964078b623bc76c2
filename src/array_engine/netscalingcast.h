/// \file
/// The cast between two fixed types whose slope factors or biases may differ,
/// in one stage.
///
/// Stored integers are related by Qy = netSlope * Qu + netBias. Net slope and
/// net bias are quantized (to nearest, saturating, whatever the caller's modes
/// are) and then exact integer work is done: scale first, then add the bias.
/// All that depends on types and modes alone is worked out once, in the
/// constructor; `run` does one element.
#pragma once

#include "multiword/chunkarith.h"
#include "multiword/chunkdivide.h"

namespace ORVEX::array_engine
{

using namespace ORVEX::multiword;

/// A net slope or a net bias as a stored integer, with what the client has to
/// hear of its quantization.
class NetValue
{
public:
    /// Quantizes `value` into `type`; the events are kept, not told.
    void quantize(double value, fxpDataTypeProp const& type, bool isSlope);

    /// Tells a client what the quantization told, and then of the net value
    /// itself. `castType` goes along with it.
    void announce(OrvexClientInterface& client, fxpDataTypeProp const& castType) const;

    Chunk const* chunks() const { return chunks_.data(); }
    fxpDataTypeProp const& type() const { return type_; }

private:
    ChunkBuffer chunks_;
    fxpDataTypeProp type_;
    double value_ = 0.0;
    bool isSlope_ = false;
    bool underflow_ = false;
    Event event_ = Event::none;
};

/// A cast from U to Y in one stage, for types that differ in slope factor or
/// bias. May be shared by threads once it is built.
class NetScalingCast
{
public:
    /// Asks the client for its hardware and its way of correcting slopes, if the
    /// slope factors differ.
    NetScalingCast(OrvexClientInterface& client, fxpDataTypeProp const& y, fxpDataTypeProp const& u,
                   fxpModeRounding_tag round, int sat);

    /// Casts one stored integer of type U. The source may lie where the target
    /// lies. Calls, in this order: the events of the net slope's quantization and
    /// its report, the same of the net bias, the events of the scaled value,
    /// those of the sum with the bias.
    template <class Target, class Count>
    void run(OrvexClientInterface& client, Target target, Chunk const* source, Count count) const
    {
        announce(client);
        if (divides_)
            divide(client, target, source, count);
        else if (scales_)
            multiplyInto(client, target, to_, slope_.chunks(), slope_.type(), numChunksOfType(slope_.type()),
                         source, from_, count, round_, sat_);
        else
            convertInto(client, target, to_, source, from_, round_, sat_, count);
        if (!biases_) return;
        if (subtractsBias_)
            addInto<Sum::minus>(client, target, to_, target.load(), bias_.chunks(), sat_);
        else
            addInto<Sum::plus>(client, target, to_, target.load(), bias_.chunks(), sat_);
    }

    /// Tells a client what it hears before the value itself is touched.
    void announce(OrvexClientInterface& client) const
    {
        if (scales_) slope_.announce(client, to_);
        if (biases_) bias_.announce(client, to_);
    }

    fxpDataTypeProp const& to() const { return to_; }
    fxpDataTypeProp const& from() const { return from_; }
    fxpModeRounding_tag round() const { return round_; }
    bool divides() const { return divides_; }
    NetValue const* slope() const
    {
        return scales_ ? &slope_ : nullptr;
    } ///< null where there is none to apply
    NetValue const* bias() const { return biases_ ? &bias_ : nullptr; }
    bool subtractsBias() const { return subtractsBias_; }

private:
    template <class Target, class Count>
    void divide(OrvexClientInterface& client, Target target, Chunk const* source, Count count) const
    {
        // A quotient is stored when all its events have been told.
        Scratch quotient(target.count());
        divideChunks(client, quotient.data(), strippedCopy(to_), source, strippedCopy(from_), count,
                     divisor_.data(), divisorType_, numChunksOfType(divisorType_), round_, sat_);
        std::copy_n(quotient.data(), static_cast<int>(target.count()), target.data());
        target.commit();
    }

    fxpDataTypeProp to_;   ///< the target type without factor and bias
    fxpDataTypeProp from_; ///< the source type, likewise
    fxpModeRounding_tag round_;
    int sat_;
    bool scales_;
    bool biases_;
    bool divides_ = false;       ///< the net slope is applied by an integer division
    bool subtractsBias_ = false; ///< a negative bias in an unsigned type: its
                                 ///< magnitude is subtracted
    NetValue slope_;
    NetValue bias_;
    ChunkBuffer divisor_;
    fxpDataTypeProp divisorType_;
};

/// True of types that differ by a power of two at most, for which no net
/// scaling is needed.
inline bool sameScaling(fxpDataTypeProp const& a, fxpDataTypeProp const& b)
{
    return a.slopeAdjustmentFactor == b.slopeAdjustmentFactor && a.bias == b.bias;
}

/// One cast into a chunk array that holds the chunks of `y`.
void castNetScalingToChunks(OrvexClientInterface& client, Chunk* dst, fxpDataTypeProp const& y,
                            Chunk const* src, fxpDataTypeProp const& u, fxpModeRounding_tag round, int sat);

} // namespace ORVEX::array_engine
