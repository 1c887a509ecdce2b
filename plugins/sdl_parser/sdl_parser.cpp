// The parser of Tavi's own description language, with the descriptions that some source ids bring.
#include <array>

#include "plugins/sdl_parser/built_in_descriptions.hpp"
#include "plugins/sdl_parser/sdl_reader.hpp"
#include "plugins/sdl_parser/sdl_writer.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_description_parser.h"

namespace sdl_parser {

namespace {

constexpr std::array<const char*, 4> description_types = {"sdl", "gps-sdl", "reference-camera-sdl", "rt-range-sdl"};

// A content that asks for the built-in description of the given name.
bool asks_for_built_in(std::string_view content) {
    return content == std::string_view("\0", 1);
}

} // namespace

class parser {
public:
    explicit parser(qor_service_locator_t*) {
        services_.offer(qor_data_description_parser_support_t{
            .reserved_1 = nullptr,
            .parse_buffer = qor::sdk::slot<&parser::parse_buffer>,
        });
        services_.offer(qor_data_description_parser_format_support_t{
            .get_supported_file_format_count = [](void*) { return description_types.size(); },
            .get_supported_file_format = qor::sdk::slot<&parser::get_supported_file_format>,
            .get_context_type = [](void*) -> uint8_t { return QOR_CONTEXT_TYPE_GENERAL; },
        });
    }

    qor::sdk::service_table& services() noexcept { return services_; }

private:
    void parse_buffer(qor_signal_storage_context_t* context, uint8_t, const void* buffer, size_t size, const char* name,
                      qor_parse_progress_t progress, void* progress_context) {
        qor::check_argument(context, "context");
        if (size != 0) {
            qor::check_argument(buffer, "buffer");
        }
        const std::string_view description_name = name != nullptr ? name : "description";
        std::string_view text(static_cast<const char*>(buffer), size);
        if (asks_for_built_in(text)) {
            text = built_in_description(description_name);
            if (text.empty()) {
                throw std::runtime_error("there is no built-in description named '" + std::string(description_name) +
                                         "'");
            }
        }
        report(progress, progress_context, 0.0f);
        const auto views = read(text, description_name);
        report(progress, progress_context, 0.5f);
        write_description(views, *context);
        report(progress, progress_context, 1.0f);
    }

    static std::vector<sdl_node> read(std::string_view text, std::string_view description_name) {
        try {
            return read_description(text);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(std::string(description_name) + ":" + separator(error.what()) + error.what());
        }
    }

    // "name:3:7: ..." for a place in the text, "name: /views/0: ..." for a place in the JSON.
    static const char* separator(std::string_view message) {
        return !message.empty() && message.front() >= '0' && message.front() <= '9' ? "" : " ";
    }

    static void report(qor_parse_progress_t progress, void* progress_context, float fraction) {
        if (progress != nullptr && !progress(fraction, progress_context)) {
            throw std::runtime_error("parsing was stopped");
        }
    }

    void get_supported_file_format(size_t index, qor_data_description_file_format_t* format) {
        if (index >= description_types.size()) {
            throw std::invalid_argument("there is no file format " + std::to_string(index));
        }
        *format = {description_types[index], "Tavi signal description", "sdl;json", 0, {}};
    }

    qor::sdk::service_table services_;
};

} // namespace sdl_parser

QOR_DATA_DESCRIPTION_PARSER(sdl_parser::parser)
