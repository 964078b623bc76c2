/// \file
/// What gnuplot draws of the data that the program writes.
#pragma once

#include <string>

namespace example
{

/// A script that draws the same twice, as SVG and as PNG.
inline std::string pictureScript(std::string const& name, std::string const& size, std::string const& body)
{
    return "# gnuplot " + name + ".gp draws " + name + ".svg and " + name + R"(.png
set datafile missing 'nan'
set grid
do for [picture in "svg png"] {
    if (picture eq 'svg') { set terminal svg size )" +
           size + R"( background 'white' } \
    else { set terminal pngcairo size )" +
           size + " }\n    set output '" + name + ".'.picture\n" + body + "    unset output\n}\n";
}

// Columns of error.dat: word length; SNR of the filter, of the section, of the rounded output of the filter.
inline char const* const errorPlot = R"(    set xlabel 'word length of data and coefficients, bits'
    set ylabel 'signal-to-noise ratio, dB'
    set key left top
    plot 'error.dat' using 1:2 with linespoints pointtype 7 title 'FIR filter, full precision', \
         '' using 1:3 with linespoints pointtype 5 title 'second-order section', \
         '' using 1:4 with lines linecolor 'black' dashtype 2 title 'the output alone rounded'
)";

// Columns of response.dat: frequency; gain of the filter in doubles and in `lengths`; the same of the
// section.
inline char const* const responsePlot = R"(    set multiplot layout 1,2
    set xlabel 'frequency, Hz'
    set ylabel 'gain, dB'
    set title 'FIR filter'
    set yrange [-100:5]
    set key right top
    plot for [i=1:words(lengths)] 'response.dat' using 1:(column(2 + i)) with lines linetype i \
             title word(lengths, i).' bits', \
         '' using 1:2 with lines linecolor 'black' linewidth 2 dashtype 2 title 'doubles'
    set title 'Second-order section'
    set yrange [-60:20]
    plot for [i=1:words(lengths)] 'response.dat' using 1:(column(3 + words(lengths) + i)) with lines linetype i \
             title word(lengths, i).' bits', \
         '' using 1:(column(3 + words(lengths))) with lines linecolor 'black' linewidth 2 dashtype 2 title 'doubles'
    unset multiplot
)";

// Columns of overflow.dat: second; events of scaled doubles, of a saturating sum, of a wrapping one.
inline char const* const overflowPlot = R"(    set multiplot layout 3,1
    set lmargin 10
    set xrange [0:*]
    set ylabel 'events a slice'
    set title 'potential overflows of scaled doubles'
    plot 'overflow.dat' using 1:2 with impulses linewidth 2 notitle
    set title 'saturations'
    plot 'overflow.dat' using 1:3 with impulses linewidth 2 linetype 2 notitle
    set title 'wraps'
    set xlabel 'seconds'
    plot 'overflow.dat' using 1:4 with impulses linewidth 2 linetype 3 notitle
    unset xlabel
    unset multiplot
)";

// Columns of ringing.dat: frame, 0 when the tone ends; three kinds of rounding with room for all values,
// the same without room saturating and wrapping.
inline char const* const ringingPlot = R"(    set multiplot layout 1,2
    set xlabel 'samples after the end of the tone'
    set ylabel 'full scales'
    set title 'Overflow'
    set xrange [-40:160]
    set yrange [-1.1:1.1]
    plot 'ringing.dat' using 1:8 with lines linetype 2 title 'wrap', \
         '' using 1:5 with lines linetype 1 linewidth 2 title 'saturate'
    set ylabel 'units in the last place'
    set title 'Rounding'
    set xrange [0:160]
    set yrange [-24:24]
    plot 'ringing.dat' using 1:($4 / ulp) with lines linetype 3 title 'Zero', \
         '' using 1:($3 / ulp) with lines linetype 2 title 'Floor', \
         '' using 1:($2 / ulp) with lines linetype 1 linewidth 2 title 'Nearest'
    unset multiplot
)";

} // namespace example
