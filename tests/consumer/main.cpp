/// What a user's program takes from the library: a client of its own, numbers wide and parallel, diagnostics,
/// versions.
#include <orvex/orvex.h>
#include <orvex/text.h>

#include <iostream>
#include <vector>

namespace
{
struct Listener : FxpClientNull {
    int heard = 0;
    void handleSaturationToMax() override { ++heard; }
};
} // namespace

int main()
{
    Listener listener;
    fxpDataTypeProp const type(true, 8, 4);
    auto const nearest = fxpModeRoundingNearest;
    auto const saturate = fxpModeOverflowSaturate;
    std::vector<double> const values(1000, 1.5); // above 500 in parallel
    ORVEX::Number const a(values.data(), type, listener, values.size(), nearest, saturate, false);
    ORVEX::Number const b(9.5, type, listener, nearest, saturate),
        wide(0.5, {true, 200, 100}, listener, nearest, saturate);
    bool diagnosed = false;
    try {
        ORVEX::Number::arrayPlus(a,
                                 ORVEX::Number(values.data(), type, listener, 3, nearest, saturate, false));
    } catch (kvxDiagnosticException const&) {
        diagnosed = true;
    }
    std::cout << liborvex_version << ' ' << ORVEX::Number::arrayTimes(a, a)[999].getRWDoubleValue() << ' '
              << (wide + b).getRWDoubleValue() << ' ' << listener.heard << diagnosed << ' '
              << ORVEX::text::toString(type) << '\n';
}
