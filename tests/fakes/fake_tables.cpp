// The tables of matchers, parsers and processors.
#include <cstring>

#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/data_processor.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

match_answer answer_for(const fake_plugin& self, std::uint64_t subscription) {
    return self.own.match.contains(subscription) ? self.own.match.at(subscription) : match_answer{};
}

std::uint32_t match(void* handle, std::uint64_t subscription, const qor_package_t*, bool lenient, bool* matched,
                    std::uint64_t* offset, std::uint64_t* size, std::uint64_t* expected_size, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    const bool preset = !*matched && *offset == 0 && *size == 0 && *expected_size == 0;
    const std::string arguments =
        std::to_string(subscription) + (lenient ? " lenient" : " strict") + (preset ? "" : " not preset");
    return self.perform("match", arguments, error, [&] {
        const match_answer given = answer_for(self, subscription);
        std::tie(*matched, *offset, *size, *expected_size) =
            std::tie(given.matched, given.offset, given.size, given.expected_size);
    });
}

std::uint32_t match_batch(void* handle, const qor_package_t*, const std::uint64_t* handles, std::size_t count,
                          bool lenient, qor_match_outcome_t* outcomes, std::size_t* outcome_count, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    std::string arguments = lenient ? "lenient" : "strict";
    for (std::size_t i = 0; i < count; ++i) {
        arguments += " " + std::to_string(handles[i]);
    }
    return self.perform("match_batch", arguments, error, [&] {
        *outcome_count = 0;
        for (const std::uint64_t handle : self.own.outcomes) {
            outcomes[(*outcome_count)++] = {handle, 0, 1, 1};
        }
        for (std::size_t i = 0; i < count && self.own.outcomes.empty(); ++i) {
            if (const auto failing = self.own.answers.find("match/" + std::to_string(handles[i]));
                failing != self.own.answers.end()) {
                return fake_plugin::give(failing->second, error);
            }
            const match_answer given = answer_for(self, handles[i]);
            if (given.matched) {
                outcomes[(*outcome_count)++] = {handles[i], given.offset, given.size, given.expected_size};
            }
        }
        *outcome_count = self.own.count_of("match_batch", *outcome_count);
        return std::uint32_t{QOR_STATUS_OK};
    });
}

std::uint32_t set_source(void* handle, std::uint64_t subscription, std::uint16_t source_id, std::uint32_t instance,
                         details error) {
    const std::string source = std::to_string(source_id) + "#" + std::to_string(instance);
    return fake_plugin::of(handle).perform("set_source", std::to_string(subscription) + " " + source, error, [] {});
}

std::uint32_t get_supported_format(void* handle, std::size_t index, const char** result, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    return self.perform("get_supported_format", std::to_string(index), error,
                        [&] { *result = self.own.formats[index].word.c_str(); });
}

std::uint32_t parse_buffer(void* handle, qor_signal_storage_context_t* context, std::uint8_t type, const void* buffer,
                           std::size_t size, const char* name, qor_parse_progress_t progress, void* progress_context,
                           details error) {
    const std::string arguments = std::string(name == nullptr ? "null" : name) + " type=" + std::to_string(type) + " " +
                                  shown(buffer, size) +
                                  (progress == nullptr && progress_context == nullptr ? "" : " progress") +
                                  (context == nullptr ? " no context" : "");
    return fake_plugin::of(handle).perform("parse_buffer", arguments, error, [] {});
}

std::uint32_t get_supported_file_format(void* handle, std::size_t index, qor_data_description_file_format_t* result,
                                        details error) {
    fake_plugin& self = fake_plugin::of(handle);
    return self.perform("get_supported_file_format", std::to_string(index), error, [&] {
        const format& own = self.own.formats[index];
        *result = {};
        result->description_type = own.word.c_str();
        result->source_id_filter = static_cast<std::uint16_t>(own.source);
    });
}

std::uint8_t get_context_type(void* handle) {
    return fake_plugin::of(handle).own.context_type;
}

