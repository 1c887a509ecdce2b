#include <cstring>

#include "qorc/extensibility/data_processor.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

class processor : public fake_plugin {
public:
    explicit processor(qor_service_locator_t* host_locator) : fake_plugin(host_locator) {
        offer(qor_data_processor_support_t{slot("register_type", register_type),
                                           slot("unregister_type", unregister_type), slot("process", process)});
        offer(qor_data_processor_format_support_t{slot("get_supported_format_count", get_supported_format_count),
                                                  slot("get_supported_format", get_supported_format)});
        offer(qor_data_processor_port_support_t{nullptr, nullptr});
        offer(qor_data_processor_data_source_binding_t{slot("bind", bind)});
        offer(qor_data_processor_data_description_support_t{slot("get_data_descriptions", get_data_descriptions)});
    }

private:
    static processor& of(void* handle) { return *static_cast<processor*>(static_cast<fake_plugin*>(handle)); }

    static std::uint32_t register_type(void* handle, std::uint64_t subscription, const char* schema,
                                       const qor_type_node_sequence_t* hierarchy, std::uint64_t position,
                                       std::uint64_t extent, qor_error_details_t** error) {
        processor& self = of(handle);
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

    static std::uint32_t process(void* handle, std::uint64_t subscription, const qor_package_t*,
                                 qor_dynamic_data_t*** records, std::uint64_t* count, qor_memory_allocator_t* allocator,
                                 qor_error_details_t** error) {
        processor& self = of(handle);
        const std::string subject = std::to_string(subscription);
        const bool preset = *records == nullptr && *count == 0;
        return self.perform("process", subject, subject + (preset ? "" : " not preset"), error, [&] {
            const auto payloads = self.own.process ? self.own.process(subscription) : std::vector<std::string>{};
            if (payloads.empty() && self.own.null_array_when_empty) {
                return QOR_STATUS_OK;
            }
            if (self.own.announces_without_array) {
                *count = payloads.size();
                return QOR_STATUS_OK;
            }
            *records = static_cast<qor_dynamic_data_t**>(
                allocator->calloc(payloads.size() + 1, sizeof(qor_dynamic_data_t*), allocator->context));
            for (const std::string& payload : payloads) {
                // Handle and declared size are odd on purpose: whoever passes the record on leaves them alone.
                qor_dynamic_data_t*& record = (*records)[*count];
                if (self.own.holes.contains((*count)++)) {
                    continue;
                }
                qor_dynamic_data_create_ex(allocator, payload.size(), &record, nullptr);
                record->subscription_handle = subscription + 1000;
                record->declared_size = 77;
                std::memcpy(record->sequence.data, payload.data(), payload.size());
            }
            return QOR_STATUS_OK;
        });
    }

    static std::uint32_t get_supported_format_count(void* handle, std::size_t* count, qor_error_details_t** error) {
        processor& self = of(handle);
        return self.perform("get_supported_format_count", "", "", error, [&] {
            *count = self.own.formats.size();
            return QOR_STATUS_OK;
        });
    }
    static std::uint32_t get_supported_format(void* handle, std::size_t index, qor_data_processor_format_t* result,
                                              qor_error_details_t** error) {
        processor& self = of(handle);
        return self.perform("get_supported_format", std::to_string(index), "", error, [&] {
            const format& own = self.own.formats[index];
            *result = {};
            result->format = own.word.c_str();
            result->source_type = own.source;
            result->source_class = own.source_class;
            return QOR_STATUS_OK;
        });
    }

    static std::uint32_t bind(void* handle, const qor_data_source_t* source, const qor_data_source_provider_t* provider,
                              qor_error_details_t** error) {
        std::size_t sources = 0;
        provider->get_data_source_count(provider->context, &sources, nullptr);
        const std::string arguments = std::string(source->name) + " instance=" + std::to_string(source->instance) +
                                      " of " + std::to_string(sources);
        return of(handle).perform("bind", "", arguments, error, [] { return QOR_STATUS_OK; });
    }
    static std::uint32_t get_data_descriptions(void* handle, qor_memory_allocator_t* allocator,
                                               qor_runtime_c_string_sequence_t** result, qor_error_details_t** error) {
        processor& self = of(handle);
        return self.perform("get_data_descriptions", "", "", error, [&] {
            const auto& texts = self.own.descriptions;
            std::uint32_t status = qor_runtime_c_string_sequence_create(allocator, texts.size(), result, error);
            for (std::size_t i = 0; status == QOR_STATUS_OK && i < texts.size(); ++i) {
                status = qor_runtime_c_string_sequence_put(allocator, *result, i, texts[i].c_str(), error);
            }
            return status;
        });
    }
};

} // namespace

std::unique_ptr<fake_plugin> make_processor(qor_service_locator_t* host_locator) {
    return std::make_unique<processor>(host_locator);
}

} // namespace tavi::fakes
