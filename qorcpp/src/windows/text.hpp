// UTF-8 to and from the platform's wide texts.
#ifndef QORCPP_WINDOWS_TEXT_HPP
#define QORCPP_WINDOWS_TEXT_HPP

#include <string>
#include <string_view>

namespace qor::platform {

std::wstring widen(std::string_view text);
std::string narrow(std::wstring_view text);

} // namespace qor::platform

#endif
