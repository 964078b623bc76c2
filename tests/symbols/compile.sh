#!/bin/sh
# Holds lists of an interface (exported.txt says what stands in one) against the headers: what has another signature does
# not compile. Arguments: include folder, lists; in CXX a compiler.
include=$1
shift
{
    cat <<'PREAMBLE'
#include <orvex/orvex.h>
#include <orvex/text.h>
#include <type_traits>
using namespace ORVEX;
using namespace ORVEX::text;
using Bits = unsigned int;
using Choices = fxpOperationChoices;
using Client = OrvexClientInterface;
using Conditions = fxpSelectRadixTypeConditions;
using Count = unsigned long long;
using Hardware = fxpProdHardware;
using Overflow = fxpModeOverflow_tag;
using Pass = ForwardingClient::Pass;
using Round = fxpModeRounding_tag;
using Sizes = HWIntegerWordLengths;
using Type = fxpDataTypeProp;
// Takes the address of what has exactly the signature T, whatever overloads there are.
template <class T, class Class> constexpr bool is(T Class::*) { return true; }
template <class T> constexpr bool is(T*) { return true; }
PREAMBLE
    awk '
        /^#/ || NF == 0 { next }
        $1 == "both:" {
            for (i = 2; i <= NF; ++i) print "namespace both { using ::" $i "; using ORVEX::" $i "; }"
            next
        }
        /^([a-z]+ )?class / {
            class = $1 == "class" ? $2 : $3
            print "static_assert(std::is_abstract_v<" class "> == " ($1 == "abstract" ? "true" : "false") ");"
            if ($(NF - 1) == ":") print "static_assert(std::is_base_of_v<" $NF ", " class ">);"
            next
        }
        /^ *\(/ {
            sub(/^ *\(/, "")
            sub(/\)$/, "")
            print "static_assert(std::is_constructible_v<" class ($0 == "" ? "" : ", " $0) ">);"
            next
        }
        {
            split($0, parts, ": ")
            sub(/^ +/, "", parts[1])
            count = split(parts[2], names, " ")
            for (i = 1; i <= count; ++i)
                print "static_assert(is<" parts[1] ">(&" (/^ / ? class "::" : "") names[i] "));"
        }' "$@"
} | "${CXX:-c++}" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -I "$include" -x c++ -
