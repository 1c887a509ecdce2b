// Reads the text of a description (docs/sdl.md).
#ifndef PLUGINS_SDL_PARSER_SDL_READER_HPP
#define PLUGINS_SDL_PARSER_SDL_READER_HPP

#include <string_view>
#include <vector>

#include "plugins/sdl_parser/sdl_model.hpp"

namespace sdl_parser {

// The views of a description. Throws: std::runtime_error "LINE:COLUMN: ..." for a text that is no JSON, sdl_error
// "/views/0/name: expected ..., found ..." for JSON that breaks a rule.
std::vector<sdl_node> read_description(std::string_view text);

} // namespace sdl_parser

#endif
