// The JSON of a description, before anything of its language is looked at.
#ifndef PLUGINS_SDL_PARSER_SDL_JSON_HPP
#define PLUGINS_SDL_PARSER_SDL_JSON_HPP

#include <string_view>

#include <nlohmann/json.hpp>

namespace sdl_parser {

// Throws: std::runtime_error "3:7: expected JSON, ..." with line and column; sdl_error for a number beyond a double and
// for a key that stands twice in one object, of which most readers would take one and drop the other.
nlohmann::json parse_json(std::string_view text);

} // namespace sdl_parser

#endif
