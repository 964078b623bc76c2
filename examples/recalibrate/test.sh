#!/bin/sh
# Runs the recalibrate program, given as the first argument, on the counts of the second and on bad input.
. "$(dirname "$0")/../support/testing.sh"
cp "$2" sample.csv || exit 1
# Rows of the table in 11 columns without blanks.
rows() { sed -n 's/^8.* micro/micro/; s/divided by /\//; /^ASIC  \|^micro  /p' "$1"; }

# 1. The sample: every cast within what rounding and the two net values may cost, and the reasons.
"$program" sample.csv > report 2> errors
check 'sample, exit status' test $? -eq 0
check 'sample, no word on standard error' saysNothing errors
check 'sample is labelled' grep -q '^#.*[Mm]ade up' sample.csv
rows report > table
check 'six targets, two kinds of hardware, two modes' test "$(wc -l < table)" -eq 24
check 'errors within their bounds' awk '
    /^To /                  { cost = 0 }
    /^  (ASIC|8)/           { asic = /ASIC/; part = 0 }
    /which costs up to/     { if (asic && /bias/ && $(NF - 1) != 0) exit 1
                              part += $(NF - 1); if (part > cost) cost = part }
    /^(ASIC|8).* (Floor|Nearest) / { ++n; if ($NF > cost + 0.002 + (/ Floor / ? 1 : 0.5)) exit 1 }
    END { exit n != 24 }' report
check 'what lies outside saturates' awk '$4 + 0 || $5 + $6 != $8 { exit 1 } { n += $8 } END { exit !n }' table
check 'the micro divides by 25, exactly, with Floor' awk '
    $3 ~ /^\// { ++n; if ($0 !~ /^micro +Floor +\/25 / || $NF != "0.960") exit 1 } END { exit n != 1 }' table
for text in 'ASIC: through signed 55 bits, slope 2^-49, bias 0:' 'micro: through signed 32 bits, slope 2^-17, bias 0:' \
    'takes 55 bits, 38 of them below' 'keeps 6 of those' 'directly, for the biases agree' \
    'net slope 10.02299392, held as 10.0234375, which costs up to 1.82 steps' \
    'net bias -20449.8944, held as -20449.890625, which costs up to 0.00378 steps'; do
    check "$text" grep -qF "$text" report
done

# 2. A calibration in powers of two costs nothing where the target has the bits; what wraps does not saturate.
"$program" sample.csv --slope 0.0078125 --bias -16 --rounding Convergent --wrap > report
rows report > exact
check 'exact casts' test "$(grep -c '  0\.000$' exact)" -eq 6
check 'wraps' awk '$4 != $8 || $5 + $6 { exit 1 } { n += $4 } END { exit !n }' exact

# 3. Ten times as many counts, which are cast in parallel.
for i in 0 1 2 3 4 5 6 7 8 9; do cat sample.csv; done | grep -v '^[#s]' > long.csv
"$program" long.csv > report
rows report | awk '{ for (i = 4; i <= 8; ++i) $i /= 10; print }' > long
awk '{ $1 = $1; print }' table > short
check 'ten times the events, the same errors' cmp -s short long

# 4. Each bad row gets a line with its number, and the others are cast.
printf '# a comment\r\n\r\nseconds,counts\r\n0,0\r\n1,-1\n2,4096\n3\n4,5,6\n,7\nnan,8\n9,0x1\n10,1.5\nseconds,counts\n1e0 , 4095 \n' \
    > rows.csv
"$program" rows.csv > report 2> errors
check 'bad rows, exit status' test $? -eq 0
check 'bad rows, their numbers' test "$(sed 's/^rows.csv:\([0-9]*\): .*/\1/' errors | tr '\n' ' ')" = '5 6 7 8 9 10 11 12 13 '
check 'good rows' grep -q '^rows.csv: 2 counts' report

# 5. Help, and bad input: one line on standard error and nothing on standard output.
"$program" --help | grep -q -e --slope
check 'help' test $? -eq 0
: > empty.csv
echo '# nothing' > comment.csv
: > output
while read -r arguments; do
    "$program" $arguments > output 2> errors
    check "status of $arguments" test $? -ne 0
    check "one line for $arguments" test "$(wc -l < errors)" -eq 1
    check "no output for $arguments" test ! -s output
done << 'END'

nosuch.csv
.
empty.csv
comment.csv
sample.csv sample.csv
sample.csv --nosuch
sample.csv --slope
sample.csv --slope zero
sample.csv --slope 0
sample.csv --slope -1
sample.csv --slope nan
sample.csv --slope inf
sample.csv --bias nan
sample.csv --bias 1e30
sample.csv --rounding Up
sample.csv --rounding
END
exit $failed
