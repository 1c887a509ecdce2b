// The JSON Schema says what the reader does: a small validator of the keywords that it uses, and texts that both take
// or refuse.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <regex>
#include <set>

#include <nlohmann/json.hpp>

#include "plugins/sdl_parser/sdl_reader.hpp"

namespace sdl_parser {
namespace {

using nlohmann::json;

json read_json(const std::string& name) {
    std::ifstream file(std::string(TAVI_SOURCE_DIR) + "/" + name);
    EXPECT_TRUE(file) << name;
    return json::parse(file);
}

class validator {
public:
    bool accepts(const json& value) const { return accepts(value, schema_); }
    const json& schema() const { return schema_; }

private:
    bool accepts(const json& value, const json& rule) const {
        const auto holds = [&](const auto& item) { return holds_keyword(value, rule, item.key(), item.value()); };
        const auto items = rule.items();
        return std::all_of(items.begin(), items.end(), holds);
    }

    bool holds_keyword(const json& value, const json& rule, const std::string& key, const json& says) const {
        const auto any = [&](const json& list) {
            return std::any_of(list.begin(), list.end(), [&](const json& each) { return accepts(value, each); });
        };
        const auto each_of = [&](const auto& range, const auto& holds) {
            return std::all_of(range.begin(), range.end(), holds);
        };
        if (key == "$ref") {
            return accepts(value, schema_.at(json::json_pointer(says.get<std::string>().substr(1))));
        }
        if (key == "const" || key == "enum") {
            return key == "const" ? value == says : std::find(says.begin(), says.end(), value) != says.end();
        }
        if (key == "anyOf") {
            return any(says);
        }
        if (key == "not") {
            return !accepts(value, says);
        }
        if (key == "if") {
            return accepts(value, rule.at(accepts(value, says) ? "then" : "else"));
        }
        if (key == "type") {
            return says == "integer" ? value.is_number_integer()
                                     : says == (value.is_number() ? "number" : value.type_name());
        }
        if (key == "minimum" || key == "maximum") {
            return !value.is_number() || (key == "minimum" ? value >= says : value <= says);
        }
        if (key == "pattern") {
            return !value.is_string() ||
                   std::regex_match(value.get<std::string>(), std::regex(says.get<std::string>()));
        }
        if (key == "minItems" || key == "maxItems") {
            return !value.is_array() || (key == "minItems" ? value.size() >= says : value.size() <= says);
        }
        if (key == "items") {
            return !value.is_array() || each_of(value, [&](const json& each) { return accepts(each, says); });
        }
        if (key == "required") {
            return !value.is_object() || each_of(says, [&](const json& name) { return value.contains(name); });
        }
        if (key == "properties" || key == "propertyNames" || key == "additionalProperties") {
            return !value.is_object() || each_of(value.items(), [&](const auto& item) {
                return holds_property(item.key(), item.value(), rule, key, says);
            });
        }
        static const std::set<std::string> no_rules = {"$schema", "$defs", "title", "description", "then", "else"};
        EXPECT_TRUE(no_rules.contains(key)) << key;
        return true;
    }

    bool holds_property(const std::string& name, const json& value, const json& rule, const std::string& key,
                        const json& says) const {
        if (key == "propertyNames") {
            return accepts(name, says);
        }
        const bool known = rule.contains("properties") && rule.at("properties").contains(name);
        if (key == "properties") {
            return !known || accepts(value, says.at(name));
        }
        return known || (says.is_object() && accepts(value, says));
    }

    json schema_ = read_json("docs/sdl.schema.json");
};

bool reader_accepts(const json& text) {
    try {
        read_description(text.dump());
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

TEST(SdlSchema, TakesTheDescriptionsThatWeShip) {
    const validator schema;
    for (const char* const name :
         {"plugins/sdl_parser/descriptions/gps.sdl", "plugins/sdl_parser/descriptions/reference-camera.sdl",
          "plugins/sdl_parser/descriptions/rt-range.sdl", "examples/memory_layout/layout.sdl"}) {
        const json text = read_json(name);
        EXPECT_TRUE(schema.accepts(text)) << name;
        EXPECT_TRUE(reader_accepts(text)) << name;
    }
}

// The keys that the reader names when it meets one that it does not know.
std::set<std::string> keys_of_reader(json text, const json::json_pointer& place) {
    text[place]["no such key"] = 1;
    std::set<std::string> keys;
    try {
        read_description(text.dump());
    } catch (const std::runtime_error& error) {
        const std::string message = error.what();
        static const std::regex quoted("\"([^\"]*)\"");
        for (std::sregex_iterator match(message.begin(), message.end(), quoted), end; match != end; ++match) {
            keys.insert((*match)[1]);
        }
    }
    return keys;
}

const char* const sample = R"({"sdl": 1, "views": [{"name": "V", "objects": [{"name": "O", "address": 1, "members": [
    {"name": "g", "members": [{"name": "s", "stored": "int8"}]}, {"name": "t", "stored": "uint16"}]}]}]})";

