// A condition of presence, a zero byte, an object: what the condition says of the object is what follows from reading
// the selectors bit by bit.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "qorcpp/presence.hpp"

namespace {

using object_bytes = std::span<const std::uint8_t>;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// The numbers before a selector's name, in a text that was accepted.
struct selector {
    std::uint64_t byte_offset, bit_offset, bit_length, byte_order, is_signed;

    // Takes "B:O:L:ORDER:SIGN:NAME=RANGES" and the '&' after it from the text.
    static selector take(std::string_view& text) {
        selector result{};
        for (std::uint64_t* const number :
             {&result.byte_offset, &result.bit_offset, &result.bit_length, &result.byte_order, &result.is_signed}) {
            const std::size_t colon = text.find(':');
            *number = std::stoull(std::string(text.substr(0, colon)));
            text.remove_prefix(colon + 1);
        }
        text.remove_prefix(text.find('=') + 1);
        text.remove_prefix(std::min(text.find('&'), text.size() - 1) + 1);
        return result;
    }

    // Byte and bit of the bit of this weight. In byte order 2 the higher bits are at lower addresses; a selector of the
    // width of an integer that begins at bit 0 takes the bytes from the first one on.
    std::uint64_t place_of(std::uint64_t weight) const {
        const std::uint64_t bit = bit_offset % 8 + weight;
        const std::uint64_t first = byte_offset + bit_offset / 8;
        if (byte_order == 0) {
            return (first + bit / 8) * 8 + bit % 8;
        }
        const bool is_integer =
            bit_offset == 0 && (bit_length == 8 || bit_length == 16 || bit_length == 32 || bit_length == 64);
        const std::uint64_t lowest = is_integer ? first + bit_length / 8 - 1 : first;
        return (lowest - bit / 8) * 8 + bit % 8;
    }

    std::optional<std::uint64_t> read(object_bytes object) const {
        std::uint64_t value = 0;
        bool bit = false;
        for (std::uint64_t weight = 0; weight < 64; ++weight) {
            if (weight < bit_length) {
                const std::uint64_t place = place_of(weight);
                if (place / 8 >= object.size()) {
                    return std::nullopt;
                }
                bit = (object[place / 8] >> (place % 8) & 1) != 0;
            }
            // Beyond the highest bit follows the sign.
            value |= std::uint64_t{weight < bit_length || is_signed != 0 ? bit : false} << weight;
        }
        return is_signed != 0 ? value ^ (std::uint64_t{1} << 63) : value;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t zero = input.find('\0');
    std::string_view text = input.substr(0, zero);
    const object_bytes object =
        zero == std::string_view::npos ? object_bytes() : object_bytes(data, size).subspan(zero + 1);
    try {
        const qor::presence presence(text);
        bool expected = true;
        for (const qor::presence_condition& condition : presence.conditions()) {
            const auto ordinal = selector::take(text).read(object);
            require(condition.selector.read(object) == ordinal);
            expected &= ordinal && condition.admits(*ordinal);
        }
        require(presence.holds(object) == expected);
    } catch (const std::invalid_argument&) {
        // It says where.
    }
    return 0;
}
