/// \file
/// A progress line for work that takes long, and a clean way out of it.
#pragma once

#include <chrono>
#include <csignal>
#include <cstddef>
#include <iostream>
#include <stdexcept>

#include <unistd.h>

namespace example
{

/// Tells on standard error how far the work is, but nothing in the first second: one line that is rewritten
/// on a terminal, a new line every ten seconds elsewhere. While it lives a wish to end the program,
/// such as an interrupt from the keyboard, becomes an exception of `advance`, so that destructors can clean
/// up.
class Progress
{
public:
    explicit Progress(std::size_t steps_) : steps(steps_)
    {
        for (int const number : signals) std::signal(number, [](int) { interrupted = 1; });
    }
    ~Progress()
    {
        for (int const number : signals) std::signal(number, SIG_DFL);
        if (shown && terminal) std::cerr << "\r    \r" << std::flush;
    }
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    /// One step is done.
    void advance()
    {
        ++done;
        if (interrupted != 0) throw std::runtime_error("interrupted");
        if (Clock::now() < next) return;
        next = Clock::now() + (terminal ? std::chrono::milliseconds(100) : std::chrono::seconds(10));
        shown = true;
        std::cerr << (terminal ? "\r" : "") << 100 * done / steps << (terminal ? "%" : "%\n") << std::flush;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int signals[] = {SIGHUP, SIGINT, SIGTERM};
    static inline std::sig_atomic_t volatile interrupted = 0;
    std::size_t steps, done = 0;
    bool terminal = isatty(STDERR_FILENO) == 1, shown = false;
    Clock::time_point next = Clock::now() + std::chrono::seconds(1);
};

} // namespace example
