/// \file
/// The cache of intermediate types.
#pragma once

#include <orvex/foundation/fxpdatatypeprop.h>
#include <orvex/hardware/fxpprodhardware.h>
#include <orvex/type_basic/cachekeytype.h>

#include <cstddef>
#include <list>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace ORVEX::type_basic
{

/// What is asked of the cache, beside the hardware.
struct CastQuestion {
    fxpDataTypeProp targetType;
    fxpDataTypeProp sourceType;
    int overflowMode = 0; ///< of the request
    bool operator==(CastQuestion const&) const = default;
};

/// The answer.
struct CastIntermediate {
    fxpDataTypeProp type;
    int firstOverflowMode = 1;
    int secondOverflowMode = 1;
};

/// A question as an entry keeps it. Its hardware takes no part in equality or hash: the cache as a whole
/// belongs to one.
class castIntermediateCacheKey : public cacheKeyType
{
public:
    castIntermediateCacheKey(fxpProdHardware const& hardware, CastQuestion const& question)
        : cacheKeyType(&hardware), question_(question), hash_(hashOf(question))
    {
    }

    static unsigned int hashOf(CastQuestion const& question)
    {
        return mix(question.targetType) ^ mix(question.sourceType) ^
               mix(static_cast<unsigned int>(question.overflowMode));
    }

    CastQuestion const& question() const { return question_; }
    unsigned int hash() const { return hash_; }

private:
    CastQuestion question_;
    unsigned int hash_;
};

/// At most how many entries there are before an insertion, which then drops the least recently used one only
/// if there are more.
inline constexpr std::size_t intermediateCacheMaxSize = 128;

/// Keeps the answers for one target, the most recently used ones. Safe to use from any thread.
///
/// A mutex guards it rather than one cache per thread, because which answers are kept is visible: of two
/// clients that differ in what is no part of a question, the first to ask decides for both, in whichever
/// thread they ask, until the entry is dropped. The hit on the entry used last, which is that of a cast
/// repeated for each element, holds the mutex for one comparison of types: some nanoseconds.
class castIntermediateCache
{
public:
    struct Counters {
        unsigned int clears = 0;
        unsigned int hits = 0;
        unsigned int misses = 0;
        unsigned int inserts = 0;
        unsigned int evictions = 0;
    };

    castIntermediateCache();

    /// The one of the process. Built when the library is loaded.
    static castIntermediateCache& instance();

    /// The answer, whose entry becomes the most recently used; none for hardware of other word lengths.
    std::optional<CastIntermediate> find(fxpProdHardware const& hardware, CastQuestion const& question);

    /// Adds an answer that `find` did not have. Hardware of other word lengths flushes the cache first.
    /// Leaves what another thread may have added since as it is.
    void insert(fxpProdHardware const& hardware, CastQuestion const& question,
                CastIntermediate const& answer);

    Counters counters() const;
    std::size_t size() const;

private:
    struct Entry {
        castIntermediateCacheKey key;
        CastIntermediate answer;
    };
    using Position = std::list<Entry>::iterator;
    using Index = std::unordered_multimap<unsigned int, Position>;

    bool isFor(fxpProdHardware const& hardware) const;
    Index::iterator locate(CastQuestion const& question, unsigned int hash);
    void dropLeastRecentlyUsed();

    mutable std::mutex mutex_;
    fxpProdHardware hardware_;
    std::list<Entry> entries_; ///< most recently used first
    Index index_;              ///< entries by hash
    Counters counters_;
};

} // namespace ORVEX::type_basic
