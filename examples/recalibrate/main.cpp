/// \file
/// Casts raw counts of a converter to several data types, on an ASIC and on a microprocessor, and shows which
/// way each cast takes and what it costs.
#include "counts.h"
#include "support/commandline.h"
#include "support/progress.h"
#include "support/texttable.h"

#include <orvex/orvex.h>

#include <boost/multiprecision/cpp_int.hpp>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <optional>
#include <utility>

namespace
{

using namespace example;
using ORVEX::EventKind;
using Integer = boost::multiprecision::cpp_int;
using Rational = boost::multiprecision::cpp_rational;

constexpr int converterBits = 12;
constexpr std::uint16_t largestCount = (1 << converterBits) - 1;

struct Options {
    std::string recording;
    double slope = 0.00489404, bias = -9.9853; // an input of +-10 V with 0.23 % gain error and 14.7 mV offset
    std::vector<std::string> roundings = {"Floor", "Nearest"};
    bool wrap = false;
};

std::vector<std::string> const roundingModes = {"Zero",     "Nearest",  "Ceiling",   "Floor",
                                                "Cheapest", "HalfAway", "Convergent"}; // by mode

std::pair<char const*, fxpProdHardware> const allHardware[] = {
    {"ASIC", fxpProdHardware::getASICTypeHardware()},
    {"8/16/32/32 micro", {ProdHWDeviceMicro, 8, 16, 32, 32, FxpHardwareRoundingZero}}};

Rational powerOfTwo(int exponent)
{
    Integer const power = Integer(1) << std::abs(exponent);
    return exponent < 0 ? Rational(1, power) : Rational(power);
}

/// From a value of the type to the next.
Rational stepOf(fxpDataTypeProp const& type)
{
    return Rational(type.slopeAdjustmentFactor) * powerOfTwo(type.fixedExponent);
}

Rational realWorld(Integer const& stored, fxpDataTypeProp const& type)
{
    return stepOf(type) * stored + Rational(type.bias);
}

/// A stored integer in chunks, least significant first; the sign of a signed type fills its top chunk.
Integer storedInteger(unsigned long long const* chunks, fxpDataTypeProp const& type)
{
    int const count = (type.wordLength + 63) / 64;
    Integer stored = type.isSigned() && chunks[count - 1] >> 63 != 0 ? -1 : 0;
    for (int i = count; i-- > 0;) stored = (stored << 64) + chunks[i];
    return stored;
}

/// Stands for a target that may divide, and hears what casts from the type `source` do. Large arrays tell it
/// from several threads.
class Listener : public ORVEX::EventCounter
{
public:
    struct NetValue {
        double wanted;
        Rational held; ///< after quantization
    };
    std::optional<NetValue> netSlope, netBias; ///< of the first element; those of the others are the same

    Listener(fxpProdHardware const& target, fxpDataTypeProp const& type) : hardware(target), source(type) {}

