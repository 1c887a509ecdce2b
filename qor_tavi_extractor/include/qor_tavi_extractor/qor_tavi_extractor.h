/*
 * The extractor: from raw packages to the bytes of named signals.
 *
 * Conventions
 *  1. Every function returns a status (qorc/status.h), 0 for success, and never lets an exception through. On any other
 *     status but QOR_STATUS_BUFFER_TOO_SMALL a details record is stored through the last parameter, `error_details`,
 *     which may be null; the caller destroys the record. On success the place is left alone.
 *  2. A required pointer that is null fails with QOR_STATUS_INVALID_ARGUMENT and the text "argument 'x' was not
 *     initialized", x being the parameter's name; the handle is tested first.
 *  3. Texts are zero-terminated UTF-8 and copied during the call.
 *  4. Functions that return a text take `buffer` and `size`. A null buffer or too small a `*size` returns
 *     QOR_STATUS_BUFFER_TOO_SMALL, with the bytes needed, terminator counted, in `*size`. Otherwise `*size` bytes are
 *     written AND a zero byte behind them: offer one byte more than `*size` says.
 *  5. Arrays come from the caller's allocator and are freed with it; so are the records in them.
 *  6. Thread: functions may be called from any thread, and calls on one extractor wait for one another, with these
 *     exceptions. An overlap that is not allowed reads tables while they change and ends the process at worst.
 *       - qor_tavi_extractor_get_root_nodes, qor_tavi_extractor_get_root_nodes_by_source_name and
 *         qor_tavi_extractor_get_node_children take no lock. They must not overlap a call that changes sources: the
 *         functions that register, qor_tavi_extractor_unregister_sources, and qor_tavi_extractor_subscribe with the
 *         number of a source that is not registered.
 *       - qor_tavi_extractor_get_url and qor_tavi_extractor_get_reader_filter_expression take no lock. They must not
 *         overlap a call that changes subscriptions: qor_tavi_extractor_subscribe, qor_tavi_extractor_unsubscribe,
 *         qor_tavi_extractor_unsubscribe_all, qor_tavi_extractor_unregister_sources.
 *       - qor_tavi_extractor_checkpoint_signal_storage takes no lock and may overlap all calls except the next two.
 *       - qor_tavi_extractor_unregister_sources holds the lock for a part of its work only. It must not overlap any
 *         other call on the same handle.
 *       - qor_tavi_extractor_destroy must not overlap any other call on the same handle.
 *  7. Call-backs: what an extractor calls - plug-ins, allocators, the log sink, the host's locator - may call the same
 *     extractor on the same thread, under the rules of qorc/extensibility/plugin.h. A data source provider must not,
 *     since its functions run on another thread while the lock is held. The lock is held during each of these calls,
 *     except in functions that take none, and except for the allocation of the array that qor_tavi_extractor_match or
 *     qor_tavi_extractor_process returns.
 *  8. A call that fails leaves sources and subscriptions as they were, except where it says otherwise.
 *
 * The usual order
 *  1. qor_tavi_extractor_create
 *  2. qor_tavi_extractor_register_source (or one of the other two functions that register) for each source
 *  3. qor_tavi_extractor_get_root_nodes and qor_tavi_extractor_get_node_children, to see what there is
 *  4. qor_tavi_extractor_subscribe for each URL expression of interest
 *  5. for each package qor_tavi_extractor_process, or qor_tavi_extractor_match, or both
 *  6. qor_tavi_extractor_unsubscribe_all, qor_tavi_extractor_unregister_sources, more of 2 to 5 as wanted
 *  7. qor_tavi_extractor_destroy
 */
#ifndef QOR_TAVI_EXTRACTOR_QOR_TAVI_EXTRACTOR_H
#define QOR_TAVI_EXTRACTOR_QOR_TAVI_EXTRACTOR_H

