/*
 * Entry symbols of the three kinds of plug-in that are created without a URI: data matchers, data description parsers
 * and data processors. A library of kind K (data_matcher, data_description_parser, data_processor) exports
 *
 *     qor_K_create               makes an instance
 *     qor_K_destroy              ends it
 *     qor_K_get_service_locator  gives the locator through which the instance publishes its tables
 *
 * and carries a metadata block (qorc/metadata.h) by which it is found: "data-matcher", "data-description-parser" or
 * "data-processor". plugins/sdk makes all of it from a class and a list of tables.
 *
 * Two extractors in one process have two instances, which may run at the same time: state belongs in the instance.
 *
 * Calling back. A function that an extractor calls may call that extractor before it returns, on the same thread, by
 * every function of its interface except qor_tavi_extractor_destroy; the host has to hand over the handle. That does
 * not hold while the extractor is created or destroyed. Such a call has its full effect when it returns, with these
 * bounds:
 *   - A package that is being matched or processed stays with the subscriptions that its source had when the call
 *     began, so a plug-in may be asked for a subscription that has ended since.
 *   - A subscription is not known before qor_tavi_extractor_subscribe returns: until then it cannot be ended. It fails
 *     when its source is unregistered meanwhile.
 *   - qor_tavi_extractor_unsubscribe_all ends the subscriptions that were there when it began; one that is made during
 *     its calls stays. During qor_tavi_extractor_unregister_sources it is ended as well.
 *   - The extractor may call the plug-in again before the first function returned. A plug-in calls back only where its
 *     own state allows that.
 * Waiting for another thread that calls the same extractor is a deadlock, since the extractor's lock is held.
 */
#ifndef QORC_EXTENSIBILITY_PLUGIN_H
#define QORC_EXTENSIBILITY_PLUGIN_H

#include "qorc/service_locator.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Limit of the formats that one plug-in gives. A plug-in that counts more of them is refused: it fails the start of the
 * extractor (of the registration, for processors).
 */
#define QOR_PLUGIN_MAX_FORMATS 4096

/*
 * handle        receives the instance
 * host_locator  the locator that the host gave to the extractor, null when it gave none; valid as long as the instance
 *
 * Status 0 is success; any other status fails the start of the extractor (of the registration, for processors) with
 * the text of the details.
 */
typedef uint32_t (*qor_plugin_create_t)(void** handle, qor_service_locator_t* host_locator,
                                        qor_error_details_t** error);

/* Must not throw. The library is unloaded after it. */
typedef void (*qor_plugin_destroy_t)(void* handle);

/* The instance's own locator, valid until the instance is destroyed. */
typedef uint32_t (*qor_plugin_get_service_locator_t)(void* handle, qor_service_locator_t** locator,
                                                     qor_error_details_t** error);

#ifdef __cplusplus
}
#endif

#endif
