// One instance of a fake, of whatever kind: its script, the tables that it offers, and how each function answers.
#ifndef TESTS_FAKES_FAKE_PLUGIN_HPP
#define TESTS_FAKES_FAKE_PLUGIN_HPP

#include <memory>

#include "qorc/service_locator.h"
#include "qorcpp/service_name.hpp"
#include "tests/fakes/fake_control.hpp"

namespace tavi::fakes {

class fake_plugin {
public:
    explicit fake_plugin(qor_service_locator_t* host_locator);
    virtual ~fake_plugin();
    fake_plugin(const fake_plugin&) = delete;
    fake_plugin& operator=(const fake_plugin&) = delete;

    // What the fake is called in the test: its file name without "lib" and extension.
    static const std::string& name();
    static control& find_control(qor_service_locator_t* host_locator);

    // Records the call, then gives the scripted answer or does `work`, which returns a status. `subject` selects among
    // answers of one function.
    template<typename Work>
    std::uint32_t perform(const std::string& function, const std::string& subject, const std::string& arguments,
                          qor_error_details_t** error, Work&& work) {
        shared.record(name(), function, arguments);
        const answer* const scripted = find_answer(function, subject);
        return scripted != nullptr ? give(*scripted, error) : work();
    }

    const answer* find_answer(const std::string& function, const std::string& subject) const;
    static std::uint32_t give(const answer& scripted, qor_error_details_t** error);

    // The locator as scripted, which may be null or incomplete.
    qor_service_locator_t* locator();

    control& shared;
    const script& own;

protected:
    template<typename Table>
    void offer(const Table& table) {
        const std::string service = qor::service_name<Table>();
        if (!own.missing.contains(service)) {
            tables_[service] = std::make_shared<Table>(table);
        }
    }
    // The slot, or null when the script leaves it out.
    template<typename Slot>
    Slot* slot(const char* slot_name, Slot* function) const {
        return own.missing.contains(slot_name) ? nullptr : function;
    }

private:
    static std::uint32_t resolve(void* context, const char* service, void* target, qor_error_details_t** error);
    static std::uint32_t can_resolve(void* context, const char* service, bool* result, qor_error_details_t** error);

    qor_service_locator_t locator_;
    std::map<std::string, std::shared_ptr<void>> tables_;
};

// The kinds; each fills its tables.
std::unique_ptr<fake_plugin> make_storage(qor_service_locator_t* host_locator);
std::unique_ptr<fake_plugin> make_parser(qor_service_locator_t* host_locator);
std::unique_ptr<fake_plugin> make_matcher(qor_service_locator_t* host_locator);
std::unique_ptr<fake_plugin> make_processor(qor_service_locator_t* host_locator);

// "View/Object/Signal", the names of a list of nodes.
std::string names_of(const qor_type_node_sequence_t* nodes);

} // namespace tavi::fakes

#endif
