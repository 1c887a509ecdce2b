// The JSON Schema says what the plug-in does: a validator of the keywords that it uses, and texts that both take or
// refuse.
#include <fstream>
#include <regex>
#include <set>

#include <nlohmann/json.hpp>

#include "tests/support/described.hpp"

namespace tavi::test {
namespace {

using nlohmann::json;

json read_json(const std::string& name) {
    std::ifstream file(std::string(TAVI_SOURCE_DIR) + "/" + name);
    EXPECT_TRUE(file) << name;
    return json::parse(file);
}

const json& schema() {
    static const json read = read_json("docs/sdl.schema.json");
    return read;
}

bool accepts(const json& value, const json& rule);

template<typename Holds>
bool all(const json& list, Holds holds) {
    return std::all_of(list.begin(), list.end(), holds);
}

// Keywords that stand beside others are looked at with those.
bool holds(const json& value, const json& rule, const std::string& keyword, const json& says) {
    const auto fits = [&](const json& each) { return accepts(value, each); };
    if (keyword == "$ref") {
        return fits(schema().at(json::json_pointer(says.get<std::string>().substr(1))));
    } else if (keyword == "const") {
        return value == says;
    } else if (keyword == "enum") {
        return std::find(says.begin(), says.end(), value) != says.end();
    } else if (keyword == "anyOf") {
        return std::any_of(says.begin(), says.end(), fits);
    } else if (keyword == "not") {
        return !fits(says);
    } else if (keyword == "if") {
        return fits(rule.at(fits(says) ? "then" : "else"));
    } else if (keyword == "type") {
        return says == "integer" ? value.is_number_integer()
                                 : says == (value.is_number() ? "number" : value.type_name());
    } else if (keyword == "minimum" || keyword == "maximum") {
        return !value.is_number() || (keyword == "minimum" ? value >= says : value <= says);
    } else if (keyword == "minItems" || keyword == "maxItems") {
        return !value.is_array() || (keyword == "minItems" ? value.size() >= says : value.size() <= says);
    } else if (keyword == "pattern") {
        return !value.is_string() || std::regex_match(value.get<std::string>(), std::regex(says.get<std::string>()));
    } else if (keyword == "items") {
        return !value.is_array() || all(value, [&](const json& each) { return accepts(each, says); });
    } else if (keyword == "required") {
        return !value.is_object() || all(says, [&](const json& name) { return value.contains(name); });
    } else if (keyword == "propertyNames" || keyword == "additionalProperties") {
        const json known = rule.value("properties", json::object());
        const auto is_right = [&](const auto& item) {
            return keyword == "propertyNames"
                       ? accepts(item.key(), says)
                       : known.contains(item.key()) || (says != false && accepts(item.value(), says));
        };
        const auto items = value.items();
        return !value.is_object() || std::all_of(items.begin(), items.end(), is_right);
    } else if (keyword == "properties") {
        const auto is_right = [&](const auto& item) {
            return !value.contains(item.key()) || accepts(value.at(item.key()), item.value());
        };
        const auto items = says.items();
        return !value.is_object() || std::all_of(items.begin(), items.end(), is_right);
    }
    static const std::set<std::string> no_rules = {"$schema", "$defs", "title", "description", "then", "else"};
    EXPECT_TRUE(no_rules.contains(keyword)) << keyword;
    return true;
}

bool accepts(const json& value, const json& rule) {
    const auto items = rule.items();
    return std::all_of(items.begin(), items.end(),
                       [&](const auto& item) { return holds(value, rule, item.key(), item.value()); });
}

// What the plug-in tells of a text: nothing when it takes it.
std::string told(const json& text) {
    static parsing_plugin plugin("qor_sdl_parser");
    return plugin.parse(text.dump()).told;
}

TEST(SdlSchema, TakesTheDescriptionsThatWeShip) {
    const std::string built_in = "plugins/sdl_parser/descriptions/";
    for (const std::string& name : {built_in + "gps.sdl", built_in + "reference-camera.sdl", built_in + "rt-range.sdl",
                                    std::string("examples/memory_layout/layout.sdl")}) {
        const json text = read_json(name);
        EXPECT_TRUE(accepts(text, schema())) << name;
        EXPECT_EQ(told(text), "") << name;
    }
}

const json sample =
    json::parse(R"({"sdl": 1, "views": [{"name": "V", "objects": [{"name": "O", "address": 1, "members": [
    {"name": "g", "members": [{"name": "s", "stored": "int8"}]}, {"name": "t", "stored": "uint16"}]}]}]})");

