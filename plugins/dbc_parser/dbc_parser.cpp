// The parser of CAN databases in DBC, the language of most description files for vehicle buses.
#include <string>

#include "plugins/dbc_parser/dbc_cursor.hpp"
#include "plugins/dbc_parser/dbc_mapper.hpp"
#include "plugins/dbc_parser/dbc_reader.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"
#include "qor_plugin_sdk/logger.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_description_parser.h"

namespace dbc_parser {

class parser {
public:
    explicit parser(qor_service_locator_t* host_locator) : logger_(host_locator) {
        services_.offer(qor_data_description_parser_support_t{
            .reserved_1 = nullptr,
            .parse_buffer = qor::sdk::slot<&parser::parse_buffer>,
        });
        services_.offer(qor_data_description_parser_format_support_t{
            .get_supported_file_format_count = [](void*) { return size_t{1}; },
            .get_supported_file_format = qor::sdk::slot<&parser::get_supported_file_format>,
            .get_context_type = [](void*) -> uint8_t { return QOR_CONTEXT_TYPE_BUS; },
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
        const std::string file_name = name != nullptr ? name : "description";
        dbc_cursor cursor(without_byte_order_mark({static_cast<const char*>(buffer), size}));
        const warning_sink warn = [&](size_t offset, const std::string& cause) {
            logger_.warning([&] { return message_text(file_name, cursor.place_of(offset), "warning: " + cause); });
        };
        progress_sink report;
        if (progress != nullptr) {
            report = [&](float fraction) { return progress(fraction, progress_context); };
        }
        try {
            dbc_file file = read_file(cursor, warn, report);
            settle_names_and_layout(file, warn);
            write_file(file, *context);
            if (report && !report(1.0f)) {
                throw std::runtime_error("parsing was stopped");
            }
        } catch (const statement_error& fault) {
            throw std::runtime_error(message_text(file_name, cursor.place_of(fault.offset), fault.what()));
        }
    }

    static std::string message_text(const std::string& file_name, text_place place, const std::string& cause) {
        return file_name + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": " + cause;
    }

    void get_supported_file_format(size_t index, qor_data_description_file_format_t* format) {
        if (index != 0) {
            throw std::invalid_argument("there is no file format " + std::to_string(index));
        }
        *format = {"dbc", "CAN database", "dbc", 0, {}};
    }

    qor::sdk::service_table services_;
    qor::sdk::logger logger_;
};

} // namespace dbc_parser

QOR_DATA_DESCRIPTION_PARSER(dbc_parser::parser)
