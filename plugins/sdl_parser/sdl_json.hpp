// The JSON of a description, before anything of its language is looked at.
#ifndef PLUGINS_SDL_PARSER_SDL_JSON_HPP
#define PLUGINS_SDL_PARSER_SDL_JSON_HPP

#include <string_view>

#include <nlohmann/json.hpp>

namespace sdl_parser {

// The tree of a description's text.
class json_document {
public:
    // Throws: std::runtime_error "3:7: expected JSON, ..." with line and column; sdl_error for a number beyond a double
    // and for a key that is twice in one object, of which most readers would take one and drop the other.
    explicit json_document(std::string_view text);
    json_document(const json_document&) = delete;
    json_document& operator=(const json_document&) = delete;
    // Allocates nothing. A tree of the library alone would, and so end the process when there is no memory.
    ~json_document();

    const nlohmann::json& root() const noexcept { return root_; }

private:
    nlohmann::json root_;
};

} // namespace sdl_parser

#endif
