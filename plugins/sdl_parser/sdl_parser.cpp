// The parser of Tavi's own description language, with the descriptions that some source ids bring.
#include "plugins/sdl_parser/built_in_descriptions.hpp"
#include "plugins/sdl_parser/sdl_reader.hpp"
#include "plugins/sdl_parser/sdl_writer.hpp"
#include "qor_plugin_sdk/description_parser.hpp"
#include "qorc/text.hpp"

namespace sdl_parser {

namespace {

qor_data_description_file_format_t format_of(const char* description_type) {
    return {description_type, "Tavi signal description", "sdl;json", 0, {}};
}

} // namespace

class parser : public qor::sdk::description_parser<parser> {
public:
    explicit parser(qor_service_locator_t*)
        : description_parser(QOR_CONTEXT_TYPE_GENERAL, {format_of("sdl"), format_of("gps-sdl"),
                                                        format_of("reference-camera-sdl"), format_of("rt-range-sdl")}) {
    }

    void parse(const qor::sdk::description& source, qor::sdk::node_writer& catalogue) {
        std::string_view text = source.text();
        if (source.asks_for_built_in()) {
            text = built_in_description(source.name());
            if (text.empty()) {
                throw std::runtime_error("there is no built-in description named '" + source.name() + "'");
            }
        }
        source.report_progress(0.0f);
        const auto views = read(text, source.name());
        source.report_progress(0.5f);
        write_description(views, catalogue);
        source.report_progress(1.0f);
    }

private:
    static std::vector<sdl_node> read(std::string_view text, const std::string& description_name) {
        try {
            return read_description(text);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(description_name + ":" + separator(error.what()) + error.what());
        }
    }

    // "name:3:7: ..." for a place in the text, "name: /views/0: ..." for a place in the JSON.
    static const char* separator(std::string_view message) {
        return !message.empty() && qor::is_digit(message.front()) ? "" : " ";
    }
};

} // namespace sdl_parser

QOR_DATA_DESCRIPTION_PARSER(sdl_parser::parser)
