#include "qorc/error_details.h"

#include <cstdlib>
#include <cstring>
#include <new>

// The text follows the record in the same block, so that a failure costs one allocation.
struct qor_error_details_t {
    uint32_t code;
    bool has_description;
};

uint32_t qor_error_details_create(qor_error_details_t** details, uint32_t code, const char* description) {
    if (details == nullptr) {
        return code;
    }
    const std::size_t length = description != nullptr ? std::strlen(description) + 1 : 0;
    void* const block = std::malloc(sizeof(qor_error_details_t) + length);
    *details = nullptr;
    if (block != nullptr) {
        *details = new (block) qor_error_details_t{code, description != nullptr};
        if (description != nullptr) {
            std::memcpy(*details + 1, description, length);
        }
    }
    return code;
}

uint32_t qor_error_details_get_code(const qor_error_details_t* details) {
    return details != nullptr ? details->code : 0;
}

const char* qor_error_details_get_description(const qor_error_details_t* details) {
    return details != nullptr && details->has_description ? reinterpret_cast<const char*>(details + 1) : nullptr;
}

void qor_error_details_destroy(qor_error_details_t* details) {
    std::free(details);
}
