/*
 * Data matcher: the plug-in that tells, for packages of its formats, which subscriptions a package serves and where in
 * the payload their bytes lie. Entry symbols: plugin.h, kind data_matcher.
 *
 * Functions take the plug-in's handle first; the tables have no context field. The extractor calls with its lock held,
 * one call at a time for one extractor, except for calls that its own call-backs lead to (plugin.h).
 */
#ifndef QORC_EXTENSIBILITY_DATA_MATCHER_H
#define QORC_EXTENSIBILITY_DATA_MATCHER_H

#include "qorc/extensibility/package.h"
#include "qorc/extensibility/plugin.h"
#include "qorc/type_node.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Service "qor_data_matcher_support_t", mandatory. Each slot is tested when it is used. */
typedef struct qor_data_matcher_support_t {
    /*
     * Announces a subscription.
     *
     * schema     the JSON text of its type (docs/schema.md)
     * hierarchy  the nodes from the view down to what was subscribed to, the last one; texts included
     * position   absolute position of its first byte: the object's address plus all offsets
     * extent     its bytes
     *
     * schema and hierarchy are valid during the call only. Details fail the subscription; the status is not looked at.
     */
    uint32_t (*register_type)(void* handle, uint64_t subscription_handle, const char* schema,
                              const qor_type_node_sequence_t* hierarchy, uint64_t position, uint64_t extent,
                              qor_error_details_t** error);
    /* Withdraws it. A handle that the matcher does not know is no failure. A matcher of n formats is told n times. */
    uint32_t (*unregister_type)(void* handle, uint64_t subscription_handle, qor_error_details_t** error);
    /*
     * Asks whether `package` carries the subscription.
     *
     * lenient        accept what is cut short
     * matched        the outcome; this and the next three are preset to false and zero
     * offset         where the subscription's bytes begin, counted from the first payload byte
     * size           how many of them are there
     * expected_size  how many its type wants
     *
     * A handle that was never announced here, or was withdrawn, is answered with false. Details fail the whole package.
     */
    uint32_t (*match)(void* handle, uint64_t subscription_handle, const qor_package_t* package, bool lenient,
                      bool* matched, uint64_t* offset, uint64_t* size, uint64_t* expected_size,
                      qor_error_details_t** error);
} qor_data_matcher_support_t;

/* Service "qor_data_matcher_format_support_t", mandatory. */
typedef struct qor_data_matcher_format_support_t {
    /* At most QOR_PLUGIN_MAX_FORMATS. */
    size_t (*get_supported_format_count)(void* handle);
    /* A format type specifier as it stands in packages; valid as long as the plug-in is loaded. */
    uint32_t (*get_supported_format)(void* handle, size_t index, const char** format, qor_error_details_t** error);
} qor_data_matcher_format_support_t;

/* One subscription that a package serves. */
typedef struct qor_match_outcome_t {
    uint64_t subscription_handle;
    /* As the outputs of qor_data_matcher_support_t::match. */
    uint64_t offset;
    uint64_t size;
    uint64_t expected_size;
} qor_match_outcome_t;

/*
 * Service "qor_data_matcher_batch_support_t", optional: one call for all subscriptions of a package's source. A matcher
 * that offers it keeps an index, so that a package costs what it serves and not what is subscribed.
 */
typedef struct qor_data_matcher_batch_support_t {
    /*
     * handles        the source's subscriptions, ascending, `handle_count` of them; valid and unchanged until the
     *                function returns, also when it calls back
     * outcomes       room for `handle_count` outcomes
     * outcome_count  preset to 0, receives how many were stored
     *
     * Stores, in the order of `handles`, an outcome for each that qor_data_matcher_support_t::match would call matched,
     * with the same values. An outcome for a handle that is not in `handles`, or out of order, fails the whole package.
     * Details fail it too, exactly when one of those calls would: the outcomes that are stored then are those of the
     * handles before the failing one, and a package that is too short for one of them is reported as such.
     */
    uint32_t (*match_batch)(void* handle, const qor_package_t* package, const uint64_t* handles, size_t handle_count,
                            bool lenient, qor_match_outcome_t* outcomes, size_t* outcome_count,
                            qor_error_details_t** error);
} qor_data_matcher_batch_support_t;

/*
 * Service "qor_data_matcher_source_support_t", optional: the sources of subscriptions, for a matcher whose index keeps
 * them apart. A package then costs the same however many sources have the same messages.
 */
typedef struct qor_data_matcher_source_support_t {
    /*
     * Names the source of a subscription, right after each `register_type` for it. Two sources of one qor::source_key
     * (qorcpp/source_key.hpp) are one. Details fail the subscription.
     */
    uint32_t (*set_source)(void* handle, uint64_t subscription_handle, uint16_t source_id, uint32_t instance,
                           qor_error_details_t** error);
} qor_data_matcher_source_support_t;

#ifdef __cplusplus
}
#endif

#endif
