/// \file
/// Named feature flags.
#pragma once

#include <orvex/foundation/export.h>

#include <atomic>
#include <cstdint>
#include <string>

/// A named switch, registered from construction to destruction. It starts switched off (value 0). Value and
/// use counter may be read and written from any thread.
class ORVEX_API KvxFeature
{
public:
    /// \param name        by which `find` knows the feature
    /// \param description one line for people
    /// \param sourcePath  a label that says which source file the feature belongs to
    /// \param component   the library that owns the feature
    /// \param number      an identification number of the owner's; only kept
    /// \param initial     the value to start with
    /// \param changed     called with the new value after each setValue; may be null
    KvxFeature(char const* name, char const* description, char const* sourcePath, char const* component,
               int number, int initial, void (*changed)(int));
    ~KvxFeature();
    KvxFeature(KvxFeature const&) = delete;
    KvxFeature& operator=(KvxFeature const&) = delete;

    ///@{
    /// As given at construction.
    std::string const& name() const { return name_; }
    std::string const& description() const { return description_; }
    std::string const& sourcePath() const { return sourcePath_; }
    std::string const& component() const { return component_; }
    int number() const { return number_; }
    ///@}

    /// 0 is off. What other values mean the feature says.
    std::int32_t value() const { return value_.load(std::memory_order_relaxed); }
    /// Also calls the function that the constructor was given.
    void setValue(std::int32_t value);

    /// Counts one use of the feature, switched on or not.
    void countUse() { useCount_.fetch_add(1, std::memory_order_relaxed); }
    /// How often countUse was called.
    std::uint64_t useCount() const { return useCount_.load(std::memory_order_relaxed); }

    /// The registered feature of that name, or null. The feature belongs to the library that made it and
    /// lives until that library is unloaded.
    static KvxFeature* find(std::string const& name);

private:
    std::string name_;
    std::string description_;
    std::string sourcePath_;
    std::string component_;
    int number_;
    std::atomic<std::int32_t> value_;
    std::atomic<std::uint64_t> useCount_{0};
    void (*changed_)(int);
};

namespace ORVEX
{
using ::KvxFeature;
}
