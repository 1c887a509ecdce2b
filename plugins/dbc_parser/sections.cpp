#include "plugins/dbc_parser/sections.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace qor::dbc_parser {

namespace {

using entry = std::pair<std::string_view, section>;

constexpr std::array<entry, 35> sections = {{
    {"BA_", section::attribute},
    {"BA_DEF_", section::attribute_definition},
    {"BA_DEF_DEF_", section::attribute_default},
    {"BA_DEF_DEF_REL_", section::passed_over},
    {"BA_DEF_REL_", section::passed_over},
    {"BA_DEF_SGTYPE_", section::passed_over},
    {"BA_REL_", section::passed_over},
    {"BA_SGTYPE_", section::passed_over},
    {"BO_", section::message},
    {"BO_TX_BU_", section::passed_over},
    {"BS_", section::bit_timing},
    {"BU_", section::nodes},
    {"BU_BO_REL_", section::passed_over},
    {"BU_EV_REL_", section::passed_over},
    {"BU_SG_REL_", section::passed_over},
    {"CAT_", section::passed_over},
    {"CAT_DEF_", section::passed_over},
    {"CM_", section::comment},
    {"ENVVAR_DATA_", section::passed_over},
    {"EV_", section::passed_over},
    {"EV_DATA_", section::passed_over},
    {"FILTER", section::passed_over},
    {"NS_", section::new_symbols},
    {"NS_DESC_", section::passed_over},
    {"SGTYPE_", section::passed_over},
    {"SGTYPE_VAL_", section::passed_over},
    {"SG_", section::signal},
    {"SG_MUL_VAL_", section::multiplexing},
    {"SIGTYPE_VALTYPE_", section::passed_over},
    {"SIG_GROUP_", section::passed_over},
    {"SIG_TYPE_REF_", section::passed_over},
    {"SIG_VALTYPE_", section::value_type},
    {"VAL_", section::values},
    {"VAL_TABLE_", section::value_table},
    {"VERSION", section::version},
}};

constexpr bool by_word(const entry& left, const entry& right) noexcept {
    return left.first < right.first;
}

static_assert(std::is_sorted(sections.begin(), sections.end(), by_word));

constexpr auto word_bytes = [] {
    std::array<bool, 256> result{};
    result.fill(true);
    for (const char byte : std::string_view(" \t\v\f\r\n\":;,()[]|@")) {
        result[static_cast<unsigned char>(byte)] = false;
    }
    return result;
}();

} // namespace

section section_of(std::string_view word) noexcept {
    const auto found = std::lower_bound(sections.begin(), sections.end(), entry{word, section::none}, by_word);
    return found != sections.end() && found->first == word ? found->second : section::none;
}

bool is_word_byte(char byte) noexcept {
    return word_bytes[static_cast<unsigned char>(byte)];
}

} // namespace qor::dbc_parser
