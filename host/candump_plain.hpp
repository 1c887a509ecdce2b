// The lines of which a candump log mostly consists, taken apart in one go. For the reader.
#ifndef HOST_CANDUMP_PLAIN_HPP
#define HOST_CANDUMP_PLAIN_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/candump_reader.hpp"

namespace tavi::host {

// Characters behind the start of a line that are looked at, whatever stands there.
inline constexpr std::size_t candump_plain_room = 512;

// Knows the shape of lines that were read before: a time of as many digits, an interface that has been seen.
class candump_plain_line {
public:
    static constexpr std::size_t longest_channel = 254;

    // From a line that was read otherwise, with one blank before the interface and one behind it. `time` stands in it.
    void learn_time(std::string_view line, std::string_view time);
    // An interface of that many characters at most.
    void add_channel(std::string_view name, std::size_t number);

    // A frame whose data, or a letter of direction, end the line. The length of the line without its end; 0, with
    // nothing said of why and the frame in any state, for all others. Costs 20 to 40 ns.
    // Requires: candump_plain_room characters can be read at `text`.
    std::size_t parse(const char* text, candump_frame& frame) noexcept;

private:
    // Eight characters of the beginning. Differences from `text` are at most 9 where a digit stands, 0 for other
    // characters, anything outside of `mask`; added to `limit` all others reach bit 7.
    struct word_shape {
        std::uint64_t text = 0;
        std::uint64_t mask = 0;
        std::uint64_t limit = 0;
    };
    // A name with the blanks around it, and its first eight characters as a number, to compare by.
    struct channel_mark {
        std::uint64_t word;
        std::uint64_t mask;
        std::size_t number;
        std::string text;
    };

    std::size_t parse_beginning(const char* text, candump_frame& frame) const noexcept;
    const channel_mark* find_channel(const char* text) const noexcept;

    std::array<word_shape, 4> words_{};
    std::size_t word_count_ = 0; // 0: no time is known
    std::size_t point_ = 0;
    std::size_t end_ = 0;
    std::vector<channel_mark> channels_;
    bool are_words_ = true; // no mark has more than eight characters
};

} // namespace tavi::host

#endif
