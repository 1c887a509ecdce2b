#include "qorc/extensibility/data_description_parser.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

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

} // namespace

void become_parser(fake_plugin& self) {
    self.offer(qor_data_description_parser_support_t{nullptr, self.slot("parse_buffer", parse_buffer)});
    self.offer(
        qor_data_description_parser_format_support_t{self.slot("get_supported_file_format_count", get_format_count),
                                                     self.slot("get_supported_file_format", get_supported_file_format),
                                                     self.slot("get_context_type", get_context_type)});
}

} // namespace tavi::fakes