// The plug-in names its keys when it meets one that it does not know.
TEST(SdlSchema, HasTheKeysOfThePlugin) {
    const std::pair<const char*, const char*> rows[] = {{"", ""},
                                                        {"/$defs/view", "/views/0"},
                                                        {"/$defs/object", "/views/0/objects/0"},
                                                        {"/$defs/group", "/views/0/objects/0/members/0"},
                                                        {"/$defs/signal", "/views/0/objects/0/members/1"}};
    for (const auto& [rule, place] : rows) {
        std::set<std::string> keys;
        for (const auto& item : schema().at(json::json_pointer(rule)).at("properties").items()) {
            keys.insert('"' + item.key() + '"');
        }
        json text = sample;
        text[json::json_pointer(place)]["no such key"] = 1;
        const std::string message = told(text);
        static const std::regex quoted("\"[^\"]*\"");
        const std::sregex_token_iterator found(message.begin(), message.end(), quoted);
        EXPECT_EQ(keys, std::set<std::string>(found, {})) << message;
    }
}

// JSON texts that may stand at a place, and behind "not" those that may not.
TEST(SdlSchema, TakesAndRefusesWhatThePluginDoes) {
    const std::string object = "/views/0/objects/0";
    const std::string signal = object + "/members/1";
    const std::vector<std::string> rows[] = {
        {"/sdl", "1", "not", "2"},
        {"/comment", "not", "5"},
        {"/views", "[]", "not", "{}"},
        {"/views/0/name", "\"Every 10 ms\"", "not", "\"10 ms\""},
        {"/views/0/cycle", "4294967295", "not", "4294967296"},
        {"/views/0/comment", "not", "\"a\\u0000b\""},
        {"/views/0/objects", "[]"},
        {object + "/name", "not", "\"a b\""},
        {object + "/address", R"("0x0000ffffffffffffFF00")", "not", R"("0x1ffffffffffffffff")", "\"20\"", "-1"},
        {object + "/count", "not", "0", "\"0x0\""},
        {object + "/members", "not", "[]"},
        {object + "/members/0/members", "not", "[]"},
        {object + "/members/0/stored", "not", "\"int8\""},
        {signal + "/stored", "\"char8\"", "not", "\"float16\""},
        {signal + "/bit", "\"0x1000\"", "not", "\"0x1001\""},
        {signal + "/bits", "\"0x10\"", "not", "0", "65"},
        {signal + "/byte_order", "not", "\"motorola\""},
        {signal + "/encoding", "\"ones_complement\""},
        {signal + "/factor", "not", "\"1\""},
        {signal + "/coefficients", "[0, 1, 0, 0, 0, 1]", "not", "[0, 1, 0, 0, 0]"},
        {signal + "/unit", "not", "1"},
        {signal + "/maximum", "1e3"},
        {signal + "/values", R"({"-1": "a", "2": "b"})", "not", R"({"a": "a"})", R"({"1": 1})", "[]"},
        {signal, "not", R"({"name": "s", "stored": "int8", "factor": 1, "coefficients": [0, 1, 0, 0, 0, 1]})",
         R"({"name": "s"})", R"({"stored": "int8"})", "1"},
    };
    for (const auto& row : rows) {
        bool good = true;
        for (const std::string& value : std::vector(row.begin() + 1, row.end())) {
            if (value == "not") {
                good = false;
                continue;
            }
            json text = sample;
            text[json::json_pointer(row[0])] = json::parse(value);
            EXPECT_EQ(accepts(text, schema()), good) << row[0] << " " << value;
            EXPECT_EQ(told(text).empty(), good) << row[0] << " " << value;
        }
    }
}

} // namespace
} // namespace tavi::test
