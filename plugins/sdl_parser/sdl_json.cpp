#include "plugins/sdl_parser/sdl_json.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "plugins/sdl_parser/sdl_value.hpp"

namespace sdl_parser {

namespace {

using json = nlohmann::json;

// Far beyond what the language has levels for; it bounds the memory that a hostile text can take.
constexpr size_t deepest_level = 128;

// Follows the parser through the text and refuses keys that stand twice.
class key_check {
public:
    bool operator()(int /*depth*/, json::parse_event_t event, json& parsed) {
        switch (event) {
        case json::parse_event_t::object_start:
        case json::parse_event_t::array_start:
            if (open_.size() == deepest_level) {
                throw sdl_error("/: nested deeper than " + std::to_string(deepest_level) + " levels");
            }
            open_.emplace_back().is_array = event == json::parse_event_t::array_start;
            break;
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            open_.pop_back();
            count_element();
            break;
        case json::parse_event_t::value:
            count_element();
            break;
        case json::parse_event_t::key:
            take_key(parsed.get_ref<const std::string&>());
            break;
        }
        return true;
    }

private:
    struct level {
        bool is_array = false;
        size_t elements = 0;
        std::unordered_set<std::string> keys;
        std::string last_key;
    };

    void count_element() {
        if (!open_.empty()) {
            ++open_.back().elements;
        }
    }

    void take_key(const std::string& key) {
        open_.back().last_key = key;
        if (!open_.back().keys.insert(key).second) {
            std::string pointer;
            for (const level& level : open_) {
                pointer += '/';
                pointer += (level.is_array ? std::to_string(level.elements) : escaped(level.last_key));
            }
            throw sdl_error(pointer + ": the key stands here twice");
        }
    }

    std::vector<level> open_;
};

} // namespace

json parse_json(std::string_view text) {
    try {
        return json::parse(text, key_check());
    } catch (const json::exception& error) {
        // The library counts bytes from 1; people look for lines and columns. Numbers beyond a double have no place.
        const auto* const place = dynamic_cast<const json::parse_error*>(&error);
        const size_t offset = place != nullptr && place->byte > 0 ? place->byte - 1 : 0;
        const std::string_view before = text.substr(0, std::min(offset, text.size()));
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const size_t column = before.size() - (before.find_last_of('\n') + 1) + 1;
        std::string cause = error.what();
        cause.erase(0, cause.find("] ") == std::string::npos ? 0 : cause.find("] ") + 2);
        throw std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": expected JSON, " + cause);
    }
}

} // namespace sdl_parser
