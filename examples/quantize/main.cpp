/// \file
/// What word length, rounding and overflow do to a recording: a table, a picture and the sounds themselves.

#include "support/commandline.h"
#include "support/errorfigures.h"
#include "support/gnuplot.h"
#include "support/progress.h"
#include "support/sound.h"
#include "support/stagedoutput.h"
#include "support/texttable.h"

#include <orvex/orvex.h>

#include <array>
#include <cmath>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

namespace
{

using namespace example;
using ORVEX::EventKind;

struct Options {
    std::string recording = defaultRecording, output = "quantize-out";
    std::optional<double> gain;
    std::vector<int> bits = {4, 6, 8, 10, 12, 14, 16};
};

constexpr double defaultPeak = 1.5; // in full scales: some samples overflow, most do not
constexpr double lawFromSnr = 30;   // dB; below, the error is no longer small against the signal

constexpr std::array<char const*, 7> roundings = {"Zero",     "Nearest",  "Ceiling",   "Floor",
                                                  "Cheapest", "HalfAway", "Convergent"}; // by mode
constexpr std::array<char const*, 2> overflows = {"wrap", "saturate"};                   // by mode

// Columns of snr.dat: word length; for each overflow mode and in it each rounding mode the ratio over the
// samples that fit and over all; the ratio by the law.
char const* const plotScript = R"(# gnuplot snr.gp draws snr.svg and snr.png
modes = "Zero Nearest Ceiling Floor Cheapest HalfAway Convergent"
column_of(overflow, mode, all) = 2 + 2 * (7 * overflow + mode) + all
set datafile missing 'nan'
set xlabel 'word length, bits'
set ylabel 'signal-to-noise ratio, dB'
set grid
do for [picture in "svg png"] {
    if (picture eq 'svg') { set terminal svg size 1200,560 background 'white' } \
    else { set terminal pngcairo size 1200,560 }
    set output 'snr.'.picture
    set multiplot layout 1,2
    set key left top
    set title 'Samples within the range of the type'
    # Modes that agree cover each other: the later, the thinner.
    plot for [m=0:6] 'snr.dat' using 1:(column(column_of(1, m, 0))) with linespoints \
             linetype m + 1 linewidth 8 - m pointtype 7 pointsize 1.5 - 0.18 * m title word(modes, m + 1), \
         '' using 1:30 with lines linecolor 'black' dashtype 2 title '6.02 dB a bit'
    set title 'All samples: saturate (lines), wrap (dashes)'
    unset key
    plot for [m=0:6] 'snr.dat' using 1:(column(column_of(1, m, 1))) with lines \
             linetype m + 1 linewidth 8 - m, \
         for [m=0:6] '' using 1:(column(column_of(0, m, 1))) with lines \
             linetype m + 1 linewidth 2 dashtype 2
    unset multiplot
    unset output
}
)";

/// The values that `wanted` becomes in a type, held as an array of stored integers in between.
std::vector<double> quantized(std::vector<double> const& wanted, fxpDataTypeProp const& type,
                              fxpModeRounding_tag rounding, fxpModeOverflow_tag overflow,
                              OrvexClientInterface& client)
{
    ORVEX::Number const stored(wanted.data(), type, client, wanted.size(), rounding, overflow, false);
    std::vector<double> got(wanted.size());
    stored.getAllRWDoubleValues(got.data());
    return got;
}

/// What one type makes of a recording in one pair of modes.
struct Trial {
    std::vector<double> got;
    ErrorFigures all, fitting;    ///< over all samples, and over those within the range of the type
    std::vector<std::string> row; ///< of the table
};

Trial tryType(std::vector<double> const& wanted, int bits, std::size_t rounding, std::size_t overflow)
{
    fxpDataTypeProp const type(true, bits, bits - 1);
    double const ulp = std::ldexp(1.0, type.fixedExponent);
    ORVEX::EventCounter heard;
    Trial trial;
    trial.got = quantized(wanted, type, static_cast<fxpModeRounding_tag>(rounding),
                          static_cast<fxpModeOverflow_tag>(overflow), heard);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        trial.all.add(wanted[i], trial.got[i]);
        if (wanted[i] >= -1 && wanted[i] <= 1 - ulp) trial.fitting.add(wanted[i], trial.got[i]);
    }
    trial.row = {"s" + std::to_string(bits) + "." + std::to_string(bits - 1), roundings[rounding],
                 overflows[overflow]};
    for (ErrorFigures const& figures : {trial.all, trial.fitting}) {
        trial.row.push_back(figure(figures.snr(), 2));
        trial.row.push_back(figure(figures.largest / ulp, 3));
    }
    for (EventKind const kind :
         {EventKind::wrap, EventKind::saturationToMin, EventKind::saturationToMax, EventKind::underflow})
        trial.row.push_back(std::to_string(heard.count(kind)));
    return trial;
}

