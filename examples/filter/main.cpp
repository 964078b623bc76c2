/// \file
/// What fixed point does to two low-pass filters: a recording through them in many types, in numbers of the
/// library alone, beside the same in doubles. Tables, pictures and sounds.
#include "filter/pictures.h"
#include "filter/ringing.h"
#include "filter/shift.h"
#include "support/commandline.h"
#include "support/gnuplot.h"

#include <numeric>
#include <set>

namespace
{

using namespace example;

constexpr double defaultPeak = 0.7;           // in full scales, so that the output fits
constexpr double resonance = 5;               // of the section
constexpr double lawFrom = 20, lawUpTo = 200; // dB; beyond, the error is not small, or the doubles' own shows

constexpr int shiftBits[] = {8, 16, 24};
constexpr std::size_t fixedCases = 4; // of the filter without feedback, whatever the options are

/// A configuration of that filter.
struct FirCase {
    std::string name, file; ///< of the row, and of the sound without its extension
    FirTypes types;
};

std::vector<FirCase> firCases(Work const& work)
{
    std::vector<FirCase> cases;
    auto const bitsOf = [](int bits) { return "fir-" + std::to_string(bits) + "bit"; };
    for (int const bits : work.lengths)
        cases.push_back({"full", bitsOf(bits), fullPrecision(work.fir, bits, bits)});
    FirTypes const full = fullPrecision(work.fir, 16, 16);
    auto const withSum = [&](int bits, int fraction, fxpModeOverflow_tag overflow) {
        FirTypes types = full;
        types.sum = {true, bits, fraction};
        types.overflow = overflow;
        return types;
    };
    cases.push_back(
        {"40-bit sum", "fir-40bit-sum", withSum(40, -full.sum.fixedExponent, fxpModeOverflowSaturate)});
    cases.push_back({"short sum", "fir-short-saturate", withSum(16, 16, fxpModeOverflowSaturate)});
    cases.push_back({"short sum", "fir-short-wrap", withSum(16, 16, fxpModeOverflowWrap)});
    cases.push_back({"wide sum", "fir-wide-sum", fullPrecision(work.fir, 36, 36)});
    if (std::vector<int> const& bits = work.options.types; !bits.empty()) {
        FirTypes types = fullPrecision(work.fir, bits[0], bits[1]);
        int const dropped = std::max(types.product.wordLength - bits[2], 0);
        types.product = {true, bits[2], -types.product.fixedExponent - dropped};
        types.sum = {true, bits[3], std::min(-types.product.fixedExponent, bits[3] - 2)};
        cases.push_back({"own types", "fir-own-types", types});
    }
    return cases;
}

Row firRow(FirCase const& one, double snr, EventCounter const& heard, std::string const& inexact,
           double seconds, std::size_t samples)
{
    FirTypes const& types = one.types;
    Row row = {one.name};
    for (auto const& type : {types.data, types.coefficient, types.product, types.sum})
        row.push_back(typeName(type));
    row += {overflowName(types.overflow), figure(snr, 2)};
    row += overflowFigures(heard);
    row += {std::to_string(heard.count(EventKind::underflow)), inexact,
            figure(1e9 * seconds / static_cast<double>(samples), 0)};
    return row;
}

/// The recording, shifted in frequency, in complex numbers of three types.
void shiftRows(Work& work, TextTable& table)
{
    FrequencyShift const shift(work.sound.samples, work.channels, work.fir, work.options.cutoff,
                               work.options.shift / work.sound.rate);
    ComplexSignal const wanted = shift.inDoubles();
    for (int const bits : shiftBits) {
        FirTypes const types = fullPrecision(work.fir, bits, bits);
        EventCounter heard;
        auto const start = std::chrono::steady_clock::now();
        ComplexSignal const got = shift.inNumbers(types, heard);
        double const seconds = secondsSince(start);
        ErrorFigures figures;
        std::vector<double> sound;
        for (std::size_t i = 0; i < got.size(); ++i) {
            figures.add(wanted[i].real(), got[i].real());
            figures.add(wanted[i].imag(), got[i].imag());
            sound.push_back(got[i].real());
        }
        table.rows.push_back(firRow({"complex", "", types}, figures.snr(), heard, "-", seconds, got.size()));
        work.write("shifted-" + std::to_string(bits) + "bit", sound, bits);
        work.progress.advance();
    }
}

/// Beside each other, where the sums in doubles would leave a type and where those in the type did.
void overflowReport(Work& work, FirTypes const& types, EventsBySlice const& saturations,
                    EventsBySlice const& wraps)
{
    EventsBySlice const potential = predictOverflows(work.sound.samples, work.channels, work.fir, types);
    double const sliceSeconds = static_cast<double>(sliceFrames) / work.sound.rate;
    std::ostringstream data;
    std::size_t agreeing = 0;
    for (std::size_t i = 0; i < potential.size(); ++i) {
        data << sliceSeconds * static_cast<double>(i);
        for (auto const* events : {&potential, &saturations, &wraps}) data << ' ' << (*events)[i];
        data << '\n';
        bool const foretold = potential[i] > 0;
        agreeing += foretold == (saturations[i] > 0) && foretold == (wraps[i] > 0) ? 1U : 0U;
    }
    work.output.write("overflow.dat", data.str());

    TextTable table{0, {{"from s", "potential", "saturations", "wraps"}}};
    std::size_t const spans = std::min<std::size_t>(8, potential.size());
    for (std::size_t span = 0; span < spans; ++span) {
        auto const bound = [&](std::size_t n) {
            return static_cast<std::ptrdiff_t>(potential.size() * n / spans);
        };
        table.rows.push_back({figure(sliceSeconds * static_cast<double>(bound(span)), 2)});
        for (auto const* events : {&potential, &saturations, &wraps})
            table.rows.back().push_back(std::to_string(
                std::accumulate(events->begin() + bound(span), events->begin() + bound(span + 1), 0ULL)));
    }
    work.report << "\nOverflow of the short sum " << typeName(types.sum)
                << ", foretold by scaled doubles of that type and then met.\n"
                << agreeing << " of " << potential.size() << " slices of " << sliceFrames
                << " frames have such events, or none, in all three.\n\n"
                << table;
}

std::vector<double> firReport(Work& work)
{
    std::vector<double> const& input = work.sound.samples;
    std::vector<double> snrs; // by word length
    TextTable table{6,
                    {{"sums", "data", "taps", "product", "sum", "overflow", "SNR dB", "wraps", "to min",
                      "to max", "underflows", "inexact", "ns/sample"}}};
    std::vector<EventsBySlice> shortSums; // saturating, wrapping
    FirTypes shortTypes;
    for (FirCase const& one : firCases(work)) {
        EventCounter heard;
        FirRun const run = runFir(input, work.channels, work.fir, one.types, heard, work.progress);
        double const snr = compare(work.firWanted, run.output).snr();
        if (one.name == "full") snrs.push_back(snr);
        if (one.name == "short sum") {
            shortTypes = one.types;
            shortSums.push_back(run.overflows);
        }
        table.rows.push_back(firRow(one, snr, heard, std::to_string(run.inexact), run.seconds, input.size()));
        work.write(one.file, run.output, one.types.data.wordLength);
    }
    shiftRows(work, table);
    work.report << "\nFIR filter, " << work.fir.forward.size()
                << " taps. SNR against doubles; inexact: sums that differ from those of exact integers.\n"
                   "complex: the recording shifted by "
                << work.options.shift << " Hz.\n\n"
                << table;
    overflowReport(work, shortTypes, shortSums.at(0), shortSums.at(1));
    return snrs;
}

std::vector<double> sectionReport(Work& work)
{
    std::vector<double> const& input = work.sound.samples;
    std::vector<double> snrs; // by word length
    TextTable table{
        3,
        {{"data", "forward", "feedback", "SNR dB", "wraps", "to min", "to max", "underflows", "ns/sample"}}};
    for (int const bits : work.lengths) {
        BiquadTypes const types = biquadTypes(work.section, bits, roomy);
        EventCounter heard;
        auto const start = std::chrono::steady_clock::now();
        std::vector<double> got = runBiquad(input, work.channels, work.section, types, heard, work.progress);
        double const seconds = secondsSince(start), snr = compare(work.sectionWanted, got).snr();
        snrs.push_back(snr);
        table.rows.push_back(
            {typeName(types.data), typeName(types.forward), typeName(types.feedback), figure(snr, 2)});
        table.rows.back() += overflowFigures(heard);
        table.rows.back() += {std::to_string(heard.count(EventKind::underflow)),
                              figure(1e9 * seconds / static_cast<double>(input.size()), 0)};
        work.write("section-" + std::to_string(bits) + "bit", std::move(got), bits);
    }
    work.report << "\nSecond-order section that amplifies the cutoff by " << resonance << ":\n\n" << table;
    return snrs;
}
/// Decibels per bit where the errors are neither large nor those of the doubles.
std::string law(Work const& work, std::vector<double> const& snrs)
{
    std::vector<double> bits, good;
    for (std::size_t i = 0; i < snrs.size(); ++i)
        if (snrs[i] > lawFrom && snrs[i] < lawUpTo) {
            bits.push_back(work.lengths[i]);
            good.push_back(snrs[i]);
        }
    return figure(fittedSlope(bits, good), 2);
}

/// The gain of both filters, in doubles and with coefficients in the shortest words.
void writeResponse(Work const& work, std::vector<int> const& lengths)
{
    auto const rounded = [](std::vector<double> values, int bits) {
        FxpClientNull nobody;
        ORVEX::Number(values.data(), typeFor(largestMagnitude(values), bits), nobody, values.size(),
                      fxpModeRoundingNearest, fxpModeOverflowSaturate, false)
            .getAllRWDoubleValues(values.data());
        return values;
    };
    std::vector<FilterDesign> columns;
    for (FilterDesign const& design : {work.fir, work.section}) {
        columns.push_back(design);
        for (int const bits : lengths)
            columns.push_back({rounded(design.forward, bits), rounded(design.feedback, bits)});
    }
    constexpr int points = 500;
    std::ostringstream data;
    for (int i = 0; i < points; ++i) {
        double const frequency = 0.5 * i / points;
        data << frequency * work.sound.rate;
        for (FilterDesign const& design : columns) data << ' ' << design.gain(frequency);
        data << '\n';
    }
    work.output.write("response.dat", data.str());
}

/// The pictures drawn, as far as possible.
std::string drawPictures(Work const& work, std::vector<double> const& fir, std::vector<double> const& section)
{
    std::ostringstream error;
    double const power =
        compare(work.firWanted, work.firWanted).signal / static_cast<double>(work.firWanted.size());
    for (std::size_t i = 0; i < work.lengths.size(); ++i)
        // An error spread evenly over one ulp has a power of 1/12 square ulp.
        error << work.lengths[i] << ' ' << fir[i] << ' ' << section[i] << ' '
              << decibels(12 * power, std::ldexp(1.0, 2 - 2 * work.lengths[i])) << '\n';
    work.output.write("error.dat", error.str());
    std::vector<int> const shortest(
        work.lengths.begin(), work.lengths.begin() + std::min<std::ptrdiff_t>(4, std::ssize(work.lengths)));
    writeResponse(work, shortest);
    std::string names;
    for (int const bits : shortest) names += ' ' + std::to_string(bits);
    std::string const ulp = std::to_string(std::ldexp(1.0, roomy + 1 - ringingBits));
    std::pair<char const*, std::string> const scripts[] = {
        {"error", pictureScript("error", "800,560", errorPlot)},
        {"response", pictureScript("response", "1200,560", "    lengths = '" + names + "'\n" + responsePlot)},
        {"overflow", pictureScript("overflow", "800,800", overflowPlot)},
        {"ringing", pictureScript("ringing", "1200,560", "    ulp = " + ulp + "\n" + ringingPlot)}};
    for (auto const& [name, script] : scripts) work.output.write(std::string(name) + ".gp", script);
    bool const drawn = std::ranges::all_of(
        scripts, [&](auto const& script) { return drawWithGnuplot(work.output.directory(), script.first); });
    return drawn ? "{error,response,overflow,ringing}.{svg,png,gp,dat}"
                 : "{error,response,overflow,ringing}.{gp,dat}";
}

void run(Options const& options)
{
    if (!std::isfinite(options.seconds + options.cutoff + options.shift))
        throw std::runtime_error("an option is not a number");
    Sound sound = readSound(options.recording);
    auto const channels = static_cast<std::size_t>(sound.channels);
    std::size_t const frames = std::min(sound.samples.size() / channels,
                                        static_cast<std::size_t>(std::ceil(options.seconds * sound.rate)));
    sound.samples.resize(frames * channels);
    double const gain = amplify(sound.samples, options.gain, defaultPeak);
    std::size_t const ownCases = options.types.empty() ? 0 : 1;
    std::set<int> const lengths(options.bits.begin(), options.bits.end());
    Work work{options,
              std::move(sound),
              channels,
              {lengths.begin(), lengths.end()},
              windowedSinc(options.taps, options.cutoff),
              resonantSection(options.cutoff, resonance),
              {},
              {},
              StagedOutput(options.output),
              Progress((2 * lengths.size() + fixedCases + ownCases) * slicesOf(frames) +
                       std::size(shiftBits) + ringingSteps),
              {}};
    work.firWanted = work.fir.apply(work.sound.samples, channels);
    work.sectionWanted = work.section.apply(work.sound.samples, channels);
    work.report << options.recording << ": " << frames << " frames, channels " << channels << ", "
                << work.sound.rate << " Hz, gain " << figure(gain, 4) << ", cutoff "
                << figure(options.cutoff * work.sound.rate, 0)
                << " Hz\nType sW.F: signed, W bits, F of them after the binary point.\n";
    std::vector<double> const fir = firReport(work), section = sectionReport(work);
    ringingReport(work);
    std::string const pictures = drawPictures(work, fir, section);
    work.output.commit();
    std::cout << work.report.str() << "\ndB per bit (SNR from " << lawFrom << " to " << lawUpTo
              << " dB; about 6.02 expected): FIR " << law(work, fir) << ", section " << law(work, section)
              << "\nWritten to " << options.output << ": " << pictures
              << " and the sounds {fir,section,shifted}-*.wav\n";
}

} // namespace

