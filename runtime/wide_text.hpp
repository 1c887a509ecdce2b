// UTF-8 to and from wide texts, whose characters are UTF-16 or UTF-32 as the platform has it. What is not valid becomes
// U+FFFD.
#ifndef RUNTIME_WIDE_TEXT_HPP
#define RUNTIME_WIDE_TEXT_HPP

#include <string>
#include <string_view>

namespace qor::runtime {

std::wstring widen(std::string_view text);
std::string narrow(std::wstring_view text);

} // namespace qor::runtime

#endif
