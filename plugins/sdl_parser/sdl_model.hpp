// A description as it was read: a tree of catalogue nodes that own their texts, complete before anything of it is
// written.
#ifndef PLUGINS_SDL_PARSER_SDL_MODEL_HPP
#define PLUGINS_SDL_PARSER_SDL_MODEL_HPP

#include <string>
#include <vector>

#include "qorc/type_node.h"

namespace sdl_parser {

struct sdl_node {
    // All fields but the texts, which are set from those below when the node is written.
    qor_type_node_t record{};
    std::string name;
    std::string comment;
    std::string unit;
    std::string value_table;
    std::vector<sdl_node> children;
};

} // namespace sdl_parser

#endif
