// What a C function of the system answered: its status and the details that it stored. Prints itself when a test fails.
#ifndef TESTS_SUPPORT_OUTCOME_HPP
#define TESTS_SUPPORT_OUTCOME_HPP

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "qorc/error_details.h"

namespace tavi::test {

struct outcome {
    std::uint32_t status = 0;
    std::optional<std::string> text;        // of the details, when there are any
    std::optional<std::uint32_t> code = {}; // of the details

    bool operator==(const outcome&) const = default;
};

inline std::ostream& operator<<(std::ostream& stream, const outcome& value) {
    stream << "status 0x" << std::hex << std::uppercase << value.status;
    if (value.code) {
        stream << ", details 0x" << *value.code << std::dec << " \"" << value.text.value_or("(null)") << '"';
    }
    return stream << std::dec;
}

inline const outcome succeeded{};
inline outcome failed(std::string text, std::uint32_t status = QOR_STATUS_FAILURE) {
    return {status, std::move(text), status};
}
inline outcome invalid(std::string text) {
    return failed(std::move(text), QOR_STATUS_INVALID_ARGUMENT);
}
inline const outcome too_small{QOR_STATUS_BUFFER_TOO_SMALL, {}, {}};

// Calls a function whose last parameter is the place of the details.
template<typename... Parameters, typename... Arguments>
outcome call(std::uint32_t (*function)(Parameters...), Arguments... arguments) {
    qor_error_details_t* details = nullptr;
    outcome result;
    result.status = function(arguments..., &details);
    if (details != nullptr) {
        result.code = qor_error_details_get_code(details);
        if (const char* const text = qor_error_details_get_description(details)) {
            result.text = text;
        }
        qor_error_details_destroy(details);
    }
    return result;
}

} // namespace tavi::test

#endif
