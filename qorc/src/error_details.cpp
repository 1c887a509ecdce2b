#include "qorc/error_details.h"

#include <cstdlib>
#include <cstring>
#include <new>

// The text follows the record in the same block, so that a failure costs one allocation.
struct qor_error_details_t {
    uint32_t code;
    const char* description;
};

namespace {

// What a failure is reported by when there is no memory for a record of its own. Never freed, never changed.
qor_error_details_t out_of_memory = {QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed"};

} // namespace

uint32_t qor_error_details_create(qor_error_details_t** details, uint32_t code, const char* description) {
    if (details == nullptr) {
        return code;
    }
    const std::size_t length = description != nullptr ? std::strlen(description) + 1 : 0;
    void* const block = std::malloc(sizeof(qor_error_details_t) + length);
    if (block == nullptr) {
        // An information that is lost fails nothing.
        *details = code != QOR_STATUS_INFORMATION ? &out_of_memory : nullptr;
        return code;
    }
    char* const text = static_cast<char*>(block) + sizeof(qor_error_details_t);
    if (description != nullptr) {
        std::memcpy(text, description, length);
    }
    *details = new (block) qor_error_details_t{code, description != nullptr ? text : nullptr};
    return code;
}

uint32_t qor_error_details_get_code(const qor_error_details_t* details) {
    return details != nullptr ? details->code : 0;
}

const char* qor_error_details_get_description(const qor_error_details_t* details) {
    return details != nullptr ? details->description : nullptr;
}

void qor_error_details_destroy(qor_error_details_t* details) {
    if (details != &out_of_memory) {
        std::free(details);
    }
}
