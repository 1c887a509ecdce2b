#include "plugins/dbc_parser/dbc_names.hpp"

namespace dbc_parser {

namespace {

bool is_letter(char byte) noexcept {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '_';
}

bool is_continuation(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

std::string node_name_of(std::string_view name) {
    std::string result;
    for (const char byte : name) {
        if (is_letter(byte) || (byte >= '0' && byte <= '9') || byte == '-') {
            result += byte;
        } else if (!is_continuation(byte)) {
            result += '_';
        }
    }
    return result.empty() || !is_letter(result.front()) ? "_" + result : result;
}

std::string unique_names::take(const std::string& name) {
    std::string result = name;
    for (unsigned number = 1; !taken_.insert(result).second; ++number) {
        result = name + "_" + std::to_string(number);
    }
    return result;
}

} // namespace dbc_parser
