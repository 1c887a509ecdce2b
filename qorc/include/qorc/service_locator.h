/*
 * Service locator: how host, library and plug-ins find one another's tables.
 *
 * A collaborator hands out this record only. Each service is a C table, and its name is the plain name of the table's
 * structure, for example "qor_log_t": case matters, no prefix, no blanks.
 *
 * A locator is valid when `resolve` and `context` are not null. A missing `can_resolve` counts as "knows nothing" to
 * whoever asks before resolving. The record stays valid as long as its owner.
 */
#ifndef QORC_SERVICE_LOCATOR_H
#define QORC_SERVICE_LOCATOR_H

#include <stdbool.h>

#include "qorc/error_details.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_service_locator_t {
    /*
     * Stores the address of the table of `service_type` in `*(void**)target`. The table belongs to the callee and is
     * valid as long as the locator. An unknown name is a failure, told by details: "requested service 'x' not found".
     */
    uint32_t (*resolve)(void* context, const char* service_type, void* target, qor_error_details_t** error);
    /* Stores whether `service_type` is known. An unknown name is no failure. */
    uint32_t (*can_resolve)(void* context, const char* service_type, bool* can_resolve, qor_error_details_t** error);
    void* context;
} qor_service_locator_t;

/*
 * The locator of the runtime itself. It knows "qor_memory_allocator_t", the default allocator.
 * Never null, never to be freed. Thread: any.
 */
QORC_API qor_service_locator_t* qor_get_default_service_locator(void);

#ifdef __cplusplus
}
#endif

#endif
