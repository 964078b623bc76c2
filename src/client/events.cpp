#include <orvex/client/events.h>

#include <algorithm>

namespace ORVEX
{

namespace
{

constexpr char const* names[eventKindCount][2] = {{"wrap", "wraps"},
                                                  {"saturation to the minimum", "saturations to the minimum"},
                                                  {"saturation to the maximum", "saturations to the maximum"},
                                                  {"underflow", "underflows"},
                                                  {"division by zero", "divisions by zero"},
                                                  {"potential overflow", "potential overflows"},
                                                  {"potential underflow", "potential underflows"},
                                                  {"net slope", "net slopes"},
                                                  {"net bias", "net biases"},
                                                  {"diagnostic", "diagnostics"}};
constexpr std::size_t longestName = 26;

} // namespace

char const* eventName(EventKind kind, bool isPlural)
{
    return names[static_cast<std::size_t>(kind)][isPlural ? 1 : 0];
}

std::string EventCounts::summary() const
{
    std::string text;
    for (std::size_t i = 0; i < of.size(); ++i)
        if (of[i] != 0)
            text += (text.empty() ? "" : ", ") + std::to_string(of[i]) + ' ' +
                    eventName(static_cast<EventKind>(i), of[i] != 1);
    return text.empty() ? "no events" : text;
}

std::string EventCounts::table() const
{
    std::size_t const digits = std::to_string(*std::max_element(of.begin(), of.end())).size();
    std::string text;
    for (std::size_t i = 0; i < of.size(); ++i) {
        std::string const name = eventName(static_cast<EventKind>(i), true), count = std::to_string(of[i]);
        text += name;
        text.append(longestName - name.size() + 2 + digits - count.size(), ' ');
        text += count;
        text += '\n';
    }
    return text;
}

} // namespace ORVEX
