// Reads one signal of a description.
#ifndef PLUGINS_SDL_PARSER_SDL_SIGNAL_HPP
#define PLUGINS_SDL_PARSER_SDL_SIGNAL_HPP

#include "plugins/sdl_parser/sdl_model.hpp"
#include "plugins/sdl_parser/sdl_value.hpp"

namespace sdl_parser {

// Fills kind-specific fields, unit and value table of `node`. `next_offset` is where the signal lies unless it says so
// itself. Throws: sdl_error.
void read_signal(const sdl_value& value, uint64_t next_offset, sdl_node& node);

} // namespace sdl_parser

#endif
