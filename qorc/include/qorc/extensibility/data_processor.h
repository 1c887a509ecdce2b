/*
 * Data processor: the plug-in that takes whole packages of a source and makes the records itself. Entry symbols:
 * plugin.h, kind data_processor. Processors are looked for each time a source with a provider is registered, and one
 * instance belongs to one source.
 *
 * Functions take the plug-in's handle first; the tables have no context field. The extractor calls with its lock held,
 * one call at a time, except for calls that its own call-backs lead to (plugin.h).
 */
#ifndef QORC_EXTENSIBILITY_DATA_PROCESSOR_H
#define QORC_EXTENSIBILITY_DATA_PROCESSOR_H

#include "qorc/dynamic_data.h"
#include "qorc/extensibility/data_source_provider.h"
#include "qorc/extensibility/package.h"
#include "qorc/extensibility/plugin.h"
#include "qorc/string_sequence.h"
#include "qorc/type_node.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Limits of what one call gives. A processor that counts more is refused: the call fails. */
#define QOR_DATA_PROCESSOR_MAX_RECORDS 16777216  /* records of `process` */
#define QOR_DATA_PROCESSOR_MAX_DESCRIPTIONS 4096 /* texts of `get_data_descriptions` */

/* Service "qor_data_processor_support_t", mandatory. Each slot is tested when it is used. */
typedef struct qor_data_processor_support_t {
    /*
     * Offers a subscription; arguments as for matchers, but `position` counts from the object's address.
     * Status 0 takes it; a non-zero status without details declines; details fail the subscription.
     */
    uint32_t (*register_type)(void* handle, uint64_t subscription_handle, const char* schema,
                              const qor_type_node_sequence_t* hierarchy, uint64_t position, uint64_t extent,
                              qor_error_details_t** error);
    /* Withdraws it; unknown handles are no failure. */
    uint32_t (*unregister_type)(void* handle, uint64_t subscription_handle, qor_error_details_t** error);
    /*
     * Makes the records of one subscription out of one package.
     *
     * records  receives an array of pointers, allocated with `allocator`, or null; the caller frees it with that
     *          allocator's `free`, also when count is 0
     * count    receives the number of records, at most QOR_DATA_PROCESSOR_MAX_RECORDS
     *
     * Records are made with `allocator` and used as they are: the processor sets handle and sizes. It is called for
     * each handle of the source, also for those that it declined or that have ended: it gives no records for them. With
     * details nothing is taken over: the processor frees what it made.
     */
    uint32_t (*process)(void* handle, uint64_t subscription_handle, const qor_package_t* package,
                        qor_dynamic_data_t*** records, uint64_t* count, qor_memory_allocator_t* allocator,
                        qor_error_details_t** error);
} qor_data_processor_support_t;

/* One format that a processor takes, and from which sources: 32 bytes. */
typedef struct qor_data_processor_format_t {
    /* Offset 0: format type specifier as in packages; valid as long as the plug-in is loaded. */
    const char* format;
    /* Offset 8: compared with the low four bits of a source id. */
    uint32_t source_type;
    /* Offset 12: 0 for any, else compared with the source id shifted right by four. */
    uint16_t source_class;
    uint8_t unused[18];
} qor_data_processor_format_t;

/* Service "qor_data_processor_format_support_t", mandatory. Unlike a matcher's, the count comes through a parameter. */
typedef struct qor_data_processor_format_support_t {
    /* At most QOR_PLUGIN_MAX_FORMATS. */
    uint32_t (*get_supported_format_count)(void* handle, size_t* count, qor_error_details_t** error);
    uint32_t (*get_supported_format)(void* handle, size_t index, qor_data_processor_format_t* format,
                                     qor_error_details_t** error);
} qor_data_processor_format_support_t;

/* Service "qor_data_processor_port_support_t", mandatory; never called by the extractor. */
typedef struct qor_data_processor_port_support_t {
    /* How many ports the processor has that packages can come in by. */
    uint32_t (*get_port_count)(void* handle, size_t* count, qor_error_details_t** error);
    /* The name of a port; valid as long as the plug-in is loaded. */
    uint32_t (*get_port_name)(void* handle, size_t index, const char** name, qor_error_details_t** error);
} qor_data_processor_port_support_t;

/* Service "qor_data_processor_data_source_binding_t", optional: tells the processor which source it belongs to. */
typedef struct qor_data_processor_data_source_binding_t {
    /* Both records are valid during the call only. */
    uint32_t (*bind)(void* handle, const qor_data_source_t* source, const qor_data_source_provider_t* provider,
                     qor_error_details_t** error);
} qor_data_processor_data_source_binding_t;

/*
 * Service "qor_data_processor_data_description_support_t": the descriptions of what the processor makes, in the
 * language "sdl". A processor that takes a source must have it, with an empty list when it brings none.
 */
typedef struct qor_data_processor_data_description_support_t {
    /*
     * The caller frees the sequence with the same allocator. It has at most QOR_DATA_PROCESSOR_MAX_DESCRIPTIONS texts,
     * none of which is null: one without text fails the registration.
     */
    uint32_t (*get_data_descriptions)(void* handle, qor_memory_allocator_t* allocator,
                                      qor_runtime_c_string_sequence_t** descriptions, qor_error_details_t** error);
} qor_data_processor_data_description_support_t;

#ifdef __cplusplus
}

static_assert(sizeof(qor_data_processor_format_t) == 32 && offsetof(qor_data_processor_format_t, source_type) == 8 &&
              offsetof(qor_data_processor_format_t, source_class) == 12);
#endif

#endif
