// Recognises, by their first bytes, files that are not recordings that the readers of this library take.
#ifndef TAVI_RECORDING_FORMAT_HPP
#define TAVI_RECORDING_FORMAT_HPP

#include <string_view>

namespace tavi::host {

enum class recording_kind {
    compressed,  // a file or archive that has to be decompressed first
    encoded,     // text in another character encoding
    recording,   // a recording in another format
    description, // a description of recordings
    result,      // what the command has written
    database,    // a database, for example a catalogue
    memory,      // a memory image as text
    table,       // a table of values
    document,    // structured text of another kind
    binary       // anything that is not text
};

struct recording_format {
    recording_kind kind;
    std::string_view name;   // completes "this is", for example "an ASC log"
    std::string_view advice; // what reads or converts it, as a clause; empty for none
};

// How many bytes of a recording are enough to recognise all formats.
inline constexpr std::size_t recognised_bytes = 65536;

// The format whose signature `beginning` has: a magic number, or the text that all its files begin with. Null for none.
// Recordings that are read here have none of them.
const recording_format* recognise_signature(std::string_view beginning) noexcept;

// The same, also for formats that have no signature: tables and binary data. Requires: `beginning` is the whole file or
// at least 4096 bytes of it, and no line in it is a frame or sentence: a damaged recording could be taken for one of
// these.
const recording_format* recognise_content(std::string_view beginning) noexcept;

} // namespace tavi::host

#endif
