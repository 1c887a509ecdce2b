// The lines of which a candump log mostly consists, taken apart in one go. For the reader.
#ifndef PLUGINS_CANDUMP_READER_CANDUMP_PLAIN_HPP
#define PLUGINS_CANDUMP_READER_CANDUMP_PLAIN_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "plugins/candump_reader/candump_line.hpp"
#include "plugins/candump_reader/text_block.hpp"

namespace qor::candump {

// Characters behind the start of a line that are looked at, whatever stands there.
inline constexpr std::size_t candump_plain_room = 512;

// Knows the shape of lines that were read before: a time of as many digits, an interface that has been seen.
class candump_plain_line {
public:
    static constexpr std::size_t longest_channel = 254;

    // From a line that was read otherwise. `time`, without leading zeros, stands in it.
    void learn_time(std::string_view line, std::string_view time);
    // A name that is new, without blanks, of longest_channel characters at most.
    void add_channel(std::string_view name, std::size_t number);

    // A frame whose data, or a letter of direction, end the line. The length of the line without its end; 0, with
    // nothing said of why and the frame in any state, for all others. Costs 20 to 40 ns.
    // Requires: candump_plain_room characters can be read at `text`.
    std::size_t parse(const char* text, candump_frame& frame) noexcept;

private:
    // A name with the blanks around it, and its first eight characters as a number, to compare by.
    struct channel_mark {
        std::uint64_t word;
        std::uint64_t mask;
        std::size_t number;
        std::string text;
    };

    std::size_t parse_beginning(const char* text, candump_frame& frame) const noexcept;
    const channel_mark* find_channel(const char* text) const noexcept;

    // Of the beginning up to the ')'.
    std::array<block_shape, 2> shape_{};
    std::size_t point_ = 0; // 0: no time is known
    std::size_t end_ = 0;
    std::vector<channel_mark> channels_;
    bool are_words_ = true;          // no mark has more than eight characters
    std::size_t channel_length_ = 0; // of all marks, 0 when they differ
};

} // namespace qor::candump

#endif