std::uint32_t process(void* handle, std::uint64_t subscription, const qor_package_t*, qor_dynamic_data_t*** records,
                      std::uint64_t* count, qor_memory_allocator_t* allocator, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    const bool preset = *records == nullptr && *count == 0;
    return self.perform("process", std::to_string(subscription) + (preset ? "" : " not preset"), error, [&] {
        const auto found = self.own.records.find(subscription);
        *count = self.own.count_of("process", found != self.own.records.end() ? found->second.size() : 0);
        if (self.own.counts_only || self.own.counts.contains("process")) {
            return;
        }
        *records = static_cast<qor_dynamic_data_t**>(
            allocator->calloc(*count + 1, sizeof(qor_dynamic_data_t*), allocator->context));
        for (std::size_t i = 0; i < *count; ++i) {
            if (const auto& bytes = found->second[i]) {
                // Handle and declared size are odd on purpose: whoever passes the record on leaves them alone.
                qor_dynamic_data_create_ex(allocator, bytes->size(), *records + i, nullptr);
                (*records)[i]->subscription_handle = subscription + 1000;
                (*records)[i]->declared_size = 77;
                std::memcpy((*records)[i]->sequence.data, bytes->data(), bytes->size());
            }
        }
    });
}

std::uint32_t get_supported_format_count(void* handle, std::size_t* count, details error) {
    return fake_plugin::of(handle).perform("get_supported_format_count", "", error,
                                           [&] { *count = get_format_count(handle); });
}

std::uint32_t get_processor_format(void* handle, std::size_t index, qor_data_processor_format_t* result,
                                   details error) {
    fake_plugin& self = fake_plugin::of(handle);
    return self.perform("get_supported_format", std::to_string(index), error, [&] {
        const format& own = self.own.formats[index];
        *result = {};
        result->format = own.word.c_str();
        result->source_type = own.source;
        result->source_class = own.source_class;
    });
}

std::uint32_t bind(void* handle, const qor_data_source_t* source, const qor_data_source_provider_t* provider,
                   details error) {
    std::size_t sources = 0;
    provider->get_data_source_count(provider->context, &sources, nullptr);
    const std::string arguments =
        std::string(source->name) + " instance=" + std::to_string(source->instance) + " of " + std::to_string(sources);
    return fake_plugin::of(handle).perform("bind", arguments, error, [] {});
}

std::uint32_t get_data_descriptions(void* handle, qor_memory_allocator_t* allocator,
                                    qor_runtime_c_string_sequence_t** result, details error) {
    fake_plugin& self = fake_plugin::of(handle);
    return self.perform("get_data_descriptions", "", error, [&] {
        const auto& texts = self.own.descriptions;
        std::uint32_t status = qor_runtime_c_string_sequence_create(allocator, texts.size(), result, error);
        for (std::size_t i = 0; status == QOR_STATUS_OK && i < texts.size(); ++i) {
            const char* const text = texts[i] != "null" ? texts[i].c_str() : nullptr;
            status = qor_runtime_c_string_sequence_put(allocator, *result, i, text, error);
        }
        if (status == QOR_STATUS_OK) {
            (*result)->count = self.own.count_of("get_data_descriptions", texts.size());
        }
        return status;
    });
}

} // namespace

void become_matcher(fake_plugin& self) {
    self.offer(qor_data_matcher_support_t{self.slot("register_type", register_type),
                                          self.slot("unregister_type", unregister_type), self.slot("match", match)});
    self.offer(qor_data_matcher_format_support_t{self.slot("get_supported_format_count", get_format_count),
                                                 self.slot("get_supported_format", get_supported_format)});
    if (self.own.offers_batch) {
        self.offer(qor_data_matcher_batch_support_t{match_batch});
        self.offer(qor_data_matcher_source_support_t{self.slot("set_source", set_source)});
    }
}

void become_parser(fake_plugin& self) {
    self.offer(qor_data_description_parser_support_t{nullptr, self.slot("parse_buffer", parse_buffer)});
    self.offer(
        qor_data_description_parser_format_support_t{self.slot("get_supported_file_format_count", get_format_count),
                                                     self.slot("get_supported_file_format", get_supported_file_format),
                                                     self.slot("get_context_type", get_context_type)});
}

void become_processor(fake_plugin& self) {
    self.offer(qor_data_processor_support_t{self.slot("register_type", register_type),
                                            self.slot("unregister_type", unregister_type),
                                            self.slot("process", process)});
    self.offer(qor_data_processor_format_support_t{self.slot("get_supported_format_count", get_supported_format_count),
                                                   self.slot("get_supported_format", get_processor_format)});
    self.offer(qor_data_processor_port_support_t{nullptr, nullptr});
    self.offer(qor_data_processor_data_source_binding_t{self.slot("bind", bind)});
    self.offer(
        qor_data_processor_data_description_support_t{self.slot("get_data_descriptions", get_data_descriptions)});
}

} // namespace tavi::fakes
