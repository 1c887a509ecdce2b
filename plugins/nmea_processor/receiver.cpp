#include "plugins/nmea_processor/receiver.hpp"

#include <algorithm>

#include "plugins/nmea_processor/sentence_types.hpp"

namespace nmea_processor {

namespace {

// Zeros behind a text that is shorter.
template<size_t Size>
std::array<char, Size> padded(std::string_view text) {
    std::array<char, Size> characters{};
    std::copy_n(text.begin(), std::min(text.size(), Size), characters.begin());
    return characters;
}

} // namespace

void receiver::take(std::string_view piece) {
    values_.begin_sentence();
    if (!apply(piece)) {
        count(broken_count, broken_);
    }
}

bool receiver::apply(std::string_view piece) {
    if (!read_sentence(piece, sentence_) || (checksums_came_ && !sentence_.has_checksum)) {
        return false;
    }
    checksums_came_ = sentence_.has_checksum;
    switch (read_values(sentence_, values_, satellites_)) {
    case reading::damaged:
        return false;
    case reading::unknown_type:
        count(unknown_count, unknown_);
        break;
    case reading::done:
        break;
    }
    count_sound();
    return true;
}

void receiver::count_sound() {
    count(sentence_count, sound_);
    values_.put(last_talker, padded<2>(sentence_.talker));
    values_.put(last_type, padded<3>(sentence_.type));
}

void receiver::count(member<uint64_t> member, uint64_t& counter) {
    values_.put(member, ++counter);
}

} // namespace nmea_processor
