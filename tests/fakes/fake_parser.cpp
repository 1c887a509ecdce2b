#include "qorc/extensibility/data_description_parser.h"
#include "tests/fakes/fake_plugin.hpp"

namespace tavi::fakes {

namespace {

class parser : public fake_plugin {
public:
    explicit parser(qor_service_locator_t* host_locator) : fake_plugin(host_locator) {
        offer(qor_data_description_parser_support_t{nullptr, slot("parse_buffer", parse_buffer)});
        offer(qor_data_description_parser_format_support_t{
            slot("get_supported_file_format_count", get_supported_file_format_count),
            slot("get_supported_file_format", get_supported_file_format), slot("get_context_type", get_context_type)});
    }

private:
    static parser& of(void* handle) { return *static_cast<parser*>(static_cast<fake_plugin*>(handle)); }

    static std::uint32_t parse_buffer(void* handle, qor_signal_storage_context_t* context, std::uint8_t type,
                                      const void* buffer, std::size_t size, const char* name,
                                      qor_parse_progress_t progress, void* progress_context,
                                      qor_error_details_t** error) {
        const std::string bytes(static_cast<const char*>(buffer), size);
        const std::string shown = name == nullptr ? "null" : name;
        const std::string arguments = shown + " type=" + std::to_string(type) +
                                      (bytes == std::string(1, '\0') ? " zero byte" : " '" + bytes + "'") +
                                      (progress == nullptr && progress_context == nullptr ? "" : " progress") +
                                      (context == nullptr ? " no context" : "");
        return of(handle).perform("parse_buffer", shown, arguments, error, [] { return QOR_STATUS_OK; });
    }
    static std::size_t get_supported_file_format_count(void* handle) { return of(handle).own.formats.size(); }
    static std::uint32_t get_supported_file_format(void* handle, std::size_t index,
                                                   qor_data_description_file_format_t* result,
                                                   qor_error_details_t** error) {
        parser& self = of(handle);
        return self.perform("get_supported_file_format", std::to_string(index), "", error, [&] {
            *result = {};
            result->description_type = self.own.formats[index].word.c_str();
            result->source_id_filter = static_cast<std::uint16_t>(self.own.formats[index].source);
            return QOR_STATUS_OK;
        });
    }
    static std::uint8_t get_context_type(void* handle) { return of(handle).own.context_type; }
};

} // namespace

std::unique_ptr<fake_plugin> make_parser(qor_service_locator_t* host_locator) {
    return std::make_unique<parser>(host_locator);
}

} // namespace tavi::fakes
