// NMEA 0183 sentences: how they are found in a run of bytes and taken apart.
//
//     $GPGLL,5321.6802,N,00630.3372,W,092750.000,A*32
//      --===                                       ~~
//      talker, type, fields between commas, checksum: the exclusive or of all between '$' and '*'
#ifndef PLUGINS_NMEA_PROCESSOR_SENTENCE_HPP
#define PLUGINS_NMEA_PROCESSOR_SENTENCE_HPP

#include <string_view>
#include <vector>

namespace nmea_processor {

// Views into the text that was read.
struct sentence {
    // Two characters; "P" for sentences of a maker's own.
    std::string_view talker;
    // Three characters such as "GGA"; a maker's sign of up to three; empty for an address of another length.
    std::string_view type;
    // Behind the address.
    std::vector<std::string_view> fields;
    // Whether there was a checksum, which then fits.
    bool has_checksum;
};

// Receivers exceed the 82 characters of the standard, by far with sentences of their own.
inline constexpr size_t longest_sentence = 1024;

// Walks over what should be sentences. Lines end with LF, CR or both; blank lines are passed over, so is the tag block
// "\...\" before a sentence. '$' and '!' are only at the beginning of sentences, so one within a line ends a sentence
// that was cut there. A line that begins with '#' is a comment up to its end, or up to a whole sentence with a checksum
// that fits; '#' in place of the first character of such a sentence is damage.
class sentence_scanner {
public:
    explicit sentence_scanner(std::string_view text) noexcept : rest_(text) {}

    // Stores the next piece without blanks around it, sound or not. False at the end.
    bool next(std::string_view& piece) noexcept;

private:
    bool next_line() noexcept;

    std::string_view rest_;
    std::string_view line_;
};

// Takes a piece apart. False when it is damaged: it does not begin with '$' or '!', is too long, has bytes beyond
// printable ASCII, a wrong checksum or something behind it, or no address of letters and digits.
// `result` is used again from call to call to save allocations; its content is undefined after false.
bool read_sentence(std::string_view piece, sentence& result);

} // namespace nmea_processor

#endif
