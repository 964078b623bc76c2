/// \file
/// A text that is read from left to right.
#pragma once

#include <orvex/text/parseerror.h>

#include <charconv>
#include <string>
#include <string_view>

namespace ORVEX::text
{

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Reads a text from left to right. Where it cannot go on it throws ParseError with the place.
class Reader
{
public:
    explicit Reader(std::string_view text) : text_(text) {}

    bool atEnd() const { return place_ == text_.size(); }
    char next() const { return atEnd() ? '\0' : text_[place_]; }
    std::size_t place() const { return place_; }
    void goTo(std::size_t place) { place_ = place; }
    std::string_view since(std::size_t start) const { return text_.substr(start, place_ - start); }
    void step() { ++place_; }

    /// Steps over the word if it comes next.
    bool accept(std::string_view word)
    {
        if (!text_.substr(place_).starts_with(word)) return false;
        place_ += word.size();
        return true;
    }
    void expect(std::string_view word)
    {
        if (!accept(word)) fail("'" + std::string(word) + "' expected");
    }
    bool skipBlanks()
    {
        std::size_t const start = place_;
        while (next() == ' ' || next() == '\t') ++place_;
        return place_ != start;
    }
    void expectEnd() const
    {
        if (!atEnd()) fail("the text should end here");
    }

    int integer(int least, int most)
    {
        std::string const range = std::to_string(least) + " to " + std::to_string(most);
        return number<int>("an integer from " + range, [&](int n) { return n >= least && n <= most; });
    }
    template <class Good>
    double real(char const* what, Good good)
    {
        return number<double>(what, good);
    }

    [[noreturn]] void fail(std::string const& trouble) const { failAt(place_, trouble); }
    [[noreturn]] void failAt(std::size_t place, std::string const& trouble) const
    {
        throw ParseError(text_, place, trouble);
    }

private:
    template <class T, class Good>
    T number(std::string const& what, Good good)
    {
        T value = 0;
        char const* const begin = text_.data() + place_;
        auto const [end, error] = std::from_chars(begin, text_.data() + text_.size(), value);
        if (error != std::errc() || !good(value)) fail(what + " expected");
        place_ += static_cast<std::size_t>(end - begin);
        return value;
    }

    std::string_view text_;
    std::size_t place_ = 0;
};

} // namespace ORVEX::text
