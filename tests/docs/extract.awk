# awk -v out=FOLDER -f extract.awk PAGE.md...: writes to the folder the programs that the samples of the pages make,
# <page>_<line>.cpp of a sample with a main function and samples.cpp of all others, and beside them as <page>_<line>.txt
# and <page>.txt what they have to print.
#
# A sample is a block fenced as cpp; if the next block is fenced as text, that is what it prints.

FNR == 1 {
    stem = tolower(FILENAME)
    sub(/.*\//, "", stem)
    sub(/\.md$/, "", stem)
    language = output = ""
}

/^```/ && language == "" {
    language = substr($0, 4)
    if (language == "cpp") {
        first = FNR + 1
        code = ""
    } else if (language != "text")
        output = ""
    next
}

/^```$/ {
    if (language == "cpp") {
        name = stem "_" first
        code = "#line " first " \"" FILENAME "\"\n" code
        if (code ~ /\nint main\(/) {
            output = out "/" name ".txt"
            printf "%s", code >(out "/" name ".cpp")
            printf "" >output
        } else {
            output = out "/" stem ".txt"
            title = stem ".md, line " first ":"
            functions = functions "void " name "()\n{\n" code "}\n\n"
            calls = calls "    if (page == \"" stem "\") {\n        std::cout << \"" title "\\n\";\n        " name \
                "();\n    }\n"
            print title >output
        }
    } else
        output = ""
    language = ""
    next
}

language == "cpp" { code = code $0 "\n" }
language == "text" && output != "" { print >output }

END {
    print "#include <orvex/orvex.h>\n#include <orvex/text.h>\n\n#include <iostream>\n" >(out "/samples.cpp")
    print "using namespace ORVEX;\nusing namespace ORVEX::text;\n\nnamespace\n{\n" >(out "/samples.cpp")
    print functions "} // namespace\n\n#line 1 \"samples.cpp\"" >(out "/samples.cpp")
    print "int main(int argc, char** argv)\n{" >(out "/samples.cpp")
    print "    std::string const page = argc == 2 ? argv[1] : \"\";\n" calls "}" >(out "/samples.cpp")
}
