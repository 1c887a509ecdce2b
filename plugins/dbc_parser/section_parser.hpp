// Reads the sections of a DBC into a description, one method a section:
//
//   text        : section*
//   VERSION       text
//   NS_         : word*
//   BS_         : anything on the line
//   BU_         : word*
//   BO_           id name : size sender
//   SG_           name [M | mN | mNM] : start | length @ order sign ( factor , offset ) [ minimum | maximum ] unit receiver*
//   CM_           [BU_ name | BO_ id | SG_ id name | EV_ name] text ;
//   BA_DEF_       [BU_ | BO_ | SG_ | EV_] text type ;
//   BA_DEF_DEF_   text value ;
//   BA_           text [BU_ name | BO_ id | SG_ id name | EV_ name] value ;
//   VAL_          id name (number text)* ;   or   id name table ;   or   variable (number text)* ;
//   VAL_TABLE_    name (number text)* ;
//   SIG_VALTYPE_  id name [:] number ;
//   SG_MUL_VAL_   id name selector range (, range)* ;
//
// Other sections run to their ';'. A section that is not understood is left out with a warning, and reading goes on
// behind its ';' or at the next line that begins with the word of a section, whichever comes first.
#ifndef PLUGINS_DBC_PARSER_SECTION_PARSER_HPP
#define PLUGINS_DBC_PARSER_SECTION_PARSER_HPP

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "plugins/dbc_parser/model.hpp"
#include "plugins/dbc_parser/scanner.hpp"
#include "plugins/dbc_parser/sections.hpp"

namespace qor::dbc_parser {

class section_parser {
public:
    // Told from time to time how much of the text is read, 0 to 1; may throw to stop.
    using progress = std::function<void(float)>;

    // text, report  must outlive the parser, text the description too
    section_parser(std::string_view text, const diagnostics& report, progress on_progress = nullptr);

    // Throws: std::runtime_error with the first place that is not understood when the text has no section at all; what
    // progress and the sink of the warnings throw.
    description parse();

private:
    bool parse_section(section kind);
    bool parse_version();
    bool parse_new_symbols();
    bool parse_line();
    bool parse_nodes();
    bool parse_message();
    bool parse_signal();
    bool parse_comment();
    bool parse_attribute_definition();
    bool parse_attribute_default();
    bool parse_attribute();
    bool parse_values();
    bool parse_value_table();
    bool parse_value_type();
    bool parse_multiplexing();

    bool read_signal_name(signal& read);
    bool read_bits(signal& read);
    bool read_scaling(signal& read);
    void read_limits(signal& read);
    void read_unit(signal& read);
    void pass_receivers();
    bool read_entries(table_range& entries);
    bool read_ranges(table_range& ranges);
    bool read_attribute_value(std::string_view& value, bool& is_number);

    // The parts of sections. Each gives false after a warning when something else stands there.
    bool take(char punctuation, const char* where);
    bool take_word(std::string_view& word, const char* what);
    bool take_text(std::string_view& text, const char* what);
    bool take_real(double& number, const char* what);
    bool take_unsigned(std::uint64_t& number, std::uint64_t largest, const char* what);
    bool take_message_id(target& of);
    bool take_signal_target(target& of);
    std::optional<std::string_view> name_up_to_colon(std::string_view* last_word);
    bool end_section();

    void pass_junk();
    void pass_section();
    void recover();
    bool begins_section() const noexcept;

    bool expected(const std::string& what);
    bool fault(place at, const std::string& cause);
    std::string consequence() const;

    const token& current() const noexcept { return scanner_.current(); }

    scanner scanner_;
    const diagnostics& report_;
    progress on_progress_;
    description result_;

    // What the section at hand is about, for warnings.
    struct {
        std::string_view keyword;
        std::string message;
        std::string_view signal;
        bool is_partly_used = false;
    } subject_;
    place section_at_;
    std::uint32_t order_ = 0;
    // Signals that follow a message that was left out are left out with it.
    bool message_left_out_ = false;
    bool is_recognised_ = false;
};

} // namespace qor::dbc_parser

#endif
