// Any bytes as a log: it gives the same frames and the same damage whether the lines stand in one text, where those of
// a shape that was seen before are taken apart at once, or each comes alone, too short for that. The bytes are read
// twice in a row, so that all shapes were seen, with good lines behind them, since lines near the end come alone.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorcpp/can_frame.hpp"
#include "tavi/candump_reader.hpp"

namespace {

using tavi::host::candump_frame;
using tavi::host::candump_reader;

// All that a reader told, in text.
class history {
public:
    void read_all(candump_reader& reader, const std::vector<std::string>& channels, std::uint64_t lines_before) {
        candump_frame frame;
        for (auto outcome = reader.next(frame); outcome != candump_reader::outcome::end; outcome = reader.next(frame)) {
            text_ += std::to_string(lines_before + reader.line_number()) + " '" + std::string(reader.line_text()) +
                     (reader.line_has_end() ? "' " : "' (no end) ");
            if (outcome == candump_reader::outcome::frame) {
                add(frame, channels[frame.channel]);
            } else {
                const auto& fault = reader.fault();
                text_ += "damaged at " + std::to_string(fault.column) + ": " + fault.cause + " / " + fault.hint + '\n';
            }
        }
    }

    const std::string& text() const noexcept { return text_; }

private:
    void add(const candump_frame& frame, const std::string& channel) {
        text_ += "at " + std::string(frame.time) + " on " + channel + " as " + std::to_string(frame.channel);
        for (const unsigned value : {frame.id, std::uint32_t{frame.flags}, std::uint32_t{frame.length}}) {
            text_ += ' ' + std::to_string(value);
        }
        text_ += ':';
        const bool is_remote = (frame.id & qor::can_remote_bit) != 0;
        for (std::size_t i = 0; i < frame.length && !is_remote; ++i) {
            text_ += ' ' + std::to_string(frame.data[i]);
        }
        text_ += '\n';
    }

    std::string text_;
};

std::string read_whole(std::string_view text, std::size_t block_size) {
    std::string_view rest = text;
    candump_reader reader(
        [&](char* buffer, std::size_t room) {
            const std::size_t count = rest.copy(buffer, room);
            rest.remove_prefix(count);
            return count;
        },
        block_size);
    history read;
    read.read_all(reader, reader.channels(), 0);
    return read.text();
}

std::string read_by_lines(std::string_view text) {
    std::vector<std::string> channels;
    candump_reader reader([&](std::string_view name) {
        if (channels.size() == candump_reader::channel_limit) {
            return std::optional<std::size_t>();
        }
        channels.emplace_back(name);
        return std::optional(channels.size() - 1);
    });
    history read;
    for (std::uint64_t line = 0; !text.empty(); ++line) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        reader.read_text(text.substr(0, size), line == 0);
        read.read_all(reader, channels, line);
        text.remove_prefix(size);
    }
    return read.text();
}

void check(std::string_view text) {
    const std::string expected = read_by_lines(text);
    for (const std::size_t block_size : {std::size_t{4096}, candump_reader::default_block_size}) {
        if (const std::string told = read_whole(text, block_size); told != expected) {
            std::fprintf(stderr, "by lines:\n%s\nby blocks of %zu:\n%s\n", expected.c_str(), block_size, told.c_str());
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t shorter_than_a_block = 4000;
    if (size > shorter_than_a_block) {
        return 0;
    }
    std::string text(reinterpret_cast<const char*>(data), size);
    check(text);
    text += '\n';
    text += text;
    for (int line = 0; line < 20; ++line) {
        text += "(1436509052.249713) can0 0C0#1122334455667788\n";
    }
    check(text);
    return 0;
}
