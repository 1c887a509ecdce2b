// Writes a description that was read into a context of the signal storage.
#ifndef PLUGINS_SDL_PARSER_SDL_WRITER_HPP
#define PLUGINS_SDL_PARSER_SDL_WRITER_HPP

#include <vector>

#include "plugins/sdl_parser/sdl_model.hpp"
#include "qorc/extensibility/data_description_parser.h"

namespace sdl_parser {

// Throws what the storage reports.
void write_description(const std::vector<sdl_node>& views, qor_signal_storage_context_t& context);

} // namespace sdl_parser

#endif
