// What makes two descriptions one: equal content, name and context type.
#ifndef PLUGINS_SIGNAL_STORAGE_SIGNATURE_HPP
#define PLUGINS_SIGNAL_STORAGE_SIGNATURE_HPP

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qor::storage {

// 64 hexadecimal digits in lower case. Depends on nothing but its arguments: the same on every machine, in every run.
std::string make_signature(std::span<const std::uint8_t> content, std::string_view name, std::uint8_t context_type);

} // namespace qor::storage

#endif
