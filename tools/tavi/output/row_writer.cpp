#include "tools/tavi/output/row_writer.hpp"

#include <cmath>
#include <stdexcept>

namespace tavi::tool {

row_style row_style_of(const decode_options& options, const block_output& output) {
    return {row_formats[options.format].format, {!options.no_formula_guard, output.is_terminal()}};
}

void row_writer::write_header() {
    if (!style_.format->header.empty()) {
        output_.write(style_.format->header);
    }
}

void row_texts::add(std::string_view before, std::string_view behind) {
    const std::size_t begin = bytes_.size() - padded_text::stride;
    bytes_.insert(begin, before);
    bytes_.insert(begin + before.size(), behind);
    const std::size_t end = begin + before.size() + behind.size();
    if (end > UINT32_MAX) {
        throw std::length_error("the names of a message have more than 4 GiB");
    }
    places_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(begin + before.size()),
                       static_cast<std::uint32_t>(end)});
}

void row_writer::add_row(row_texts& texts, std::string_view signal, std::string_view unit) const {
    texts.add(style_.format->before_value(signal, style_.cells), style_.format->after_value(unit, style_.cells));
}

void row_writer::set_time(std::string_view time) {
    if (time.empty()) {
        time_.assign(style_.format->no_time);
    } else {
        time_.assign(style_.format->before_time, time);
    }
}

char* row_writer::write_floating(char* at, const host::record_plan& plan, const host::reading& value) const {
    if (!style_.format->quotes_non_finite || std::isfinite(value.floating_value)) {
        return plan.write_text(value, at);
    }
    *at++ = '"';
    at = plan.write_text(value, at);
    *at++ = '"';
    return at;
}

} // namespace tavi::tool
