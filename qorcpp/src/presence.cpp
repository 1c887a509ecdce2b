#include "qorcpp/presence.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "qorcpp/signal_layout.hpp"

namespace qor {

namespace {

// The layout of a selector, from the start of its object.
signal_layout selector_layout(std::uint32_t bit_offset, std::uint32_t bit_length, std::uint32_t raw_bits,
                              std::uint8_t byte_order) {
    if (bit_length == 0 || bit_length > 64) {
        throw std::invalid_argument("a selector has 1 to 64 bits");
    }
    if (raw_bits < bit_length || (raw_bits != 8 && raw_bits != 16 && raw_bits != 32 && raw_bits != 64)) {
        throw std::invalid_argument("a selector is stored in 8, 16, 32 or 64 bits, at least its own");
    }
    const signal_layout layout = layout_of_signal(signal_byte_order{byte_order}, bit_offset, bit_length, raw_bits);
    switch (layout.refusal) {
    case layout_refusal::byte_order:
        throw std::invalid_argument("the byte order is neither 0 nor 2");
    case layout_refusal::bit_offset:
        throw std::invalid_argument("the selector begins before its first byte");
    case layout_refusal::none:
        break;
    }
    return layout;
}

class condition_parser {
public:
    explicit condition_parser(std::string_view text) : text_(text) {}

    std::vector<presence_condition> parse() {
        std::vector<presence_condition> conditions{condition()};
        while (take('&')) {
            conditions.push_back(condition());
        }
        if (at_ != text_.size()) {
            fail("unexpected character");
        }
        return conditions;
    }

private:
    presence_condition condition() {
        const std::size_t start = at_;
        const auto byte_offset = number<std::uint32_t>(':');
        const auto bit_offset = number<std::uint32_t>(':');
        const auto bit_length = number<std::uint32_t>();
        const auto raw_bits = take('/') ? number<std::uint32_t>() : narrowest_integer_bits(bit_length);
        expect(':');
        const auto byte_order = number<std::uint8_t>(':');
        const auto sign = number<std::uint8_t>(':');
        if (sign > 1) {
            fail("expected 0 or 1", at_ - 2);
        }
        const std::size_t name_end = std::min(text_.find('=', at_), text_.size());
        std::string name(text_.substr(at_, name_end - at_));
        at_ = name_end;
        expect('=');
        const auto make_selector = [&] {
            return presence_selector(byte_offset, bit_offset, bit_length, raw_bits, byte_order, sign == 1);
        };
        presence_condition result{selector(make_selector, start), std::move(name), {}};
        do {
            result.ranges.push_back(range(result.selector));
        } while (take(','));
        return result;
    }

    template<typename Make>
    presence_selector selector(const Make& make, std::size_t start) const {
        try {
            return make();
        } catch (const std::invalid_argument& error) {
            fail(error.what(), start);
        }
    }

    presence_range range(const presence_selector& selector) {
        const std::size_t start = at_;
        const std::uint64_t first = selector.ordinal(value(selector.is_signed()));
        const std::uint64_t last = take('-') ? selector.ordinal(value(selector.is_signed())) : first;
        if (first > last) {
            fail("the range is empty", start);
        }
        return {first, last};
    }

    std::uint64_t value(bool is_signed) {
        return is_signed ? static_cast<std::uint64_t>(number<std::int64_t>()) : number<std::uint64_t>();
    }

    template<typename Integer>
    Integer number(char separator) {
        const Integer result = number<Integer>();
        expect(separator);
        return result;
    }

    template<typename Integer>
    Integer number() {
        Integer result = 0;
        const char* const begin = text_.data() + at_;
        const auto [end, code] = std::from_chars(begin, text_.data() + text_.size(), result);
        if (code != std::errc()) {
            fail(code == std::errc::result_out_of_range ? "the number is too large" : "expected a number");
        }
        at_ += static_cast<std::size_t>(end - begin);
        return result;
    }

    bool take(char character) {
        const bool there = at_ < text_.size() && text_[at_] == character;
        at_ += there ? 1 : 0;
        return there;
    }

    void expect(char character) {
        if (!take(character)) {
            fail(std::string("expected '") + character + "'");
        }
    }

    [[noreturn]] void fail(const std::string& reason) const { fail(reason, at_); }
    [[noreturn]] void fail(const std::string& reason, std::size_t at) const {
        throw std::invalid_argument("invalid presence condition '" + std::string(text_) + "': " + reason + " at " +
                                    std::to_string(at + 1));
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

} // namespace

presence_selector::presence_selector(std::uint32_t byte_offset, std::uint32_t bit_offset, std::uint32_t bit_length,
                                     std::uint32_t raw_bits, std::uint8_t byte_order, bool is_signed)
    : is_signed_(is_signed) {
    const signal_layout layout = selector_layout(bit_offset, bit_length, raw_bits, byte_order);
    begin_ = byte_offset + layout.first_byte;
    count_ = static_cast<std::uint8_t>(layout.byte_count);
    shift_ = layout.shift;
    length_ = static_cast<std::uint8_t>(layout.bit_length);
    high_first_ = layout.reversed;
}

std::optional<std::uint64_t> presence_selector::read(std::span<const std::uint8_t> object) const noexcept {
    if (end() > object.size()) {
        return std::nullopt;
    }
    const std::uint8_t* const bytes = object.data() + begin_;
    std::uint64_t value = 0;
    // The ninth byte, of a selector that begins inside a byte, gives only its lowest bits.
    const unsigned whole = std::min<unsigned>(count_, 8);
    for (unsigned i = whole; i-- > 0;) {
        value = value << 8 | bytes[high_first_ ? count_ - 1 - i : i];
    }
    value >>= shift_;
    if (count_ == 9) {
        value |= std::uint64_t{bytes[high_first_ ? 0 : 8]} << (64 - shift_);
    }
    const unsigned unused = 64u - length_;
    value <<= unused;
    value = is_signed_ ? static_cast<std::uint64_t>(static_cast<std::int64_t>(value) >> unused) : value >> unused;
    return ordinal(value);
}

bool presence_condition::admits(std::uint64_t ordinal) const noexcept {
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const presence_range& range) { return ordinal >= range.first && ordinal <= range.last; });
}

presence::presence(std::string_view text) : conditions_(condition_parser(text).parse()) {}

bool presence::holds(std::span<const std::uint8_t> object) const noexcept {
    return std::all_of(conditions_.begin(), conditions_.end(), [&](const presence_condition& condition) {
        const std::optional<std::uint64_t> ordinal = condition.selector.read(object);
        return ordinal && condition.admits(*ordinal);
    });
}

} // namespace qor
