#include "tools/tavi/commands/commands.hpp"

#include <string>

#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

exit_code run_schema(const schema_options& options) {
    diagnostics messages(options.catalogue.strict);
    catalogue known(options.catalogue, messages);
    known.load();
    std::string first_failure;
    for (std::size_t description = 0; description < known.descriptions().size(); ++description) {
        try {
            const std::string schema = known.extractor().schema(
                known.expression(description, options.expression),
                {.layout = options.catalogue.strict ? host::strict : host::lenient, .annotate = true, .indent = true});
            block_output output("");
            output.write(schema + '\n');
            output.close();
            messages.print_rest();
            return exit_code::done;
        } catch (const host::error& error) {
            first_failure = first_failure.empty() ? error.what() : first_failure;
        }
    }
    throw command_error("tavi: error: " + printable(first_failure), exit_code::failed,
                        "an expression reads View.Message.Signal; tavi tree -d FILE shows what there is");
}

} // namespace tavi::tool
