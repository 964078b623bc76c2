// Draws the pictures of the pages into a folder: what the library does, asked of the library.

#include "svg.h"

#include <orvex/orvex.h>

#include <cmath>
#include <functional>
#include <iostream>
#include <vector>

using namespace pictures;
using ORVEX::EventCounter;
using ORVEX::EventKind;

namespace
{

/// What a value became, and the colour of what the client heard of it.
struct Outcome {
    double value;
    char const* colour;
};

using Transfer = std::function<Outcome(double)>;

char const* colourOf(EventCounter const& events)
{
    if (events.count(EventKind::wrap) != 0) return ink::wrap;
    if (events.counts().overflows() != 0) return ink::saturation;
    if (events.count(EventKind::underflow) != 0) return ink::underflow;
    return ink::line;
}

/// The store of a double.
Transfer storeIn(fxpDataTypeProp const& type, fxpModeRounding_tag round, fxpModeOverflow_tag overflow)
{
    return [=](double x) {
        EventCounter events;
        double const value = ORVEX::mpr_quantize(events, x, type, round, overflow);
        return Outcome{value, colourOf(events)};
    };
}

/// The store of a number that holds x exactly in a finer type.
Transfer castTo(fxpDataTypeProp const& type, fxpModeRounding_tag round, fxpModeOverflow_tag overflow)
{
    return [=](double x) {
        FxpClientNull silent;
        EventCounter events;
        ORVEX::Number const fine(x, fxpDataTypeProp(true, 32, 16), silent, round, overflow);
        ORVEX::Number coarse(0.0, type, events, round, overflow);
        coarse = fine;
        return Outcome{coarse.getRWDoubleValue(), colourOf(events)};
    };
}

/// One transfer curve with its axes.
struct Panel {
    double left, top, size; ///< pixels
    double from, to;        ///< of both axes
    double tick;            ///< distance of the labels

    double x(double value) const { return left + (value - from) / (to - from) * size; }
    double y(double value) const { return top + size - (value - from) / (to - from) * size; }

    void draw(Picture& picture, std::string const& title, Transfer const& transfer, double step) const
    {
        picture.words(left + size / 2, top - 10, title, "middle", ink::text, true);
        picture.rectangle(left, top, size, size, "none", ink::ideal);
        picture.line(x(from), y(0), x(to), y(0), ink::ideal);
        picture.line(x(0), y(from), x(0), y(to), ink::ideal);
        picture.line(x(from), y(from), x(to), y(to), ink::ideal, 1, "4 4");
        for (double label = std::ceil(from / tick) * tick; label <= to; label += tick) {
            picture.words(x(label), top + size + 16, number(label), "middle", ink::text, false, 11);
            picture.words(left - 5, y(label) + 4, number(label), "end", ink::text, false, 11);
        }
        // Values one step apart in a row that become the same with the same event are one line. A value that
        // stands alone gets a dot, and so does the end of a line: it says to which side a tie goes.
        auto const drawRun = [&](double first, double last, Outcome const& run) {
            picture.line(x(first), y(run.value), x(last), y(run.value), run.colour, 2.5);
            for (double end : {first, last})
                if (to - from < 8 && end > from && end < to && std::fmod(end * 2, 1.0) == 0)
                    picture.dot(x(end), y(run.value), 3.2, run.colour);
        };
        double first = from;
        Outcome run = transfer(from);
        for (double at = from + step; at <= to; at += step) {
            Outcome const next = transfer(at);
            if (next.value == run.value && next.colour == run.colour) continue;
            drawRun(first, at - step, run);
            first = at;
            run = next;
        }
        drawRun(first, to, run);
    }
};

void legend(Picture& picture, double x, double y, char const* colour, std::string const& words)
{
    picture.line(x, y - 4, x + 22, y - 4, colour, 2.5);
    picture.words(x + 30, y, words, "start");
}

/// What rounding makes of values in units of the last place.
Picture roundings()
{
    fxpDataTypeProp const type(true, 8, 0);
    auto const wrap = fxpModeOverflowWrap;
    std::vector<std::pair<char const*, Transfer>> const curves{
        {"Floor", storeIn(type, fxpModeRoundingFloor, wrap)},
        {"Ceiling", storeIn(type, fxpModeRoundingCeiling, wrap)},
        {"Zero", storeIn(type, fxpModeRoundingZero, wrap)},
        {"Cheapest, of a double", storeIn(type, fxpModeRoundingCheapest, wrap)},
        {"Nearest", storeIn(type, fxpModeRoundingNearest, wrap)},
        {"HalfAway", storeIn(type, fxpModeRoundingHalfAway, wrap)},
        {"Convergent", storeIn(type, fxpModeRoundingConvergent, wrap)},
        {"Cheapest, in a cast", castTo(type, fxpModeRoundingCheapest, wrap)},
    };
    constexpr double size = 190, gap = 50;
    Picture picture(4 * (size + gap) + 10, 2 * (size + 60) + 40);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        Panel const panel{
            40 + double(i % 4) * (size + gap), 40 + double(i / 4) * (size + 60), size, -3, 3, 1};
        panel.draw(picture, curves[i].first, curves[i].second, 1.0 / 64);
    }
    double const y = 2 * (size + 60) + 25;
    legend(picture, 40, y, ink::line, "stored integer, against the value in units of the last place");
    legend(picture, 520, y, ink::underflow, "the client hears an underflow");
    return picture;
}

