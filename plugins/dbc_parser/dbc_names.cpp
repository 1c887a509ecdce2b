#include "plugins/dbc_parser/dbc_names.hpp"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "plugins/dbc_parser/text_encoding.hpp"
#include "qorc/text.hpp"
#include "qorcpp/utf8.hpp"

namespace dbc_parser {

namespace {

constexpr size_t longest_quoted = 64;

} // namespace

bool is_node_name(std::string_view name) noexcept {
    return !name.empty() && qor::begins_name(name.front()) &&
           std::all_of(name.begin(), name.end(), qor::continues_name);
}

std::string node_name_of(std::string_view name) {
    if (is_node_name(name)) {
        return std::string(name);
    }
    std::string result;
    for (const char byte : to_utf8(name)) {
        if (!qor::continues_utf8(byte)) {
            result += qor::continues_name(byte) ? byte : '_';
        }
    }
    return result.empty() || !qor::begins_name(result.front()) ? "_" + result : result;
}

std::string quoted_name(std::string_view name) {
    std::string text = to_utf8(name.substr(0, longest_quoted + 1));
    if (name.size() > longest_quoted) {
        size_t end = std::min(longest_quoted, text.size());
        while (end > 0 && end < text.size() && qor::continues_utf8(text[end])) {
            --end;
        }
        text.resize(end);
        text += "...";
    }
    return "'" + text + "'";
}

std::vector<std::string> unique_node_names(const std::vector<std::string_view>& names) {
    std::vector<std::string> result(names.size());
    std::unordered_map<std::string, uint64_t> next_numbers; // of every name that is taken
    for (const bool as_it_is : {true, false}) {
        for (size_t index = 0; index < names.size(); ++index) {
            if (is_node_name(names[index]) == as_it_is) {
                std::string name = node_name_of(names[index]);
                result[index] = next_numbers.try_emplace(name, 1).second ? std::move(name) : "";
            }
        }
    }
    for (size_t index = 0; index < names.size(); ++index) {
        if (!result[index].empty()) {
            continue;
        }
        const std::string name = node_name_of(names[index]);
        uint64_t& number = next_numbers.at(name); // stays valid while others enter
        do {
            result[index] = name + "_" + std::to_string(number++);
        } while (!next_numbers.try_emplace(result[index], 1).second);
    }
    return result;
}

} // namespace dbc_parser
