# Sourced by test scripts of examples, which get the program as their first argument: goes to an empty
# directory that is gone afterwards. The script ends with `exit $failed`.
program=$1
work=$(mktemp -d) && cd "$work" || exit 1
trap 'rm -rf "$work"' EXIT
failed=0
check() { # what is checked, then a command that has to succeed
    what=$1
    shift
    "$@" || { echo "FAILED: $what"; failed=1; }
}
# Nothing in a file but how far the work is, which a slow machine is told.
saysNothing() { ! grep -qvE '^[0-9]+%$' "$1"; }

# A WAV file of 16 bits, two channels, 8 kHz: a header for the given number of samples, then a sum of two sines.
word() { printf "\\$(printf %o $(($1 % 256)))\\$(printf %o $(($1 / 256 % 256)))"; }
wav() {
    printf RIFF; word $((36 + 2 * $1)); word 0; printf 'WAVEfmt '; word 16; word 0; word 1; word 2
    word 8000; word 0; word 32000; word 0; word 4; word 16; printf data; word $((2 * $1)); word 0
    LC_ALL=C awk -v n="$1" 'BEGIN { for (i = 0; i < n; ++i) {
        v = int(12000 * sin(i * 0.0713) + 9000 * sin(i * 0.3331) + 65536) % 65536
        printf "%c%c", v % 256, int(v / 256) } }'
}

# Every line of standard input as arguments: one line on standard error, none on standard output, no file.
check_refused() {
    : > output
    before=$(ls -AR)
    while read -r arguments; do
        "$program" $arguments > output 2> errors
        check "status of $arguments" test $? -ne 0
        check "one line for $arguments" test "$(wc -l < errors)" -eq 1
        check "no output for $arguments" test ! -s output
        check "no file from $arguments" test "$before" = "$(ls -AR)"
    done
}
