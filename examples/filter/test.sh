#!/bin/sh
# Runs the filter program, given as the first argument, on small recordings and on bad input.
. "$(dirname "$0")/../support/testing.sh"
wav 6000 > tone.wav
wav 0 > silent.wav
: > empty.wav
echo 'no sound at all' > text.wav

# 1. The figures, with one configuration by hand that is the same as one of the others.
"$program" tone.wav --output out --bits 8,12,16,24 --types 16,16,32,37 > table 2> errors
check 'good input, exit status' test $? -eq 0
sed -n 's/^\(full\|complex\) /\1 - /p; /^\(40-bit\|short\|wide\) sum /p; /^own types /p' table > fir
check 'twelve rows' test "$(wc -l < fir)" -eq 12
check 'full precision is what exact integers give, and so is a sum with bits to spare' awk '
    /full|40-bit|wide|own/ { if ($9 + $10 + $11 + $13) exit 1 } /short/ && !$13 { exit 1 }' fir
check 'a short sum saturates or wraps, and wrapping is worse' awk '/short/ {
    if ($7 == "wrap") { if (!$9 || $10 + $11) exit 1; wrap = $8 }
    else              { if ($9 || !$10 || !$11) exit 1; saturate = $8 } } END { exit !(saturate > wrap + 6) }' fir
check '36 bits are 12 times 6 dB better than 24' awk '/full/ { last = $8 }
    /wide/ { exit !($8 - last > 70 && $8 - last < 75) }' fir
check 'complex numbers are as good as real ones but for two roundings more' awk '
    /full/ { real[$3] = $8 } /complex/ { if (real[$3] - $8 < 0 || real[$3] - $8 > 15) exit 1 }' fir
for same in 40bit-sum own-types; do check "sound of $same" cmp -s out/fir-16bit.wav out/fir-$same.wav; done
check 'dB per bit' awk '/^dB per bit/ { sub(/.*: /, ""); gsub(/,/, "")
    exit !($2 > 5.8 && $2 < 6.3 && $4 > 5.8 && $4 < 6.3) }' table
check 'overflow comes where it was foretold' awk '{ if ($2 < $3 || ($2 > 0) != ($3 > 0)) exit 1; n += $2 > 0 }
    END { exit !(NR == 6 && n) }' out/overflow.dat
check 'slices agree' grep -q '^6 of 6 slices' table
sed -n '/^s12\.[0-9]* *\(Nearest\|Floor\|Zero\)/p' table > ringing
check 'limit cycle of the period of the poles, by rounding to nearest alone' awk '
    $1 == "s12.8" { ++n; if ($2 == "Nearest" ? $8 < 2 || $9 != 10 : $8 > 1) exit 1 } END { exit n != 3 }' ringing
check 'overflow oscillation in wrap mode alone' awk '
    $1 == "s12.11" { ++n; if ($3 == "wrap" ? $7 < 0.3 || !$4 : $7 > 0.01 || !$5) exit 1 } END { exit n != 6 }' ringing
check 'sounds' test "$(ls out/*.wav | wc -l)" -eq $((4 + 4 + 1 + 4 + 3))
check 'data and scripts' test "$(ls out/*.dat out/*.gp | wc -l)" -eq 8
if command -v gnuplot > /dev/null; then
    check 'no word on standard error but progress' test "$(grep -cv '^[0-9]*%$' errors)" -eq 0
    for picture in error response overflow ringing; do
        check "$picture.svg ends as it should" grep -q '</svg>' out/$picture.svg
        check "$picture.png" test -s out/$picture.png
    done
fi
check 'no temporary directory' test "$(ls -A out | grep -c unfinished)" -eq 0

# 2. Part of a recording, without gnuplot: one line, and all the rest.
PATH=/nowhere "$program" tone.wav --output plain --bits 4 --seconds 0.1 --taps 7 > table 2> errors
check 'without gnuplot, exit status' test $? -eq 0
check 'without gnuplot, one line' test "$(grep -cv '^[0-9]*%$' errors)" -eq 1
check 'seconds' grep -q ' 800 frames, channels 2,' table
check 'taps' grep -q '^FIR filter, 7 taps' table

# 3. Help, and bad input.
"$program" --help | grep -q -e --seconds
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
tone.wav --bits 61
tone.wav --bits 8,eight
tone.wav --types 8,8,16
tone.wav --types 8,8,16,0
tone.wav --taps 1
tone.wav --seconds 0
tone.wav --seconds nan
tone.wav --cutoff 0.5
tone.wav --gain 0
tone.wav --gain 1e300
tone.wav --output text.wav
tone.wav --output nosuch/out
END
exit $failed
