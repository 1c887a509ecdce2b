// A base for recordings of text lines. A format is a class
//
//     class my_recording : public qor::sdk::text_recording {
//         void read_line(const qor::sdk::text_line& line, qor::sdk::batch_builder& batch) override;
//     };
//
// that gets one line after the other, without its end. Lines end in LF, CR LF or CR. A UTF-8 byte order mark is passed
// over; UTF-16 with a byte order mark, as a shell may write it, becomes UTF-8. Blank lines are passed over. A line
// longer than the limit is a fault. The text is read in blocks and lines are views into the block: they stay until the
// batch ends, so that packages may refer to them.
#ifndef QOR_PLUGIN_SDK_TEXT_RECORDING_HPP
#define QOR_PLUGIN_SDK_TEXT_RECORDING_HPP

#include <algorithm>
#include <charconv>
#include <string>

#include "qor_plugin_sdk/recording_reader.hpp"

namespace qor::sdk {

inline const char* skip_blanks(const char*& at, const char* end) noexcept {
    while (at != end && (*at == ' ' || *at == '\t')) {
        ++at;
    }
    return at;
}

// The characters up to the next blank, after blanks.
inline std::string_view read_word(const char*& at, const char* end) noexcept {
    const char* const begin = skip_blanks(at, end);
    while (at != end && *at != ' ' && *at != '\t') {
        ++at;
    }
    return {begin, static_cast<std::size_t>(at - begin)};
}

// An integer after blanks, followed by a blank or the end; false, and `at` on its first character, for anything else.
template<typename Integer>
bool read_number(const char*& at, const char* end, Integer& number, int base = 10) noexcept {
    const char* const begin = skip_blanks(at, end);
    const std::string_view word = read_word(at, end);
    const auto [stop, failure] = std::from_chars(word.data(), word.data() + word.size(), number, base);
    if (failure == std::errc() && stop == word.data() + word.size()) {
        return true;
    }
    at = begin;
    return false;
}

// Seconds after blanks, followed by a blank or the end: digits, and a point or comma with decimals, of which the first
// nine count. False, and `at` on its first character, for anything else and for times that 64 bits cannot hold in
// nanoseconds. A minus is accepted.
inline bool read_seconds(const char*& at, const char* end, recorded_time& time) noexcept {
    const char* const begin = skip_blanks(at, end);
    std::string_view word = read_word(at, end);
    const bool is_negative = word.starts_with('-');
    word.remove_prefix(is_negative ? 1 : 0);
    std::int64_t value = 0;
    std::uint8_t decimals = 0;
    bool has_digit = false;
    bool has_point = false;
    bool is_number = true;
    for (const char character : word) {
        const int digit = character - '0';
        if (digit < 0 || digit > 9) {
            is_number = is_number && !has_point && has_digit && (character == '.' || character == ',');
            has_point = true;
        } else if (has_point && decimals == 9) {
            continue;
        } else {
            is_number = is_number && value <= (INT64_MAX - digit) / 10;
            value = is_number ? value * 10 + digit : 0;
            decimals = static_cast<std::uint8_t>(decimals + (has_point ? 1 : 0));
            has_digit = true;
        }
    }
    for (std::uint8_t place = decimals; place < 9; ++place) {
        is_number = is_number && value <= INT64_MAX / 10;
        value = is_number ? value * 10 : 0;
    }
    if (!is_number || !has_digit) {
        at = begin;
        return false;
    }
    time = {is_negative ? -value : value, decimals};
    return true;
}

// Pairs of hexadecimal digits; false, with any content of `bytes`, for anything else.
inline bool read_hexadecimal(std::string_view digits, std::vector<std::uint8_t>& bytes) {
    bytes.clear();
    for (std::size_t at = 0; at + 2 <= digits.size(); at += 2) {
        std::uint8_t byte = 0;
        const char* const end = digits.data() + at + 2;
        const auto [stop, failure] = std::from_chars(digits.data() + at, end, byte, 16);
        if (failure != std::errc() || stop != end) {
            return false;
        }
        bytes.push_back(byte);
    }
    return digits.size() % 2 == 0;
}

struct text_line {
    std::string_view text;
    // From 1.
    std::uint64_t number;
    // The last line of a text need not have an end; more may have been meant to follow.
    bool has_end;
};

class text_recording : public recording {
public:
    // Requires: `longest_line` of at most half of `block_size`.
    explicit text_recording(recording_input input, std::size_t longest_line = 65536,
                            std::size_t block_size = std::size_t{256} << 10)
        : input_(input), block_(block_size), longest_line_(longest_line), text_(block_.data()) {
        set_places(QOR_RECORDING_PLACES_LINES);
    }

    // For chunks of a recording that is split.
    explicit text_recording(std::size_t longest_line = 65536) : longest_line_(longest_line) {
        set_places(QOR_RECORDING_PLACES_LINES);
    }

    std::uint64_t place() const noexcept final { return line_number_; }