#include "qorc/dynamic_data.h"
#include "qorc/extensibility/data_source.h"
#include "qorc/extensibility/data_source_provider.h"
#include "qorc/extensibility/log.h"
#include "qorc/extensibility/package.h"
#include "qorc/memory_allocator.h"
#include "qorc/service_locator.h"
#include "qorc/type_node.h"

#if defined(_WIN32)
#if defined(QOR_TAVI_EXTRACTOR_BUILDING)
#define QOR_TAVI_EXTRACTOR_API __declspec(dllexport)
#else
#define QOR_TAVI_EXTRACTOR_API __declspec(dllimport)
#endif
#else
#define QOR_TAVI_EXTRACTOR_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* An extractor. Owner: the caller of qor_tavi_extractor_create, by qor_tavi_extractor_destroy. */
typedef struct qor_tavi_extractor_t qor_tavi_extractor_t;

/* ---- life cycle -------------------------------------------------------------------------------------------------- */

/*
 * Makes an extractor: loads the signal storage and opens the catalogue, finds the matchers and parsers beside the
 * library. A plug-in that fails fails the whole call; `*handle` is null then.
 *
 * signal_storage_uri    which catalogue, as the storage plug-in reads it; "file:signal_storage?mode=memory" is one in
 *                       memory, private to this extractor
 * signal_storage_flags  passed to the storage plug-in unchanged
 * service_locator       the host's locator, or null; "qor_log_t" is asked for. Valid until the extractor is destroyed.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_create(const char* signal_storage_uri, uint32_t signal_storage_flags,
                                                          qor_service_locator_t* service_locator,
                                                          qor_tavi_extractor_t** handle,
                                                          qor_error_details_t** error_details);

/* Ends an extractor and unloads its plug-ins, which are not told of remaining subscriptions. Null is ignored. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_destroy(qor_tavi_extractor_t* handle);

/* The extractor's own locator, valid as long as the extractor. It knows no services yet. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_service_locator(qor_tavi_extractor_t* handle,
                                                                       qor_service_locator_t** service_locator,
                                                                       qor_error_details_t** error_details);

/* ---- sources ----------------------------------------------------------------------------------------------------- */

/*
 * Registers a source with the descriptions that a provider gives, those that its source id brings (0x23F GPS; 0x80F,
 * 0x81F, 0x50F reference camera; 0xA2F, 0xA3F RT range) and those of data processors that take it. Registering a source
 * again adds to it.
 *
 * provider       null for none; the record is copied
 * sanitize_name  keep the name in the form of qor_data_source_sanitize_name
 * data_description_signatures, data_description_signature_count, allocator
 *                receive the signatures; each text and the array are freed with `allocator`. When one of the first two
 *                is null the signatures are dropped, and `allocator` may be null.
 *
 * Errors: what a parser or provider reports; "failed to find a data description parser for data description type 'x'";
 * "the specified data source name does not match the previously registered name" (QOR_STATUS_INVALID_ARGUMENT). After a
 * failure the catalogue keeps the descriptions that were parsed by then, and processors that were bound stay bound.
 * Checked: handle, data_source, allocator unless the signatures are dropped.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_register_source(
    qor_tavi_extractor_t* handle, const qor_data_source_t* data_source, const qor_data_source_provider_t* provider,
    bool sanitize_name, char*** data_description_signatures, size_t* data_description_signature_count,
    qor_memory_allocator_t* allocator, qor_error_details_t** error_details);

/*
 * Registers a source with descriptions that the catalogue holds already: nothing is parsed.
 * Checked: handle, source_name, data_description_signatures.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_register_source_from_signal_storage(
    qor_tavi_extractor_t* handle, uint16_t source_id, uint32_t instance, const char* source_name,
    const char* const* data_description_signatures, size_t data_description_signature_count,
    qor_error_details_t** error_details);

/*
 * As qor_tavi_extractor_register_source, with the descriptions as buffers.
 * Checked: handle, source_name, data_descriptions unless the count is 0, allocator unless the signatures are dropped.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_register_source_with_data_descriptions(
    qor_tavi_extractor_t* handle, uint16_t source_id, uint32_t instance, const char* source_name,
    const qor_data_description_content_t* data_descriptions, size_t data_description_count,
    char*** data_description_signatures, size_t* data_description_signature_count, qor_memory_allocator_t* allocator,
    qor_error_details_t** error_details);

/*
 * Ends all subscriptions and forgets all sources; the catalogue and bound processors stay. A plug-in that fails to
 * withdraw a subscription fails the call before anything is ended.
 * Thread: must not overlap any other call (convention 6). Checked: handle.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_unregister_sources(qor_tavi_extractor_t* handle,
                                                                      qor_error_details_t** error_details);

/* Brings the catalogue's file up to date. Thread: takes no lock (convention 6). Checked: handle. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_checkpoint_signal_storage(qor_tavi_extractor_t* handle,
                                                                             qor_error_details_t** error_details);

/* ---- browsing ---------------------------------------------------------------------------------------------------- */

