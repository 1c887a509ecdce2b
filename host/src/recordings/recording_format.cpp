// One table of formats, tried in order. A row is recognised by its magic number at an offset, or by a function that
// looks at the text: at the line that comes first after blank lines, in most cases. Example:
//
//     "date Mon Nov 20 ...\nbase hex ..."  ->  begins_asc  ->  "an ASC log", "asc2log of can-utils converts it ..."
#include "tavi/recording_format.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace tavi::host {

namespace {

using namespace std::literals;

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

bool is_digit(char character) noexcept {
    return character >= '0' && character <= '9';
}

bool is_hexadecimal(char character) noexcept {
    return is_digit(character) || (character >= 'A' && character <= 'F') || (character >= 'a' && character <= 'f');
}

std::string_view without_blanks(std::string_view text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

// What follows a byte order mark and blank lines.
std::string_view text_of(std::string_view beginning) noexcept {
    if (beginning.starts_with(byte_order_mark)) {
        beginning.remove_prefix(byte_order_mark.size());
    }
    return without_blanks(beginning);
}

std::string_view first_line(std::string_view text) noexcept {
    return text.substr(0, text.find_first_of("\r\n"));
}

// Takes the word that `text` begins with, and the blanks after it, off the front.
std::string_view take_word(std::string_view& text) noexcept {
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    text = without_blanks(text);
    return word;
}

template<std::size_t Count>
bool begins_with_any(std::string_view text, const std::array<std::string_view, Count>& words) noexcept {
    return std::any_of(words.begin(), words.end(), [&](std::string_view word) { return text.starts_with(word); });
}

// "date Mon Nov 20 02:54:29.861 am 2023", "base hex  timestamps absolute"
bool begins_asc(std::string_view beginning) noexcept {
    std::string_view line = first_line(text_of(beginning));
    const std::string_view word = take_word(line);
    return (word == "date" && line.find(':') != line.npos) ||
           (word == "base" && (line.starts_with("hex") || line.starts_with("dec")));
}

// ";$FILEVERSION=1.1"; the first version has none and begins with a line of '#'.
bool begins_trc(std::string_view beginning) noexcept {
    const std::string_view line = first_line(text_of(beginning));
    return line.starts_with(";$FILEVERSION") || line.starts_with(";##########");
}

// "  can0  0C0   [2]  04 00", with a time before it or without
bool begins_candump_screen(std::string_view beginning) noexcept {
    std::string_view line = first_line(text_of(beginning));
    if (line.starts_with('(')) {
        line = without_blanks(line.substr(std::min(line.find(')'), line.size() - 1) + 1));
    }
    take_word(line);
    // With -x the direction and two flags come first: "RX - -".
    for (int word = 0; word < 3 && (word != 0 || line.starts_with("RX ") || line.starts_with("TX ")); ++word) {
        take_word(line);
    }
    const std::string_view id = take_word(line);
    const std::string_view length = take_word(line);
    const bool is_id = (id.size() == 3 || id.size() == 8) && std::all_of(id.begin(), id.end(), is_hexadecimal);
    return is_id && length.size() >= 3 && length.size() <= 4 && length.front() == '[' && length.back() == ']' &&
           std::all_of(length.begin() + 1, length.end() - 1, is_digit);
}

bool begins_dbc(std::string_view beginning) noexcept {
    constexpr std::array<std::string_view, 8> sections{
        "VERSION \"", "NS_ :", "NS_:", "BS_:", "BU_:", "BU_ :", "BO_ ", "VAL_TABLE_ "};
    return begins_with_any(text_of(beginning), sections);
}

bool begins_rows(std::string_view beginning) noexcept {
    return beginning.starts_with("timestamp,signal,value,unit") || beginning.starts_with("{\"timestamp\":");
}

// "{" and then a key or the end
bool begins_json(std::string_view beginning) noexcept {
    std::string_view text = text_of(beginning);
    if (!text.starts_with('{')) {
        return false;
    }
    text = without_blanks(text.substr(1));
    return text.starts_with('"') || text.starts_with('}');
}

bool begins_xml(std::string_view beginning) noexcept {
    return text_of(beginning).starts_with("<?xml");
}

bool is_record_of_digits(std::string_view line, std::size_t shortest) noexcept {
    return line.size() >= shortest && std::all_of(line.begin() + 1, line.end(), is_hexadecimal);
}

// ":020000040800F2": length, address and type, data, checksum
bool begins_intel_hex(std::string_view beginning) noexcept {
    const std::string_view line = first_line(text_of(beginning));
    return line.starts_with(':') && line.size() % 2 == 1 && is_record_of_digits(line, 11);
}

// "S00600004844521B"
bool begins_s_record(std::string_view beginning) noexcept {
    const std::string_view line = first_line(text_of(beginning));
    return line.starts_with('S') && line.size() % 2 == 0 && is_record_of_digits(line, 10);
}

// Characters of ASCII, each with a zero byte after it (parity 1) or before it (parity 0).
bool is_wide_text(std::string_view beginning, std::size_t parity) noexcept {
    constexpr std::size_t looked_at = 64;
    const std::size_t size = std::min(beginning.size(), looked_at) & ~std::size_t{1};
    for (std::size_t at = 0; at < size; ++at) {
        const auto byte = static_cast<unsigned char>(beginning[at]);
        const bool is_text = (byte >= ' ' && byte < 0x7F) || blanks.find(beginning[at]) != blanks.npos;
        if (at % 2 == parity ? byte != 0 : !is_text) {
            return false;
        }
    }
    return size >= 8;
}

bool is_utf_16_low_first(std::string_view beginning) noexcept {
    return is_wide_text(beginning, 1);
}

bool is_utf_16_high_first(std::string_view beginning) noexcept {
    return is_wide_text(beginning, 0);
}

bool has_pcapng_mark(std::string_view beginning) noexcept {
    return beginning.starts_with("\x0A\x0D\x0D\x0A"sv) && beginning.size() >= 12 &&
           (beginning.substr(8, 4) == "\x1A\x2B\x3C\x4D"sv || beginning.substr(8, 4) == "\x4D\x3C\x2B\x1A"sv);
}

// A compressed file may begin with frames that are skipped.
bool has_zstd_mark(std::string_view beginning) noexcept {
    return beginning.starts_with("\x28\xB5\x2F\xFD"sv) ||
           (beginning.size() >= 4 && beginning.substr(1, 3) == "\x2A\x4D\x18"sv && (beginning[0] & 0xF0) == 0x50);
}

bool has_bzip2_mark(std::string_view beginning) noexcept {
    return beginning.starts_with("BZh") && beginning.size() >= 10 &&
           (beginning.substr(4, 6) == "1AY&SY"sv || beginning.substr(4, 6) == "\x17\x72\x45\x38\x50\x90"sv);
}

// Two to ten lines that have the separator of the first one equally often. The last one may be cut.
bool is_table(std::string_view beginning) noexcept {
    std::string_view text = text_of(beginning);
    const std::string_view header = first_line(text);
    const std::size_t separator = header.find_first_of(",;\t");
    if (separator == header.npos) {
        return false;
    }
    const auto columns = [&](std::string_view line) { return std::count(line.begin(), line.end(), header[separator]); };
    int rows = 0;
    for (; rows < 10 && !text.empty(); ++rows) {
        const std::string_view line = first_line(text);
        text.remove_prefix(line.size());
        if (columns(line) != columns(header) && !text.empty()) {
            return false;
        }
        text = without_blanks(text);
    }
    return rows >= 2;
}

// Text has no control characters besides blanks and line ends; random bytes have every ninth.
bool is_binary(std::string_view beginning) noexcept {
    const auto control = std::count_if(beginning.begin(), beginning.end(), [](char character) {
        return (static_cast<unsigned char>(character) < ' ' && blanks.find(character) == blanks.npos) ||
               character == 0x7F;
    });
    return static_cast<std::size_t>(control) > beginning.size() / 20;
}

struct row {
    recording_format format;
    std::string_view magic; // empty: `recognises` decides
    std::size_t offset = 0;
    bool (*recognises)(std::string_view beginning) noexcept = nullptr;
};

constexpr auto python_can = "can_logconvert of python-can converts it to lines of candump -L"sv;

using enum recording_kind;
constexpr row signatures[] = {
    {{compressed, "a file compressed by gzip", "decompress it first: gunzip -c"}, "\x1F\x8B"sv},
    {{compressed, "a file compressed by zstd", "decompress it first: unzstd -c"}, {}, 0, has_zstd_mark},
    {{compressed, "a file compressed by lz4", "decompress it first: unlz4 -c"}, "\x04\x22\x4D\x18"sv},
    {{compressed, "a file compressed by lz4", "decompress it first: unlz4 -c"}, "\x02\x21\x4C\x18"sv},
    {{compressed, "a file compressed by xz", "decompress it first: unxz -c"}, "\xFD\x37\x7A\x58\x5A\x00"sv},
    {{compressed, "a file compressed by bzip2", "decompress it first: bunzip2 -c"}, {}, 0, has_bzip2_mark},
    {{compressed, "a file compressed by compress", "decompress it first: gunzip -c"}, "\x1F\x9D"sv},
    {{compressed, "a ZIP archive", "unpack it first: unzip"}, "PK\x03\x04"sv},
    {{compressed, "an empty ZIP archive", {}}, "PK\x05\x06"sv},
    {{compressed, "a 7z archive", "unpack it first: 7z x"}, "\x37\x7A\xBC\xAF\x27\x1C"sv},
    {{compressed, "a tar archive", "unpack it first: tar -xf"}, "ustar"sv, 257},
    {{recording, "a BLF log", python_can}, "LOGG"sv},
    {{recording, "an MDF recording", "asammdf reads and exports it"}, "MDF     "sv},
    {{recording, "an MDF recording that was not closed by its logger", "asammdf reads and exports it"}, "UnFinMF "sv},
    {{recording, "a network capture (pcap)", "tshark reads it"}, "\xA1\xB2\xC3\xD4"sv},
    {{recording, "a network capture (pcap)", "tshark reads it"}, "\xD4\xC3\xB2\xA1"sv},
    {{recording, "a network capture (pcap)", "tshark reads it"}, "\xA1\xB2\x3C\x4D"sv},
    {{recording, "a network capture (pcap)", "tshark reads it"}, "\x4D\x3C\xB2\xA1"sv},
    {{recording, "a network capture (pcapng)", "tshark reads it"}, {}, 0, has_pcapng_mark},
    {{database, "an SQLite database", {}}, "SQLite format 3\0"sv},
    {{encoded, "text in UTF-32", "convert it first: iconv -f UTF-32 -t UTF-8"}, "\xFF\xFE\x00\x00"sv},
    {{encoded, "text in UTF-32", "convert it first: iconv -f UTF-32 -t UTF-8"}, "\x00\x00\xFE\xFF"sv},
    {{encoded, "text in UTF-16", "convert it first: iconv -f UTF-16 -t UTF-8"}, "\xFF\xFE"sv},
    {{encoded, "text in UTF-16", "convert it first: iconv -f UTF-16 -t UTF-8"}, "\xFE\xFF"sv},
    {{encoded, "text in UTF-16", "convert it first: iconv -f UTF-16LE -t UTF-8"}, {}, 0, is_utf_16_low_first},
    {{encoded, "text in UTF-16", "convert it first: iconv -f UTF-16BE -t UTF-8"}, {}, 0, is_utf_16_high_first},
    {{binary, "a program or library (ELF)", {}},
     "\x7F"
     "ELF"sv},
    {{recording, "an ASC log", "asc2log of can-utils converts it to lines of candump -L"}, {}, 0, begins_asc},
    {{recording, "a TRC log", python_can}, {}, 0, begins_trc},
    {{recording, "the screen output of candump", "candump -L prints lines that tavi can read"},
     {},
     0,
     begins_candump_screen},
    {{description, "a description (DBC)", {}}, {}, 0, begins_dbc},
    {{result, "the output of tavi decode", "expected a recording"}, {}, 0, begins_rows},
    {{document, "JSON", {}}, {}, 0, begins_json},
    {{document, "XML", {}}, {}, 0, begins_xml},
    {{memory, "a memory image in Intel HEX", "objcopy -I ihex -O binary converts it to bytes"},
     {},
     0,
     begins_intel_hex},
    {{memory, "a memory image in S-records", "objcopy -I srec -O binary converts it to bytes"}, {}, 0, begins_s_record},
};

constexpr row contents[] = {
    {{table, "a table (CSV)", {}}, {}, 0, is_table},
    {{binary, "binary data", {}}, {}, 0, is_binary},
};

template<std::size_t Count>
const recording_format* find(const row (&rows)[Count], std::string_view beginning) noexcept {
    const auto* const found = std::find_if(std::begin(rows), std::end(rows), [&](const row& each) {
        return each.recognises != nullptr
                   ? each.recognises(beginning)
                   : beginning.substr(std::min(each.offset, beginning.size())).starts_with(each.magic);
    });
    return found != std::end(rows) ? &found->format : nullptr;
}

} // namespace

const recording_format* recognise_signature(std::string_view beginning) noexcept {
    return find(signatures, beginning);
}

const recording_format* recognise_content(std::string_view beginning) noexcept {
    const recording_format* const found = recognise_signature(beginning);
    return found != nullptr ? found : find(contents, beginning);
}

} // namespace tavi::host
