#include "plugins/trc_reader/trc_line.hpp"

#include <algorithm>

namespace qor::trc {

namespace {

using sdk::is_blank;

constexpr const char* id_hint = "ids have four hexadecimal digits for 11 bits, eight for 29 bits";
constexpr const char* columns_hint = "the columns are those of the version in the line ;$FILEVERSION= of the header";
constexpr const char* data_hint = "bytes are two hexadecimal digits each";
constexpr std::uint32_t most_buses = 255;
constexpr std::uint32_t warning_id = 0xFFFFFFFF;

enum class record_kind { data, remote, fd, error, event, unknown };

struct record_type {
    std::string_view word;
    record_kind kind;
    std::uint32_t flags;         // of a package
    std::uint8_t fd_flags;       // of a CAN FD frame
    std::string_view event = ""; // of an event
};

constexpr record_type first_types[] = {{"Rx", record_kind::data, 0, 0},
                                       {"Tx", record_kind::data, QOR_RECORDED_TRANSMITTED, 0},
                                       {"Warng", record_kind::event, 0, 0, "bus status"},
                                       {"Error", record_kind::error, 0, 0}};

constexpr record_type second_types[] = {
    {"DT", record_kind::data, 0, 0},
    {"FB", record_kind::fd, 0, sdk::can_fd_format | sdk::can_fd_bit_rate_switch},
    {"FD", record_kind::fd, 0, sdk::can_fd_format},
    {"FE", record_kind::fd, 0, sdk::can_fd_format | sdk::can_fd_error_passive},
    {"BI", record_kind::fd, 0, sdk::can_fd_format | sdk::can_fd_bit_rate_switch | sdk::can_fd_error_passive},
    {"RR", record_kind::remote, 0, 0},
    {"ER", record_kind::error, 0, 0},
    {"ST", record_kind::event, 0, 0, "bus status"},
    {"EC", record_kind::event, 0, 0, "error counter"},
    {"EV", record_kind::event, 0, 0, "event"}};

constexpr record_type data_type{"", record_kind::data, 0, 0};
constexpr record_type warning_type{"", record_kind::event, 0, 0, "bus status"};
constexpr record_type unknown_type{"", record_kind::unknown, 0, 0};

std::uint8_t fd_length(std::uint32_t code) noexcept {
    return sdk::can_length(static_cast<std::uint8_t>(std::min<std::uint32_t>(code, 15)), true);
}

class line_reader {
public:
    line_reader(std::string_view text, const trc_columns& columns, trc_line& line)
        : at_(text.data()), end_(at_ + text.size()), columns_(columns), line_(line) {}

    void read() {
        for (const char column : columns_.letters) {
            if (!read_column(column)) {
                return;
            }
            // What follows the type and the bus of an error frame or event is not a frame.
            if (!is_frame() && column != 'N' && column != 'O' && !is_bus_next(column)) {
                return set_other();
            }
        }
        skip_blanks();
        if (at_ != end_) {
            return fail(at_, "the frame is followed by something that does not belong to it", columns_hint);
        }
        line_.frame.flags = type_->flags | direction_;
        line_.frame.fd_flags = type_->fd_flags;
        line_.what = trc_line::kind::frame;
    }

private:
    void fail(const char* where, std::string cause, const char* hint) {
        line_.what = trc_line::kind::fault;
        line_.where = where;
        line_.cause = std::move(cause);
        line_.hint = hint;
    }
    bool failed(const char* where, std::string cause, const char* hint) {
        fail(where, std::move(cause), hint);
        return false;
    }

    void skip_blanks() noexcept {
        while (at_ != end_ && is_blank(*at_)) {
            ++at_;
        }
    }

    std::string_view next_word() noexcept {
        skip_blanks();
        const char* const first = at_;
        while (at_ != end_ && !is_blank(*at_)) {
            ++at_;
        }
        return {first, static_cast<std::size_t>(at_ - first)};
    }

