// Random access to the bytes and blocks of an MDF 4 file. A block is
//
//     "##ID"  4 bytes  length u64  links u64  one u64 for each link: the offset of another block, or 0  data
//
// All numbers are little endian. A stream that cannot be sought is copied to a temporary file first.
#ifndef MF4_READER_MF4_FILE_HPP
#define MF4_READER_MF4_FILE_HPP

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qor_plugin_sdk/binary_input.hpp"

namespace tavi::mf4 {

using qor::sdk::load;

inline constexpr std::size_t block_header_size = 24;

// The beginning of a block: enough of all blocks but texts and data.
struct block {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    std::string id; // "DG"
    std::uint64_t link_count = 0;
    std::array<std::uint64_t, 8> links{}; // the first ones, 0 where there are fewer
    std::array<std::uint8_t, 128> data{}; // after the links, zeros where there is less
    std::size_t data_size = 0;            // of what is in `data`

    // A number of the data, 0 beyond its end.
    template<typename Integer>
    Integer number(std::size_t at) const noexcept {
        return at + sizeof(Integer) <= data.size() ? load<Integer>(data, at) : Integer{0};
    }
};

// Thread: one at a time.
class file {
public:
    // Throws: std::runtime_error when there is no space for the copy; what the stream reports.
    explicit file(qor::sdk::recording_input input);
    file(const file&) = delete;
    file& operator=(const file&) = delete;
    ~file();

    std::uint64_t size() const noexcept { return size_; }

    // Up to bytes.size() bytes from an offset; fewer only at the end. Throws: what the stream reports.
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> bytes);

    // The block with that id at an offset. Throws: std::runtime_error when there is none.
    block read_block(std::uint64_t offset, std::string_view id);
    // A block of any id; its id is empty when there is none.
    block find_block(std::uint64_t offset);

    // The text of a TX block, or an empty one for offset 0 and for other blocks.
    std::string read_text(std::uint64_t offset);

    // Farthest byte that was read.
    std::uint64_t place() const noexcept { return place_; }

private:
    struct closer {
        void operator()(std::FILE* opened) const noexcept { std::fclose(opened); }
    };

    void spool();

    qor::sdk::recording_input input_;
    std::unique_ptr<std::FILE, closer> copy_;
    std::string copy_path_; // empty when the file is removed already
    std::uint64_t size_ = 0;
    std::uint64_t at_ = 0; // of the stream or the copy
    std::uint64_t place_ = 0;
    std::uint32_t blocks_ = 0;
};

} // namespace tavi::mf4

#endif
