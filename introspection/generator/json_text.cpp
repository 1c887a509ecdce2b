#include "introspection/generator/json_text.hpp"

#include <charconv>
#include <cmath>

#include "qorcpp/utf8.hpp"

namespace qor::introspection::generator {

namespace {

constexpr std::string_view replacement_character = "\xEF\xBF\xBD";

// How many bytes at the start stand for themselves.
std::size_t plain_length(std::string_view text) noexcept {
    std::size_t length = 0;
    while (length < text.size()) {
        const auto byte = static_cast<unsigned char>(text[length]);
        if (byte < 0x20 || byte > 0x7E || byte == '"' || byte == '\\') {
            break;
        }
        ++length;
    }
    return length;
}

void append_control(std::string& text, unsigned char value) {
    switch (value) {
    case '\b':
        text += "\\b";
        return;
    case '\f':
        text += "\\f";
        return;
    case '\n':
        text += "\\n";
        return;
    case '\r':
        text += "\\r";
        return;
    case '\t':
        text += "\\t";
        return;
    default:
        break;
    }
    constexpr char digits[] = "0123456789abcdef";
    text += "\\u00";
    text += digits[value / 16];
    text += digits[value % 16];
}

} // namespace

void json_text::break_line() {
    if (indented_) {
        text_ += '\n';
        text_.append(2 * depth_, ' ');
    }
}

void json_text::before_value() {
    if (after_key_) {
        after_key_ = false;
        return;
    }
    if (depth_ == 0) {
        return;
    }
    if (!first_) {
        text_ += ',';
    }
    first_ = false;
    break_line();
}

void json_text::begin(char bracket) {
    before_value();
    text_ += bracket;
    ++depth_;
    first_ = true;
}

void json_text::end(char bracket) {
    --depth_;
    if (!first_) {
        break_line();
    }
    first_ = false;
    text_ += bracket;
}

void json_text::key(std::string_view name) {
    before_value();
    append_quoted(name);
    text_ += indented_ ? ": " : ":";
    after_key_ = true;
}

void json_text::string(std::string_view value) {
    before_value();
    append_quoted(value);
}

void json_text::append_quoted(std::string_view value) {
    text_ += '"';
    for (;;) {
        // Nearly all texts end here.
        const std::size_t plain = plain_length(value);
        text_ += value.substr(0, plain);
        value.remove_prefix(plain);
        if (value.empty()) {
            break;
        }
        const std::size_t length = front_of_utf8(value).length;
        const auto byte = static_cast<unsigned char>(value.front());
        if (length == 0) {
            text_ += replacement_character;
        } else if (byte < 0x20 || byte == 0x7F) {
            append_control(text_, byte);
        } else if (byte == '"' || byte == '\\') {
            text_ += '\\';
            text_ += value.front();
        } else {
            text_ += value.substr(0, length);
        }
        value.remove_prefix(length == 0 ? 1 : length);
    }
    text_ += '"';
}

void json_text::number(std::uint64_t value) {
    before_value();
    text_ += std::to_string(value);
}

void json_text::number(double value) {
    if (!std::isfinite(value)) {
        string(std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
        return;
    }
    before_value();
    if (value == 0.0 && std::signbit(value)) {
        // Readers take -0 for an integer and lose its sign.
        text_ += "-0.0";
        return;
    }
    char buffer[32];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof(buffer), value);
    text_.append(buffer, end);
}

} // namespace qor::introspection::generator
