#include "plugins/dbc_parser/dbc_names.hpp"

#include <algorithm>

#include "plugins/dbc_parser/text_encoding.hpp"

namespace dbc_parser {

namespace {

bool is_letter(char byte) noexcept {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '_';
}

bool is_continuation(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool is_name_byte(char byte) noexcept {
    return is_letter(byte) || (byte >= '0' && byte <= '9') || byte == '-';
}

constexpr size_t longest_quoted = 64;

} // namespace

bool is_node_name(std::string_view name) noexcept {
    return !name.empty() && is_letter(name.front()) && std::all_of(name.begin(), name.end(), is_name_byte);
}

std::string node_name_of(std::string_view name) {
    if (is_node_name(name)) {
        return std::string(name);
    }
    std::string result;
    for (const char byte : to_utf8(name)) {
        if (!is_continuation(byte)) {
            result += is_name_byte(byte) ? byte : '_';
        }
    }
    return result.empty() || !is_letter(result.front()) ? "_" + result : result;
}

std::string quoted_name(std::string_view name) {
    std::string text = to_utf8(name.substr(0, longest_quoted + 1));
    if (name.size() > longest_quoted) {
        size_t end = std::min(longest_quoted, text.size());
        while (end > 0 && end < text.size() && is_continuation(text[end])) {
            --end;
        }
        text.resize(end);
        text += "...";
    }
    return "'" + text + "'";
}

std::string unique_names::take(const std::string& name) {
    const auto [place, is_new] = taken_.try_emplace(name, 1);
    if (is_new) {
        return name;
    }
    uint64_t& number = place->second; // stays valid while others enter
    std::string result;
    do {
        result = name + "_" + std::to_string(number++);
    } while (!taken_.try_emplace(result, 1).second);
    return result;
}

} // namespace dbc_parser
