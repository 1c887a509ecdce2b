// What the exported functions have in common: the handle, and how texts and arrays go back to the host.
#ifndef QOR_TAVI_EXTRACTOR_BOUNDARY_HPP
#define QOR_TAVI_EXTRACTOR_BOUNDARY_HPP

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qorcpp/call_frame.hpp"

struct qor_tavi_extractor_t {
    std::shared_ptr<qor::tavi::detail::extractor> object;
};

namespace qor::tavi::detail {

// Gives `text` to a host that offers `*size` bytes, or tells how many it takes. The terminator stands at index L + 1,
// one byte behind the copy, where hosts that were written against this interface expect it too.
inline uint32_t return_text(const std::string& text, char* buffer, size_t* size) noexcept {
    const size_t needed = text.size() + 1;
    const bool fits = buffer != nullptr && *size >= needed;
    *size = needed;
    if (!fits) {
        return QOR_STATUS_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, text.c_str(), needed);
    buffer[needed] = '\0';
    return QOR_STATUS_OK;
}

// A zero-filled array of `count` elements of 8 bytes. An allocator may answer a count of 0 with null.
// Throws: std::bad_alloc.
inline void* allocate_elements(qor_memory_allocator_t* allocator, size_t count) {
    void* const elements = allocator->calloc(count, 8, allocator->context);
    if (elements == nullptr && count != 0) {
        throw std::bad_alloc();
    }
    return elements;
}

} // namespace qor::tavi::detail

#endif
