/// \file
/// The frame of a command line program.
#pragma once

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

namespace example
{

/// Makes a command line, lets `setUp` add options and a callback to it, parses it and so runs the callback.
/// Answers the exit status: 0, or 1 after one line on standard error for whatever went wrong, with the
/// options as with the work. `--help` prints the help and runs nothing.
template <class SetUp>
int runExample(char const* name, char const* description, int argc, char const* const* argv,
               SetUp const& setUp)
{
    try {
        CLI::App app(description, name);
        setUp(app);
        try {
            app.parse(argc, argv);
        } catch (CLI::Success const& help) {
            app.exit(help);
        }
        if (!std::cout.flush()) throw std::runtime_error("cannot write to standard output");
        return 0;
    } catch (std::exception const& error) {
        std::string line = error.what();
        std::replace(line.begin(), line.end(), '\n', ' ');
        std::cerr << name << ": " << line << '\n';
        return 1;
    }
}

} // namespace example
