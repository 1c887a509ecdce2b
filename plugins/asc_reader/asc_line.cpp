#include "plugins/asc_reader/asc_line.hpp"

#include <algorithm>

namespace qor::asc {

namespace {

using sdk::is_blank;
using sdk::is_word;

constexpr const char* frame_hint = "a frame is: TIME CHANNEL ID Rx d LENGTH BYTES";
constexpr const char* fd_hint = "a CAN FD frame is: TIME CANFD CHANNEL Rx ID BRS ESI DLC LENGTH BYTES";
constexpr const char* event_hint = "a line begins with its time, then comes a CAN channel or the name of an event";
constexpr std::uint32_t most_channels = 255;
constexpr std::uint32_t largest_base_id = 0x7FF;

struct event_name {
    std::string_view word; // in lower case; the first word after the time, or its beginning before a digit
    std::string_view kind;
};

// After the time.
constexpr event_name events[] = {{"l", "LIN event"},
                                 {"li", "LIN event"},
                                 {"lin", "LIN event"},
                                 {"linstatistics", "LIN event"},
                                 {"fr", "FlexRay event"},
                                 {"flexray", "FlexRay event"},
                                 {"eth", "Ethernet event"},
                                 {"ethstatus", "Ethernet event"},
                                 {"ethstatistics", "Ethernet event"},
                                 {"most", "MOST event"},
                                 {"m", "MOST event"},
                                 {"j1939tp", "J1939 event"},
                                 {"canxl", "CAN XL frame"},
                                 {"wlan", "WLAN event"},
                                 {"afdx", "AFDX event"},
                                 {"a", "ARINC 429 event"},
                                 {"al", "A2B event"},
                                 {"sv:", "system variable"},
                                 {"envvar:", "environment variable"},
                                 {"gps-device:", "GPS event"},
                                 {"comment:", "comment"},
                                 {"gmgroup:", "marker"},
                                 {"gmarker:", "marker"},
                                 {"globalmarker:", "marker"},
                                 {"tfs:", "test structure event"},
                                 {"log", "trigger event"},
                                 {"trigger", "trigger event"},
                                 {"triggerevent", "trigger event"},
                                 {"can", "chip status"},
                                 {"start", "measurement event"},
                                 {"stop", "measurement event"},
                                 {"status:", "chip status"},
                                 {"statistic:", "statistics"},
                                 {"overloadframe", "overload frame"},
                                 {"overload", "overload frame"}};

bool is_letter(char character) noexcept {
    return sdk::lower(character) >= 'a' && sdk::lower(character) <= 'z';
}

std::uint8_t fd_length(std::uint32_t code) noexcept {
    return sdk::can_length(static_cast<std::uint8_t>(std::min<std::uint32_t>(code, 15)), true);
}

class line_reader {
public:
    line_reader(std::string_view text, unsigned base, asc_line& line)
        : at_(text.data()), end_(at_ + text.size()), base_(base), line_(line) {}

    void read() {
        skip_blanks();
        if (!read_time()) {
            return;
        }
        skip_blanks();
        if (at_ == end_) {
            return fail(at_, "the line ends after its time", event_hint);
        }
        const char* const first = at_;
        if (read_number(line_.channel)) {
            if (line_.channel > most_channels) {
                return fail(first, "the channel is larger than 255", frame_hint);
            }
            return read_after_channel();
        }
        const std::string_view word = next_word();
        if (is_word(word, "canfd")) {
            return read_fd();
        }
        read_event(word);
    }

private:
    void fail(const char* where, std::string cause, const char* hint) {
        line_.what = asc_line::kind::fault;
        line_.where = where;
        line_.cause = std::move(cause);
        line_.hint = hint;
    }

    void skip_blanks() noexcept {
        while (at_ != end_ && is_blank(*at_)) {
            ++at_;
        }
    }

    // The characters up to the next blank, after blanks.
    std::string_view next_word() noexcept {
        skip_blanks();
        const char* const first = at_;
        while (at_ != end_ && !is_blank(*at_)) {
            ++at_;
        }
        return {first, static_cast<std::size_t>(at_ - first)};
    }

    bool at_word_end() const noexcept { return at_ == end_ || is_blank(*at_); }

    // A decimal number after blanks that is a word; `at_` stays on its first character for anything else.
    bool read_number(std::uint32_t& number, unsigned base = 10) noexcept {
        skip_blanks();
        const char* const first = at_;
        if (sdk::read_digits(at_, end_, base, number) && at_word_end()) {
            return true;
        }
        at_ = first;
        return false;
    }