    bool begin_split(std::span<const std::uint8_t>& rest) final {
        if (!can_split() || has_begun_) {
            return false;
        }
        begin_text();
        if (wide_) {
            return false;
        }
        rest = {reinterpret_cast<const std::uint8_t*>(text_) + begin_, end_ - begin_};
        return true;
    }

    // After the last line end; a CR at the end is left, since an LF may follow.
    std::size_t find_end(std::span<const std::uint8_t> data) const final {
        const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
        const std::size_t end = text.find_last_of("\r\n");
        if (end == text.npos || text[end] == '\n' || end + 1 < text.size()) {
            return end == text.npos ? 0 : end + 1;
        }
        const std::size_t before = text.substr(0, end).find_last_of("\r\n");
        return before == text.npos ? 0 : before + 1;
    }

    void set_chunk(std::span<const std::uint8_t> data) final {
        text_ = reinterpret_cast<const char*>(data.data());
        begin_ = newline_ = return_ = 0;
        end_ = data.size();
        line_number_ = 0;
        has_begun_ = at_end_ = has_finished_ = true;
        is_in_long_line_ = is_after_return_ = false;
    }

    std::uint64_t extent() const noexcept final { return line_number_; }

    bool read(batch_builder& batch) final {
        for (;;) {
            while (!batch.is_full()) {
                if (!take_line(batch)) {
                    break;
                }
            }
            // What there is goes out before the stream is read again: it may have to wait.
            if (batch.is_full() || (!batch.empty() && !at_end_)) {
                return true;
            }
            if (at_end_) {
                if (!has_finished_) {
                    has_finished_ = true;
                    finish(batch);
                }
                return false;
            }
            refill();
        }
    }

protected:
    // Adds what the line holds: packages, a fault, or nothing.
    virtual void read_line(const text_line& line, batch_builder& batch) = 0;
    // After the last line.
    virtual void finish(batch_builder&) {}
    // Whether lines can be read from any line on. Requires: make_part.
    virtual bool can_split() const { return false; }

    static void add_fault(batch_builder& batch, const text_line& line, const char* where, std::string_view cause,
                          std::string_view hint) {
        const std::uint64_t column =
            where != nullptr ? static_cast<std::uint64_t>(where - line.text.data()) + 1 : std::uint64_t{0};
        batch.add_fault(line.number, column, cause, hint, line.text.substr(0, longest_shown),
                        line.has_end ? 0 : QOR_RECORDED_UNENDED);
    }

    // Sets what a package has of its line.
    static void set_line(qor_recorded_package_t& package, const text_line& line) noexcept {
        package.text = line.text.data();
        package.text_size = static_cast<std::uint32_t>(line.text.size());
        package.flags |= line.has_end ? 0 : QOR_RECORDED_UNENDED;
    }

private:
    static constexpr std::size_t longest_shown = 4096;

    // False when the block holds no further whole line.
    bool take_line(batch_builder& batch) {
        if (is_after_return_ && begin_ != end_) {
            begin_ += text_[begin_] == '\n' ? 1 : 0;
            is_after_return_ = false;
        }
        const char* const from = text_ + begin_;
        const char* const limit = text_ + end_;
        const char* const stop = text_ + std::min(next(newline_, '\n'), next(return_, '\r'));
        const auto length = static_cast<std::size_t>(stop - from);
        const bool has_end = stop != limit;
        if (!has_end && !at_end_) {
            skip_if_too_long(batch, length);
            return false;
        }
        if (!has_end && length == 0) {
            return false;
        }
        begin_ += length + (has_end ? 1 : 0);
        is_after_return_ = has_end && *stop == '\r';
        ++line_number_;
        if (is_in_long_line_) {
            is_in_long_line_ = false;
            return true;
        }
        const text_line line{{from, length}, line_number_, has_end};
        if (length > longest_line_) {
            add_too_long(batch, line);
        } else if (!std::all_of(from, stop, [](char c) { return c == ' ' || c == '\t'; })) {
            read_line(line, batch);
        }
        return true;
    }

    // The place of the next `character` from the first unread byte on, or the end. `known` is the answer of the last
    // call: a text that has only one of LF and CR is searched for the other once.
    std::size_t next(std::size_t& known, char character) noexcept {
        known = std::max(known, begin_);
        if (known < end_ && text_[known] != character) {
            const void* const found = std::memchr(text_ + known, character, end_ - known);
            known = found != nullptr ? static_cast<std::size_t>(static_cast<const char*>(found) - text_) : end_;
        }
        return known;
    }

    // A line that fills the block is dropped up to its end, with one fault.
    void skip_if_too_long(batch_builder& batch, std::size_t length) {
        if (is_in_long_line_) {
            begin_ = end_;
        } else if (length > longest_line_) {
            add_too_long(batch, {{block_.data() + begin_, length}, line_number_ + 1, false});
            is_in_long_line_ = true;
            begin_ = end_;
        }
    }