void run(Options const& options)
{
    Sound sound = readSound(options.recording);
    StagedOutput output(options.output);
    double const gain = amplify(sound.samples, options.gain, defaultPeak);
    std::vector<double> const wanted = sound.samples;
    std::set<int> const lengths(options.bits.begin(), options.bits.end());

    TextTable table{3,
                    {{"type", "rounding", "overflow", "SNR dB", "max ulp", "SNR dB (fit)", "max ulp (fit)",
                      "wraps", "to min", "to max", "underflows"}}};
    std::ostringstream plotData;
    std::array<std::vector<double>, roundings.size()> lawBits, lawSnr;
    Progress progress(lengths.size() * overflows.size() * roundings.size());
    for (int const bits : lengths) {
        plotData << bits;
        ErrorFigures fitting; // of the last trial; what fits is the same in all
        for (std::size_t overflow = 0; overflow < overflows.size(); ++overflow)
            for (std::size_t rounding = 0; rounding < roundings.size(); ++rounding) {
                Trial trial = tryType(wanted, bits, rounding, overflow);
                fitting = trial.fitting;
                table.rows.push_back(trial.row);
                plotData << ' ' << fitting.snr() << ' ' << trial.all.snr();
                if (fitting.snr() > lawFromSnr && std::isfinite(fitting.snr())) {
                    lawBits[rounding].push_back(bits);
                    lawSnr[rounding].push_back(fitting.snr());
                }
                if (rounding == fxpModeRoundingNearest) {
                    sound.samples = std::move(trial.got);
                    std::string const name =
                        "quantized-" + std::to_string(bits) + "bit-" + overflows[overflow];
                    writeSound(output.directory() / (name + ".wav"), sound, bits);
                }
                progress.advance();
            }
        // An error spread evenly over one ulp has a power of 1/12 square ulp.
        plotData << ' ' << decibels(12 * fitting.signal, fitting.samples * std::ldexp(1.0, 2 - 2 * bits))
                 << '\n';
    }
    output.write("snr.dat", plotData.str());
    output.write("snr.gp", plotScript);
    bool const drawn = drawWithGnuplot(output.directory(), "snr");
    output.commit();

    std::cout << options.recording << ": " << wanted.size() << " samples, channels " << sound.channels << ", "
              << sound.rate << " Hz, gain " << figure(gain, 4)
              << "\nType sW.F: signed, W bits, F of them after the binary point. "
                 "(fit): samples within the range of the type.\n\n"
              << table << "\ndB per bit (fit, SNR above " << lawFromSnr << " dB; about 6.02 expected):";
    for (std::size_t rounding = 0; rounding < roundings.size(); ++rounding)
        std::cout << (rounding > 0 ? ", " : " ") << roundings[rounding] << ' '
                  << figure(fittedSlope(lawBits[rounding], lawSnr[rounding]), 2);
    std::cout << "\nWritten to " << options.output << ": " << (drawn ? "snr.svg, snr.png, " : "")
              << "snr.dat, snr.gp and per word length quantized-*bit-{saturate,wrap}.wav (Nearest)\n";
}

} // namespace

int main(int argc, char** argv)
{
    char const* const description =
        "Quantizes a recording to signed fixed-point types of several word lengths, in every "
        "rounding mode, with saturation and with wrap, and shows what that costs.";
    Options options;
    return runExample("quantize", description, argc, argv, [&options](CLI::App& app) {
        app.add_option("recording", options.recording,
                       "WAV, FLAC, OGG or other sound file; each sample of each channel is quantized")
            ->capture_default_str();
        app.add_option("-o,--output", options.output,
                       "directory for pictures and sounds; its parent must exist")
            ->take_last()
            ->capture_default_str();
        app.add_option("-g,--gain", options.gain,
                       "factor on every sample [what brings the peak to 1.5 full scales]");
        app.add_option("-b,--bits", options.bits, "word lengths, separated by commas")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->check(CLI::Range(2, 128))
            ->capture_default_str();
        app.callback([&options] { run(options); });
    });
}
