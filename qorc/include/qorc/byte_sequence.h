/* Byte sequence: a counted run of bytes, the payload of a dynamic data record. */
#ifndef QORC_BYTE_SEQUENCE_H
#define QORC_BYTE_SEQUENCE_H

#include "qorc/error_details.h"
#include "qorc/memory_allocator.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes that a dynamic data record has room for inside itself: a CAN FD payload fits. */
#define QOR_BYTE_SEQUENCE_INLINE_CAPACITY 64

/*
 * `data` that points right behind this record (to `sequence + 1`) marks room of QOR_BYTE_SEQUENCE_INLINE_CAPACITY bytes
 * inside the block that holds the record; it is used before anything is allocated and never freed by itself.
 */
typedef struct qor_runtime_c_uint8_sequence_t {
    /* The bytes; null or the room inside for an empty sequence. */
    uint8_t* data;
    /* How many bytes `data` has. */
    uint64_t sequence_length;
} qor_runtime_c_uint8_sequence_t;

/*
 * Gives an empty sequence `size` bytes, whose values are undefined, and sets its length.
 *
 * allocator  frees the bytes too, see qor_runtime_c_uint8_sequence_clear
 * sequence   empty: fresh from its record, or all zero
 *
 * Errors: QOR_STATUS_INVALID_ARGUMENT for a null allocator or sequence, QOR_STATUS_OUT_OF_MEMORY.
 */
QORC_API uint32_t qor_runtime_c_uint8_sequence_init(qor_memory_allocator_t* allocator,
                                                    qor_runtime_c_uint8_sequence_t* sequence, uint64_t size,
                                                    qor_error_details_t** error);

/* Frees the bytes and leaves the sequence empty. Same errors for null arguments. */
QORC_API uint32_t qor_runtime_c_uint8_sequence_clear(qor_memory_allocator_t* allocator,
                                                     qor_runtime_c_uint8_sequence_t* sequence,
                                                     qor_error_details_t** error);

#ifdef __cplusplus
}
#endif

#endif
