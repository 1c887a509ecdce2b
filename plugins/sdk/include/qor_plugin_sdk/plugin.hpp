// What makes a plug-in a page of code. A plug-in is a class with
//
//     explicit my_matcher(qor_service_locator_t* host_locator);   // may throw: the text reaches the host
//     qor::sdk::service_table& services();                        // filled in its constructor
//
// whose tables are made of its member functions, and one line at file scope:
//
//     QOR_DATA_MATCHER(my_matcher)
//
// A member function `void register_type(A a, B b)` becomes a table's slot by
// `qor::sdk::slot<&my_matcher::register_type>`: a C function (void* handle, A a, B b, qor_error_details_t** error) that
// turns exceptions into statuses and details. A member function that returns uint32_t gives its result as the status.
// For the slots without details, `qor::sdk::value_slot<&my_matcher::format_count>` gives what the function returns, and
// 0 when it throws.
#ifndef QOR_PLUGIN_SDK_PLUGIN_HPP
#define QOR_PLUGIN_SDK_PLUGIN_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "qorc/metadata.h"
#include "qorc/service_locator.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/service_name.hpp"

namespace qor::sdk {

// A table with null slots after it. A host that was built with a later form of the table, which has more slots at its
// end, finds them missing instead of what happens to be in memory.
template<typename Table>
struct extendable_table {
    Table table;
    void* later_slots[8] = {};
};

// The plug-in's side of a service locator: tables by the name of their structure. Filled in the constructor of the
// plug-in, only read afterwards, so that any thread may ask. Tables are copied.
class service_table {
public:
    service_table() : locator_{resolve, can_resolve, this} {}
    service_table(const service_table&) = delete;
    service_table& operator=(const service_table&) = delete;

    template<typename Table>
    void offer(const Table& table) {
        tables_[service_name<Table>()] = std::make_shared<extendable_table<Table>>(extendable_table<Table>{table});
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

// The parts of a member function's type, const or not.
template<typename Member>
struct member_parts;

template<typename Class, typename Answer, typename... Parameters>
struct member_parts<Answer (Class::*)(Parameters...)> {
    using owner = Class;

    // Calls Function as a slot: handle first, details last. The handle is that of a Plugin.
    template<auto Function, typename Plugin>
    static uint32_t call(void* handle, Parameters... arguments, qor_error_details_t** error) noexcept {
        static_assert(std::is_void_v<Answer> || std::is_same_v<Answer, uint32_t>, "a slot gives a status");
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                return (static_cast<Plugin*>(handle)->*Function)(arguments...);
            },
            error);
    }

    // Calls Function as a slot without details.
    template<auto Function, typename Plugin>
    static Answer value(void* handle, Parameters... arguments) noexcept {
        try {
            return handle != nullptr ? (static_cast<Plugin*>(handle)->*Function)(arguments...) : Answer{};
        } catch (...) {
            return Answer{};
        }
    }
};

template<typename Class, typename Answer, typename... Parameters>
struct member_parts<Answer (Class::*)(Parameters...) const> : member_parts<Answer (Class::*)(Parameters...)> {};

template<typename Class, typename Answer, typename... Parameters>
struct member_parts<Answer (Class::*)(Parameters...) const noexcept> : member_parts<Answer (Class::*)(Parameters...)> {
};

template<auto Member>
using owner_of = typename member_parts<decltype(Member)>::owner;

template<typename Plugin>
struct entry {
    template<typename... Arguments>
    static uint32_t create(void** handle, qor_error_details_t** error, Arguments... arguments) noexcept {
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                *handle = nullptr;
                *handle = std::make_unique<Plugin>(arguments...).release();
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

// See the top of the file. Plugin is the plug-in's class where Member is that of a base.
template<auto Member, typename Plugin = detail::owner_of<Member>>
inline constexpr auto* slot = &detail::member_parts<decltype(Member)>::template call<Member, Plugin>;
template<auto Member, typename Plugin = detail::owner_of<Member>>
inline constexpr auto* value_slot = &detail::member_parts<decltype(Member)>::template value<Member, Plugin>;

} // namespace qor::sdk

// The exported symbols of a plug-in and its metadata block. Macros, since they define symbols of given names.
#define QOR_PLUGIN_DESTROY_AND_LOCATOR(kind, plugin)                                                                   \
    extern "C" QOR_EXPORT void qor_##kind##_destroy(void* handle) {                                                    \
        qor::sdk::detail::entry<plugin>::destroy(handle);                                                              \
    }                                                                                                                  \
    extern "C" QOR_EXPORT uint32_t qor_##kind##_get_service_locator(void* handle, qor_service_locator_t** locator,     \
                                                                    qor_error_details_t** error) {                     \
        return qor::sdk::detail::entry<plugin>::get_service_locator(handle, locator, error);                           \
    }

#define QOR_PLUGIN_ENTRIES(kind, plugin)                                                                               \
    extern "C" QOR_EXPORT uint32_t qor_##kind##_create(void** handle, qor_service_locator_t* host_locator,             \
                                                       qor_error_details_t** error) {                                  \
        return qor::sdk::detail::entry<plugin>::create(handle, error, host_locator);                                   \
    }                                                                                                                  \
    QOR_PLUGIN_DESTROY_AND_LOCATOR(kind, plugin)

#define QOR_DATA_MATCHER(plugin)                                                                                       \
    QOR_LIBRARY_METADATA("data-matcher")                                                                               \
    QOR_PLUGIN_ENTRIES(data_matcher, plugin)

#define QOR_DATA_DESCRIPTION_PARSER(plugin)                                                                            \
    QOR_LIBRARY_METADATA("data-description-parser")                                                                    \
    QOR_PLUGIN_ENTRIES(data_description_parser, plugin)

#define QOR_DATA_PROCESSOR(plugin)                                                                                     \
    QOR_LIBRARY_METADATA("data-processor")                                                                             \
    QOR_PLUGIN_ENTRIES(data_processor, plugin)

// A storage's class is made by (const char* uri, uint8_t open_mode, uint32_t flags, qor_service_locator_t*).
#define QOR_SIGNAL_STORAGE(plugin)                                                                                     \
    QOR_LIBRARY_METADATA("signal-storage")                                                                             \
    extern "C" QOR_EXPORT uint32_t qor_signal_storage_open(                                                            \
        const char* uri, uint8_t open_mode, uint32_t signal_storage_flags, qor_service_locator_t* host_locator,        \
        void** handle, qor_error_details_t** error) {                                                                  \
        return qor::sdk::detail::entry<plugin>::create(handle, error, uri, open_mode, signal_storage_flags,            \
                                                       host_locator);                                                  \
    }                                                                                                                  \
    QOR_PLUGIN_DESTROY_AND_LOCATOR(signal_storage, plugin)

#endif
