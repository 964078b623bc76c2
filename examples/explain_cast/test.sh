#!/bin/sh
# Runs the explain_cast program, given as the first argument.
. "$(dirname "$0")/../support/testing.sh"

# Arguments, a bar, and a line that the answer has to have, blanks apart.
while IFS='|' read -r arguments line; do
    "$program" $arguments > output 2> errors
    check "status of $arguments" test $? -eq 0
    check "no word on standard error for $arguments" test ! -s errors
    sed 's/  */ /g' output > lines
    check "$arguments: $line" grep -qxF -e "$line" lines
done << 'END'
Q3.4 s8,2|from signed 8 bits, slope 2^-4, bias 0
UQ4.4 s8|from unsigned 8 bits, slope 2^-4, bias 0
s16,slope=0.1,bias=-40 s8|from signed 16 bits, slope 0.1, bias -40
scaled:u8,-2,bias=3 double|from scaled double of unsigned 8 bits, slope 2^2, bias 3
Q3.4 s8,2|precision can be lost
Q3.4 s8,2| 7.9375 (stored 127) becomes 8 (stored 32), off by 0.0625
s8,2 Q3.4|precision is never lost
s8,2 Q3.4| -32 (stored -128) becomes -8 (stored -128), saturated
u8,4 s9,4|range is never left
u54 double| 1.8014398509482e+16 (stored 18014398509481983) becomes 1.8014398509482e+16, off by 1
s8,slope=1.25 double|precision the types do not tell
s8,slope=1.25 double| none of the values tried loses any
double single| -1.79769313486232e+308 becomes infinite
boolean s1| 1 (stored 1) becomes 0 (stored 0), saturated
u4,bias=110 u8,bias=100| every value fits, but 0, with which a result begins, becomes 100 (stored 0)
u8,bias=0.5 u8|intermediate type unsigned 9 bits, slope 2^-1, bias 0, which holds all values of the first stage
u12,slope=0.00489404,bias=-9.9853 s16,11 -t 8,16,32,32|intermediate type signed 32 bits, slope 2^-17, bias 0, in which the first stage may saturate
u8,slope=0.5,bias=1 u8|radix twin of from unsigned 9 bits, slope 2^-1, bias 0
u8,slope=0.5,bias=1 u8 -t 8,16,32,32|radix twin of from unsigned 16 bits, slope 2^-1, bias 0
u8,slope=0.5,bias=1 s8,slope=0.25|net slope and bias stored := stored * 2 + 4
s8 s8,slope=1.5,bias=3|a double x enters stored := (x - 3) / 1.5, computed in double
s8 s8,slope=2,bias=3|a single x enters stored := x * 0.5 - 1.5, computed in single
END

# A text that does not parse is shown with a caret under the place.
while IFS='|' read -r arguments bad column; do
    "$program" $arguments > output 2> errors
    check "status of $arguments" test $? -ne 0
    check "no output for $arguments" test ! -s output
    { echo "$bad"; printf '%*s\n' "$column" '^'; } > wanted
    head -n 2 errors > shown
    check "caret for $arguments" cmp -s wanted shown
    check "one more line for $arguments" test "$(tail -n +3 errors | grep -c "^explain_cast: at character $column of ")" -eq 1
done << 'END'
s8 q8|q8|1
float s8|float|1
s0 s8|s0|2
s8 s65537|s65537|2
s8, s8|s8,|4
s8,slop=1 s8|s8,slop=1|4
s8,slope=-1 s8|s8,slope=-1|10
s8,slope=nan s8|s8,slope=nan|10
s8,bias=1e999 s8|s8,bias=1e999|9
s8,2,3 s8|s8,2,3|6
s8,bias=1,2 s8|s8,bias=1,2|11
Q3 s8|Q3|3
UQ0.0 s8|UQ0.0|5
Q3.12x s8|Q3.12x|6
scaled:double s8|scaled:double|8
s8 u8 -t 8,16,32|8,16,32|8
s8 u8 -t 8,16,32,32,64,64|8,16,32,32,64,64|14
s8 u8 -t asics|asics|5
END

"$program" --help | grep -q -e 'slope=0.1,bias=-40'
check 'help' test $? -eq 0
check_refused << 'END'

s8
s8 u8 s8
s8 u8 --nosuch
s8 s1025
s8 s8,slope=1e-200
s8 u8 --target
END
exit $failed
