#include <orvex/foundation/kvxfeature.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace
{

struct Registry {
    std::mutex mutex;
    std::vector<KvxFeature*> features;
};

// Built by the first feature's constructor, and so destroyed after the last static feature.
Registry& registry()
{
    static Registry all;
    return all;
}

} // namespace

KvxFeature::KvxFeature(char const* name, char const* description, char const* sourcePath,
                       char const* component, int number, int initial, void (*changed)(int))
    : name_(name), description_(description), sourcePath_(sourcePath), component_(component), number_(number),
      value_(initial), changed_(changed)
{
    std::lock_guard<std::mutex> const lock(registry().mutex);
    registry().features.push_back(this);
}

KvxFeature::~KvxFeature()
{
    std::lock_guard<std::mutex> const lock(registry().mutex);
    std::erase(registry().features, this);
}

void KvxFeature::setValue(std::int32_t value)
{
    value_.store(value, std::memory_order_relaxed);
    if (changed_) changed_(value);
}

KvxFeature* KvxFeature::find(std::string const& name)
{
    std::lock_guard<std::mutex> const lock(registry().mutex);
    auto const& all = registry().features;
    auto const at =
        std::find_if(all.begin(), all.end(), [&](KvxFeature const* f) { return f->name() == name; });
    return at == all.end() ? nullptr : *at;
}