/*
 * The views of a source, of all its descriptions in order; an unknown source has none.
 * Owner: the caller, by qor_type_node_sequence_destroy with the default allocator.
 * Thread: takes no lock, must not overlap a change of the sources (convention 6). Checked: handle, data_source, nodes.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_root_nodes(qor_tavi_extractor_t* handle,
                                                                  const qor_data_source_t* data_source,
                                                                  qor_type_node_sequence_t** nodes,
                                                                  qor_error_details_t** error_details);

/*
 * The same by name. Errors: "the data source identified with name 'x' was not found", with a suggestion where a name is
 * near. Thread: as for root nodes. Checked: handle, data_source_name, nodes.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_root_nodes_by_source_name(qor_tavi_extractor_t* handle,
                                                                                 const char* data_source_name,
                                                                                 qor_type_node_sequence_t** nodes,
                                                                                 qor_error_details_t** error_details);

/* The nodes directly below `node`. Owner, thread: as for root nodes. Checked: handle, nodes. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_node_children(qor_tavi_extractor_t* handle,
                                                                     const qor_type_node_t* node,
                                                                     qor_type_node_sequence_t** nodes,
                                                                     qor_error_details_t** error_details);

/*
 * The schema (docs/schema.md) of what a URL expression names, as JSON text (convention 4).
 *
 * lenient       log layout faults instead of failing
 * annotate      add the annotation "measurement" with view, cycle and address
 * print_option  indent the text
 *
 * Checked: handle, url_expression, size.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_type_schema_by_url(qor_tavi_extractor_t* handle,
                                                                          const char* url_expression, bool lenient,
                                                                          bool annotate, bool print_option,
                                                                          char* buffer, size_t* size,
                                                                          qor_error_details_t** error_details);

/* ---- subscriptions ----------------------------------------------------------------------------------------------- */

