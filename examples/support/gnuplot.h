/// \file
/// Pictures by gnuplot.
#pragma once

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace example
{

/// Runs the script `stem`.gp inside `directory`; it writes `stem`.svg and `stem`.png there. Without gnuplot,
/// or if it fails, says so in one line on standard error, leaves no picture and answers false.
inline bool drawWithGnuplot(std::filesystem::path const& directory, std::string const& stem)
{
    constexpr int notStarted = 127;
    std::string const script = stem + ".gp";
    pid_t const child = fork();
    if (child == 0) {
        // From within the directory no path has to survive the quoting rules of a script.
        if (chdir(directory.c_str()) == 0 && std::freopen("/dev/null", "w", stderr) != nullptr)
            execlp("gnuplot", "gnuplot", script.c_str(), static_cast<char*>(nullptr));
        _exit(notStarted);
    }
    int status = -1;
    if (child > 0) waitpid(child, &status, 0);
    if (status == 0) return true;
    bool const missing = WIFEXITED(status) && WEXITSTATUS(status) == notStarted;
    std::cerr << (missing ? "gnuplot is not installed" : "gnuplot failed") << ": no picture is drawn, but "
              << script << " and its data are kept\n";
    for (char const* extension : {".svg", ".png"}) std::filesystem::remove(directory / (stem + extension));
    return false;
}

} // namespace example
