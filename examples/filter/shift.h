/// \file
/// A shift in frequency, computed in complex numbers.
#pragma once

#include "filter/fir.h"

namespace example
{

using ComplexSignal = std::vector<std::complex<double>>;

/// Shifts a recording in frequency: an oscillator brings its middle to zero, the filter takes what lies
/// around that, another oscillator brings it back to another place. Frequencies in cycles per sample.
class FrequencyShift
{
public:
    FrequencyShift(std::vector<double> const& input_, std::size_t channels_, FilterDesign const& filter_,
                   double middle, double shift)
        : input(input_.begin(), input_.end()), down(oscillator(-middle, channels_)),
          up(oscillator(middle + shift, channels_)), channels(channels_), filter(filter_)
    {
    }

    ComplexSignal inDoubles() const
    {
        ComplexSignal x(input.size());
        std::ranges::transform(input, down, x.begin(), std::multiplies());
        x = filter.apply(x, channels);
        std::ranges::transform(x, up, x.begin(), std::multiplies());
        return x;
    }

    /// Every product and sum in full, then rounded to the type of the data.
    ComplexSignal inNumbers(FirTypes const& types, OrvexClientInterface& client) const
    {
        auto const number = [&](ComplexSignal const& values, fxpDataTypeProp const& type) {
            return ORVEX::Number(reinterpret_cast<double const*>(values.data()), type, client, values.size(),
                                 types.rounding, fxpModeOverflowSaturate, true);
        };
        fxpDataTypeProp const unit = typeFor(1, types.coefficient.wordLength);
        ORVEX::Cast const toData(types.data, client, types.rounding, fxpModeOverflowSaturate);
        Signal mixed(toData(ORVEX::Number::arrayTimes(number(input, types.data), number(down, unit))),
                     (filter.forward.size() - 1) * channels);
        ORVEX::Number const filtered =
            toData(Fir(filter, types, client).sums(mixed, 0, input.size(), channels));
        ComplexSignal output(input.size());
        toData(ORVEX::Number::arrayTimes(filtered, number(up, unit)))
            .getAllRWDoubleValues(reinterpret_cast<double*>(output.data()));
        return output;
    }

private:
    ComplexSignal oscillator(double frequency, std::size_t channels_) const
    {
        ComplexSignal values(input.size());
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = std::polar(1.0, 2 * pi * frequency * static_cast<double>(i / channels_));
        return values;
    }

    ComplexSignal input, down, up;
    std::size_t channels;
    FilterDesign filter;
};

} // namespace example
