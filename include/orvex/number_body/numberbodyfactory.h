/// \file
/// Which class holds a number.
#pragma once

#include <orvex/foundation/numberutils.h>
#include <orvex/number_body/numberbody.h>

/// Makes bodies. The class follows from the record's mode, signedness and word length, and from the
/// complexity: fixed types by word length up to 8, 16, 32, 64 bits in one word (a word length below 1 counts
/// as 8), above that in 64-bit chunks; double, single and scaled double are always real. A boolean or unknown
/// mode gives null.
///
/// The caller owns every result and deletes it. The client is kept by address. Throws std::bad_alloc, and
/// what the client throws.
class ORVEX_API NumberBodyFactory
{
public:
    NumberBodyFactory() = delete;

    /// New storage filled from `count` real-world values (2 x count, interleaved, if complex).
    static NumberBody* createNumberBody(double const* values, fxpDataTypeProp const& type,
                                        OrvexClientInterface& client, unsigned long long count,
                                        fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                                        bool isComplex);

    /// A complex body of `count` elements from two arrays. Of a floating or scaled-double mode, which are
    /// real: the first `count` doubles of the interleaved pairs.
    static NumberBody* createNumberBody(double const* re, double const* im, fxpDataTypeProp const& type,
                                        OrvexClientInterface& client, unsigned long long count,
                                        fxpModeRounding_tag round, fxpModeOverflow_tag overflow);

    /// No new storage: the caller's array, laid out as the chosen class wants it, which is never freed.
    static NumberBody* createNumberBody(void* data, fxpDataTypeProp const& type, OrvexClientInterface& client,
                                        unsigned long long count, fxpModeRounding_tag round,
                                        fxpModeOverflow_tag overflow, bool isComplex);

    /// A deep copy at cursor 0, in the class that the source's record names now. A copy of an external body
    /// says that it is external too, though its storage is its own and is freed with it.
    static NumberBody* createNumberBody(NumberBody const* other);

    /// A second body on the same storage, with a cursor of its own at 0. The last of them frees the storage.
    static NumberBody* createNumberBody(NumberBody const* other, ORVEX::NumberUtils::CopyIndexOnly);
};

namespace ORVEX
{
using ::NumberBodyFactory;
}
