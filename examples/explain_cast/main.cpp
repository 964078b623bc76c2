/// \file
/// Explains a cast from one data type to another before any value exists: what can go wrong, with values that
/// show it, and how the cast is done on a target.
#include "support/commandline.h"
#include "support/exact.h"

#include <orvex/orvex.h>
#include <orvex/text.h>

#include <cmath>
#include <iomanip>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace
{

using namespace example;
using ORVEX::Number;

struct Options {
    std::string from, to, target = "asic";
};

/// What `read` makes of a text; one that it cannot read is shown first, with a caret under the place.
template <class Read>
auto readShowing(std::string const& text, Read const& read)
{
    try {
        return read(text);
    } catch (ORVEX::text::ParseError const& error) {
        std::cerr << error.caret();
        throw;
    }
}

/// Refuses types that leave no room for arithmetic in doubles.
fxpDataTypeProp readType(std::string const& text)
{
    constexpr int maxBits = 1024, maxFraction = 1000;
    constexpr double least = 1e-100, most = 1e100;
    fxpDataTypeProp const type =
        readShowing(text, [](std::string const& t) { return ORVEX::text::readType(t); });
    double const slope = std::ldexp(type.slopeAdjustmentFactor, type.fixedExponent),
                 bias = std::abs(type.bias);
    bool const hasPoint = type.slopeAdjustmentFactor == 1;
    if (type.wordLength > maxBits || std::abs(type.fixedExponent) > maxFraction ||
        (!hasPoint && (slope < least || slope > most)) || (bias != 0 && (bias < least || bias > most)))
        throw std::runtime_error("\"" + text + "\" is out of the range of this program");
    return type;
}

/// What holds the values of a type: of a boolean, which no number can have, one unsigned bit.
fxpDataTypeProp holder(fxpDataTypeProp const& type)
{
    return type.mode == fxpModeDataTypeBoolean ? fxpDataTypeProp(false, 1, 0) : type;
}

bool isScaled(fxpDataTypeProp const& type)
{
    return type.mode == fxpModeDataTypeFixed || type.mode == fxpModeDataTypeScaledDouble;
}

std::string describe(fxpDataTypeProp const& type)
{
    if (type.mode == fxpModeDataTypeBoolean) return "boolean";
    if (!isScaled(type)) return type.mode == fxpModeDataTypeDouble ? "double" : "single";
    return std::string(type.mode == fxpModeDataTypeFixed ? "" : "scaled double of ") +
           (type.isSigned() ? "signed " : "unsigned ") + std::to_string(type.wordLength) + " bits, slope " +
           (type.slopeAdjustmentFactor == 1 ? "2^" + std::to_string(type.fixedExponent)
                                            : digits(stepOf(type), 10)) +
           ", bias " + digits(Rational(type.bias), 10);
}

/// The stored integer of a fixed number, the stored double of any other; nothing if that is infinite.
std::optional<Rational> stored(Number const& number)
{
    fxpDataTypeProp const& type = number.getDataType();
    if (number.isFixed()) {
        if (number.getNumChunks() > 1)
            return Rational(storedInteger(static_cast<unsigned long long const*>(number.getSIArray()), type));
        return type.isSigned() ? Rational(number.getSIArrayValueSigned())
                               : Rational(number.getSIArrayValueUnsigned());
    }
    double const value = number.getSIDoubleValue();
    return std::isfinite(value) ? std::optional<Rational>(value) : std::nullopt;
}

std::optional<Rational> valueOf(Number const& number)
{
    std::optional<Rational> value = stored(number);
    if (value && isScaled(number.getDataType())) value = realWorld(*value, number.getDataType());
    return value;
}

std::string describe(Number const& number)
{
    constexpr int significant = 15; // as many as look round where the value is
    std::optional<Rational> const held = stored(number);
    if (!held) return "infinite";
    std::string const value = digits(*valueOf(number), significant);
    if (number.isFloat()) return value;
    bool const isExact = number.isFixed() && number.getNumChunks() == 1;
    return value + " (stored " + (isExact ? numerator(*held).str() : digits(*held, significant)) + ")";
}

/// One cast, and what happens to values in it.
class Cast
{
public:
    Cast(fxpDataTypeProp const& from, fxpDataTypeProp const& to, fxpProdHardware const& target)
        : source(holder(from)), result(holder(to)), client(target)
    {
        gatherValues();
    }

    /// A value that loses precision, within the target's range if there is such a one.
    std::string lossWitness()
    {
        std::string outside = "none of the values tried loses any";
        for (Number const& value : values) {
            Number const got = cast(value);
            std::optional<Rational> const is = valueOf(got), was = valueOf(value);
            if (is && *is == *was) continue;
            if (is && !client.getOverFlowOccurred())
                return show(value, got) + ", off by " + digits(*is - *was, 3);
            outside = "of the values tried only those that are out of range";
        }
        return outside;
    }

    std::string rangeWitness()
    {
        for (Number const& value : values) {
            Number const got = cast(value);
            if (client.getOverFlowOccurred()) return show(value, got) + ", saturated";
            if (!stored(got)) return show(value, got);
        }
        client.resetOverFlowOccurred();
        Number const zero(0.0, result, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
        if (client.getOverFlowOccurred())
            return "every value fits, but 0, with which a result begins, becomes " + describe(zero);
        return "none of the values tried leaves it";
    }

private:
    void add(double value)
    {
        values.emplace_back(value, source, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
    }

    /// The extremes of the source, and what lies about the places where something changes.
    void gatherValues()
    {
        for (bool const isMax : {false, true}) {
            add(source.bias);
            double const limit = std::numeric_limits<double>::max() * (isMax ? 1 : -1);
            if (source.mode == fxpModeDataTypeScaledDouble)
                values.back().copyDataIntoSIArray(&limit, 1);
            else if (isMax)
                values.back().setMaxRWValue();
            else
                values.back().setMinRWValue();
        }
        std::vector<double> places{0, source.bias, result.bias, 1};
        if (result.mode == fxpModeDataTypeFixed)
            for (bool const isMax : {false, true}) {
                Number limit(result.bias, result, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
                isMax ? limit.setMaxRWValue() : limit.setMinRWValue();
                places.push_back(limit.getRWDoubleValue());
            }
        double const step =
            (source.mode == fxpModeDataTypeFixed ? stepOf(source) : Rational(stepOf(result) / 3))
                .convert_to<double>();
        for (double const place : places)
            for (int const steps : {1, -1, 2, -2, 3, -3, 0}) add(place + steps * step);
    }

    /// To the nearest, saturated. Over zeros, as ORVEX::Cast makes them, a bias could put an event of its
    /// own.
    Number cast(Number const& value)
    {
        Number got(result.bias, result, client, fxpModeRoundingNearest, fxpModeOverflowSaturate);
        client.resetOverFlowOccurred();
        Number::arrayEquals(got, value);
        return got;
    }

    static std::string show(Number const& value, Number const& got)
    {
        return describe(value) + " becomes " + describe(got);
    }

    fxpDataTypeProp source, result;
    FxpClientWithReporting client;
    std::vector<Number> values;
};

std::string answer(boost::logic::tribool value, char const* yes, char const* no)
{
    return indeterminate(value) ? "the types do not tell" : value ? yes : no;
}

std::string intermediate(OrvexClientInterface& client, fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    fxpDataTypeProp via;
    fxpOperationChoices const asked{fxpModeRoundingNearest, fxpModeOverflowSaturate, 0};
    fxpOperationChoices first, second;
    ORVEX::selectCastIntermediateDataType(client, &via, &first, &second, &to, &from, &asked);
    if (via == from) return "none, the cast goes directly";
    if (!isScaled(via)) return describe(via);
    return describe(via) + (first.overflowMode == fxpModeOverflowWrap
                                ? ", which holds all values of the first stage"
                                : ", in which the first stage may saturate");
}

std::string radixTwin(OrvexClientInterface& client, fxpDataTypeProp const& type)
{
    fxpDataTypeProp twin;
    fxpSelectRadixTypeConditions conditions;
    ORVEX::selectRadixDataType(client, &twin, &type, client.getProductionHardware(), &conditions);
    return twin == type
               ? "the type itself"
               : describe(twin) + (conditions.isSlopeQuantizationLoss() ? ", the slope rounded" : "");
}

/// x * slope + bias, or (x + bias) / slope, without what has no effect.
std::string formula(std::string const& x, double slope, double bias, bool isDivision)
{
    std::string const sum = bias == 0 ? "" : (bias < 0 ? " - " : " + ") + kvx_dtoa(std::abs(bias), true);
    std::string const factor = slope == 1 ? "" : (isDivision ? " / " : " * ") + kvx_dtoa(slope, true);
    return "stored := " + (!isDivision ? x + factor + sum
                           : bias == 0 ? x + factor
                                       : '(' + x + sum + ')' + factor);
}

std::string netScaling(fxpDataTypeProp const& from, fxpDataTypeProp const& to)
{
    if (!isScaled(from) || !isScaled(to)) return "none";
    fxpDataTypeProp scaled, grid, slopeHolder;
    fxpCastGetNetNominalDatatypes(&scaled, &grid, &to, &from);
    std::string text = formula("stored", stepOf(scaled).convert_to<double>(), scaled.bias, false);
    if (from.mode == fxpModeDataTypeFixed && scaled.slopeAdjustmentFactor != 1) {
        double const factor = from.slopeAdjustmentFactor / to.slopeAdjustmentFactor;
        ORVEX::selectSlopeCorrectionDataType(&slopeHolder, &from, factor);
        FxpClientNull nobody;
        double const held =
            ORVEX::mpr_quantize(nobody, factor, slopeHolder, fxpModeRoundingNearest, fxpModeOverflowSaturate);
        text += std::string(", its factor ") + kvx_dtoa(factor, true) + " held as " + kvx_dtoa(held, true);
    }
    return text;
}

std::string entry(fxpDataTypeProp const& to, fxpDataTypeProp const& floating)
{
    CastMixFloatFixptRealization const plan(to, floating, false, false);
    return formula("x", plan.ApproachNetSlope(), plan.ApproachNetBias(), plan.UseDivApproach()) +
           (plan.CalcUseDouble() ? ", computed in double" : ", computed in single");
}

void run(Options const& options)
{
    fxpDataTypeProp const from = readType(options.from), to = readType(options.to);
    fxpProdHardware const target =
        readShowing(options.target, [](std::string const& t) { return ORVEX::text::readTarget(t); });
    FxpClientWithReporting client(target);
    auto const loses = ORVEX::castCanLosePrecision(from, to);
    auto const leaves = ORVEX::parameterCastCanBeOutOfBounds(client, from, to);
    Cast cast(from, to, target);

    std::vector<std::pair<char const*, std::string>> lines{
        {"from", describe(from)},
        {"to", describe(to)},
        {"precision", answer(loses, "can be lost", "is never lost")}};
    if (loses || indeterminate(loses)) lines.emplace_back("", cast.lossWitness());
    lines.emplace_back("range", answer(leaves, "can be left", "is never left"));
    if (leaves) lines.emplace_back("", cast.rangeWitness());
    lines.emplace_back("intermediate type", intermediate(client, from, to));
    lines.emplace_back("radix twin of from", radixTwin(client, from));
    lines.emplace_back("radix twin of to", radixTwin(client, to));
    lines.emplace_back("net slope and bias", netScaling(from, to));
    lines.emplace_back("a double x enters", entry(to, fxpDataTypeProp::doubleDataType()));
    lines.emplace_back("a single x enters", entry(to, fxpDataTypeProp::singleDataType()));
    for (auto const& [name, text] : lines) std::cout << std::left << std::setw(20) << name << text << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    return runExample("explain_cast", "Explains a cast between two data types before any value exists.", argc,
                      argv, [&options](CLI::App& app) {
                          app.footer(std::string("Types: ") + ORVEX::text::typeSyntax + ".");
                          app.add_option("from", options.from, "type of the values")->required();
                          app.add_option("to", options.to, "type that they are cast to")->required();
                          app.add_option("-t,--target", options.target,
                                         "asic, or the bits of char, short, int, long and perhaps long long: "
                                         "8,16,32,32")
                              ->capture_default_str();
                          app.callback([&options] { run(options); });
                      });
}
