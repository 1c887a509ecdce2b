#include "plugins/nmea_processor/sentence.hpp"

#include <algorithm>

#include "qorc/text.hpp"

namespace nmea_processor {

namespace {

constexpr size_t npos = std::string_view::npos;

std::string_view trimmed(std::string_view text) noexcept {
    constexpr std::string_view blanks(" \t\0", 3); // recorders fill up their buffers with zeros
    const size_t first = text.find_first_not_of(blanks);
    return first == npos ? std::string_view() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

int hexadecimal_digit(char character) noexcept {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    return character >= 'a' && character <= 'f' ? character - 'a' + 10 : -1;
}

bool is_printable(char character) noexcept {
    return character >= ' ' && character <= '~';
}

bool is_letter_or_digit(char character) noexcept {
    return qor::is_letter(character) || qor::is_digit(character);
}

// What stands between '$' and checksum; nothing when the checksum does not match. Requires: a piece that is not empty.
std::string_view checked_content(std::string_view piece, bool& has_checksum) noexcept {
    constexpr size_t checksum_size = 3; // "*hh"
    const size_t star = piece.find('*');
    has_checksum = star != npos;
    if (!has_checksum) {
        return piece.substr(1);
    }
    if (star + checksum_size != piece.size()) {
        return {};
    }
    const std::string_view content = piece.substr(1, piece.size() - checksum_size - 1);
    unsigned sum = 0;
    for (const char character : content) {
        sum ^= static_cast<unsigned char>(character);
    }
    const int high = hexadecimal_digit(piece[piece.size() - 2]);
    const int low = hexadecimal_digit(piece[piece.size() - 1]);
    return high >= 0 && low >= 0 && sum == static_cast<unsigned>(16 * high + low) ? content : std::string_view();
}

bool is_address(std::string_view text) noexcept {
    return !text.empty() && std::all_of(text.begin(), text.end(), is_letter_or_digit);
}

size_t find_start(std::string_view line, size_t from) noexcept {
    return std::min(line.find_first_of("$!", from), line.size());
}

// Whether a piece is a whole sentence with a checksum that fits, whatever its first character.
bool is_sealed(std::string_view piece) noexcept {
    bool has_checksum = false;
    const std::string_view content = piece.empty() ? piece : checked_content(piece, has_checksum);
    return has_checksum && is_address(content.substr(0, content.find(',')));
}

// What is left of a line that begins with '#' without the comment: empty, from a whole sentence on, or all of it when
// it is a sentence whose first character was damaged.
std::string_view without_comment(std::string_view line) noexcept {
    for (size_t at = 0; at < line.size();) {
        const size_t next = find_start(line, at + 1);
        if (is_sealed(trimmed(line.substr(at, next - at)))) {
            return line.substr(at);
        }
        at = next;
    }
    return {};
}

void read_address(std::string_view address, sentence& result) {
    if (address.front() == 'P') {
        result.talker = address.substr(0, 1);
        result.type = address.substr(1, 3);
    } else {
        result.talker = address.substr(0, 2);
        result.type = address.size() == 5 ? address.substr(2) : std::string_view();
    }
}

} // namespace

bool sentence_scanner::next_line() noexcept {
    while (!rest_.empty()) {
        const size_t end = rest_.find_first_of("\r\n");
        line_ = trimmed(rest_.substr(0, end));
        rest_ = end == npos ? std::string_view() : rest_.substr(end + 1);
        if (line_.starts_with('#')) {
            line_ = without_comment(line_);
        }
        if (line_.starts_with('\\') && line_.find('\\', 1) != npos) {
            line_ = trimmed(line_.substr(line_.find('\\', 1) + 1));
        }
        if (!line_.empty()) {
            return true;
        }
    }
    return false;
}

bool sentence_scanner::next(std::string_view& piece) noexcept {
    if (line_.empty() && !next_line()) {
        return false;
    }
    const size_t end = find_start(line_, 1);
    piece = trimmed(line_.substr(0, end));
    line_.remove_prefix(end);
    return true;
}

bool read_sentence(std::string_view piece, sentence& result) {
    if (piece.size() > longest_sentence || (!piece.starts_with('$') && !piece.starts_with('!')) ||
        !std::all_of(piece.begin(), piece.end(), is_printable)) {
        return false;
    }
    const std::string_view content = checked_content(piece, result.has_checksum);
    const std::string_view address = content.substr(0, content.find(','));
    if (!is_address(address)) {
        return false;
    }
    read_address(address, result);
    result.fields.clear();
    for (size_t comma = address.size(); comma < content.size();) {
        const size_t next = std::min(content.find(',', comma + 1), content.size());
        result.fields.push_back(content.substr(comma + 1, next - comma - 1));
        comma = next;
    }
    return true;
}

} // namespace nmea_processor