/// What overflow makes of values in units of the last place.
Picture overflows()
{
    auto const round = fxpModeRoundingFloor;
    fxpDataTypeProp const signedType(true, 4, 0), unsignedType(false, 4, 0);
    std::vector<std::pair<char const*, Transfer>> const curves{
        {"Wrap, s4,0", storeIn(signedType, round, fxpModeOverflowWrap)},
        {"Saturate, s4,0", storeIn(signedType, round, fxpModeOverflowSaturate)},
        {"Wrap, u4,0", storeIn(unsignedType, round, fxpModeOverflowWrap)},
        {"Saturate, u4,0", storeIn(unsignedType, round, fxpModeOverflowSaturate)},
    };
    constexpr double size = 200, gap = 45;
    Picture picture(4 * (size + gap) + 10, size + 110);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        Panel const panel{35 + double(i) * (size + gap), 40, size, -24, 24, 8};
        panel.draw(picture, curves[i].first, curves[i].second, 1.0 / 8);
    }
    double const y = size + 95;
    legend(picture, 35, y, ink::line, "stored integer, against the value");
    legend(picture, 335, y, ink::wrap, "the client hears a wrap");
    legend(picture, 575, y, ink::saturation, "the client hears a saturation");
    return picture;
}

/// The bits of a word with their weights.
Picture word()
{
    FxpClientNull silent;
    fxpDataTypeProp const type(true, 8, 4);
    ORVEX::Number const number(-2.8125, type, silent, fxpModeRoundingNearest, fxpModeOverflowWrap);
    constexpr double box = 62, left = 30, top = 50;
    Picture picture(2 * left + 8 * box + 60, 190);
    picture.words(left, 24, "s8,4: signed, word length 8, fraction length 4", "start", ink::text, true);
    char const* const weights[] = {"-8", "4", "2", "1", "1/2", "1/4", "1/8", "1/16"};
    for (int i = 0; i < 8; ++i) {
        double const x = left + i * box + (i >= 4 ? 16 : 0);
        picture.rectangle(x, top, box, 44, i == 0 ? "#fbe9e7" : i < 4 ? ink::fill : "white", ink::text);
        picture.words(x + box / 2, top + 29, number.bitGet(8 - i).getRWDoubleValue() != 0 ? "1" : "0",
                      "middle", ink::text, true, 19);
        picture.words(x + box / 2, top + 64, weights[i], "middle", ink::text);
    }
    picture.dot(left + 4 * box + 8, top + 42, 3.5, ink::wrap);
    picture.words(left + box / 2, top + 86, "sign", "middle", ink::text, false, 12);
    picture.words(left + 2.5 * box, top + 86, "integer bits", "middle", ink::text, false, 12);
    picture.words(left + 6 * box + 16, top + 86, "fraction bits", "middle", ink::text, false, 12);
    picture.words(left, top + 122,
                  "stored integer " + std::to_string(number.getSIArrayValueSigned()) +
                      ",  slope 1/16,  value " + ORVEX::kvx_dtoa(number.getRWDoubleValue(), true),
                  "start");
    return picture;
}

