#include <stdexcept>

#include "qorc/extensibility/data_matcher.h"
#include "tools/tavi/check/kind_checks.hpp"
#include "tools/tavi/check/plugin_formats.hpp"
#include "tools/tavi/check/unknown_subscription.hpp"

namespace tavi::tool {

void check_matcher(const qor::plugin_handle& plugin, checker& check) {
    const auto* const support =
        check.find_table<qor_data_matcher_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"register_type", table.register_type != nullptr},
                    {"unregister_type", table.unregister_type != nullptr},
                    {"match", table.match != nullptr}};
        });
    const auto* const formats =
        check.find_table<qor_data_matcher_format_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"get_supported_format_count", table.get_supported_format_count != nullptr},
                    {"get_supported_format", table.get_supported_format != nullptr}};
        });
    const auto* const batch =
        check.find_table<qor_data_matcher_batch_support_t>(plugin, false, [](const auto& table) -> slot_list {
            return {{"match_batch", table.match_batch != nullptr}};
        });
    check.find_table<qor_data_matcher_source_support_t>(plugin, false, [](const auto& table) -> slot_list {
        return {{"set_source", table.set_source != nullptr}};
    });
    if (support == nullptr || formats == nullptr) {
        return;
    }
    host::package_builder builder;
    const qor_package_t* package = nullptr;
    check.attempt("names its formats", [&] { package = &empty_package(builder, formats_of(plugin, "data-matcher")); });
    if (package == nullptr) {
        return;
    }
    check_withdrawal(plugin, *support, check);
    check.attempt("an unknown subscription matches no empty package", [&] {
        bool matched = false;
        uint64_t offset = 0;
        uint64_t size = 0;
        uint64_t expected = 0;
        qor_error_details_t* details = nullptr;
        support->match(plugin.instance(), unknown_handle, package, true, &matched, &offset, &size, &expected, &details);
        qor::rethrow_details(details);
        if (matched) {
            throw std::runtime_error("it matched");
        }
    });
    if (batch != nullptr) {
        check.attempt("nor does it in a batch", [&] {
            qor_match_outcome_t outcome{};
            size_t count = 0;
            qor_error_details_t* details = nullptr;
            batch->match_batch(plugin.instance(), package, &unknown_handle, 1, true, &outcome, &count, &details);
            qor::rethrow_details(details);
            if (count != 0) {
                throw std::runtime_error("it gave " + std::to_string(count) + " outcomes");
            }
        });
    }
}

} // namespace tavi::tool
