#include <stdexcept>

#include "qorc/extensibility/data_processor.h"
#include "tools/tavi/check/kind_checks.hpp"
#include "tools/tavi/check/plugin_formats.hpp"
#include "tools/tavi/check/unknown_subscription.hpp"

namespace tavi::tool {

void check_processor(const qor::plugin_handle& plugin, checker& check) {
    const auto* const support =
        check.find_table<qor_data_processor_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"register_type", table.register_type != nullptr},
                    {"unregister_type", table.unregister_type != nullptr},
                    {"process", table.process != nullptr}};
        });
    const auto* const formats =
        check.find_table<qor_data_processor_format_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"get_supported_format_count", table.get_supported_format_count != nullptr},
                    {"get_supported_format", table.get_supported_format != nullptr}};
        });
    check.find_table<qor_data_processor_port_support_t>(plugin, true, [](const auto&) { return slot_list{}; });
    check.find_table<qor_data_processor_data_source_binding_t>(plugin, false, [](const auto& table) -> slot_list {
        return {{"bind", table.bind != nullptr}};
    });
    // Without it each source that the processor takes fails to register.
    check.find_table<qor_data_processor_data_description_support_t>(plugin, true, [](const auto& table) -> slot_list {
        return {{"get_data_descriptions", table.get_data_descriptions != nullptr}};
    });
    if (support == nullptr || formats == nullptr) {
        return;
    }
    host::package_builder builder;
    const qor_package_t* package = nullptr;
    check.attempt("names its formats",
                  [&] { package = &empty_package(builder, formats_of(plugin, "data-processor")); });
    if (package == nullptr) {
        return;
    }
    check_withdrawal(plugin, *support, check);
    check.attempt("an unknown subscription gets no record of an empty package", [&] {
        qor_memory_allocator_t* const allocator = qor_get_default_allocator();
        qor_dynamic_data_t** records = nullptr;
        uint64_t count = 0;
        qor_error_details_t* details = nullptr;
        support->process(plugin.instance(), unknown_handle, package, &records, &count, allocator, &details);
        allocator->free(records, allocator->context);
        qor::rethrow_details(details);
        if (count != 0) {
            throw std::runtime_error("it got " + std::to_string(count));
        }
    });
}

} // namespace tavi::tool
