#include <orvex/text/parseerror.h>

namespace ORVEX::text
{

ParseError::ParseError(std::string_view text, std::size_t position, std::string const& trouble)
    : std::runtime_error("at character " + std::to_string(position + 1) + " of \"" + std::string(text) +
                         "\": " + trouble),
      text_(text), position_(position)
{
}

ParseError::~ParseError() = default;

std::string ParseError::caret() const { return text_ + '\n' + std::string(position_, ' ') + "^\n"; }

} // namespace ORVEX::text