    // A number after blanks that is a word; `at_` stays on its first character for anything else.
    bool read_number(std::uint32_t& number) noexcept {
        skip_blanks();
        const char* const first = at_;
        if (sdk::read_digits(at_, end_, 10, number) && (at_ == end_ || is_blank(*at_))) {
            return true;
        }
        at_ = first;
        return false;
    }

    bool is_frame() const noexcept {
        return type_->kind == record_kind::data || type_->kind == record_kind::remote || type_->kind == record_kind::fd;
    }

    bool is_bus_next(char column) const noexcept {
        const std::size_t next = columns_.letters.find(column) + 1;
        return column == 'T' && next < columns_.letters.size() && columns_.letters[next] == 'B';
    }

    void set_other() {
        if (type_->kind == record_kind::error) {
            line_.frame = {};
            line_.frame.id = can_error_bit;
            line_.what = trc_line::kind::frame;
        } else {
            line_.event = type_->event;
            line_.what = trc_line::kind::event;
        }
    }

    bool read_column(char column) {
        switch (column) {
        case 'N':
            return read_line_number();
        case 'O':
            return read_offset();
        case 'T':
            return read_type();
        case 'B':
            return read_bus();
        case 'I':
            return read_id();
        case 'd':
            return read_direction();
        case 'l':
            return read_length(false);
        case 'L':
            return read_length(true);
        case 'D':
            return read_data();
        default:
            return !next_word().empty() || failed(at_, "the line ends before all of its columns", columns_hint);
        }
    }

    bool read_line_number() {
        skip_blanks();
        const char* const first = at_;
        std::uint64_t number = 0;
        for (; at_ != end_ && sdk::is_digit(*at_) && at_ - first < 18; ++at_) {
            number = number * 10 + static_cast<std::uint64_t>(*at_ - '0');
        }
        bool is_number = at_ != first;
        if (is_number && columns_.is_first_generation) {
            is_number = at_ != end_ && *at_ == ')';
            at_ += is_number ? 1 : 0;
        }
        if (!is_number || (at_ != end_ && !is_blank(*at_))) {
            return failed(first,
                          columns_.is_first_generation ? "the line does not begin with a number and )"
                                                       : "the line does not begin with a number",
                          columns_hint);
        }
        line_.number = number;
        return true;
    }

    // Milliseconds, as seconds with three more decimals.
    bool read_offset() {
        skip_blanks();
        const char* const first = at_;
        sdk::fixed_decimal milliseconds;
        if (!sdk::read_decimal(at_, end_, 12, 6, milliseconds) || (at_ != end_ && !is_blank(*at_))) {
            return failed(first, "the time offset is not a number of milliseconds", columns_hint);
        }
        std::int64_t nanoseconds = milliseconds.value;
        for (std::uint8_t place = milliseconds.decimals; place < 6; ++place) {
            nanoseconds *= 10;
        }
        line_.time = {nanoseconds, static_cast<std::uint8_t>(milliseconds.decimals + 3)};
        return true;
    }

    bool read_type() {
        const std::string_view word = next_word();
        const auto find = [&](const auto& types) -> const record_type* {
            for (const record_type& type : types) {
                if (type.word == word) {
                    return &type;
                }
            }
            return &unknown_type;
        };
        type_ = columns_.is_first_generation ? find(first_types) : find(second_types);
        return type_->kind != record_kind::unknown ||
               failed(word.data(),
                      word.empty() ? "the line ends before its type" : "the type of the record is not known",
                      columns_.is_first_generation ? "types are Rx, Tx, Warng and Error"
                                                   : "types are DT, RR, FD, FB, FE, BI, ER, ST, EC and EV");
    }

    bool read_bus() {
        skip_blanks();
        const char* const first = at_;
        if (read_number(line_.channel) && line_.channel <= most_buses) {
            return true;
        }
        at_ = first;
        line_.channel = 1;
        return (!is_frame() && next_word() == "-") || failed(first, "the bus is not a number up to 255", columns_hint);
    }

