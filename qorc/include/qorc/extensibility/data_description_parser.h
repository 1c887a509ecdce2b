/*
 * Data description parser: the plug-in that reads one language of descriptions and writes what it finds into a context
 * of the signal storage. Entry symbols: plugin.h, kind data_description_parser.
 *
 * Functions take the plug-in's handle first; the tables have no context field. All calls of one extractor come one at
 * a time, except for calls that its own call-backs lead to (plugin.h).
 */
#ifndef QORC_EXTENSIBILITY_DATA_DESCRIPTION_PARSER_H
#define QORC_EXTENSIBILITY_DATA_DESCRIPTION_PARSER_H

#include "qorc/extensibility/plugin.h"
#include "qorc/extensibility/signal_storage.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Called with 0 to 1 as the work goes on; false asks the parser to stop with a failure. */
typedef bool (*qor_parse_progress_t)(float fraction, void* progress_context);

/* Service "qor_data_description_parser_support_t", mandatory. */
typedef struct qor_data_description_parser_support_t {
    /* Not called. */
    void* reserved_1;
    /*
     * Reads a description and adds its nodes to `context`; neither commits nor destroys it.
     *
     * type              always 0
     * buffer, size      the content; a single zero byte asks for the built-in description called `name`
     * name              the description's name, for messages; null when it has none
     * progress          may be null
     *
     * Details fail the registration; nothing of the description enters the catalogue then. The status is not looked at.
     */
    uint32_t (*parse_buffer)(void* handle, qor_signal_storage_context_t* context, uint8_t type, const void* buffer,
                             size_t size, const char* name, qor_parse_progress_t progress, void* progress_context,
                             qor_error_details_t** error);
} qor_data_description_parser_support_t;

/* One type word that a parser serves: 32 bytes. */
typedef struct qor_data_description_file_format_t {
    /* Offset 0: the type word, such as "dbc"; valid as long as the plug-in is loaded. */
    const char* description_type;
    /* Offset 8: a name for people, may be null. */
    const char* display_name;
    /* Offset 16: usual file extensions without dot, joined by ';', may be null. */
    const char* file_extensions;
    /* Offset 24: 0 for any source, else the one source id that is served. */
    uint16_t source_id_filter;
    uint8_t unused[6];
} qor_data_description_file_format_t;

/* Service "qor_data_description_parser_format_support_t", resolved anew for each use. */
typedef struct qor_data_description_parser_format_support_t {
    /* At most QOR_PLUGIN_MAX_FORMATS. */
    size_t (*get_supported_file_format_count)(void* handle);
    uint32_t (*get_supported_file_format)(void* handle, size_t index, qor_data_description_file_format_t* format,
                                          qor_error_details_t** error);
    /* The context type (signal_storage.h) that the parser's descriptions are opened with. */
    uint8_t (*get_context_type)(void* handle);
} qor_data_description_parser_format_support_t;

#ifdef __cplusplus
}

static_assert(sizeof(qor_data_description_file_format_t) == 32 &&
              offsetof(qor_data_description_file_format_t, source_id_filter) == 24);
#endif

#endif
