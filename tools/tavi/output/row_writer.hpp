// Values as rows of a form of output.
#ifndef TOOLS_TAVI_OUTPUT_ROW_WRITER_HPP
#define TOOLS_TAVI_OUTPUT_ROW_WRITER_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tavi/record_plan.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/output/row_format.hpp"

namespace tavi::tool {

// What stands before and behind the value in all rows of a signal, for the signals of a message: side by side, since
// they are read in this order for each frame.
class row_texts {
public:
    row_texts() : bytes_(padded_text::stride, '\0') {}

    // Of the next signal; two empty texts for one that is never written.
    void add(std::string_view before, std::string_view behind);

private:
    friend class row_writer;

    struct place {
        std::uint32_t before;
        std::uint32_t behind;
        std::uint32_t end;
    };

    std::vector<place> places_;
    // With as many bytes behind the last text as a step of copying reads.
    std::string bytes_;
};

struct row_style {
    const row_format* format;
    cell_rules cells; // of CSV
};

// As the options say, for what is written there.
row_style row_style_of(const decode_options& options, const block_output& output);

// Thread: one at a time.
class row_writer {
public:
    row_writer(row_output& output, const row_style& style) : output_(output), style_(style) {}

    // What goes before all rows.
    void write_header();

    // signal  the full URL
    void add_row(row_texts& texts, std::string_view signal, std::string_view unit) const;

    // The time of the rows that follow, a number as text; empty for none, in JSON null.
    void set_time(std::string_view time);

    // A value of a plan whose rows `texts` has.
    void write(const row_texts& texts, const host::record_plan& plan, const host::reading& value) {
        const row_texts::place row = texts.places_[value.row];
        const char* const bytes = texts.bytes_.data();
        char* at = output_.reserve(time_.size() + (row.end - row.before) + slack);
        at = padded_text::copy(bytes + row.before, row.behind - row.before, time_.copy_to(at));
        at = value.kind == host::value_kind::floating ? write_floating(at, plan, value) : plan.write_text(value, at);
        output_.commit(padded_text::copy(bytes + row.behind, row.end - row.behind, at));
    }

private:
    // Room for a value and for what padded texts write beyond their ends.
    static constexpr std::size_t slack = 2 * padded_text::stride + 64;

    char* write_floating(char* at, const host::record_plan& plan, const host::reading& value) const;

    row_output& output_;
    row_style style_;
    padded_text time_;
};

} // namespace tavi::tool

#endif
