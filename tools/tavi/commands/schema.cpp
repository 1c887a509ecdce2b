#include "tools/tavi/commands/commands.hpp"

#include <optional>
#include <string>

#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/message_names.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/output/cell_text.hpp"
#include "tools/tavi/output/written_files.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

// "1.9: syntax error, ..." of an expression that begins with a source as "'CAN': syntax error, ...".
std::string without_position(const std::string& text, const std::string& expression) {
    const std::size_t end = text.find_first_not_of("0123456789.-");
    return end != 0 && end < text.size() && text[end] == ':' ? '\'' + expression + '\'' + text.substr(end) : text;
}

} // namespace

exit_code run_schema(const schema_options& options) {
    check_written_files(options.catalogue);
    diagnostics messages(options.catalogue.strict);
    catalogue known(options.catalogue, messages);
    known.load();
    std::optional<host::error> first_failure;
    for (std::size_t description = 0; description < known.descriptions().size(); ++description) {
        const auto expression = known.names().own_expression(description, options.expression);
        if (!expression) {
            continue;
        }
        try {
            const std::string schema = known.extractor().schema(
                known.expression(description, *expression),
                {.layout = options.catalogue.strict ? host::strict : host::lenient, .annotate = true, .indent = true});
            block_output output("");
            output.write(escape_json(schema) + '\n');
            output.close();
            return end_of(messages);
        } catch (const host::error& error) {
            first_failure = first_failure ? first_failure : error;
        }
    }
    const bool not_found = first_failure->status() == QOR_STATUS_INVALID_ARGUMENT;
    throw command_error("tavi: error: " + printable(without_position(first_failure->what(), options.expression)),
                        exit_code::failed,
                        not_found ? "expected View.Message.Signal; tavi tree -d FILE lists messages and signals" : "");
}

} // namespace tavi::tool
