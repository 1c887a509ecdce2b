// What makes a plug-in a page of code. A plug-in is a class with
//
//     explicit my_matcher(qor_service_locator_t* host_locator);   // may throw: the text reaches the host
//     qor::sdk::service_table& services();                        // filled in its constructor
//
// whose tables are made of its member functions, and one line at file scope:
//
//     QOR_DATA_MATCHER(my_matcher)
//
// A member function `void register_type(A a, B b)` becomes a table's slot by `qor::sdk::slot<&my_matcher::register_type>`:
// a C function (void* handle, A a, B b, qor_error_details_t** error) that turns exceptions into statuses and details.
// A member function that returns uint32_t gives its result as the status.
#ifndef PLUGINS_SDK_PLUGIN_HPP
#define PLUGINS_SDK_PLUGIN_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "qorc/metadata.h"
#include "qorc/service_locator.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/service_name.hpp"

namespace qor::sdk {

// The plug-in's side of a service locator: tables by the name of their structure. Filled in the constructor of the
// plug-in, only read afterwards, so that any thread may ask. Tables are copied.
class service_table {
public:
    service_table() : locator_{resolve, can_resolve, this} {}
    service_table(const service_table&) = delete;
    service_table& operator=(const service_table&) = delete;

    template<typename Table>
    void offer(const Table& table) {
        tables_[service_name<Table>()] = std::make_shared<Table>(table);
    }

    qor_service_locator_t* locator() noexcept { return &locator_; }

private:
    static uint32_t resolve(void* context, const char* service_type, void* target, qor_error_details_t** error) {
        return guarded_call(
            [&] {
                check_argument(context, "handle");
                check_argument(service_type, "service_type");
                check_argument(target, "target");
                auto& tables = static_cast<service_table*>(context)->tables_;
                const auto found = tables.find(service_type);
                if (found == tables.end()) {
                    throw std::runtime_error(std::string("requested service '") + service_type + "' not found");
                }
                *static_cast<void**>(target) = found->second.get();
            },
            error);
    }

    static uint32_t can_resolve(void* context, const char* service_type, bool* result, qor_error_details_t** error) {
        return guarded_call(
            [&] {
                check_argument(context, "handle");
                check_argument(service_type, "service_type");
                check_argument(result, "can_resolve");
                *result = static_cast<service_table*>(context)->tables_.contains(service_type);
            },
            error);
    }

    qor_service_locator_t locator_;
    std::map<std::string, std::shared_ptr<void>, std::less<>> tables_;
};

namespace detail {

template<auto Member>
struct slot_maker;

template<typename Plugin, typename Result, typename... Arguments, Result (Plugin::*Member)(Arguments...)>
struct slot_maker<Member> {
    static uint32_t call(void* handle, Arguments... arguments, qor_error_details_t** error) noexcept {
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                return (static_cast<Plugin*>(handle)->*Member)(arguments...);
            },
            error);
    }
};

template<typename Plugin>
struct entry {
    static uint32_t create(void** handle, qor_service_locator_t* host_locator, qor_error_details_t** error) noexcept {
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                *handle = nullptr;
                *handle = new Plugin(host_locator);
            },
            error);
    }
    static void destroy(void* handle) noexcept { delete static_cast<Plugin*>(handle); }
    static uint32_t get_service_locator(void* handle, qor_service_locator_t** locator,
                                        qor_error_details_t** error) noexcept {
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                check_argument(locator, "locator");
                *locator = static_cast<Plugin*>(handle)->services().locator();
            },
            error);
    }
};

} // namespace detail

// See the top of the file.
template<auto Member>
inline constexpr auto* slot = &detail::slot_maker<Member>::call;

} // namespace qor::sdk

// The exported symbols of a plug-in and its metadata block. Macros, since they define symbols of given names.
#define QOR_PLUGIN_ENTRIES(kind, plugin)                                                                               \
    extern "C" QOR_EXPORT uint32_t qor_##kind##_create(void** handle, qor_service_locator_t* host_locator,             \
                                                       qor_error_details_t** error) {                                  \
        return qor::sdk::detail::entry<plugin>::create(handle, host_locator, error);                                   \
    }                                                                                                                  \
    extern "C" QOR_EXPORT void qor_##kind##_destroy(void* handle) {                                                    \
        qor::sdk::detail::entry<plugin>::destroy(handle);                                                              \
    }                                                                                                                  \
    extern "C" QOR_EXPORT uint32_t qor_##kind##_get_service_locator(                                                   \
        void* handle, qor_service_locator_t** locator, qor_error_details_t** error) {                                  \
        return qor::sdk::detail::entry<plugin>::get_service_locator(handle, locator, error);                           \
    }

#define QOR_DATA_MATCHER(plugin)                                                                                       \
    QOR_LIBRARY_METADATA("data-matcher")                                                                               \
    QOR_PLUGIN_ENTRIES(data_matcher, plugin)

#define QOR_DATA_DESCRIPTION_PARSER(plugin)                                                                            \
    QOR_LIBRARY_METADATA("data-description-parser")                                                                    \
    QOR_PLUGIN_ENTRIES(data_description_parser, plugin)

#define QOR_DATA_PROCESSOR(plugin)                                                                                     \
    QOR_LIBRARY_METADATA("data-processor")                                                                             \
    QOR_PLUGIN_ENTRIES(data_processor, plugin)

#endif
