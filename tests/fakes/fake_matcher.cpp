#include "qorc/extensibility/data_matcher.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

class matcher : public fake_plugin {
public:
    explicit matcher(qor_service_locator_t* host_locator) : fake_plugin(host_locator) {
        offer(qor_data_matcher_support_t{slot("register_type", register_type), slot("unregister_type", unregister_type),
                                         slot("match", match)});
        offer(qor_data_matcher_format_support_t{slot("get_supported_format_count", get_supported_format_count),
                                                slot("get_supported_format", get_supported_format)});
        if (own.offers_batch) {
            offer(qor_data_matcher_batch_support_t{slot("match_batch", match_batch)});
        }
    }

private:
    static matcher& of(void* handle) { return *static_cast<matcher*>(static_cast<fake_plugin*>(handle)); }

    static std::uint32_t register_type(void* handle, std::uint64_t subscription, const char* schema,
                                       const qor_type_node_sequence_t* hierarchy, std::uint64_t position,
                                       std::uint64_t extent, qor_error_details_t** error) {
        matcher& self = of(handle);
        self.shared.keep_schema(subscription, schema);
        const std::string subject = std::to_string(subscription);
        const std::string arguments =
            subject + " " + names_of(hierarchy) + " at " + std::to_string(position) + " of " + std::to_string(extent);
        return self.perform("register_type", subject, arguments, error, [] { return QOR_STATUS_OK; });
    }
    static std::uint32_t unregister_type(void* handle, std::uint64_t subscription, qor_error_details_t** error) {
        const std::string subject = std::to_string(subscription);
        return of(handle).perform("unregister_type", subject, subject, error, [] { return QOR_STATUS_OK; });
    }
    static std::uint32_t match(void* handle, std::uint64_t subscription, const qor_package_t* package, bool lenient,
                               bool* matched, std::uint64_t* offset, std::uint64_t* size, std::uint64_t* expected_size,
                               qor_error_details_t** error) {
        matcher& self = of(handle);
        const bool preset = !*matched && *offset == 0 && *size == 0 && *expected_size == 0;
        const std::string subject = std::to_string(subscription);
        const std::string arguments = subject + (lenient ? " lenient" : " strict") + (preset ? "" : " not preset");
        return self.perform("match", subject, arguments, error, [&] {
            const match_answer given = self.answer_for(subscription, *package);
            *matched = given.matched;
            if (given.matched) {
                *offset = given.offset;
                *size = given.size;
                *expected_size = given.expected_size;
            }
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t match_batch(void* handle, const qor_package_t* package, const std::uint64_t* handles,
                                     std::size_t count, bool lenient, qor_match_outcome_t* outcomes,
                                     std::size_t* outcome_count, qor_error_details_t** error) {
        matcher& self = of(handle);
        std::string arguments = lenient ? "lenient" : "strict";
        for (std::size_t i = 0; i < count; ++i) {
            arguments += " " + std::to_string(handles[i]);
        }
        return self.perform("match_batch", "", arguments, error, [&] {
            *outcome_count = 0;
            for (std::size_t i = 0; i < count; ++i) {
                const match_answer given = self.answer_for(handles[i], *package);
                if (given.matched) {
                    outcomes[(*outcome_count)++] = {handles[i], given.offset, given.size, given.expected_size};
                }
            }
            return QOR_STATUS_OK;
        });
    }
    match_answer answer_for(std::uint64_t subscription, const qor_package_t& package) const {
        return own.match ? own.match(subscription, package) : match_answer{};
    }

    static std::size_t get_supported_format_count(void* handle) { return of(handle).own.formats.size(); }
    static std::uint32_t get_supported_format(void* handle, std::size_t index, const char** result,
                                              qor_error_details_t** error) {
        matcher& self = of(handle);
        return self.perform("get_supported_format", std::to_string(index), "", error, [&] {
            *result = self.own.formats[index].word.c_str();
            return QOR_STATUS_OK;
        });
    }
};

} // namespace

std::unique_ptr<fake_plugin> make_matcher(qor_service_locator_t* host_locator) {
    return std::make_unique<matcher>(host_locator);
}

} // namespace tavi::fakes