    fxpProdHardware const* getProductionHardware() const override { return &hardware; }
    FxpNetSlopeCorrectMethod getNetSlopeCorrectionMethod() const override { return FxpNetSlopeCorrectDivide; }
    void reportNetScalingDiagnostic(unsigned long long const* chunks, fxpDataTypeProp const& type,
                                    double wanted, bool isSlope) override
    {
        std::lock_guard const lock(mutex);
        std::optional<NetValue>& net = isSlope ? netSlope : netBias;
        if (net) return;
        fxpDataTypeProp holder = type;
        if (isSlope) ORVEX::selectSlopeCorrectionDataType(&holder, &source, wanted);
        net = {wanted, realWorld(storedInteger(chunks, holder), holder)};
    }
    char const* getClassName() const override { return "Listener"; }
    OrvexClientInterface* clone() override { return new Listener(hardware, source); } ///< has heard nothing

private:
    fxpProdHardware hardware;
    fxpDataTypeProp source;
    std::mutex mutex;
};

std::string digits(Rational const& value, int significant)
{
    std::ostringstream text;
    text.precision(significant);
    text << value.convert_to<double>();
    return text.str();
}

std::string describe(fxpDataTypeProp const& type)
{
    return (type.isSigned() ? "signed " : "unsigned ") + std::to_string(type.wordLength) + " bits, slope " +
           (type.slopeAdjustmentFactor == 1 ? "2^" + std::to_string(type.fixedExponent)
                                            : digits(stepOf(type), 10)) +
           ", bias " + digits(Rational(type.bias), 10);
}

/// Types that somebody behind the converter could want. Most can hold its whole range.
std::vector<std::pair<fxpDataTypeProp, char const*>> targetTypes(Options const& options)
{
    double const low = options.bias, span = options.slope * largestCount;
    double const extreme = std::max(std::abs(low), std::abs(low + span));
    auto const binaryPoint = [](bool isSigned, int bits, double largest, double bias) {
        int const exponent = ORVEX::bestPrecisionFixedExponent(largest, fxpDataTypeProp(isSigned, bits, 0));
        return fxpDataTypeProp(isSigned, bits, 1.0, exponent, bias);
    };
    // Units that give round figures of about the right size.
    double const slopeUnit = std::pow(10.0, std::floor(std::log10(options.slope)) - 1);
    double const biasUnit = std::exp2(std::floor(std::log2(span)) - 4);
    double const roundBias = std::floor(low / biasUnit) * biasUnit;
    return {
        {binaryPoint(true, 16, extreme, 0), "binary point"},
        {binaryPoint(true, 8, extreme / 2, 0), "binary point, half the range"},
        {binaryPoint(false, 16, low + span - roundBias, roundBias), "binary point, round bias"},
        {{false, 16, std::ceil(options.slope / slopeUnit) * slopeUnit, roundBias}, "round slope and bias"},
        {{true, 16, options.slope, 0}, "no bias"},
        {{false, 8, 25 * options.slope, options.bias}, "25 counts in one"}};
}

/// The least type, in steps of the target, that holds scaled counts, the net bias and their sum in full.
fxpDataTypeProp fullSum(fxpDataTypeProp const& source, fxpDataTypeProp const& target)
{
    fxpDataTypeProp scaledCount, grid, sum;
    fxpCastGetNetNominalDatatypes(&scaledCount, &grid, &target, &source);
    FxpClientFullPrecision anyLength; // has all lengths up to 128 bits
    ORVEX::selectRadixDataType_WithTerms(anyLength, &sum, &scaledCount, anyLength.getProductionHardware());
    return sum;
}

/// By which type casts for the listener's hardware go, and why.
std::string way(Listener& listener, fxpDataTypeProp const& source, fxpDataTypeProp const& target,
                fxpModeOverflow_tag overflow)
{
    fxpDataTypeProp via;
    fxpOperationChoices const asked{fxpModeRoundingNearest, overflow, 0}; // the rounding has no influence
    fxpOperationChoices first, second;
    ORVEX::selectCastIntermediateDataType(listener, &via, &first, &second, &target, &source, &asked);
    if (source.bias == target.bias) return "directly, for the biases agree: there is but one rounding";
    fxpDataTypeProp const full = fullSum(source, target);
    std::string const sum = "the sum of scaled count and net bias takes " + std::to_string(full.wordLength) +
                            " bits, " + std::to_string(std::max(0, -full.fixedExponent)) +
                            " of them below the last place";
    if (via == source) return "directly: " + sum + ", which the target has";
    std::string const kept = std::to_string(target.fixedExponent - via.fixedExponent);
    return "through " + describe(via) + ":\n    biases differ, and " + sum + ";\n    " +
           (via.wordLength < full.wordLength
                ? "the longest word here keeps " + kept + " of those, and overflows as the cast is told to"
                : "so that there is but one rounding, and no overflow before it");
}

/// What the net slope and the net bias should be and what quantizing them costs, in steps of the target.
std::string netScaling(Listener const& heard, fxpDataTypeProp const& source, fxpDataTypeProp const& target)
{
    std::string text;
    auto const add = [&](std::string const& what, auto const& net, int exponent, int times) {
        if (!net) return;
        Rational const unit = powerOfTwo(exponent - target.fixedExponent); // the listener hears of no shift
        Rational const cost = abs(net->held - Rational(net->wanted)) * unit * times;
        text += "    " + what + ' ' + digits(Rational(net->wanted) * unit, 13) + ", held as " +
                digits(net->held * unit, 13) + ", which costs up to " + digits(cost, 3) + " steps\n";
    };
    add("net slope", heard.netSlope, source.fixedExponent, largestCount);
    add("net bias", heard.netBias, 0, 1);
    return text;
}

std::string slopeApplied(Listener& listener, fxpDataTypeProp const& source, fxpDataTypeProp const& target,
                         fxpModeRounding_tag rounding)
{
    if (source.slopeAdjustmentFactor == target.slopeAdjustmentFactor) return "shifted";
    double divisor = 0;
    fxpDataTypeProp divisorType;
    fxpScalarOversized storedDivisor;
    bool const divides = source.bias == target.bias && // no net bias is ever added to a quotient
                         ORVEX::getDTCSlopeCorrectionMode(listener, target, source, &divisor, &divisorType,
                                                          &storedDivisor, rounding);
    return divides ? "divided by " + digits(Rational(divisor), 10) : "multiplied";
}

/// Casts all counts and compares them with what they are exactly. Gives the figures of a row of the table.
std::vector<std::string> castAll(std::vector<std::uint16_t> counts, fxpDataTypeProp const& source,
                                 fxpDataTypeProp const& target, Listener& listener,
                                 fxpModeRounding_tag rounding, fxpModeOverflow_tag overflow)
{
    ORVEX::Number const raw(counts.data(), source, listener, counts.size(), rounding, overflow, false);
    // A Cast would do as well, but it begins with zeros, which are not in the range of every type with bias.
    std::vector<double> const silent(counts.size(), target.bias);
    ORVEX::Number result(silent.data(), target, listener, counts.size(), rounding, overflow, false);
    ORVEX::Number::arrayEquals(result, raw);

    Integer const end = Integer(1) << target.getWordLengthNonSign();
    Rational const least = realWorld(target.isSigned() ? Integer(-end) : Integer(0), target),
                   greatest = realWorld(end - 1, target);
    unsigned long long outside = 0;
    Rational worst = 0, worstInside = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        result.setIndex(i);
        Integer const stored = target.isSigned() ? Integer(result.getSIArrayValueSigned())
                                                 : Integer(result.getSIArrayValueUnsigned());
        Rational const exact = realWorld(counts[i], source), error = abs(realWorld(stored, target) - exact);
        bool const inside = least <= exact && exact <= greatest;
        worst = std::max(worst, error);
        if (inside) worstInside = std::max(worstInside, error);
        outside += inside ? 0 : 1;
    }
    ORVEX::EventCounts const events = listener.counts();
    std::vector<std::string> row;
    for (unsigned long long const count :
         {events[EventKind::wrap], events[EventKind::saturationToMin], events[EventKind::saturationToMax],
          events[EventKind::underflow], outside})
        row.push_back(std::to_string(count));
    row.push_back(digits(worst, 4));
    for (Rational const& error : {worst, worstInside})
        row.push_back(figure(Rational(error / stepOf(target)).convert_to<double>(), 3));
    return row;
}

