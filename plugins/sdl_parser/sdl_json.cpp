#include "plugins/sdl_parser/sdl_json.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
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

// Builds the tree and checks it meanwhile: what is no JSON, nested too deep or has a key twice ends here.
class tree_builder final : public json::json_sax_t {
public:
    tree_builder(std::string_view text, json& root) : text_(text), root_(root) {}

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t& value) override { return add(std::move(value)); }
    bool start_object(size_t) override { return open(json::value_t::object); }
    bool end_object() override { return close(); }
    bool start_array(size_t) override { return open(json::value_t::array); }
    bool end_array() override { return close(); }

    bool key(string_t& key) override {
        level& object = open_.back();
        object.last_key = key;
        if (!object.value->get_ref<json::object_t&>().try_emplace(key).second) {
            throw sdl_error(pointer() + ": the key is here twice");
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
    // An object or array whose end has not come. It stays where it is: nothing is added beside it until then.
    struct level {
        json* value;
        size_t elements = 0;
        std::string last_key = {};
    };

    // The place of the value that comes.
    json& place() {
        if (open_.empty()) {
            return root_;
        }
        json& holder = *open_.back().value;
        return holder.is_array() ? holder.get_ref<json::array_t&>().emplace_back()
                                 : holder.get_ref<json::object_t&>().find(open_.back().last_key)->second;
    }

    template<typename Value>
    bool add(Value&& value) {
        place() = json(std::forward<Value>(value));
        return count_element();
    }

    bool open(json::value_t type) {
        if (open_.size() == deepest_level) {
            throw sdl_error("/: nested deeper than " + std::to_string(deepest_level) + " levels");
        }
        json& value = place();
        value = json(type);
        open_.push_back({&value});
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
            text += (level.value->is_array() ? std::to_string(level.elements) : escaped(level.last_key));
        }
        return text.empty() ? "/" : text;
    }

    std::string_view text_;
    json& root_;
    std::vector<level> open_;
};

// Empties a value from its leaves on: the library ends values without elements without a list of them.
void dismantle(json& value) noexcept {
    if (value.is_array()) {
        auto& elements = value.get_ref<json::array_t&>();
        std::for_each(elements.begin(), elements.end(), dismantle);
        elements.clear();
    } else if (value.is_object()) {
        auto& members = value.get_ref<json::object_t&>();
        for (auto& [key, member] : members) {
            dismantle(member);
        }
        members.clear();
    }
}

} // namespace

json_document::json_document(std::string_view text) {
    // The library takes one for the end of the text.
    if (const size_t zero = text.find('\0'); zero != std::string_view::npos) {
        fail_at(text, zero + 1, "found a zero byte");
    }
    try {
        tree_builder builder(text, root_);
        json::sax_parse(text, &builder);
    } catch (...) {
        dismantle(root_);
        throw;
    }
}

json_document::~json_document() {
    dismantle(root_);
}

} // namespace sdl_parser
