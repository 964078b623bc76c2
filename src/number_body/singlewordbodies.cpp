/// The single-word bodies, instantiated.
#include "number_body/fixedbodyarith.h"
#include "number_body/fixedbodystores.h"
#include "number_body/fixedpointclasses.h"

using namespace ORVEX::number_body;

/// The product of complex numbers is formed part by part; each partial product and each sum rounds, overflows
/// and tells by itself. An unsigned or multi-word other operand has no rule: the product with the real part
/// is formed for its events alone.
template <class T>
void SignedSWComplexFixedPointNumber<T>::timesEquals(NumberBody const* other)
{
    if (!holdsStoredIntegers(*other)) return printNoRule();
    using Scratch = typename Base::PartScratch;
    auto const one = this->count();
    Operand const a = this->operandOf(this->here(Part::real));
    Operand const c = operandAtCursor(*other, Part::real);
    Scratch t(one);
    bool const ruled = other->isSingleChunk() && other->dataType().isSigned();
    if (!ruled && other->isSingleChunk()) std::cout << "\nComplex signed*= unsigned TBD!\n";
    this->multiply(t, a, c);
    if (!ruled) return;

    Operand const b = this->operandOf(this->here(Part::imag));
    Operand const d = operandAtCursor(*other, Part::imag);
    bool const isComplex = other->isComplex(); // read now: `other` may be this
    Scratch product(one);
    if (isComplex) {
        this->multiply(product, b, d);
        ORVEX::multiword::addInto<ORVEX::multiword::Sum::minus>(
            this->client(), ORVEX::multiword::ChunkTarget(t.data(), one), this->dataType(), t.data(),
            product.data(), this->overflowMode());
    }
    T* const im = this->here(Part::imag);
    this->multiply(product, b, c);
    this->storeScratch(im, product);
    if (isComplex) {
        this->multiply(product, a, d);
        auto to = this->target(im);
        ORVEX::multiword::addInto<ORVEX::multiword::Sum::plus>(
            this->client(), to, this->dataType(), to.load(), product.data(), this->overflowMode());
    }
    this->storeScratch(this->here(Part::real), t);
}

template class SignedSWComplexFixedPointNumber<std::int8_t>;
template class SignedSWComplexFixedPointNumber<std::int16_t>;
template class SignedSWComplexFixedPointNumber<std::int32_t>;
template class SignedSWComplexFixedPointNumber<long long>;

namespace ORVEX::number_body
{
template class FixedBody<WordStorage<std::int8_t>, 1>;
template class FixedBody<WordStorage<std::uint8_t>, 1>;
template class FixedBody<WordStorage<std::int16_t>, 1>;
template class FixedBody<WordStorage<std::uint16_t>, 1>;
template class FixedBody<WordStorage<std::int32_t>, 1>;
template class FixedBody<WordStorage<std::uint32_t>, 1>;
template class FixedBody<WordStorage<long long>, 1>;
template class FixedBody<WordStorage<unsigned long long>, 1>;
template class FixedBody<WordStorage<std::int8_t>, 2>;
template class FixedBody<WordStorage<std::uint8_t>, 2>;
template class FixedBody<WordStorage<std::int16_t>, 2>;
template class FixedBody<WordStorage<std::uint16_t>, 2>;
template class FixedBody<WordStorage<std::int32_t>, 2>;
template class FixedBody<WordStorage<std::uint32_t>, 2>;
template class FixedBody<WordStorage<long long>, 2>;
template class FixedBody<WordStorage<unsigned long long>, 2>;
} // namespace ORVEX::number_body
