#include "tools/tavi/commands/commands.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_set>

#include "qorcpp/can_frame.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/message_names.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/output/written_files.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

// Of the messages selected in one layer of an interface, as the library gives it for the first interface of a log.
std::string filter_of_layer(catalogue& known, selection& wanted, std::size_t layer, const std::string& interface) {
    known.extractor().unregister_sources();
    if (!known.register_layer(layer, 0, interface, "source")) {
        return {};
    }
    const std::string source = std::to_string(catalogue::interface_source_id) + "#0.";
    std::unordered_set<std::string_view> paths;
    for (const message& candidate : wanted.messages()) {
        if (candidate.selected && candidate.layer == layer && known.serves(candidate.description, interface) &&
            paths.insert(candidate.path).second) {
            known.extractor().subscribe(source + candidate.own_path, host::lenient);
        }
    }
    return known.extractor().reader_filter();
}

// Adds the terms of a filter that another does not have yet.
void append_terms(std::string& filter, std::string_view added) {
    constexpr std::string_view separator = " OR ";
    while (!added.empty()) {
        const std::size_t end = std::min(added.find(separator), added.size());
        const std::string_view term = added.substr(0, end);
        if (filter.find(term) == filter.npos) {
            filter.append(filter.empty() ? "" : separator).append(term);
        }
        added.remove_prefix(std::min(end + separator.size(), added.size()));
    }
}

// The packages of a description of frames are frames, those of others memory or frames.
void require_matcher_of(selection& wanted) {
    const auto& messages = wanted.messages();
    if (std::any_of(messages.begin(), messages.end(),
                    [](const message& each) { return each.selected && each.view == view_of_frames; })) {
        require_matcher({qor::can_format});
    } else {
        require_matcher({"memory", qor::can_format});
    }
}

} // namespace

exit_code run_filter(const filter_options& options) {
    check_written_files(options.catalogue);
    diagnostics messages(options.catalogue.strict);
    catalogue known(options.catalogue, messages);
    known.load();
    selection wanted(known, options.patterns);
    require_matcher_of(wanted);
    std::string filter;
    try {
        for (std::size_t layer = 0; layer < known.names().layer_count(); ++layer) {
            append_terms(filter, filter_of_layer(known, wanted, layer, options.source));
        }
    } catch (const host::error& error) {
        throw command_error(std::string("tavi: error: ") + printable(error.what()), exit_code::plugin_failed);
    }
    block_output output("");
    output.write(filter + '\n');
    output.close();
    return end_of(messages);
}

} // namespace tavi::tool
