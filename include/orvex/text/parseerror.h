/// \file
/// What is thrown where a text cannot be read.
#pragma once

#include <orvex/foundation/export.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ORVEX::text
{

/// A text that does not parse, with the place. `what` is on one line: at character 4 of "s8,slop=1": ...
class ORVEX_API ParseError : public std::runtime_error
{
public:
    /// `position` counts characters from 0; `trouble` says what is wrong.
    ParseError(std::string_view text, std::size_t position, std::string const& trouble);
    ParseError(ParseError const&) = default;
    ParseError& operator=(ParseError const&) = default;
    ~ParseError() override;

    /// The text that was read.
    std::string const& text() const noexcept { return text_; }
    std::size_t position() const noexcept { return position_; } ///< from 0; the text's length at its end
    std::string caret() const; ///< two lines: the text, and a caret under the place

private:
    std::string text_;
    std::size_t position_;
};

} // namespace ORVEX::text
