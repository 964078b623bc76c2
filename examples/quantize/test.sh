#!/bin/sh
# Runs the quantize program, given as the first argument, on small recordings and on bad input.
. "$(dirname "$0")/../support/testing.sh"
wav 6000 > tone.wav
wav 0 > silent.wav
: > empty.wav
echo 'no sound at all' > text.wav

# 1. The figures: a row for every type and mode, events, the law, and all files in place.
"$program" tone.wav --output out --bits 4,8,10,12,14 > table 2> errors
check 'good input, exit status' test $? -eq 0
check 'rows' test "$(grep -c '^s[0-9]*\.' table)" -eq $((5 * 7 * 2))
check 'errors of samples that fit: half an ulp to nearest, an ulp otherwise; events of the mode alone' awk '
    /^s[0-9]+\./ { if ($7 > ($2 ~ /Nearest|HalfAway|Convergent/ ? 0.5 : 1) || $7 < 0.4) exit 1
                   if (($3 == "wrap") != ($8 > 0) || ($3 == "wrap") == ($9 + $10 > 0)) exit 1 }' table
check 'dB per bit of seven modes' awk '/^dB per bit/ { for (sub(/.*: /, ""); NF; $1 = $2 = "") {
        $0 = $0; if ($2 + 0 < 5.9 || $2 + 0 > 6.15) exit 1; ++n } } END { exit n != 7 }' table
for file in out/snr.dat out/snr.gp out/quantized-4bit-wrap.wav out/quantized-14bit-saturate.wav; do
    check "$file" test -s $file
done
if command -v gnuplot > /dev/null; then
    check 'no word on standard error' saysNothing errors
    check 'snr.svg ends as it should' grep -q '</svg>' out/snr.svg
    check 'snr.png' test -s out/snr.png
fi
check 'no temporary directory' test "$(ls -A out | grep -c unfinished)" -eq 0

# 2. What has been quantized to 8 bits holds still at 8 bits and at 80: no error, no event.
"$program" out/quantized-8bit-saturate.wav --output again --gain 1 --bits 8,80 > table 2> /dev/null
check 'second time' awk '/^s[0-9]+\./ { ++n; if ($4 != "inf" || $5 + $8 + $9 + $10 + $11 != 0) exit 1 }
                         END { exit n != 28 }' table
check 'same sound' cmp -s out/quantized-8bit-saturate.wav again/quantized-8bit-wrap.wav

# 3. Without gnuplot: one line, and all the rest.
PATH=/nowhere "$program" tone.wav --output plain --bits 8 > table 2> errors
check 'without gnuplot, exit status' test $? -eq 0
check 'without gnuplot, one line' test "$(wc -l < errors)" -eq 1
check 'without gnuplot, the files' test "$(ls -A plain | wc -l)" -eq 4

# 4. Help, and bad input: one line on standard error, nothing on standard output, no file.
"$program" --help | grep -q -e --bits
check 'help' test $? -eq 0
check_refused << 'END'
nosuch.wav
.
empty.wav
silent.wav
text.wav
tone.wav tone.wav
tone.wav --nosuch
tone.wav --bits 1
tone.wav --bits 129
tone.wav --bits 8,eight
tone.wav --bits
tone.wav --gain 0
tone.wav --gain nan
tone.wav --gain 1e300
tone.wav --output text.wav
tone.wav --output text.wav/out
tone.wav --output nosuch/out
END
exit $failed
