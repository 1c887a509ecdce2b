// The bytes of a binary recording, in order, from a buffer that is read ahead. A record is read so:
//
//     if (!batch.empty() && input.has_to_read(header_size)) return true;   // deliver before waiting for the stream
//     const auto header = input.peek(header_size);
//     if (header.size() < header_size) ...                                 // the recording ends within a record
//     const std::uint32_t id = qor::sdk::load<std::uint32_t>(header, 4, qor::sdk::byte_order::little);
//     input.skip(header_size);
#ifndef QOR_PLUGIN_SDK_BINARY_INPUT_HPP
#define QOR_PLUGIN_SDK_BINARY_INPUT_HPP

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

#include "qor_plugin_sdk/recording_reader.hpp"

namespace qor::sdk {

enum class byte_order { little, big };

// The number of type Integer whose first byte is `bytes[at]`.
// Requires: that many bytes.
template<typename Integer>
Integer load(std::span<const std::uint8_t> bytes, std::size_t at, byte_order order = byte_order::little) noexcept {
    static_assert(std::is_integral_v<Integer>);
    constexpr bool is_native_little = std::endian::native == std::endian::little;
    std::make_unsigned_t<Integer> value = 0;
    if ((order == byte_order::little) == is_native_little) {
        std::memcpy(&value, bytes.data() + at, sizeof value); // compilers do not see that the loop below is this
        return static_cast<Integer>(value);
    }
    for (std::size_t index = 0; index < sizeof(Integer); ++index) {
        const std::size_t shift = 8 * (order == byte_order::little ? index : sizeof(Integer) - 1 - index);
        value = static_cast<std::make_unsigned_t<Integer>>(
            value | static_cast<std::make_unsigned_t<Integer>>(bytes[at + index]) << shift);
    }
    return static_cast<Integer>(value);
}

// Thread: one at a time.
class binary_input {
public:
    explicit binary_input(recording_input input, std::size_t block_size = std::size_t{256} << 10)
        : input_(input), block_(block_size) {}

    // Byte offset of the next byte.
    std::uint64_t offset() const noexcept { return offset_; }

    // Whether a peek of `count` bytes reads the stream.
    bool has_to_read(std::size_t count) const noexcept { return !at_end_ && end_ - begin_ < count; }

    // The next `count` bytes, or all that are left when these are fewer. Valid until the next peek or skip. The caller
    // limits `count`, since that many bytes are held. Throws: what the stream reports.
    std::span<const std::uint8_t> peek(std::size_t count) {
        if (end_ - begin_ < count && !at_end_) {
            fill(count);
        }
        return {block_.data() + begin_, std::min(count, end_ - begin_)};
    }

    // Passes over bytes; by a seek where that is shorter. Returns how many there were, fewer than `count` only at the
    // end. Throws: what the stream reports.
    std::uint64_t skip(std::uint64_t count) {
        const std::uint64_t held = std::min<std::uint64_t>(count, end_ - begin_);
        begin_ += static_cast<std::size_t>(held);
        offset_ += held;
        return held == count ? count : held + skip_unread(count - held);
    }

    // Goes on at an offset. Requires: can_seek(), or one that is not before the next byte.
    void move_to(std::uint64_t offset) {
        if (offset >= offset_ && offset - offset_ <= end_ - begin_) {
            skip(offset - offset_);
        } else if (input_.can_seek()) {
            input_.seek(offset);
            begin_ = end_ = 0;
            offset_ = offset;
            at_end_ = false;
        } else {
            skip(offset - offset_);
        }
    }

    bool can_seek() const noexcept { return input_.can_seek(); }
    std::optional<std::uint64_t> size() { return input_.size(); }

private:
    void fill(std::size_t count) {
        std::copy(block_.begin() + static_cast<std::ptrdiff_t>(begin_),
                  block_.begin() + static_cast<std::ptrdiff_t>(end_), block_.begin());
        end_ -= begin_;
        begin_ = 0;
        if (block_.size() < count) {
            block_.resize(count);
        }
        while (end_ < count && !at_end_) {
            const std::size_t read = input_.read(block_.data() + end_, block_.size() - end_);
            end_ += read;
            at_end_ = read == 0;
        }
    }

    std::uint64_t skip_unread(std::uint64_t count) {
        const auto whole = input_.can_seek() && count > block_.size() ? input_.size() : std::nullopt;
        if (whole) {
            const std::uint64_t possible = std::min(count, *whole > offset_ ? *whole - offset_ : 0);
            move_to(offset_ + possible);
            return possible;
        }
        std::uint64_t skipped = 0;
        while (skipped < count) {
            const auto bytes = peek(static_cast<std::size_t>(std::min<std::uint64_t>(count - skipped, block_.size())));
            if (bytes.empty()) {
                break;
            }
            begin_ += bytes.size();
            offset_ += bytes.size();
            skipped += bytes.size();
        }
        return skipped;
    }

    recording_input input_;
    std::vector<std::uint8_t> block_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    std::uint64_t offset_ = 0;
    bool at_end_ = false;
};

} // namespace qor::sdk

#endif
