// Which time is what. A line has the time since the start of the measurement, or, with "timestamps relative", since the
// line before it. The measurement began at the date of the header, or where a trigger block has a date too and the line
// "T Start of measurement", T before the date of the block; the two differ where a program wrote the date of
// conversion.
//
//     date Sat Nov 21 02:54:29.861 AM 2026
//     base hex  timestamps absolute
//     Begin Triggerblock Thu Jan 01 12:02:46.0 AM 1970
//        0.000000 Start of measurement                     the recording began at 166 s after 1970-01-01
//        0.005000 1  21A             Rx   d 8 FE 36 12 FE 69 05 07 AD
//     End TriggerBlock
//
// A recording that ends within its trigger block was cut. Every line is checked for control characters and 0xFF, which
// unwritten memory has: text that may be anything, such as a comment, would hide them.
#include "plugins/asc_reader/asc_recording.hpp"

#include "qor_plugin_sdk/text_date.hpp"

namespace qor::asc {

namespace {

constexpr std::string_view begin_words = "begin triggerblock";
constexpr std::string_view end_words = "end triggerblock";

bool begins_with(std::string_view text, std::string_view lower_case) noexcept {
    return text.size() >= lower_case.size() && sdk::is_word(text.substr(0, lower_case.size()), lower_case);
}

std::string_view trimmed(std::string_view text) noexcept {
    while (!text.empty() && sdk::is_blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && sdk::is_blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string_view first_word(std::string_view text) noexcept {
    return text.substr(0, text.find_first_of(" \t"));
}

bool has_word(std::string_view text, std::string_view lower_case) {
    for (text = trimmed(text); !text.empty(); text = trimmed(text)) {
        const std::string_view word = first_word(text);
        if (sdk::is_word(word, lower_case)) {
            return true;
        }
        text.remove_prefix(word.size());
    }
    return false;
}

bool is_base_line(std::string_view text) {
    return sdk::is_word(first_word(text), "base") && (has_word(text, "hex") || has_word(text, "dec"));
}

bool is_record(std::string_view text) noexcept {
    return sdk::is_digit(text[0]) || text[0] == '-';
}

// How sure a whole line makes it that the text is ASC; -1 for a line that any text may have.
std::int32_t certainty_of(std::string_view text, bool has_date) {
    if (is_base_line(text)) {
        return 95;
    }
    if (begins_with(text, begin_words) || begins_with(text, "internal events logged") ||
        begins_with(text, "no internal events logged")) {
        return 90;
    }
    if (text.starts_with("//") || (sdk::is_word(first_word(text), "date") && !has_date)) {
        return -1;
    }
    if (!is_record(text)) {
        return 0;
    }
    asc_line line;
    read_asc_line(text, 16, line);
    return line.what == asc_line::kind::fault ? 0 : 80;
}

} // namespace

std::int32_t asc_recording::recognise(std::span<const std::uint8_t> beginning, bool is_whole) {
    constexpr std::int32_t guess = 20;
    const std::string text = sdk::beginning_as_text(beginning);
    bool has_date = false;
    bool is_other = false;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = text.find_first_of("\r\n", at);
        const std::string_view line = trimmed(std::string_view(text).substr(at, end - at));
        if (end == std::string::npos && !is_whole) {
            break;
        }
        at = end == std::string::npos ? text.size() : end + 1;
        if (line.empty()) {
            continue;
        }
        const std::int32_t certainty = certainty_of(line, has_date);
        if (certainty > 0) {
            return is_other ? guess : certainty;
        }
        is_other = is_other || certainty == 0;
        has_date = has_date || (certainty < 0 && !line.starts_with("//"));
    }
    if (is_other) {
        return QOR_RECORDING_IS_OTHER;
    }
    if (is_whole || text.size() - at > 1000) {
        return is_whole && has_date ? 60 : QOR_RECORDING_IS_OTHER;
    }
    // A line that is not whole: what any line of the header begins with.
    const std::string_view rest = trimmed(std::string_view(text).substr(at));
    const bool is_possible =
        rest.empty() || is_record(rest) || std::string_view("bBdDiInN/").find(rest[0]) != std::string_view::npos;
    return is_possible && beginning.size() < QOR_RECORDING_BEGINNING ? QOR_RECORDING_NEEDS_MORE
                                                                     : QOR_RECORDING_IS_OTHER;
}

void asc_recording::read_line(const sdk::text_line& line, sdk::batch_builder& batch) {
    const std::string_view text = trimmed(line.text);
    if (const char* const control = sdk::find_control(text)) {
        return add_fault(batch, line, control, "the line contains a control character", "");
    }
    if (!is_record(text)) {
        return read_header(line, text, batch);
    }
    has_records_ = true;
    read_asc_line(text, base_, record_);
    const std::int64_t time = elapsed(record_.time.nanoseconds);
    switch (record_.what) {
    case asc_line::kind::frame: {
        has_frames_ = true;
        const std::size_t source = can_channel(record_.channel);
        if (filter_.excludes(source, record_.frame.id)) {
            return;
        }
        auto& package = batch.add_frame(source, line.number, {sdk::saturated_sum(start_, time), record_.time.decimals},
                                        record_.frame);
        return set_line(package, line);
    }
    case asc_line::kind::event:
        return count_other(record_.event);
    case asc_line::kind::start_of_measurement:
        if (block_date_ && !has_frames_) {
            set_beginning(sdk::saturated_sum(*block_date_, -time));
        }
        return count_other("measurement event");
    case asc_line::kind::fault:
        return add_fault(batch, line, record_.where, record_.cause, record_.hint);
    }
}

std::int64_t asc_recording::elapsed(std::int64_t time) noexcept {
    elapsed_ = is_relative_ ? sdk::saturated_sum(elapsed_, time) : time;
    return elapsed_;
}

void asc_recording::set_beginning(std::int64_t nanoseconds) {
    start_ = nanoseconds;
    set_start(nanoseconds);
}

void asc_recording::read_header(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch) {
    const std::string_view word = first_word(text);
    if (text.starts_with("//") || text.starts_with(';')) {
        read_comment(text);
    } else if (begins_with(text, begin_words)) {
        begin_block(line, trimmed(text.substr(begin_words.size())), batch);
    } else if (sdk::is_word(text, end_words)) {
        is_in_block_ = false;
        count_other("trigger block mark");
    } else if (sdk::is_word(word, "date")) {
        std::string_view date = text.substr(word.size());
        const std::size_t base = date.find(" base ");
        if (const auto found = date_of(line, date.substr(0, base), batch); found && !has_frames_) {
            set_beginning(*found);
        }
        count_other("header line");
        if (base != std::string_view::npos) {
            read_base(line, date.substr(base + 1), batch);
        }
    } else if (sdk::is_word(word, "base")) {
        read_base(line, text, batch);
        count_other("header line");
    } else if (!has_records_ || begins_with(text, "internal events logged") ||
               begins_with(text, "no internal events logged")) {
        count_other("header line");
    } else {
        add_fault(batch, line, text.data(), "neither a frame nor an event",
                  "a line begins with its time, then comes a CAN channel or the name of an event");
    }
}

void asc_recording::read_base(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch) {
    const bool is_decimal = has_word(text, "dec");
    if (!is_decimal && !has_word(text, "hex")) {
        add_fault(batch, line, text.data(), "the base is neither hex nor dec", "numbers are read as hexadecimal");
    }
    base_ = is_decimal ? 10 : 16;
    is_relative_ = has_word(text, "relative");
}

void asc_recording::read_comment(std::string_view text) {
    const std::string_view content = trimmed(text.substr(text.starts_with("//") ? 2 : 1));
    constexpr std::string_view version = "version ";
    if (begins_with(content, version) && !has_records_) {
        set_version(trimmed(content.substr(version.size())));
    }
    count_other("comment");
}

void asc_recording::begin_block(const sdk::text_line& line, std::string_view date, sdk::batch_builder& batch) {
    is_in_block_ = true;
    block_line_ = line.number;
    count_other("trigger block mark");
    block_date_ = date.empty() ? std::nullopt : date_of(line, date, batch);
    if (block_date_ && !properties().has_start && !has_frames_) {
        set_beginning(*block_date_);
    }
}

std::optional<std::int64_t> asc_recording::date_of(const sdk::text_line& line, std::string_view text,
                                                   sdk::batch_builder& batch) {
    const std::string_view date = trimmed(text);
    const auto found = sdk::read_date(date);
    if (!found && !date.empty()) {
        add_fault(batch, line, date.data(), "the date cannot be read",
                  "a date is: Sat Nov 21 14:54:29.861 2026; other forms are in docs/recordings.md");
    }
    return found;
}

void asc_recording::finish(sdk::batch_builder& batch) {
    if (is_in_block_) {
        set_end(QOR_RECORDING_END_CONTRADICTED);
        batch.add_fault(block_line_, 0, "the trigger block that begins here has no end",
                        "the recording was cut, or was not closed");
    }
}

} // namespace qor::asc
