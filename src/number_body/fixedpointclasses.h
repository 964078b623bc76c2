/// \file
/// The named fixed-point bodies.
#pragma once

#include "number_body/fixedbody.h"

/// The word types of the single-word bodies, by bits: the one list of them. Called as f(signed word, unsigned
/// word).
template <class F>
decltype(auto) withWordTypes(int wordLength, F&& f)
{
    if (wordLength <= 8) return f(std::int8_t{}, std::uint8_t{});
    if (wordLength <= 16) return f(std::int16_t{}, std::uint16_t{});
    if (wordLength <= 32) return f(std::int32_t{}, std::uint32_t{});
    return f(0ll, 0ull);
}

template <class T>
class SignedSWFixedPointNumber final
    : public ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 1>
{
    using ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 1>::FixedBody;
};

template <class T>
class UnsignedSWFixedPointNumber final
    : public ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 1>
{
    using ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 1>::FixedBody;
};

/// The one fixed-point body that multiplies complex numbers by itself.
template <class T>
class SignedSWComplexFixedPointNumber final
    : public ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 2>
{
    using Base = ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 2>;
    using Base::Base;

public:
    void timesEquals(NumberBody const* other) override;
};

template <class T>
class UnsignedSWComplexFixedPointNumber final
    : public ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 2>
{
    using ORVEX::number_body::FixedBody<ORVEX::number_body::WordStorage<T>, 2>::FixedBody;
};

class MWFixedPointNumber final : public ORVEX::number_body::FixedBody<ORVEX::number_body::ChunkStorage, 1>
{
    using FixedBody::FixedBody;
};

class MWComplexFixedPointNumber final
    : public ORVEX::number_body::FixedBody<ORVEX::number_body::ChunkStorage, 2>
{
    using FixedBody::FixedBody;
};

// The bodies are compiled once, in singlewordbodies.cpp and multiwordbodies.cpp.
namespace ORVEX::number_body
{
extern template class FixedBody<WordStorage<std::int8_t>, 1>;
extern template class FixedBody<WordStorage<std::uint8_t>, 1>;
extern template class FixedBody<WordStorage<std::int16_t>, 1>;
extern template class FixedBody<WordStorage<std::uint16_t>, 1>;
extern template class FixedBody<WordStorage<std::int32_t>, 1>;
extern template class FixedBody<WordStorage<std::uint32_t>, 1>;
extern template class FixedBody<WordStorage<long long>, 1>;
extern template class FixedBody<WordStorage<unsigned long long>, 1>;
extern template class FixedBody<WordStorage<std::int8_t>, 2>;
extern template class FixedBody<WordStorage<std::uint8_t>, 2>;
extern template class FixedBody<WordStorage<std::int16_t>, 2>;
extern template class FixedBody<WordStorage<std::uint16_t>, 2>;
extern template class FixedBody<WordStorage<std::int32_t>, 2>;
extern template class FixedBody<WordStorage<std::uint32_t>, 2>;
extern template class FixedBody<WordStorage<long long>, 2>;
extern template class FixedBody<WordStorage<unsigned long long>, 2>;
extern template class FixedBody<ChunkStorage, 1>;
extern template class FixedBody<ChunkStorage, 2>;
} // namespace ORVEX::number_body
