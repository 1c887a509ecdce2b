/* String sequence: a counted list of texts. Record, array and each text come from the allocator that was passed. */
#ifndef QORC_STRING_SEQUENCE_H
#define QORC_STRING_SEQUENCE_H

#include "qorc/error_details.h"
#include "qorc/memory_allocator.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One text of a sequence: 24 bytes, the text first. */
typedef struct qor_runtime_c_string_t {
    /* Zero-terminated; null until it is put. */
    const char* text;
    /* Bytes of `text` without its terminator. */
    uint64_t length;
    /* Bytes allocated for `text`, terminator counted. */
    uint64_t capacity;
} qor_runtime_c_string_t;

typedef struct qor_runtime_c_string_sequence_t {
    qor_runtime_c_string_t* strings;
    uint64_t count;
} qor_runtime_c_string_sequence_t;

/*
 * Creates a sequence of `count` null texts.
 * Errors: QOR_STATUS_INVALID_ARGUMENT for a null allocator or sequence, QOR_STATUS_OUT_OF_MEMORY.
 * Owner: the caller, by qor_runtime_c_string_sequence_destroy with the same allocator.
 */
QORC_API uint32_t qor_runtime_c_string_sequence_create(qor_memory_allocator_t* allocator, uint64_t count,
                                                       qor_runtime_c_string_sequence_t** sequence,
                                                       qor_error_details_t** error);

/*
 * Copies `text` to place `index`, freeing what stands there; a null text clears the place.
 * Errors: QOR_STATUS_INVALID_ARGUMENT for a null argument or an index beyond the end, QOR_STATUS_OUT_OF_MEMORY.
 */
QORC_API uint32_t qor_runtime_c_string_sequence_put(qor_memory_allocator_t* allocator,
                                                    qor_runtime_c_string_sequence_t* sequence, uint64_t index,
                                                    const char* text, qor_error_details_t** error);

/* Frees the sequence with its texts; a null sequence is ignored. */
QORC_API uint32_t qor_runtime_c_string_sequence_destroy(qor_memory_allocator_t* allocator,
                                                        qor_runtime_c_string_sequence_t* sequence,
                                                        qor_error_details_t** error);

#ifdef __cplusplus
}
#endif

#endif