void run(Options const& options)
{
    // Written so that NaN fails. Far beyond the last limit a double would lose sight of the counts.
    if (!(options.slope >= 1e-30 && options.slope <= 1e30))
        throw std::runtime_error("the slope is out of range");
    if (!(std::abs(options.bias) <= 1e6 * options.slope))
        throw std::runtime_error("the bias is out of range");
    std::vector<std::uint16_t> const counts = readCounts(options.recording, largestCount);
    fxpDataTypeProp const source(false, converterBits, options.slope, options.bias);
    fxpModeOverflow_tag const overflow = options.wrap ? fxpModeOverflowWrap : fxpModeOverflowSaturate;
    auto const targets = targetTypes(options);

    std::ostringstream report;
    report << options.recording << ": " << counts.size() << " counts, " << describe(source)
           << "\nA step is what lies between two values of the target. (fit): counts within its range.\n";
    Progress progress(targets.size() * std::size(allHardware) * options.roundings.size());
    for (auto const& [target, name] : targets) {
        TextTable table{3,
                        {{"hardware", "rounding", "slope is", "wraps", "to min", "to max", "underflows",
                          "outside", "max error", "max steps", "max steps (fit)"}}};
        report << "\nTo " << describe(target) << " (" << name << ")\n";
        for (auto const& [hardwareName, hardware] : allHardware) {
            std::string net; // the same in every rounding mode
            for (std::string const& rounding : options.roundings) {
                auto const mode = static_cast<fxpModeRounding_tag>(
                    std::find(roundingModes.begin(), roundingModes.end(), rounding) - roundingModes.begin());
                Listener listener(hardware, source);
                auto const figures = castAll(counts, source, target, listener, mode, overflow);
                table.rows.push_back({hardwareName, rounding, slopeApplied(listener, source, target, mode)});
                table.rows.back().insert(table.rows.back().end(), figures.begin(), figures.end());
                net = netScaling(listener, source, target);
                progress.advance();
            }
            Listener listener(hardware, source);
            report << "  " << hardwareName << ": " << way(listener, source, target, overflow) << '\n' << net;
        }
        report << table;
    }
    std::cout << report.str();
}

} // namespace

int main(int argc, char** argv)
{
    char const* const description =
        "Casts raw counts of a 12-bit converter to several data types on two kinds of hardware, and shows "
        "which way each cast takes and why, what quantizing its scaling costs, its events, and its worst "
        "error against exact arithmetic.";
    Options options;
    return runExample("recalibrate", description, argc, argv, [&options](CLI::App& app) {
        app.add_option("recording", options.recording,
                       "CSV file with rows seconds,counts; '#' begins a line of comment")
            ->required();
        app.add_option("-s,--slope", options.slope, "of the converter: units per count")
            ->capture_default_str();
        app.add_option("-b,--bias", options.bias, "of the converter: units at count 0")
            ->capture_default_str();
        app.add_option("-r,--rounding", options.roundings, "modes, separated by commas")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(CLI::IsMember(roundingModes))
            ->capture_default_str();
        app.add_flag("-w,--wrap", options.wrap, "let values out of range wrap, not saturate");
        app.callback([&options] { run(options); });
    });
}
