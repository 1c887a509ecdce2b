/*
 * Dynamic data: one result of processing a package, that is, the bytes of one subscription.
 *
 *      offset 0        8    12   16     24                32                     96
 *     +---------------+----+----+------+-----------------+----------------------+
 *     | subscription  |decl|len | data | sequence_length | room for 64 bytes    |
 *     |    handle     |size|    |      |                 | (not part of record) |
 *     +---------------+----+----+------+-----------------+----------------------+
 *
 * A record and up to QOR_BYTE_SEQUENCE_INLINE_CAPACITY bytes are one allocation.
 */
#ifndef QORC_DYNAMIC_DATA_H
#define QORC_DYNAMIC_DATA_H

#include "qorc/byte_sequence.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_dynamic_data_t {
    /* The subscription that this data answers. */
    uint64_t subscription_handle;
    /* 0 in records that the extractor cuts from a package. */
    uint32_t declared_size;
    /* Copy of sequence.sequence_length. */
    uint32_t length;
    /* The bytes, laid out as the subscription's schema says. Owner: the record. */
    qor_runtime_c_uint8_sequence_t sequence;
} qor_dynamic_data_t;

/*
 * Creates an empty record: all fields 0, the sequence without bytes.
 * Errors: QOR_STATUS_INVALID_ARGUMENT for a null allocator or record, QOR_STATUS_OUT_OF_MEMORY.
 * Owner: the caller, by qor_dynamic_data_destroy with the same allocator.
 */
QORC_API uint32_t qor_dynamic_data_create(qor_memory_allocator_t* allocator, qor_dynamic_data_t** record,
                                          qor_error_details_t** error);

/* As qor_dynamic_data_create, with a sequence of `size` zero bytes in the same block. */
QORC_API uint32_t qor_dynamic_data_create_ex(qor_memory_allocator_t* allocator, uint64_t size,
                                             qor_dynamic_data_t** record, qor_error_details_t** error);

/* Frees the record and its bytes; a null record is ignored. Errors: QOR_STATUS_INVALID_ARGUMENT, null allocator. */
QORC_API uint32_t qor_dynamic_data_destroy(qor_memory_allocator_t* allocator, qor_dynamic_data_t* record,
                                           qor_error_details_t** error);

#ifdef __cplusplus
}

#include <cstddef>

static_assert(sizeof(qor_dynamic_data_t) == 32 && offsetof(qor_dynamic_data_t, declared_size) == 8 &&
              offsetof(qor_dynamic_data_t, length) == 12 && offsetof(qor_dynamic_data_t, sequence.data) == 16 &&
              offsetof(qor_dynamic_data_t, sequence.sequence_length) == 24);
#endif

#endif