/// The same sixteen stored integers under several scalings.
Picture scalings()
{
    FxpClientNull silent;
    struct Row {
        char const* name;
        fxpDataTypeProp type;
    };
    Row const rows[] = {
        {"s4,0", {true, 4, 0}},
        {"s4,1", {true, 4, 1}},
        {"u4,1", {false, 4, 1}},
        {"u4, slope 0.75, bias -4", {false, 4, 0.75, -4.0}},
    };
    constexpr double left = 190, unit = 42, from = -8, to = 8, pitch = 64;
    Picture picture(left + (to - from) * unit + 40, 4 * pitch + 60);
    auto const x = [&](double value) { return left + (value - from) * unit; };
    double y = 40;
    for (Row const& row : rows) {
        picture.words(10, y + 5, row.name, "start", ink::text, true);
        picture.line(x(from), y, x(to), y, ink::ideal);
        ORVEX::Number number(0.0, row.type, silent, fxpModeRoundingNearest, fxpModeOverflowWrap);
        for (int bits = 0; bits < 16; ++bits) {
            for (int bit = 0; bit < 4; ++bit) number.bitSet(bit + 1, (bits >> bit & 1) != 0);
            double const value = number.getRWDoubleValue();
            picture.dot(x(value), y, 4, ink::line);
            picture.words(x(value), y - 9, pictures::number(number.getSIDoubleValue()), "middle", ink::line,
                          false, 10);
        }
        y += pitch;
    }
    y -= 24;
    picture.line(x(from), y, x(to), y, ink::text);
    for (double value = from; value <= to; value += 2) {
        picture.line(x(value), y, x(value), y + 5, ink::text);
        picture.words(x(value), y + 20, pictures::number(value));
    }
    picture.words(10, y + 5, "real-world value", "start");
    picture.words(10, y + 38, "Above each dot: the stored integer.", "start", ink::line, false, 12);
    return picture;
}

/// The road of a value into a word.
Picture store()
{
    struct Step {
        char const* what;
        char const* how;
    };
    Step const steps[] = {{"value", "a double"},
                          {"(value - bias) / slope", "in double arithmetic"},
                          {"round", "once, by the rounding mode"},
                          {"wrap or saturate", "if the word is too short"},
                          {"stored integer", "in the word"}};
    constexpr double width = 165, gap = 30, top = 30;
    Picture picture(5 * width + 4 * gap + 20, 165);
    for (int i = 0; i < 5; ++i) {
        double const x = 10 + i * (width + gap);
        picture.rectangle(x, top, width, 50, i == 0 || i == 4 ? "white" : ink::fill, ink::text);
        picture.words(x + width / 2, top + 22, steps[i].what, "middle", ink::text, true);
        picture.words(x + width / 2, top + 41, steps[i].how, "middle", ink::text, false, 11);
        if (i > 0) picture.arrow(x - gap + 2, top + 25, x - 2, top + 25, ink::text);
    }
    auto const event = [&](int step, char const* colour, char const* first, char const* second) {
        double const x = 10 + step * (width + gap) + width / 2;
        picture.arrow(x, top + 52, x, top + 88, colour);
        picture.words(x, top + 105, first, "middle", colour);
        picture.words(x, top + 122, second, "middle", colour);
    };
    event(2, ink::underflow, "underflow", "told before the store");
    event(4, ink::wrap, "wrap, saturation", "told after the store");
    return picture;
}

} // namespace

int main(int argc, char** argv)
try {
    if (argc != 2) throw std::runtime_error("Usage: pictures FOLDER");
    std::filesystem::path const folder = argv[1];
    roundings().save(folder / "rounding.svg");
    overflows().save(folder / "overflow-modes.svg");
    word().save(folder / "word.svg");
    scalings().save(folder / "scalings.svg");
    store().save(folder / "store.svg");
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