    bool read_time() {
        const char* const first = at_;
        sdk::fixed_decimal seconds;
        if (!sdk::read_decimal(at_, end_, 9, 9, seconds) || !at_word_end()) {
            fail(first, "the time is not SECONDS.FRACTION", event_hint);
            return false;
        }
        constexpr std::array<std::int64_t, 10> scales{1000000000, 100000000, 10000000, 1000000, 100000,
                                                      10000,      1000,      100,      10,      1};
        line_.time = {seconds.value * scales[seconds.decimals], seconds.decimals};
        return true;
    }

    // ---- classic lines -------------------------------------------------------------------------------------------

    void read_after_channel() {
        skip_blanks();
        const char* const first = at_;
        if (read_id(base_)) {
            return read_classic(first, true);
        }
        const std::string_view word = next_word();
        if (word.empty()) {
            return fail(first, "the line ends after its channel", frame_hint);
        }
        if (is_word(word, "errorframe")) {
            return set_error_frame();
        }
        if (find_event(word)) {
            return;
        }
        // A message that is written by its name: the id is in a field at the end.
        read_classic(first, false);
    }

    // An id at `at_`; false, with `at_` unchanged, for a word that is not one. It may be too large: see check_id.
    bool read_id(unsigned base) noexcept {
        const char* const first = at_;
        if (std::uint32_t id = 0; read_id_digits(base, id)) {
            const bool is_extended = at_ != end_ && (*at_ == 'x' || *at_ == 'X');
            at_ += is_extended ? 1 : 0;
            if (at_word_end()) {
                line_.frame.id = id | (is_extended ? can_extended_bit : 0);
                is_large_id_ = id > (is_extended ? can_id_mask : largest_base_id);
                return true;
            }
        }
        at_ = first;
        return false;
    }

    // Ten digits to the base 10 may be an id, which has nine at most.
    bool read_id_digits(unsigned base, std::uint32_t& id) noexcept {
        const char* const first = at_;
        if (sdk::read_digits(at_, end_, base, id)) {
            return true;
        }
        const auto [stop, failure] = std::from_chars(first, end_, id, static_cast<int>(base));
        at_ = failure == std::errc() && sdk::is_digit(*first) ? stop : first;
        return at_ != first;
    }

    bool check_id(const char* where, const char* hint) {
        if (is_large_id_) {
            const bool is_extended = (line_.frame.id & can_extended_bit) != 0;
            fail(where, is_extended ? "the id has more than 29 bits" : "the id has more than 11 bits",
                 is_extended ? hint : "ids of 29 bits end in x");
        }
        return !is_large_id_;
    }

    enum class direction { none, received, transmitted, requested };

    static direction direction_of(std::string_view word) noexcept {
        return is_word(word, "rx")     ? direction::received
               : is_word(word, "tx")   ? direction::transmitted
               : is_word(word, "txrq") ? direction::requested
                                       : direction::none;
    }

    // After the id, or after a name in its place.
    void read_classic(const char* id_place, bool has_id) {
        std::string_view word = next_word();
        direction direction = direction_of(word);
        if (direction == direction::none && !word.empty() && has_id) {
            word = next_word(); // after the name of the message
            direction = direction_of(word);
        }
        if (direction == direction::none) {
            return has_id ? fail(word.data(),
                                 word.empty() ? "the line ends before its direction"
                                              : "the direction is not Rx, Tx or TxRq",
                                 frame_hint)
                          : fail(id_place, "neither an id nor an event", frame_hint);
        }
        line_.frame.flags = direction == direction::transmitted ? QOR_RECORDED_TRANSMITTED : 0;
        const std::string_view kind = next_word();
        if (kind.size() != 1 || (sdk::lower(kind[0]) != 'd' && sdk::lower(kind[0]) != 'r')) {
            return fail(kind.data(), "neither d for data nor r for a remote frame", frame_hint);
        }
        if (!(sdk::lower(kind[0]) == 'd' ? read_classic_data() : read_remote_length()) || !read_trailer(has_id) ||
            !check_id(id_place, frame_hint)) {
            return;
        }
        line_.what = asc_line::kind::frame;
        if (direction == direction::requested) {
            set_event("transmit request");
        }
    }

    bool read_classic_data() {
        skip_blanks();
        const char* const place = at_;
        std::uint32_t code = 0;
        if (!read_number(code, base_) || code > 15) {
            fail(place, "the data length is not a number from 0 to 15", frame_hint);
            return false;
        }
        return read_bytes(std::min<std::uint32_t>(code, 8), base_);
    }

    bool read_remote_length() {
        std::uint32_t code = 0;
        skip_blanks();
        const char* const place = at_;
        if (read_number(code, base_)) {
            if (code > 15) {
                fail(place, "the data length is not a number from 0 to 15", frame_hint);
                return false;
            }
            line_.frame.length = static_cast<std::uint8_t>(std::min<std::uint32_t>(code, 8));
        }
        line_.frame.id |= can_remote_bit;
        return true;
    }