    bool read_id() {
        const std::string_view word = next_word();
        const char* at = word.data();
        std::uint32_t id = 0;
        if (!sdk::read_digits(at, word.data() + word.size(), 16, id) || at != word.data() + word.size()) {
            return failed(word.data(),
                          word.empty() ? "the line ends before its id" : "the id is not a hexadecimal number",
                          word.empty() ? columns_hint : id_hint);
        }
        const bool is_extended = word.size() == 8;
        if (id == warning_id && columns_.letters.find('T') == std::string::npos) {
            type_ = &warning_type;
            return true;
        }
        if (!is_extended && word.size() > 4) {
            return failed(word.data(), "the id has " + std::to_string(word.size()) + " digits", id_hint);
        }
        if (id > (is_extended ? can_id_mask : 0x7FFU)) {
            return failed(word.data(), is_extended ? "the id has more than 29 bits" : "the id has more than 11 bits",
                          id_hint);
        }
        line_.frame.id =
            id | (is_extended ? can_extended_bit : 0) | (type_->kind == record_kind::remote ? can_remote_bit : 0);
        return true;
    }

    bool read_direction() {
        const std::string_view word = next_word();
        direction_ = word == "Tx" ? QOR_RECORDED_TRANSMITTED : 0;
        return word == "Tx" || word == "Rx" ||
               failed(word.data(),
                      word.empty() ? "the line ends before its direction" : "the direction is neither Rx nor Tx",
                      columns_hint);
    }

    bool read_length(bool is_code) {
        skip_blanks();
        const char* const first = at_;
        std::uint32_t length = 0;
        if (!read_number(length)) {
            return failed(first,
                          at_ == end_ ? "the line ends before its data length" : "the data length is not a number",
                          columns_hint);
        }
        const bool is_fd = type_->kind == record_kind::fd;
        // Length codes of classic frames go to 15, which is 8 bytes.
        if (length > (is_code || !is_fd ? 15U : can_max_data_size) ||
            (is_fd && !is_code && fd_length(length_code(length)) != length)) {
            return failed(first, "a frame of this type does not have the length " + std::to_string(length),
                          is_fd ? "CAN FD frames have 0 to 8, 12, 16, 20, 24, 32, 48 or 64 bytes"
                                : "classic frames have 0 to 8 bytes");
        }
        line_.frame.length = is_fd && is_code ? fd_length(length)
                             : is_fd          ? static_cast<std::uint8_t>(length)
                                              : static_cast<std::uint8_t>(std::min(length, 8U));
        return true;
    }

    // The smallest code for that many bytes.
    static unsigned length_code(std::uint32_t length) noexcept {
        unsigned code = 0;
        while (code < 15 && fd_length(code) < length) {
            ++code;
        }
        return code;
    }

    bool read_data() {
        if (type_->kind == record_kind::remote) {
            return true;
        }
        if (columns_.is_first_generation) {
            const char* const before = at_;
            const std::string_view word = next_word();
            if (word == "RTR") {
                line_.frame.id |= can_remote_bit;
                return true;
            }
            if (word == "ERROR" && columns_.letters.find('T') == std::string::npos) {
                static constexpr record_type error_type{"", record_kind::error, 0, 0};
                type_ = &error_type;
                return true;
            }
            at_ = before;
        }
        const std::size_t length = line_.frame.length;
        const std::size_t count = sdk::read_hexadecimal_bytes(at_, end_, {line_.data.data(), length});
        if (count != length) {
            skip_blanks();
            return failed(at_,
                          at_ == end_ ? "the line ends after " + std::to_string(count) + " of " +
                                            std::to_string(length) + " bytes"
                                      : "the data contain a word that is not a byte",
                          data_hint);
        }
        line_.frame.data = {line_.data.data(), length};
        return true;
    }

    const char* at_;
    const char* end_;
    const trc_columns& columns_;
    trc_line& line_;
    const record_type* type_ = &data_type;
    std::uint32_t direction_ = 0;
};

} // namespace

void read_trc_line(std::string_view text, const trc_columns& columns, trc_line& line) {
    line.what = trc_line::kind::fault;
    line.time = {};
    line.channel = 1;
    line.frame = {};
    line_reader(text, columns, line).read();
}

} // namespace qor::trc
