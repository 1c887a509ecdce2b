#include "plugins/mf4_reader/mf4_file.hpp"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <random>

namespace tavi::mf4 {

namespace {

// Blocks of a file that are read; a hostile file can link blocks without end.
constexpr std::uint32_t most_blocks = 1000000;
constexpr std::size_t longest_text = 1024;

bool move_to(std::FILE* copy, std::uint64_t offset) {
    // In steps that a long of 32 bits can hold.
    constexpr std::uint64_t step = 1U << 30;
    bool has_moved = std::fseek(copy, static_cast<long>(std::min(offset, step)), SEEK_SET) == 0;
    for (offset -= std::min(offset, step); has_moved && offset != 0; offset -= std::min(offset, step)) {
        has_moved = std::fseek(copy, static_cast<long>(std::min(offset, step)), SEEK_CUR) == 0;
    }
    return has_moved;
}

} // namespace

file::file(qor::sdk::recording_input input) : input_(input) {
    const auto size = input_.can_seek() ? input_.size() : std::nullopt;
    if (size) {
        size_ = *size;
    } else {
        spool();
    }
}

file::~file() {
    copy_.reset();
    if (!copy_path_.empty()) {
        std::error_code ignored;
        std::filesystem::remove(copy_path_, ignored);
    }
}

// The file has no name any more as soon as it is open, where the system allows that.
void file::spool() {
    std::error_code no_folder;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(no_folder);
    if (no_folder) {
        throw std::runtime_error(
            "the recording cannot be sought, and there is no folder for temporary files (TMPDIR): " +
            no_folder.message());
    }
    std::random_device random;
    for (int attempt = 0; attempt < 16 && !copy_; ++attempt) {
        const std::string name = "tavi-mf4-" + std::to_string(random()) + std::to_string(random());
        copy_path_ = (folder / name).string();
        copy_.reset(std::fopen(copy_path_.c_str(), "w+bx"));
    }
    const auto fail = [&](const char* what) {
        throw std::runtime_error(std::string("the recording cannot be sought, and ") + what + " in " + folder.string() +
                                 ": " + std::strerror(errno));
    };
    if (!copy_) {
        copy_path_.clear();
        fail("no temporary file can be made");
    }
    std::error_code in_use;
    if (std::filesystem::remove(copy_path_, in_use)) {
        copy_path_.clear();
    }
    std::vector<std::uint8_t> chunk(std::size_t{64} << 10);
    for (std::size_t count = input_.read(chunk.data(), chunk.size()); count != 0;
         count = input_.read(chunk.data(), chunk.size())) {
        if (std::fwrite(chunk.data(), 1, count, copy_.get()) != count) {
            fail("it cannot be copied");
        }
        size_ += count;
    }
    if (std::fflush(copy_.get()) != 0) {
        fail("it cannot be copied");
    }
    at_ = size_;
}

std::size_t file::read(std::uint64_t offset, std::span<std::uint8_t> bytes) {
    if (offset >= size_ || bytes.empty()) {
        return 0;
    }
    if (offset != at_) {
        if (!copy_) {
            input_.seek(offset);
        } else if (!move_to(copy_.get(), offset)) {
            throw std::runtime_error("the temporary copy of the recording cannot be read");
        }
        at_ = offset;
    }
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const std::size_t count = copy_ ? std::fread(bytes.data() + filled, 1, bytes.size() - filled, copy_.get())
                                        : input_.read(bytes.data() + filled, bytes.size() - filled);
        if (count == 0) {
            break;
        }
        filled += count;
    }
    at_ += filled;
    place_ = std::max(place_, at_);
    return filled;
}

block file::find_block(std::uint64_t offset) {
    block found;
    std::array<std::uint8_t, block_header_size> header{};
    if (++blocks_ > most_blocks) {
        throw std::runtime_error("the recording has more than 1,000,000 blocks, or links blocks in a circle");
    }
    if (read(offset, header) < header.size() || header[0] != '#' || header[1] != '#') {
        return found;
    }
    found.offset = offset;
    found.length = load<std::uint64_t>(header, 8);
    found.link_count = load<std::uint64_t>(header, 16);
    found.id = {static_cast<char>(header[2]), static_cast<char>(header[3])};
    // The last data block of a recording that was not closed may have no length.
    const std::uint64_t length = std::max<std::uint64_t>(found.length, block_header_size);
    if (found.link_count > (length - block_header_size) / 8) {
        return {};
    }
    std::array<std::uint8_t, 64> links{};
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(found.link_count, found.links.size()));
    if (read(offset + block_header_size, std::span(links).first(8 * count)) < 8 * count) {
        return {};
    }
    for (std::size_t index = 0; index < count; ++index) {
        found.links[index] = load<std::uint64_t>(links, 8 * index);
    }
    const std::uint64_t data = block_header_size + 8 * found.link_count;
    found.data_size = static_cast<std::size_t>(std::min<std::uint64_t>(length - data, found.data.size()));
    found.data_size = read(offset + data, std::span(found.data).first(found.data_size));
    return found;
}

block file::read_block(std::uint64_t offset, std::string_view id) {
    block found = find_block(offset);
    if (found.id != id) {
        throw std::runtime_error("there is no block " + std::string(id) + " at byte " + std::to_string(offset) +
                                 ", where another block links to one");
    }
    return found;
}

std::string file::read_text(std::uint64_t offset) {
    if (offset == 0) {
        return "";
    }
    const block found = find_block(offset);
    if (found.id != "TX" || found.link_count != 0 || found.length < block_header_size) {
        return "";
    }
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(std::min<std::uint64_t>(found.length - block_header_size, longest_text)));
    bytes.resize(read(offset + block_header_size, bytes));
    const std::string text(bytes.begin(), bytes.end());
    return text.substr(0, text.find('\0'));
}

} // namespace tavi::mf4