TEST(SdlSchema, HasTheKeysOfTheReader) {
    const validator schema;
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"/$defs/view", "/views/0"},
        {"/$defs/object", "/views/0/objects/0"},
        {"/$defs/group", "/views/0/objects/0/members/0"},
        {"/$defs/signal", "/views/0/objects/0/members/1"},
    };
    for (const auto& [rule, place] : rows) {
        std::set<std::string> keys;
        for (const auto& item : schema.schema().at(json::json_pointer(rule)).at("properties").items()) {
            keys.insert(item.key());
        }
        EXPECT_EQ(keys, keys_of_reader(json::parse(sample), json::json_pointer(place))) << rule;
    }
}

TEST(SdlSchema, TakesAndRefusesWhatTheReaderDoes) {
    const validator schema;
    const std::string object = "/views/0/objects/0";
    const std::string signal = object + "/members/1";
    struct row {
        std::string place;
        const char* value;
        bool good;
    };
    const row rows[] = {
        {"/sdl", "1", true},
        {"/sdl", "2", false},
        {"/comment", "5", false},
        {"/views", "{}", false},
        {"/views", "[]", true},
        {"/views/0/name", "\"Every 10 ms\"", true},
        {"/views/0/name", "\"10 ms\"", false},
        {"/views/0/cycle", "4294967295", true},
        {"/views/0/cycle", "4294967296", false},
        {"/views/0/comment", "\"a\\u0000b\"", false},
        {"/views/0/objects", "[]", true},
        {object + "/name", "\"a b\"", false},
        {object + "/address", "\"0x0000ffffffffffffFF00\"", true},
        {object + "/address", "\"0x1ffffffffffffffff\"", false},
        {object + "/address", "\"20\"", false},
        {object + "/address", "-1", false},
        {object + "/count", "0", false},
        {object + "/count", "\"0x0\"", false},
        {object + "/members", "[]", false},
        {object + "/members/0/members", "[]", false},
        {object + "/members/0/stored", "\"int8\"", false},
        {signal + "/stored", "\"float16\"", false},
        {signal + "/stored", "\"char8\"", true},
        {signal + "/bit", "\"0x1000\"", true},
        {signal + "/bit", "\"0x1001\"", false},
        {signal + "/bits", "\"0x10\"", true},
        {signal + "/bits", "0", false},
        {signal + "/bits", "65", false},
        {signal + "/byte_order", "\"motorola\"", false},
        {signal + "/encoding", "\"ones_complement\"", true},
        {signal + "/factor", "\"1\"", false},
        {signal + "/coefficients", "[0, 1, 0, 0, 0]", false},
        {signal + "/coefficients", "[0, 1, 0, 0, 0, 1]", true},
        {signal + "/unit", "1", false},
        {signal + "/maximum", "1e3", true},
        {signal + "/values", "{\"-1\": \"a\", \"2\": \"b\"}", true},
        {signal + "/values", "{\"a\": \"a\"}", false},
        {signal + "/values", "{\"1\": 1}", false},
        {signal + "/values", "[]", false},
        {signal, "{\"name\": \"s\", \"stored\": \"int8\", \"factor\": 1, \"coefficients\": [0, 1, 0, 0, 0, 1]}", false},
        {signal, "{\"name\": \"s\"}", false},
        {signal, "{\"stored\": \"int8\"}", false},
        {signal, "1", false},
    };
    for (const row& row : rows) {
        json text = json::parse(sample);
        text[json::json_pointer(row.place)] = json::parse(row.value);
        EXPECT_EQ(schema.accepts(text), row.good) << row.place << " " << row.value;
        EXPECT_EQ(reader_accepts(text), row.good) << row.place << " " << row.value;
    }
}

} // namespace
} // namespace sdl_parser
