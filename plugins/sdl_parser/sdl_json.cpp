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

// Goes through the text before anything is made of it: what is no JSON, nested too deep or has a key twice ends here.
class text_check final : public json::json_sax_t {
public:
    explicit text_check(std::string_view text) : text_(text) {}

    bool null() override { return count_element(); }
    bool boolean(bool) override { return count_element(); }
    bool number_integer(number_integer_t) override { return count_element(); }
    bool number_unsigned(number_unsigned_t) override { return count_element(); }
    bool number_float(number_float_t, const string_t&) override { return count_element(); }
    bool string(string_t&) override { return count_element(); }
    bool binary(binary_t&) override { return count_element(); }
    bool start_object(size_t) override { return open(false); }
    bool end_object() override { return close(); }
    bool start_array(size_t) override { return open(true); }
    bool end_array() override { return close(); }

    bool key(string_t& key) override {
        open_.back().last_key = key;
        if (!open_.back().keys.insert(key).second) {
            throw sdl_error(pointer() + ": the key stands here twice");
        }
        return true;
    }

    bool parse_error(size_t, const std::string&, const json::exception& error) override {
        if (const auto* const fault = dynamic_cast<const json::parse_error*>(&error)) {
            fail_at(text_, fault->byte, text_of(error));
        }
        throw sdl_error(pointer() + ": expected a number that a double can hold, " + text_of(error));
    }

private:
    struct level {
        bool is_array = false;
        size_t elements = 0;
        std::unordered_set<std::string> keys;
        std::string last_key;
    };

    bool open(bool is_array) {
        if (open_.size() == deepest_level) {
            throw sdl_error("/: nested deeper than " + std::to_string(deepest_level) + " levels");
        }
        open_.emplace_back().is_array = is_array;
        return true;
    }

    bool close() {
        open_.pop_back();
        return count_element();
    }

    bool count_element() {
        if (!open_.empty()) {
            ++open_.back().elements;
        }
        return true;
    }

    // Of the value that is read, or comes next.
    std::string pointer() const {
        std::string text;
        for (const level& level : open_) {
            text += '/';
            text += (level.is_array ? std::to_string(level.elements) : escaped(level.last_key));
        }
        return text.empty() ? "/" : text;
    }

    std::string_view text_;
    std::vector<level> open_;
};

} // namespace

json parse_json(std::string_view text) {
    // The library takes one for the end of the text.
    if (const size_t zero = text.find('\0'); zero != std::string_view::npos) {
        fail_at(text, zero + 1, "found a zero byte");
    }
    text_check check(text);
    json::sax_parse(text, &check);
    // Not in one go: the library's own way to look on while it builds takes a time that grows by the square.
    return json::parse(text);
}

} // namespace sdl_parser
