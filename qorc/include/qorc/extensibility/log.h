/*
 * Log sink: where a host receives what library and plug-ins have to say. It may call the extractor back as plug-ins
 * may, see plugin.h.
 *
 * A host that wants messages offers the service "qor_log_t" through the locator that it gives to
 * qor_tavi_extractor_create; without it nothing is logged and no message is even formatted.
 */
#ifndef QORC_EXTENSIBILITY_LOG_H
#define QORC_EXTENSIBILITY_LOG_H

#include "qorc/error_details.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Levels in use. */
#define QOR_LOG_LEVEL_ERROR 200    /* a failure that is survived */
#define QOR_LOG_LEVEL_WARNING 300  /* something to look at */
#define QOR_LOG_LEVEL_PROGRESS 500 /* normal progress */

/* One message; valid for the duration of the call only. */
typedef struct qor_log_info_t {
    /* QOR_LOG_LEVEL_ value. */
    uint32_t level;
    /* Zero-terminated UTF-8, at most 1023 bytes from the library; never null. */
    const char* message;
    /* File name of the library that speaks, without directory; may be null. */
    const char* module;
    /* Source file name, without directory; may be null. */
    const char* file;
    /* Qualified function name; may be null. */
    const char* function;
    /* Source line. */
    uint32_t line;
    /* Always zero. */
    void* reserved;
} qor_log_info_t;

/* Service "qor_log_t". Both fields are required. */
typedef struct qor_log_t {
    /*
     * Takes one message. Details that come back fail the operation that logged, the status alone does not.
     * Thread: messages may come from several threads at once.
     */
    uint32_t (*log)(void* context, const qor_log_info_t* info, qor_error_details_t** error);
    /* Passed back as first argument; must not be null. */
    void* context;
} qor_log_t;

#ifdef __cplusplus
}
#endif

#endif
