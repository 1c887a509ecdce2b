// The descriptions that the plug-in carries, by name.
#ifndef PLUGINS_SDL_PARSER_BUILT_IN_DESCRIPTIONS_HPP
#define PLUGINS_SDL_PARSER_BUILT_IN_DESCRIPTIONS_HPP

#include <string_view>

namespace sdl_parser {

// Empty for a name that is none of them.
std::string_view built_in_description(std::string_view name) noexcept;

} // namespace sdl_parser

#endif
