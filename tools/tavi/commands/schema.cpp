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
    throw command_error(std::string("tavi: error: ") + printable(first_failure->what()), exit_code::failed,
                        not_found ? "an expression reads View.Message.Signal; tavi tree -d FILE shows what there is"
                                  : "");
}

} // namespace tavi::tool
