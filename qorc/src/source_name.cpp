#include <cstring>
#include <string>
#include <string_view>

#include "boundary.hpp"
#include "qorc/extensibility/data_source.h"
#include "qorc/text.hpp"

namespace {

// Bytes of the UTF-8 character that `text` begins with; a byte that begins none counts as a character.
std::size_t character_length(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t promised = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
    std::size_t length = 1;
    while (length < promised && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        ++length;
    }
    return length;
}

std::string sanitize(std::string_view name) {
    std::string result;
    while (!name.empty()) {
        result += qor::continues_name(name.front()) ? name.front() : '_';
        name.remove_prefix(character_length(name));
    }
    if (result.empty() || !qor::begins_name(result.front())) {
        result.insert(0, 1, '_');
    }
    return result;
}

} // namespace

uint32_t qor_data_source_sanitize_name(const char* input, char* output, size_t* size, qor_error_details_t** error) {
    bool fits = true;
    const uint32_t status = qorc::at_boundary(error, [&] {
        qorc::check_argument(input, "input");
        qorc::check_argument(size, "size");
        const std::string sanitized = sanitize(input);
        const size_t needed = sanitized.size() + 1;
        fits = output != nullptr && *size >= needed;
        *size = needed;
        if (fits) {
            std::memcpy(output, sanitized.c_str(), needed);
        }
    });
    return fits ? status : QOR_STATUS_BUFFER_TOO_SMALL;
}
