// Adds the nodes of a description that was read to the catalogue.
#ifndef PLUGINS_SDL_PARSER_SDL_WRITER_HPP
#define PLUGINS_SDL_PARSER_SDL_WRITER_HPP

#include <vector>

#include "plugins/sdl_parser/sdl_model.hpp"
#include "qor_plugin_sdk/description_parser.hpp"

namespace sdl_parser {

// Throws what the storage reports.
void write_description(const std::vector<sdl_node>& views, qor::sdk::node_writer& catalogue);

} // namespace sdl_parser

#endif
