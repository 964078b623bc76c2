// Prints values and types by the operators for streams; at `shown`, gdb prints the same variables.
#include <orvex/orvex.h>
#include <orvex/text.h>

#include <iostream>

using ORVEX::Number;

// A place to stop, with all that is to be seen.
__attribute__((noinline)) void shown(Number const& scalar, Number const& row, Number const& matrix,
                                     Number const& complex, Number const& wide, Number const& scaled,
                                     Number const& floating, fxpDataTypeProp const& type)
{
    for (Number const* number : {&scalar, &row, &matrix, &complex, &wide, &scaled, &floating})
        std::cout << number->getDataType() << ' ' << *number << '\n';
    std::cout << type << '\n';
}

int main()
{
    ORVEX::EventCounter client;
    auto const round = fxpModeRoundingNearest;
    auto const overflow = fxpModeOverflowSaturate;
    double const values[] = {1.5, -2.25, 3, 0.0625, -8, 7.9375};
    fxpDataTypeProp const s8(true, 8, 4);
    Number const scalar(1.5, s8, client, round, overflow);
    Number const row(values, s8, client, 3, round, overflow, false);
    Number matrix(values, fxpDataTypeProp(true, 16, 0.75, -40.0), client, 6, round, overflow, false);
    unsigned long long const dims[] = {2, 3};
    matrix.setDims(dims);
    matrix.setIndex(2);
    Number const complex(values, fxpDataTypeProp(true, 32, 20), client, 2, round, overflow, true);
    Number wide(0.0, fxpDataTypeProp(false, 70, 69), client, round, overflow);
    wide.setMaxRWValue();
    fxpDataTypeProp type = s8;
    type.mode = fxpModeDataTypeScaledDouble;
    Number const scaled(0.3, type, client, round, overflow);
    Number const floating(values, fxpDataTypeProp::singleDataType(), client, 2, round, overflow, false);
    type = fxpDataTypeProp(false, 9, 5.0, 2, 0.0);
    shown(scalar, row, matrix, complex, wide, scaled, floating, type);
}
