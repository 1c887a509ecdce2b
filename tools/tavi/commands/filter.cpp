#include "tools/tavi/commands/commands.hpp"

#include <string>
#include <string_view>
#include <unordered_set>

#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/output/written_files.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

exit_code run_filter(const filter_options& options) {
    check_written_files(options.catalogue);
    diagnostics messages(options.catalogue.strict);
    catalogue known(options.catalogue, messages);
    known.load();
    selection wanted(known, options.patterns);
    std::string filter;
    try {
        known.register_interface(0, options.source, "source");
        const std::string source = std::to_string(catalogue::interface_source_id) + "#0.";
        std::unordered_set<std::string_view> paths;
        for (const message& candidate : wanted.messages()) {
            if (candidate.selected && known.serves(candidate.description, options.source) &&
                paths.insert(candidate.path).second) {
                known.extractor().subscribe(source + candidate.path, host::lenient);
            }
        }
        filter = known.extractor().reader_filter();
    } catch (const host::error& error) {
        throw command_error(std::string("tavi: error: ") + printable(error.what()), exit_code::plugin_failed);
    }
    block_output output("");
    output.write(filter + '\n');
    output.close();
    return end_of(messages);
}

} // namespace tavi::tool
