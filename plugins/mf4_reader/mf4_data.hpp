// The bytes of a data section, which may be one block or lists of blocks, deflated or not:
//
//     DT SD DV        bytes
//     DZ              deflated bytes of one of these, perhaps transposed
//     DL LD           a list of these, with a link to the next list
//     HL              a link to the first list
//
// Memory is constant: a window of the bytes, and for a transposed block that block.
#ifndef MF4_READER_MF4_DATA_HPP
#define MF4_READER_MF4_DATA_HPP

#include <optional>
#include <string>
#include <vector>

#include "plugins/mf4_reader/mf4_file.hpp"
#include "qor_plugin_sdk/inflater.hpp"

namespace tavi::mf4 {

// Thread: one at a time.
class data_stream {
public:
    // `first`: offset of the first block, 0 for no data. `is_open`: the recording was not closed, so that a DT block
    // without length goes on to the end of the file.
    data_stream(file& source, std::uint64_t first, bool is_open);

    // The next `count` bytes; fewer at the end and before a damaged place. Valid until the next call.
    std::span<const std::uint8_t> peek(std::size_t count) {
        if (window_.size() - begin_ < count) {
            fill(count);
        }
        return std::span(window_).subspan(begin_, std::min(count, window_.size() - begin_));
    }
    // Requires: that many bytes were peeked.
    void skip(std::size_t count) noexcept {
        begin_ += count;
        position_ += count;
    }

    // Bytes before the next one, those of damaged places included.
    std::uint64_t position() const noexcept { return position_; }
    // Byte offset in the file of the next byte, or of the deflated block that it is in.
    std::uint64_t place() const noexcept { return is_deflated_ ? block_place_ : place_ - (window_.size() - begin_); }

    // What is wrong after the bytes that were peeked last; null when nothing is.
    const char* damage() const noexcept { return damage_; }
    std::uint64_t damage_place() const noexcept { return damage_place_; }
    // Drops the bytes before the damage and goes on at the next block.
    void resume();

private:
    static constexpr std::size_t window_size = std::size_t{64} << 10;
    static constexpr std::size_t largest_transposed = std::size_t{16} << 20;

    void fill(std::size_t count);
    bool open_next();
    void open_list(const block& list);
    std::optional<std::uint64_t> next_in_list();
    void open_block(const block& opened);
    void open_deflated(const block& opened);
    void read_plain(std::span<std::uint8_t> room, std::size_t& count);
    void inflate_some(std::span<std::uint8_t> room, std::size_t& count);
    void inflate_transposed();
    void set_damage(const char* cause, std::uint64_t place) noexcept;

    file& file_;
    bool is_open_;
    std::vector<std::uint8_t> window_;
    std::size_t begin_ = 0;
    std::uint64_t position_ = 0;

    // The list that is read, and what is left of the bytes of all blocks before the stream must be in a circle.
    std::optional<std::uint64_t> next_block_;
    std::uint64_t list_place_ = 0;
    std::uint64_t list_count_ = 0;
    std::uint64_t list_index_ = 0;
    std::uint64_t next_list_ = 0;
    std::uint64_t allowance_;

    // The block that is read.
    std::uint64_t block_place_ = 0;
    std::uint64_t place_ = 0;     // of the next byte to be read of the file
    std::uint64_t left_ = 0;      // bytes of the block to be read
    std::uint64_t produced_ = 0;  // bytes that the block gave
    std::uint64_t announced_ = 0; // bytes that it gives
    bool is_deflated_ = false;
    std::vector<std::uint8_t> deflated_; // read ahead
    std::size_t deflated_begin_ = 0;
    std::optional<qor::sdk::inflater> inflater_;
    std::vector<std::uint8_t> transposed_;
    std::uint64_t columns_ = 0; // 0 for a block that is not transposed

    const char* damage_ = nullptr;
    std::uint64_t damage_place_ = 0;
};

} // namespace tavi::mf4

#endif