    bool read_bytes(std::uint32_t length, unsigned base) {
        std::size_t count = 0;
        if (base == 16) {
            count = sdk::read_hexadecimal_bytes(at_, end_, {line_.data.data(), length});
        } else {
            for (std::uint32_t byte = 0; count < length; ++count) {
                const char* const before = at_;
                if (!read_number(byte) || byte > 255) {
                    at_ = before;
                    break;
                }
                line_.data[count] = static_cast<std::uint8_t>(byte);
            }
        }
        if (count != length) {
            skip_blanks();
            fail(at_,
                 at_ == end_
                     ? "the line ends after " + std::to_string(count) + " of " + std::to_string(length) + " bytes"
                     : "the data contain a word that is not a byte",
                 base == 16 ? "bytes are two hexadecimal digits each" : "bytes are numbers from 0 to 255");
            return false;
        }
        line_.frame.length = static_cast<std::uint8_t>(length);
        line_.frame.data = {line_.data.data(), length};
        return true;
    }

    // Fields such as "Length = 240000 BitCount = 124 ID = 291x", flags of letters such as TE, and a comment.
    bool read_trailer(bool has_id) {
        bool has_field_id = false;
        for (;;) {
            const std::string_view word = next_word();
            if (word.empty()) {
                break;
            }
            if (word.starts_with("//")) {
                at_ = end_;
                break;
            }
            // A word of hexadecimal digits alone may be a byte.
            const bool is_name = std::all_of(word.begin(), word.end(),
                                             [](char character) { return is_letter(character) || character == '_'; });
            const bool is_number = std::all_of(word.begin(), word.end(),
                                               [](char character) { return sdk::hexadecimal_value(character) < 16; });
            if (!is_name || is_number || direction_of(word) != direction::none) {
                fail(word.data(), "the frame is followed by something that does not belong to it",
                     "after the data there may be fields such as Length = 240000, or a comment after //");
                return false;
            }
            skip_blanks();
            if (at_ != end_ && *at_ == '=') {
                ++at_;
                if (!read_field(word, has_id, has_field_id)) {
                    return false;
                }
            }
        }
        if (!has_id && !has_field_id) {
            fail(end_, "the message has a name and no id", "such lines end in a field ID = NUMBER");
            return false;
        }
        return true;
    }

    // After "NAME =".
    bool read_field(std::string_view name, bool has_id, bool& has_field_id) {
        skip_blanks();
        const char* const place = at_;
        if (is_word(name, "id")) {
            const std::uint32_t remote = line_.frame.id & can_remote_bit;
            const std::uint32_t id = line_.frame.id & ~can_remote_bit;
            if (!read_id(10)) {
                fail(place, "the field ID is not a decimal number", "");
                return false;
            }
            if (has_id && line_.frame.id != id) {
                fail(place, "the field ID differs from the id of the line", "");
                return false;
            }
            line_.frame.id |= remote;
            has_field_id = true;
            return true;
        }
        if (const std::string_view value = next_word(); value.empty() || !sdk::is_digit(value[0])) {
            fail(place, "the field " + std::string(name) + " has no number", "");
            return false;
        }
        return true;
    }

    void set_error_frame() {
        line_.frame.id = can_error_bit;
        line_.what = asc_line::kind::frame;
    }

    // ---- CAN FD --------------------------------------------------------------------------------------------------

    void read_fd() {
        skip_blanks();
        const char* place = at_;
        if (!read_number(line_.channel) || line_.channel > most_channels) {
            return fail(place, "the channel is not a number up to 255", fd_hint);
        }
        const std::string_view word = next_word();
        const direction direction = direction_of(word);
        if (direction == direction::none) {
            return fail(word.data(),
                        word.empty() ? "the line ends before its direction" : "the direction is not Rx, Tx or TxRq",
                        fd_hint);
        }
        line_.frame.flags = direction == direction::transmitted ? QOR_RECORDED_TRANSMITTED : 0;
        skip_blanks();
        place = at_;
        if (!read_id(16)) {
            if (is_word(next_word(), "errorframe")) {
                return set_error_frame();
            }
            return fail(place, "the id is not a hexadecimal number", fd_hint);
        }
        if (!read_fd_data() || !read_fd_trailer() || !check_id(place, fd_hint)) {
            return;
        }
        line_.what = asc_line::kind::frame;
        if (direction == direction::requested) {
            set_event("transmit request");
        }
    }

    bool read_flag(std::uint32_t& flag) noexcept {
        const char* const before = at_;
        if (read_number(flag) && flag <= 1) {
            return true;
        }
        at_ = before;
        skip_blanks();
        return false;
    }