    void add_too_long(batch_builder& batch, const text_line& line) {
        add_fault(batch, line, nullptr, "the line is longer than " + std::to_string(longest_line_) + " bytes", "");
    }

    void refill() {
        std::copy(block_.begin() + static_cast<std::ptrdiff_t>(begin_),
                  block_.begin() + static_cast<std::ptrdiff_t>(end_), block_.begin());
        newline_ = std::max(newline_, begin_) - begin_;
        return_ = std::max(return_, begin_) - begin_;
        end_ -= begin_;
        begin_ = 0;
        if (!has_begun_) {
            begin_text();
            if (end_ != 0) {
                return;
            }
        }
        if (wide_) {
            read_wide();
        } else {
            const std::size_t count = input_->read(block_.data() + end_, block_.size() - end_);
            end_ += count;
            at_end_ = count == 0;
        }
    }

    // Reads the first bytes, at least as many as a byte order mark may have when they begin like one.
    void begin_text() {
        constexpr std::size_t most = 1024; // what read_wide can take over
        has_begun_ = true;
        while (end_ < 3) {
            const std::size_t count = input_->read(block_.data() + end_, most - end_);
            if (count == 0) {
                break;
            }
            end_ += count;
            if (static_cast<unsigned char>(block_[0]) < 0x80) {
                return;
            }
        }
        const std::string_view text(block_.data(), end_);
        if (text.starts_with("\xEF\xBB\xBF")) {
            begin_ = 3;
        } else if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
            wide_ = text[0] == '\xFF' ? byte_order::little : byte_order::big;
            pending_.assign(text.begin() + 2, text.end());
            end_ = 0;
        }
    }

    // UTF-16 to UTF-8. A unit that is not a character becomes U+FFFD.
    void read_wide() {
        std::array<char, 4096> units{};
        std::copy(pending_.begin(), pending_.end(), units.begin());
        const std::size_t held = pending_.size();
        const std::size_t most = std::min(units.size() - held, (block_.size() - end_) / 3 - held);
        const std::size_t count = input_->read(units.data() + held, most);
        at_end_ = count == 0;
        const std::size_t size = held + count;
        std::size_t at = 0;
        const auto unit = [&](std::size_t place) -> std::uint32_t {
            const auto low = static_cast<unsigned char>(units[place + (wide_ == byte_order::little ? 0 : 1)]);
            const auto high = static_cast<unsigned char>(units[place + (wide_ == byte_order::little ? 1 : 0)]);
            return static_cast<std::uint32_t>(low | high << 8);
        };
        while (size - at >= 2) {
            std::uint32_t character = unit(at);
            if (character >= 0xD800 && character < 0xDC00) {
                if (size - at < 4 && !at_end_) {
                    break;
                }
                const std::uint32_t next = size - at >= 4 ? unit(at + 2) : 0;
                const bool is_pair = next >= 0xDC00 && next < 0xE000;
                character = is_pair ? 0x10000 + ((character - 0xD800) << 10) + (next - 0xDC00) : 0xFFFD;
                at += is_pair ? 2 : 0;
            } else if (character >= 0xDC00 && character < 0xE000) {
                character = 0xFFFD;
            }
            at += 2;
            append(character);
        }
        pending_.assign(units.begin() + static_cast<std::ptrdiff_t>(at),
                        units.begin() + static_cast<std::ptrdiff_t>(size));
        if (at_end_ && !pending_.empty()) {
            pending_.clear();
            append(0xFFFD);
        }
    }

    void append(std::uint32_t character) {
        const auto put = [this](std::uint32_t byte) { block_[end_++] = static_cast<char>(byte); };
        if (character < 0x80) {
            put(character);
        } else if (character < 0x800) {
            put(0xC0 | character >> 6);
            put(0x80 | (character & 0x3F));
        } else if (character < 0x10000) {
            put(0xE0 | character >> 12);
            put(0x80 | (character >> 6 & 0x3F));
            put(0x80 | (character & 0x3F));
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
            put(0x80 | (character >> 6 & 0x3F));
            put(0x80 | (character & 0x3F));
        }
    }

    enum class byte_order { little, big };

    // None for chunks.
    std::optional<recording_input> input_;
    std::vector<char> block_;
    std::size_t longest_line_;
    // The block, or a chunk that belongs to the host.
    const char* text_ = nullptr;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    // Where the next LF and CR are, as far as the text was searched for them.
    std::size_t newline_ = 0;
    std::size_t return_ = 0;
    std::uint64_t line_number_ = 0;
    bool has_begun_ = false;
    bool at_end_ = false;
    bool has_finished_ = false;
    bool is_in_long_line_ = false;
    // The last line ended in CR: an LF that follows belongs to it.
    bool is_after_return_ = false;
    std::optional<byte_order> wide_;
    // Bytes of a character whose rest was not read yet.
    std::vector<char> pending_;
};

} // namespace qor::sdk

#endif
