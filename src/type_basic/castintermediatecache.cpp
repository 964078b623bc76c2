#include "type_basic/castintermediatecache.h"

#include <iterator>

namespace ORVEX::type_basic
{

namespace
{

// Built at load, so that it outlives what is built later and may use it in a destructor.
[[maybe_unused]] castIntermediateCache* const builtAtLoad = &castIntermediateCache::instance();

} // namespace

castIntermediateCache::castIntermediateCache() : hardware_(fxpProdHardware::getASICTypeHardware()) {}

castIntermediateCache& castIntermediateCache::instance()
{
    static castIntermediateCache cache;
    return cache;
}

std::optional<CastIntermediate> castIntermediateCache::find(fxpProdHardware const& hardware,
                                                            CastQuestion const& question)
{
    std::lock_guard const lock(mutex_);
    if (isFor(hardware)) {
        if (!entries_.empty() && entries_.front().key.question() == question) {
            ++counters_.hits;
            return entries_.front().answer;
        }
        auto const place = locate(question, castIntermediateCacheKey::hashOf(question));
        if (place != index_.end()) {
            ++counters_.hits;
            entries_.splice(entries_.begin(), entries_, place->second);
            return place->second->answer;
        }
    }
    ++counters_.misses;
    return std::nullopt;
}

void castIntermediateCache::insert(fxpProdHardware const& hardware, CastQuestion const& question,
                                   CastIntermediate const& answer)
{
    std::list<Entry> added;
    added.push_front({castIntermediateCacheKey(hardware, question), answer});
    unsigned int const hash = added.front().key.hash();

    std::lock_guard const lock(mutex_);
    if (!isFor(hardware)) {
        hardware_ = hardware;
        index_.clear();
        entries_.clear();
        ++counters_.clears;
    }
    if (locate(question, hash) != index_.end()) return;
    if (index_.size() > intermediateCacheMaxSize) dropLeastRecentlyUsed();
    index_.emplace(hash, added.begin());
    entries_.splice(entries_.begin(), added);
    ++counters_.inserts;
}

castIntermediateCache::Counters castIntermediateCache::counters() const
{
    std::lock_guard const lock(mutex_);
    return counters_;
}

std::size_t castIntermediateCache::size() const
{
    std::lock_guard const lock(mutex_);
    return entries_.size();
}

bool castIntermediateCache::isFor(fxpProdHardware const& hardware) const
{
    return hardware_.getHWIntegerWordlengths()->isEqual(hardware.getHWIntegerWordlengths());
}

castIntermediateCache::Index::iterator castIntermediateCache::locate(CastQuestion const& question,
                                                                     unsigned int hash)
{
    auto const [first, last] = index_.equal_range(hash);
    for (auto place = first; place != last; ++place)
        if (place->second->key.question() == question) return place;
    return index_.end();
}

void castIntermediateCache::dropLeastRecentlyUsed()
{
    Position const oldest = std::prev(entries_.end());
    auto place = index_.equal_range(oldest->key.hash()).first;
    while (place->second != oldest) ++place;
    index_.erase(place);
    entries_.erase(oldest);
    ++counters_.evictions;
}

} // namespace ORVEX::type_basic
