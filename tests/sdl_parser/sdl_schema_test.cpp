// The JSON Schema says of every key what the plug-in says of it when it meets a wrong value.
#include <fstream>
#include <regex>
#include <set>

#include <nlohmann/json.hpp>

#include "tests/support/described.hpp"
#include "tests/support/paths.hpp"

namespace tavi::test {
namespace {

using nlohmann::json;

// The rule at a place of the schema, or the one that it refers to.
json rule_at(const std::string& place) {
    static const json schema = json::parse(std::ifstream(std::string(source_folder) + "/docs/sdl.schema.json"));
    const json& rule = schema.at(json::json_pointer(place));
    return rule.contains("$ref") ? rule_at(rule["$ref"].get<std::string>().substr(1)) : rule;
}

// What the plug-in tells of the sample after a value in it was put in place of what stands there, or was taken away.
std::string told(const std::string& place, const json* value) {
    json text = json::parse(R"({"sdl": 1, "views": [{"name": "V", "objects": [{"name": "O", "address": 1, "members": [
        {"name": "g", "members": [{"name": "s", "stored": "int8"}]}, {"name": "t", "stored": "uint64"}]}]}]})");
    const json::json_pointer at(place);
    if (value != nullptr) {
        text[at] = *value;
    } else {
        text[at.parent_pointer()].erase(at.back());
    }
    static parsing_plugin plugin("qor_sdl_parser");
    return plugin.parse(text.dump()).told;
}

std::string expectation(const json& rule) {
    if (rule.contains("enum")) {
        const std::string list = rule["enum"].dump();
        return "one of " + std::regex_replace(list.substr(1, list.size() - 2), std::regex(","), ", ");
    }
    if (rule.contains("anyOf")) {
        return "an integer from " + rule["anyOf"][0]["minimum"].dump() + " to " + rule["anyOf"][0]["maximum"].dump();
    }
    return rule.contains("const")     ? "an integer from 1 to 1"
           : rule["type"] == "string" ? "a text"
           : rule["type"] == "object" ? "an object of texts by stored value"
                                      : (rule["type"] == "array" ? "an " : "a ") + rule["type"].get<std::string>();
}

TEST(SdlSchema, SaysOfEachKeyWhatThePluginSays) {
    const std::pair<std::string, std::string> rows[] = {{"", ""},
                                                        {"/$defs/view", "/views/0"},
                                                        {"/$defs/object", "/views/0/objects/0"},
                                                        {"/$defs/group", "/views/0/objects/0/members/0"},
                                                        {"/$defs/signal", "/views/0/objects/0/members/1"}};
    for (const auto& [name, place] : rows) {
        const json rule = rule_at(name);
        EXPECT_EQ(rule["additionalProperties"], false);
        std::set<std::string> keys;
        const json nothing;
        for (const auto& item : rule.at("properties").items()) {
            const std::string at = place + '/' + item.key();
            const json sub = rule_at(name + "/properties/" + item.key());
            keys.insert('"' + item.key() + '"');
            const bool required = std::count(rule["required"].begin(), rule["required"].end(), item.key()) != 0;
            EXPECT_EQ(!told(at, nullptr).empty(), required) << at;
            // How small a whole may be follows from what is in it.
            const std::regex lowest("from [2-9]");
            const std::string message = told(at, &nothing);
            EXPECT_EQ(item.key() == "size" ? std::regex_replace(message, lowest, "from 1") : message,
                      at + ": expected " + expectation(sub) + ", found null\n");
            // Which of the patterns for texts it is.
            for (const json text : {"a b", " "}) {
                const bool fits = std::regex_match(text.get<std::string>(), std::regex(sub.value("pattern", "")));
                EXPECT_TRUE(!sub.contains("pattern") || told(at, &text).empty() == fits) << at << text;
            }
        }
        // It names its keys when it meets one that it does not know.
        const std::string unknown = told(place + "/no such key", &nothing);
        const std::regex quoted("\"[^\"]*\"");
        EXPECT_EQ(keys, std::set<std::string>(std::sregex_token_iterator(unknown.begin(), unknown.end(), quoted), {}));
    }
    EXPECT_EQ(rule_at("/$defs/members")["minItems"], 1);
    const json coefficients = rule_at("/$defs/signal/properties/coefficients");
    EXPECT_TRUE(coefficients["minItems"] == 6 && coefficients["maxItems"] == 6);
}

// Texts at a place, which the plug-in takes exactly when they fit the pattern.
TEST(SdlSchema, HasPatternsForWhatThePluginTakes) {
    const std::string object = "/views/0/objects/0", signal = object + "/members/1";
    const struct {
        std::string rule, place;
        std::vector<std::string> good, bad;
    } rows[] = {
        {"/$defs/name_with_blanks", "/views/0/name", {"Every 10 ms"}, {"10 ms", ""}},
        {"/$defs/name", object + "/name", {"a-b", "_1"}, {"a b", "1"}},
        {"/$defs/text", "/comment", {"a b"}, {{"a\0b", 3}}},
        {"/$defs/uint64/anyOf/1", object + "/address", {"0x0000ffffffffffFF00"}, {"0x1ffffffffffffffff", "20", "0x"}},
        {"/$defs/uint32/anyOf/1", "/views/0/cycle", {"0XffffFFFF"}, {"0x100000000"}},
        {"/$defs/positive_uint32/anyOf/1", object + "/count", {"0x1"}, {"0x0"}},
        {"/$defs/signal/properties/bit/anyOf/1", signal + "/bit", {"0x1000"}, {"0x1001"}},
        {"/$defs/signal/properties/bits/anyOf/1", signal + "/bits", {"0x40"}, {"0x0", "0x41"}},
    };
    for (const auto& row : rows) {
        const std::regex pattern(rule_at(row.rule)["pattern"].get<std::string>());
        for (const auto* const texts : {&row.good, &row.bad}) {
            for (const json text : *texts) {
                EXPECT_EQ(std::regex_match(text.get<std::string>(), pattern), texts == &row.good) << row.place << text;
                EXPECT_EQ(told(row.place, &text).empty(), texts == &row.good) << row.place << text;
            }
        }
    }
}

} // namespace
} // namespace tavi::test
