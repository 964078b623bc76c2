/// \file
/// A callable by reference.
#pragma once

#include <type_traits>

namespace ORVEX::array_engine
{

/// Calls a callable that outlives it. What is passed down to be called needs no copy, and no memory for one.
template <class... Arguments>
class Callback
{
public:
    Callback() = default; ///< of nothing; not to be called

    template <class Callable>
    requires(!std::is_same_v<Callable, Callback>) Callback(Callable const& callable)
        : callable_(&callable), call_([](void const* object, Arguments... arguments) {
              (*static_cast<Callable const*>(object))(arguments...);
          })
    {
    }

    explicit operator bool() const { return call_ != nullptr; }
    void operator()(Arguments... arguments) const { call_(callable_, arguments...); }

private:
    void const* callable_ = nullptr;
    void (*call_)(void const*, Arguments...) = nullptr;
};

} // namespace ORVEX::array_engine
