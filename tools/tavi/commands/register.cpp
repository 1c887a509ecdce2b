#include "tools/tavi/commands/commands.hpp"

#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/output/written_files.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

exit_code run_register(const register_options& options) {
    check_written_files(options.catalogue);
    diagnostics messages(options.catalogue.strict);
    catalogue known(options.catalogue, messages);
    known.load();
    try {
        known.extractor().checkpoint();
    } catch (const host::error& error) {
        throw command_error("tavi: error: the catalogue '" + printable(options.catalogue.storage) +
                            "' cannot be written: " + printable(error.what()));
    }
    block_output output("");
    for (std::size_t description = 0; description < known.descriptions().size(); ++description) {
        const std::string& path = known.descriptions()[description].path;
        output.write(known.signature(description) + '\t' +
                     (output.is_terminal() ? printable(path) : without_controls(path)) + '\n');
    }
    output.close();
    return end_of(messages);
}

} // namespace tavi::tool
