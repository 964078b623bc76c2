#include <orvex/number_body/numberbodyfactory.h>

#include "number_body/fixedpointclasses.h"
#include "number_body/floatingbody.h"
#include "number_body/scaleddoublenumber.h"
#include "number_body/sharedblock.h"
#include "number_body/zerobody.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <type_traits>
#include <vector>

namespace
{

/// Calls make(type tag of the class, chunks per part): the one place where a class is chosen.
template <class Make>
NumberBody* select(fxpDataTypeProp const& type, bool isComplex, Make make)
{
    switch (type.mode) {
    case fxpModeDataTypeScaledDouble: return make(std::type_identity<ScaledDoubleNumber>{}, 1);
    case fxpModeDataTypeDouble: return make(std::type_identity<FloatingPointNumber<double>>{}, 1);
    case fxpModeDataTypeSingle: return make(std::type_identity<FloatingPointNumber<float>>{}, 1);
    case fxpModeDataTypeFixed: break;
    default: return nullptr;
    }
    if (type.wordLength > ORVEX::multiword::chunkBits) {
        int const chunks = ORVEX::multiword::numChunksOfType(type);
        if (isComplex) return make(std::type_identity<MWComplexFixedPointNumber>{}, chunks);
        return make(std::type_identity<MWFixedPointNumber>{}, chunks);
    }
    return withWordTypes(type.wordLength, [&](auto s, auto u) {
        using S = decltype(s);
        using U = decltype(u);
        if (type.isSigned())
            return isComplex ? make(std::type_identity<SignedSWComplexFixedPointNumber<S>>{}, 1)
                             : make(std::type_identity<SignedSWFixedPointNumber<S>>{}, 1);
        return isComplex ? make(std::type_identity<UnsignedSWComplexFixedPointNumber<U>>{}, 1)
                         : make(std::type_identity<UnsignedSWFixedPointNumber<U>>{}, 1);
    });
}

/// A body of the class that the type selects, with its elements unset; null for a mode that no class holds.
std::unique_ptr<NumberBody> make(NumberBody::Spec const& spec, bool isComplex)
{
    return std::unique_ptr<NumberBody>(select(spec.type, isComplex, [&](auto tag, int chunks) -> NumberBody* {
        using Body = typename decltype(tag)::type;
        std::size_t const bytes =
            spec.isExternal ? 0
                            : ORVEX::number_body::saturatingProduct(spec.count, Body::elementBytes(chunks));
        return new (NumberBody::ElementBytes{bytes}) Body(spec, chunks);
    }));
}

} // namespace

NumberBody* NumberBodyFactory::createNumberBody(double const* values, fxpDataTypeProp const& type,
                                                OrvexClientInterface& client, unsigned long long count,
                                                fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                                                bool isComplex)
{
    auto body = make({type, client, count, round, overflow}, isComplex);
    if (body) body->setValue(values);
    return body.release();
}

NumberBody* NumberBodyFactory::createNumberBody(double const* re, double const* im,
                                                fxpDataTypeProp const& type, OrvexClientInterface& client,
                                                unsigned long long count, fxpModeRounding_tag round,
                                                fxpModeOverflow_tag overflow)
{
    unsigned long long const most = ~0ull / (2 * sizeof(double));
    std::unique_ptr<double[]> const pairs(new double[count > most ? most * 2 : 2 * count]);
    for (unsigned long long i = 0; i < count; ++i) {
        pairs[2 * i] = re[i];
        pairs[2 * i + 1] = im[i];
    }
    return createNumberBody(pairs.get(), type, client, count, round, overflow, true);
}

NumberBody* NumberBodyFactory::createNumberBody(void* data, fxpDataTypeProp const& type,
                                                OrvexClientInterface& client, unsigned long long count,
                                                fxpModeRounding_tag round, fxpModeOverflow_tag overflow,
                                                bool isComplex)
{
    return make({type, client, count, round, overflow, true, data}, isComplex).release();
}

NumberBody* NumberBodyFactory::createNumberBody(NumberBody const* other)
{
    auto body = make({other->dataType_, *other->client_, other->numberOfElements_, other->roundMode_,
                      other->overflowMode_},
                     other->isComplex());
    if (!body) return nullptr;
    body->copyRawFrom(*other);
    body->setNDims(other->nDims_);
    body->setDims(other->dims());
    body->dataIsExternal_ = other->dataIsExternal_;
    return body.release();
}

NumberBody* NumberBodyFactory::createNumberBody(NumberBody const* other,
                                                ORVEX::NumberUtils::CopyIndexOnly shares)
{
    return select(other->dataType_, other->isComplex(), [&](auto tag, int chunks) -> NumberBody* {
        return new (NumberBody::ElementBytes{0}) typename decltype(tag)::type(*other, shares, chunks);
    });
}

namespace
{

/// Whether real-world 0.0 is the stored integer 0, which is stored without an event.
bool zeroIsSilent(fxpDataTypeProp const& type)
{
    return type.mode == fxpModeDataTypeFixed && type.bias == 0.0;
}

} // namespace

std::unique_ptr<NumberBody> ORVEX::number_body::createZeroBody(NumberBody::Spec const& spec, bool isComplex)
{
    auto body = createOverwrittenBody(spec, isComplex);
    if (body && zeroIsSilent(spec.type)) body->clear();
    return body;
}

std::unique_ptr<NumberBody> ORVEX::number_body::createOverwrittenBody(NumberBody::Spec const& spec,
                                                                      bool isComplex)
{
    auto body = make(spec, isComplex);
    if (body && !zeroIsSilent(spec.type)) {
        std::vector<double> const zeros(spec.count * (isComplex ? 2 : 1));
        body->setValue(zeros.data());
    }
    return body;
}
