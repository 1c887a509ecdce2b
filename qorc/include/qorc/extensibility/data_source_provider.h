/*
 * Data source provider: how a host tells which sources it has and hands out their descriptions.
 *
 * The library calls in this order, each call repeated while it answers QOR_STATUS_NOT_READY:
 *   1. get_data_source_count, then get_data_source for each index, to find the source that is being registered (all
 *      fields must be equal to those of the record that was passed to the registration);
 *   2. get_data_description for each index below the source's data_description_count;
 *   3. get_data_description_content with a null buffer for the size, then with a buffer for the bytes.
 * Sources and descriptions are listed anew for every content.
 *
 * Thread: the calls come from a thread of the library while the registering thread waits, holding the extractor's
 * lock. A provider that calls back into the same extractor deadlocks.
 */
#ifndef QORC_EXTENSIBILITY_DATA_SOURCE_PROVIDER_H
#define QORC_EXTENSIBILITY_DATA_SOURCE_PROVIDER_H

#include "qorc/extensibility/data_source.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 48 bytes; copied by value by whoever receives it. Functions take `context` first. */
typedef struct qor_data_source_provider_t {
    uint32_t (*get_data_source_count)(void* context, size_t* count, qor_error_details_t** error);
    /* Fills a zeroed record. */
    uint32_t (*get_data_source)(void* context, size_t source_index, qor_data_source_t* source,
                                qor_error_details_t** error);
    /* Not called; null is fine. */
    void* reserved_3;
    /* Fills a zeroed record. */
    uint32_t (*get_data_description)(void* context, size_t source_index, size_t description_index,
                                     qor_data_description_t* description, qor_error_details_t** error);
    /*
     * With a null buffer: stores the content's bytes in `*size` and returns QOR_STATUS_BUFFER_TOO_SMALL, also for an
     * empty content; `error` may be null then. Otherwise fills `*size` bytes and returns 0.
     */
    uint32_t (*get_data_description_content)(void* context, size_t source_index, size_t description_index, void* buffer,
                                             uint64_t* size, qor_error_details_t** error);
    /* Must not be null. */
    void* context;
} qor_data_source_provider_t;

#ifdef __cplusplus
}

static_assert(sizeof(qor_data_source_provider_t) == 48);
#endif

#endif
