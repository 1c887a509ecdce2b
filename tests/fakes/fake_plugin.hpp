// One instance of a fake, of whatever kind: its script, the tables that it offers, and how each function answers.
#ifndef TESTS_FAKES_FAKE_PLUGIN_HPP
#define TESTS_FAKES_FAKE_PLUGIN_HPP

#include <memory>

#include "qorc/service_locator.h"
#include "qorcpp/service_name.hpp"
#include "tests/fakes/fake_control.hpp"

namespace tavi::fakes {

using details = qor_error_details_t**;

class fake_plugin {
public:
    explicit fake_plugin(qor_service_locator_t* host_locator);
    ~fake_plugin();
    fake_plugin(const fake_plugin&) = delete;
    fake_plugin& operator=(const fake_plugin&) = delete;

    static fake_plugin& of(void* handle) { return *static_cast<fake_plugin*>(handle); }
    // What the fake is called in the test: its file name without "lib" and extension.
    static const std::string& name();
    static control& find_control(qor_service_locator_t* host_locator);
    static std::uint32_t give(const answer& scripted, details error);

    // Records the call, calls back where the script says so, then gives the scripted answer or does `work`, which may
    // return a status. The first word of the arguments selects among answers and call-backs of one function.
    template<typename Work>
    std::uint32_t perform(const std::string& function, const std::string& arguments, details error, Work&& work) {
        const std::string subject = arguments.substr(0, arguments.find(' '));
        shared.record(name(), function, arguments);
        own.call_back(function, subject);
        if (const answer* const scripted = own.find_answer(function, subject)) {
            return give(*scripted, error);
        }
        if constexpr (std::is_void_v<decltype(work())>) {
            return work(), std::uint32_t{QOR_STATUS_OK};
        } else {
            return work();
        }
    }

    template<typename Table>
    void offer(const Table& table) {
        const std::string service = qor::service_name<Table>();
        if (!own.missing.contains(service)) {
            tables[service] = std::make_shared<Table>(table);
        }
    }
    // The slot, or null when the script leaves it out.
    template<typename Slot>
    Slot* slot(const char* slot_name, Slot* function) const {
        return own.missing.contains(slot_name) ? nullptr : function;
    }

    control& shared;
    const script& own;
    qor_service_locator_t locator;
    std::map<std::string, std::shared_ptr<void>> tables;
    std::vector<std::shared_ptr<void>> contexts; // of a storage; kept to its end
};

// Each fills the tables of one kind.
void become_storage(fake_plugin& self);
void become_parser(fake_plugin& self);
void become_matcher(fake_plugin& self);
void become_processor(fake_plugin& self);

// The bytes of a description as a recorded call shows them.
inline std::string shown(const void* buffer, std::size_t size) {
    const std::string bytes(static_cast<const char*>(buffer), size);
    return bytes == std::string(1, '\0') ? "zero byte" : "'" + bytes + "'";
}

// Slots that matchers and processors have in common.
std::uint32_t register_type(void* handle, std::uint64_t subscription, const char* schema,
                            const qor_type_node_sequence_t* hierarchy, std::uint64_t position, std::uint64_t extent,
                            details error);
std::uint32_t unregister_type(void* handle, std::uint64_t subscription, details error);
std::size_t get_format_count(void* handle);

} // namespace tavi::fakes

#endif
