#include "plugins/sdl_parser/sdl_value.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "qorc/text.hpp"

namespace sdl_parser {

namespace {

constexpr size_t longest_quote = 60;

// What stands there, short enough for a message.
std::string quote(const nlohmann::json& json) {
    if (json.is_object()) {
        return "an object";
    }
    if (json.is_array()) {
        return "an array of " + std::to_string(json.size());
    }
    std::string text = json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    if (text.size() > longest_quote) {
        text.resize(longest_quote);
        text += "...";
    }
    return text;
}

std::string quoted_list(std::span<const std::string_view> words) {
    return qor::joined(words, ", ", [](std::string_view word) { return '"' + std::string(word) + '"'; });
}

std::optional<uint64_t> read_hexadecimal(const std::string& text) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) {
        return std::nullopt;
    }
    uint64_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + 2, end, value, 16);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

// Numbers such as 16.0, 1e2 and -0, which are integers in JSON.
std::optional<uint64_t> whole(double number) {
    constexpr double largest_exact = 0x1p53;
    const bool is_whole = number >= 0 && number <= largest_exact && number == std::floor(number);
    return is_whole ? std::optional(static_cast<uint64_t>(number)) : std::nullopt;
}

} // namespace

std::string escaped(const std::string& key) {
    std::string text;
    for (const char character : key) {
        if (character == '~') {
            text += "~0";
        } else if (character == '/') {
            text += "~1";
        } else if (character == '\0') {
            text += "\\u0000"; // messages end at a zero
        } else {
            text += character;
        }
    }
    return text;
}

void sdl_value::fail(const std::string& expected) const {
    throw sdl_error((pointer_.empty() ? "/" : pointer_) + ": expected " + expected + ", found " + quote(*json_));
}

void sdl_value::reject(const std::string& cause) const {
    throw sdl_error((pointer_.empty() ? "/" : pointer_) + ": " + cause);
}

void sdl_value::check_object() const {
    if (!json_->is_object()) {
        fail("an object");
    }
}

void sdl_value::check_keys(std::initializer_list<std::string_view> keys) const {
    check_object();
    for (const auto& [key, value] : json_->items()) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
            sdl_value(value, pointer_ + "/" + escaped(key))
                .reject("unknown key, expected one of " + quoted_list({keys.begin(), keys.size()}));
        }
    }
}

bool sdl_value::has(const std::string& key) const {
    return json_->is_object() && json_->contains(key);
}

std::optional<sdl_value> sdl_value::find(const std::string& key) const {
    check_object();
    const auto found = json_->find(key);
    return found != json_->end() ? std::optional(sdl_value(*found, pointer_ + "/" + escaped(key))) : std::nullopt;
}

sdl_value sdl_value::at(const std::string& key) const {
    const auto found = find(key);
    if (!found) {
        fail("an object with the key \"" + key + "\"");
    }
    return *found;
}

size_t sdl_value::size() const {
    if (!json_->is_array()) {
        fail("an array");
    }
    return json_->size();
}

sdl_value sdl_value::at(size_t index) const {
    return {(*json_)[index], pointer_ + "/" + std::to_string(index)};
}

uint64_t sdl_value::integer(uint64_t minimum, uint64_t maximum) const {
    std::optional<uint64_t> value;
    if (json_->is_number_unsigned()) {
        value = json_->get<uint64_t>();
    } else if (json_->is_number()) {
        value = whole(json_->get<double>());
    } else if (json_->is_string()) {
        value = read_hexadecimal(json_->get_ref<const std::string&>());
    }
    if (!value || *value < minimum || *value > maximum) {
        fail("an integer from " + std::to_string(minimum) + " to " + std::to_string(maximum));
    }
    return *value;
}

double sdl_value::number() const {
    if (!json_->is_number()) {
        fail("a number");
    }
    return json_->get<double>();
}

std::string sdl_value::text() const {
    if (!json_->is_string()) {
        fail("a text");
    }
    const auto& text = json_->get_ref<const std::string&>();
    if (text.find('\0') != std::string::npos) {
        fail("a text without zero characters");
    }
    return text;
}

size_t sdl_value::choice(std::span<const std::string_view> choices) const {
    const auto found = json_->is_string()
                           ? std::find(choices.begin(), choices.end(), json_->get_ref<const std::string&>())
                           : choices.end();
    if (found == choices.end()) {
        fail("one of " + quoted_list(choices));
    }
    return static_cast<size_t>(found - choices.begin());
}

} // namespace sdl_parser
