#include "plugins/sdl_parser/sdl_json.hpp"

#include <algorithm>
#include <functional>
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

    // The JSON pointer of the value that is read, or comes next.
    std::string pointer() const {
        std::string text;
        for (const level& level : open_) {
            text += '/';
            text += (level.is_array ? std::to_string(level.elements) : escaped(level.last_key));
        }
        return text.empty() ? "/" : text;
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
            throw sdl_error(pointer() + ": the key stands here twice");
        }
    }

    std::vector<level> open_;
};

// The library counts bytes from 1; people look for lines and columns.
[[noreturn]] void fail_at(std::string_view text, size_t byte, const std::string& cause) {
    const std::string_view before = text.substr(0, std::min(byte > 0 ? byte - 1 : 0, text.size()));
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const size_t column = before.size() - (before.find_last_of('\n') + 1) + 1;
    throw std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": expected JSON, " + cause);
}

std::string text_of(const json::exception& error) {
    const std::string text = error.what();
    const size_t end_of_id = text.find("] ");
    return end_of_id == std::string::npos ? text : text.substr(end_of_id + 2);
}

} // namespace

json parse_json(std::string_view text) {
    // The library takes one for the end of the text.
    if (const size_t zero = text.find('\0'); zero != std::string_view::npos) {
        fail_at(text, zero + 1, "found a zero byte");
    }
    key_check check;
    try {
        return json::parse(text, std::ref(check));
    } catch (const json::out_of_range& error) {
        throw sdl_error(check.pointer() + ": expected a number that a double can hold, " + text_of(error));
    } catch (const json::parse_error& error) {
        fail_at(text, error.byte, text_of(error));
    }
}

} // namespace sdl_parser