/*
 * Subscribes to what a URL expression names, for example "10#2.View.Group.Signal[3]" or
 * "Camera.Objects.Object[last()]".
 *
 * lenient              as for the schema
 * subscription_handle  receives the handle: never 0, not repeated in the process
 *
 * Errors: syntax ("1.9-15: syntax error, unexpected name with space, expecting name"), unknown source, path not in the
 * catalogue, a filter that does not fit, what a plug-in reports. A source that the expression names by number is
 * recorded under that number when it is not registered, also when the call fails after that. Checked: handle,
 * url_expression, subscription_handle.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_subscribe(qor_tavi_extractor_t* handle, const char* url_expression,
                                                             bool lenient, uint64_t* subscription_handle,
                                                             qor_error_details_t** error_details);

/*
 * Ends a subscription; an unknown handle is no error, plug-ins are called with it all the same. It has ended also when
 * a plug-in fails. Checked: handle.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_unsubscribe(qor_tavi_extractor_t* handle,
                                                               uint64_t subscription_handle,
                                                               qor_error_details_t** error_details);

/* Ends all subscriptions, or none when a plug-in fails. Checked: handle. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_unsubscribe_all(qor_tavi_extractor_t* handle,
                                                                   qor_error_details_t** error_details);

/* The number of subscriptions. Checked: handle, count. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_subscription_count(qor_tavi_extractor_t* handle, size_t* count,
                                                                          qor_error_details_t** error_details);

/*
 * The URL expression of a subscription as it was given (convention 4). Errors: "invalid subscription handle".
 * Thread: takes no lock, must not overlap a change of the subscriptions (convention 6). Checked: handle, size.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_url(qor_tavi_extractor_t* handle, uint64_t subscription_handle,
                                                           char* buffer, size_t* size,
                                                           qor_error_details_t** error_details);

/*
 * The schema of a subscription (convention 4). Errors: "subscription handle '7' was not found by Tavi extractor".
 * Checked: handle, size.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_type_schema_by_subscription(qor_tavi_extractor_t* handle,
                                                                                   uint64_t subscription_handle,
                                                                                   char* buffer, size_t* size,
                                                                                   qor_error_details_t** error_details);

/*
 * All subscriptions as a filter for the host's reader (convention 4), for example
 * "(SourceId = 10 AND Instance = 2 AND Cycle = 5 AND Address = 0x1F00) OR (SourceId = 11 AND Instance = 0)".
 * Thread: takes no lock, must not overlap a change of the subscriptions (convention 6). Checked: handle, size.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_get_reader_filter_expression(qor_tavi_extractor_t* handle,
                                                                                char* buffer, size_t* size,
                                                                                qor_error_details_t** error_details);

/* ---- packages ---------------------------------------------------------------------------------------------------- */

/*
 * Which subscriptions a package serves, in subscribing order. A source or format that nobody knows gives an empty list.
 *
 * strict                      do not accept what is cut short
 * subscription_handles        receives an array of 8-byte handles from `allocator`, also when the count is 0
 * subscription_handle_count   receives the count
 *
 * Errors: "a generic package without format type specifier was received" (QOR_STATUS_FAILURE here); what the matcher
 * reports. Checked: handle, package, subscription_handles, subscription_handle_count, allocator.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_match(qor_tavi_extractor_t* handle, const qor_package_t* package,
                                                         bool strict, uint64_t** subscription_handles,
                                                         size_t* subscription_handle_count,
                                                         qor_memory_allocator_t* allocator,
                                                         qor_error_details_t** error_details);

/*
 * The records of a package: one for each subscription that it serves, those of data processors last.
 *
 * dynamic_data        receives an array of records from `allocator`; each is freed by qor_dynamic_data_destroy, the
 *                     array by the allocator's free
 * dynamic_data_count  receives the count
 *
 * Errors: "a generic package without format type specifier was received" (QOR_STATUS_INVALID_ARGUMENT here); "package
 * payload size 4 is less than expected size 8 from offset 0" and its like; what a plug-in reports. A failure drops the
 * whole result. A data processor may have taken the package all the same: repeated, the call gives it once more.
 * Checked: handle, package, dynamic_data, dynamic_data_count, allocator.
 */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_process(qor_tavi_extractor_t* handle, const qor_package_t* package,
                                                           bool strict, qor_dynamic_data_t*** dynamic_data,
                                                           size_t* dynamic_data_count,
                                                           qor_memory_allocator_t* allocator,
                                                           qor_error_details_t** error_details);

/* Whether a data processor is bound to the package's source for its format. Checked: handle, package, result. */
QOR_TAVI_EXTRACTOR_API uint32_t qor_tavi_extractor_has_data_processor(qor_tavi_extractor_t* handle,
                                                                      const qor_package_t* package, bool* result,
                                                                      qor_error_details_t** error_details);

#ifdef __cplusplus
}
#endif

#endif
