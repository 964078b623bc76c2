#!/bin/sh
# Compares the dynamic symbols of a library with the classes, functions and objects of a list (exported.txt says what
# stands in one), both ways. Arguments: nm, library, list.
symbols=$("$1" -D --defined-only -C "$2") || exit 1
printf '%s\n' "$symbols" | LC_ALL=C awk -v list="$3" '
    BEGIN {
        while ((getline line < list) > 0) {
            if (line ~ /^(#|$| |both:|header )/) continue
            count = split(line ~ /^([a-z]+ )?class / ? line : substr(line, index(line, ": ") + 2), words, " ")
            if (line ~ /^([a-z]+ )?class /) intended[words[words[1] == "class" ? 2 : 3]] = 1
            else for (i = 1; i <= count; ++i) intended[words[i]] = 1
        }
    }
    {
        symbol = substr($0, index($0, " ") + 3) # after the address and a letter
        name = symbol
        sub(/(\[abi:cxx11\])?[(<].*/, "", name) # the arguments; a call operator becomes a bare "operator"
        sub(/operator (new|delete)/, "operator", name)
        sub(/.* /, "", name)                    # "vtable for", or the result of a template
        while (!(name in intended) && sub(/::[^:]*$/, "", name)) continue
        if (name in intended) found[name] = 1
        else { print "exported, but not in the list: " symbol; failed = 1 }
    }
    END {
        for (name in intended) if (!(name in found)) { print "in the list, but not exported: " name; failed = 1 }
        exit failed
    }'
