/*
 * Error details: a status and a text that tell what went wrong inside a call.
 *
 * Nearly every C function of the system ends with a parameter `qor_error_details_t** error`. The callee stores a new
 * record there when it fails and leaves the place alone when it succeeds; the caller sets the place to null before
 * the call and destroys what it finds there after it. A null place means that the caller wants no details.
 *
 * Thread: a record may be handed between threads, but is not to be used by two at once.
 */
#ifndef QORC_ERROR_DETAILS_H
#define QORC_ERROR_DETAILS_H

#include "qorc/export.h"
#include "qorc/status.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_error_details_t qor_error_details_t;

/*
 * Creates a record and stores it through `details`.
 *
 * details      where to store the record, what stands there before is overwritten unread; null stores nothing
 * code         any status, 0 included
 * description  zero-terminated UTF-8, copied; null stays null
 *
 * Returns `code`, also when `details` is null or memory ran out. Without memory for a record `*details` is one that the
 * process shares, with code QOR_STATUS_OUT_OF_MEMORY and the description "memory allocation failed": a failure is never
 * without details. Only a record of code QOR_STATUS_INFORMATION is then null.
 * Owner: the caller, by qor_error_details_destroy.
 */
QORC_API uint32_t qor_error_details_create(qor_error_details_t** details, uint32_t code, const char* description);

/* The status of the record; 0 for null. */
QORC_API uint32_t qor_error_details_get_code(const qor_error_details_t* details);

/* The text of the record, valid as long as the record; null when it has none or `details` is null. */
QORC_API const char* qor_error_details_get_description(const qor_error_details_t* details);

/* Frees the record; null and the record that the process shares are ignored. */
QORC_API void qor_error_details_destroy(qor_error_details_t* details);

#ifdef __cplusplus
}
#endif

#endif
