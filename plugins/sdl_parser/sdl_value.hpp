// One value of a description's JSON text with its place in it, so that every complaint names a JSON pointer, what was
// expected and what was found.
#ifndef PLUGINS_SDL_PARSER_SDL_VALUE_HPP
#define PLUGINS_SDL_PARSER_SDL_VALUE_HPP

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace sdl_parser {

// A fault of the text: "/views/0/name: expected ..., found ...".
class sdl_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A key as a step of a JSON pointer: '~' and '/' stand for themselves as "~0" and "~1".
std::string escaped(const std::string& key);

class sdl_value {
public:
    // `json` must outlive the object.
    sdl_value(const nlohmann::json& json, std::string pointer) : json_(&json), pointer_(std::move(pointer)) {}

    // Throws: sdl_error at this value.
    [[noreturn]] void fail(const std::string& expected) const;
    // Throws: sdl_error at this value, for a fault that is no matter of what was found.
    [[noreturn]] void reject(const std::string& cause) const;

    // Objects. Keys outside `keys` are refused, with the list of those that can stand here.
    void check_keys(std::initializer_list<std::string_view> keys) const;
    bool has(const std::string& key) const;
    std::optional<sdl_value> find(const std::string& key) const;
    sdl_value at(const std::string& key) const;

    // Arrays.
    size_t size() const;
    sdl_value at(size_t index) const;

    // Scalars. An integer may also be written as a text in hexadecimal: "0x20000000".
    uint64_t integer(uint64_t minimum, uint64_t maximum) const;
    double number() const;
    std::string text() const;
    // The index of the text among `choices`.
    size_t choice(std::span<const std::string_view> choices) const;

    const nlohmann::json& json() const noexcept { return *json_; }

private:
    void check_object() const;

    const nlohmann::json* json_;
    std::string pointer_;
};

} // namespace sdl_parser

#endif
