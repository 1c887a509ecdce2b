// Pieces of JSON text: strings, numbers, and the layout of objects and arrays.
#ifndef INTROSPECTION_GENERATOR_JSON_TEXT_HPP
#define INTROSPECTION_GENERATOR_JSON_TEXT_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace qor::introspection::generator {

// Writes one value after the other; commas, line ends and blanks come by themselves.
//      json_text text(true);
//      text.begin('{'); text.key("a"); text.number(std::uint64_t{1}); text.end('}');
class json_text {
public:
    explicit json_text(bool indented) : indented_(indented) {}

    // '{' or '['; Requires: each end() has the bracket that matches the last begin().
    void begin(char bracket);
    void end(char bracket);

    void key(std::string_view name);

    // Bytes that are no UTF-8 become U+FFFD, control characters are escaped.
    void string(std::string_view value);
    void number(std::uint64_t value);
    // The shortest form that reads back the same; "NaN", "Infinity" and "-Infinity" as strings.
    void number(double value);

    std::string take() { return std::move(text_); }

private:
    void before_value();
    void break_line();
    void append_quoted(std::string_view value);

    std::string text_;
    std::size_t depth_ = 0;
    bool indented_;
    // Nothing stands behind the last opening bracket yet.
    bool first_ = true;
    // A key waits for its value.
    bool after_key_ = false;
};

} // namespace qor::introspection::generator

#endif