    // From the name of the message, or the flag of the bit rate switch, up to the data.
    bool read_fd_data() {
        std::uint32_t bit_rate_switch = 0;
        std::uint32_t error_passive = 0;
        const char* place = at_;
        if (!read_flag(bit_rate_switch)) {
            const std::string_view name = next_word();
            const bool is_name = !name.empty() && !sdk::is_digit(name[0]);
            if (!is_name || !read_flag(bit_rate_switch)) {
                return failed(is_name ? at_ : name.data(), "the flag of the bit rate switch is not 0 or 1");
            }
        }
        if (!read_flag(error_passive)) {
            return failed(at_, "the flag of the error state is not 0 or 1");
        }
        line_.frame.fd_flags =
            static_cast<std::uint8_t>(sdk::can_fd_format | (bit_rate_switch != 0 ? sdk::can_fd_bit_rate_switch : 0) |
                                      (error_passive != 0 ? sdk::can_fd_error_passive : 0));
        const std::string_view code_word = next_word();
        const char* code_at = code_word.data();
        const char* const code_end = code_at + code_word.size();
        if (!sdk::read_digits(code_at, code_end, 16, code_) || code_at != code_end) {
            return failed(code_word.data(), "the DLC is not a hexadecimal number");
        }
        skip_blanks();
        place = at_;
        std::uint32_t length = 0;
        if (!read_number(length) || length > can_max_data_size) {
            return failed(place, "the data length is not a number from 0 to 64");
        }
        // Some programs write the length as the DLC too.
        const bool is_length_twice = std::string_view(place, static_cast<std::size_t>(at_ - place)) == code_word;
        const bool is_length_of_code =
            code_ <= 15 && (length == fd_length(code_) || length == std::min(code_, 8U) || length == 0);
        if (!is_length_twice && !is_length_of_code) {
            return failed(place, "the data length does not agree with the DLC");
        }
        return read_bytes(length, 16);
    }

    bool failed(const char* where, const char* cause) {
        fail(where, cause, fd_hint);
        return false;
    }

    // Numbers, of which the third has the flags of the frame. Only remote frames have a DLC without data.
    bool read_fd_trailer() {
        constexpr std::uint32_t remote_flag = 0x10;
        constexpr std::uint32_t fd_flag = 0x1000;
        constexpr int most_columns = 9;
        const char* const place = at_;
        std::uint32_t flags = fd_flag;
        std::uint32_t value = 0;
        for (int column = 0; column < most_columns && read_number(value, column < 2 ? 10 : 16); ++column) {
            flags = column == 2 ? value : flags;
        }
        const std::size_t length = line_.frame.data.size();
        const bool is_remote = (flags & remote_flag) != 0 && length == 0;
        if ((flags & fd_flag) == 0 && length <= 8) {
            line_.frame.fd_flags = 0;
        }
        if (is_remote) {
            line_.frame.id |= can_remote_bit;
            line_.frame.length = static_cast<std::uint8_t>(std::min(code_, 8U));
        } else if (length == 0 && code_ != 0) {
            return failed(place, "the frame has no data");
        }
        return read_trailer(true);
    }

    // ---- events --------------------------------------------------------------------------------------------------

    void set_event(std::string_view kind) {
        line_.what = asc_line::kind::event;
        line_.event = kind;
    }

    bool find_event(std::string_view word) {
        std::string_view name = word;
        while (name.size() > 1 && sdk::is_digit(name.back())) {
            name.remove_suffix(1); // "L1", "A429", "MOST150"
        }
        for (const event_name& event : events) {
            if (is_word(name, event.word) || is_word(word, event.word)) {
                set_event(event.kind);
                return true;
            }
        }
        return false;
    }

    void read_event(std::string_view word) {
        const std::string_view rest{at_, static_cast<std::size_t>(end_ - at_)};
        if (is_word(word, "start")) {
            next_word();
            if (is_word(next_word(), "measurement") && next_word().empty()) {
                line_.what = asc_line::kind::start_of_measurement;
                return;
            }
            return fail(word.data(), "neither a frame nor a known event", event_hint);
        }
        if (find_event(word)) {
            return;
        }
        if (word.starts_with("//")) {
            return set_event("comment");
        }
        // "EngineSpeed := 5", "Node::Message::Signal = 5"
        if (rest.find(":=") != std::string_view::npos) {
            return set_event("environment variable");
        }
        if (word.find("::") != std::string_view::npos && rest.find('=') != std::string_view::npos) {
            return set_event("signal");
        }
        fail(word.data(), "neither a frame nor a known event", event_hint);
    }

    const char* at_;
    const char* end_;
    unsigned base_;
    asc_line& line_;
    bool is_large_id_ = false;
    std::uint32_t code_ = 0;
};

} // namespace

void read_asc_line(std::string_view text, unsigned base, asc_line& line) {
    line.time = {};
    line.what = asc_line::kind::fault;
    line.frame = {};
    line_reader(text, base, line).read();
}

} // namespace qor::asc
