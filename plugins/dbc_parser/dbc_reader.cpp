#include "plugins/dbc_parser/dbc_reader.hpp"

#include "plugins/dbc_parser/dbc_sections.hpp"
#include "plugins/dbc_parser/multiplexing.hpp"
#include "plugins/dbc_parser/parameter_groups.hpp"

namespace dbc_parser {

namespace {

// How much is read between two reports of progress.
constexpr size_t progress_step = size_t{256} << 10;

// A word that has the form of a section's keyword, whatever it means: "SIGTYPE_VALTYPE_", "FILTER".
bool has_keyword_form(std::string_view word) noexcept {
    if (word.size() < 2) {
        return false;
    }
    for (const char byte : word) {
        if (!((byte >= 'A' && byte <= 'Z') || byte == '_')) {
            return false;
        }
    }
    return true;
}

class file_reader {
public:
    file_reader(dbc_cursor& cursor, const warning_sink& warn, const progress_sink& progress)
        : cursor_(cursor), progress_(progress), reading_(cursor, file_, warn) {
        file_.room = (size_t{1} << 20) + 16 * cursor.size();
    }

    dbc_file read() {
        while (skip_to_word()) {
            report_progress();
            read_statement();
        }
        if (!has_section_) {
            cursor_.set_offset(0);
            cursor_.skip_white();
            cursor_.fail_expected("a section of a DBC such as VERSION, BU_ or BO_");
        }
        read_deferred();
        mark_parameter_groups(reading_);
        share_parameter_groups(file_);
        return std::move(file_);
    }

private:
    bool skip_to_word() {
        cursor_.skip_white();
        return !cursor_.at_end();
    }

    void report_progress() {
        if (progress_ && cursor_.offset() >= next_report_) {
            next_report_ = cursor_.offset() + progress_step;
            progress_(static_cast<float>(cursor_.offset()) / static_cast<float>(cursor_.size()));
        }
    }

    void read_deferred() {
        reading_.all_known = true;
        for (const size_t statement : reading_.deferred) {
            cursor_.set_offset(statement);
            read_statement();
        }
    }

    void read_statement() {
        const size_t begin = cursor_.offset();
        const std::string_view keyword = cursor_.peek_word();
        const section_reader section = find_section(keyword);
        if (keyword.starts_with("//")) {
            cursor_.skip_line(); // no part of the language, but people write comments so
            return;
        }
        if (section == nullptr) {
            pass_over(begin, keyword);
            return;
        }
        has_section_ = true;
        told_garbage_ = false;
        cursor_.set_offset(begin + keyword.size());
        reading_.statement = begin;
        reading_.signal_name = {};
        try {
            section(reading_);
        } catch (const statement_error& fault) {
            reading_.warn_at(fault.offset, std::string(keyword) + " is left out: " + subject() + fault.what());
            // From the line behind the statement's first: a text without its end may have swallowed good lines.
            cursor_.set_offset(begin);
            skip_to_section(cursor_);
        }
    }

    std::string subject() const {
        return reading_.signal_name.empty() ? "" : label_of(*reading_.message, reading_.signal_name) + ": ";
    }

    // Unknown sections are passed over in silence, anything else is told once.
    void pass_over(size_t begin, std::string_view keyword) {
        if (has_section_ && !has_keyword_form(keyword) && !told_garbage_) {
            told_garbage_ = true;
            reading_.warn_at(begin, "text that belongs to no section is left out");
        }
        skip_to_section(cursor_);
    }

    dbc_cursor& cursor_;
    const progress_sink& progress_;
    dbc_file file_;
    reading reading_;
    bool has_section_ = false;
    bool told_garbage_ = false;
    size_t next_report_ = 0;
};

} // namespace

dbc_file read_file(dbc_cursor& cursor, const warning_sink& warn, const progress_sink& progress) {
    dbc_file file = file_reader(cursor, warn, progress).read();
    if (file.messages.empty()) {
        warn(0, "the file has no messages");
    }
    for (dbc_message& message : file.messages) {
        resolve_multiplexing(message, file.room, warn);
    }
    return file;
}

} // namespace dbc_parser
