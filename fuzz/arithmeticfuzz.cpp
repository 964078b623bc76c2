/// Sums, differences, products and quotients of two types in all their forms, through any types on the way.
#include "bytes.h"
#include "support/arithmeticcheck.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace orvextest;
    orvexfuzz::Bytes input(data, size);
    int const bits = input.pick(std::array{6, 16, 64, 130});
    fxpDataTypeProp const a = input.radixType(bits, -bits / 2, bits / 3);
    fxpDataTypeProp const b = input.coin() ? a : input.radixType(bits, -bits / 2, bits / 3);
    auto const any = [&](fxpDataTypeProp const& type) {
        bool const isComplex = input.coin();
        Elements elements(static_cast<std::size_t>(input.between(1, 3)));
        for (Element& element : elements)
            for (int part = isComplex ? 2 : 1; part > 0; --part)
                element.push_back(input.pick(interestingStored(type, input, 1)));
        return elements;
    };
    Elements const as = any(a), bs = any(b);
    checkArithmetic(a, as, b, bs, input);
    return 0;
}