int main(int argc, char** argv)
{
    char const* const description =
        "Filters a recording in fixed point: a windowed sinc, a second-order section and a shift in "
        "frequency in many types, compared with doubles. Shows errors, events, overflow foretold by scaled "
        "doubles, and how a section sounds on when its input is over.";
    Options options;
    return runExample("filter", description, argc, argv, [&options](CLI::App& app) {
        app.add_option("recording", options.recording,
                       "WAV, FLAC, OGG or other sound file; each channel is filtered")
            ->capture_default_str();
        app.add_option("-o,--output", options.output,
                       "directory for pictures and sounds; its parent must exist")
            ->take_last()
            ->capture_default_str();
        app.add_option("-g,--gain", options.gain,
                       "factor on every sample [what brings the peak to 0.7 full scales]");
        app.add_option("-b,--bits", options.bits,
                       "word lengths of data and coefficients, separated by commas")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(CLI::Range(2, 60))
            ->capture_default_str();
        app.add_option("-t,--types", options.types,
                       "one more row: word lengths of data, taps, products and sums")
            ->delimiter(',')
            ->expected(4)
            ->check(CLI::Range(2, 60));
        app.add_option("-s,--seconds", options.seconds,
                       "how much of the recording is filtered, from its beginning")
            ->check(CLI::Range(0.001, 60.0))
            ->capture_default_str();
        app.add_option("-n,--taps", options.taps, "of the windowed sinc")
            ->check(CLI::Range(2, 128))
            ->capture_default_str();
        app.add_option("-c,--cutoff", options.cutoff, "of both filters, in cycles per sample")
            ->check(CLI::Range(0.005, 0.45))
            ->capture_default_str();
        app.add_option("-f,--shift", options.shift, "of the recording in frequency, Hz")
            ->check(CLI::Range(-20000.0, 20000.0))
            ->capture_default_str();
        app.callback([&options] { run(options); });
    });
}
