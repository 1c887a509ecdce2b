// The parser of CAN databases in DBC, the language of most description files for vehicle buses.
#include "plugins/dbc_parser/dbc_cursor.hpp"
#include "plugins/dbc_parser/dbc_mapper.hpp"
#include "plugins/dbc_parser/dbc_reader.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"
#include "qor_plugin_sdk/description_parser.hpp"
#include "qor_plugin_sdk/logger.hpp"

namespace dbc_parser {

class parser : public qor::sdk::description_parser<parser> {
public:
    explicit parser(qor_service_locator_t* host_locator)
        : description_parser(QOR_CONTEXT_TYPE_BUS, {{"dbc", "CAN database", "dbc", 0, {}}}), logger_(host_locator) {}

    void parse(const qor::sdk::description& source, qor::sdk::node_writer& catalogue) {
        dbc_cursor cursor(without_byte_order_mark(source.text()));
        const auto message_text = [&](size_t offset, const std::string& cause) {
            const text_place place = cursor.place_of(offset);
            return source.message_at(place.line, place.column, cause);
        };
        const warning_sink warn = [&](size_t offset, const std::string& cause) {
            logger_.warning([&] { return message_text(offset, "warning: " + cause); });
        };
        try {
            dbc_file file = read_file(cursor, warn, [&](float fraction) { source.report_progress(fraction); });
            settle_names_and_layout(file, warn);
            write_file(file, catalogue);
            source.report_progress(1.0f);
        } catch (const statement_error& fault) {
            throw std::runtime_error(message_text(fault.offset, fault.what()));
        }
    }

private:
    qor::sdk::logger logger_;
};

} // namespace dbc_parser

QOR_DATA_DESCRIPTION_PARSER(dbc_parser::parser)
