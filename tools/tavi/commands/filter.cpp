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
#include "tools/tavi/report/library_failure.hpp"
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
        end_if_interrupted();
        if (candidate.selected && candidate.layer == layer && known.serves(candidate.description, interface) &&
            paths.insert(candidate.path).second) {
            known.extractor().subscribe(source + candidate.own_path, host::lenient);
        }
    }
    return known.extractor().reader_filter();
}

// The terms of several filters, each once, as one filter.
class joined_filter {
public:
    void add(std::string_view filter) {
        constexpr std::string_view separator = " OR ";
        while (!filter.empty()) {
            const std::size_t end = std::min(filter.find(separator), filter.size());
            if (const std::string_view term = filter.substr(0, end); terms_.emplace(term).second) {
                text_.append(text_.empty() ? "" : separator).append(term);
            }
            filter.remove_prefix(std::min(end + separator.size(), filter.size()));
        }
    }

    const std::string& text() const noexcept { return text_; }

private:
    std::string text_;
    std::unordered_set<std::string> terms_;
};

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
    joined_filter filter;
    try {
        for (std::size_t layer = 0; layer < known.names().layer_count(); ++layer) {
            filter.add(filter_of_layer(known, wanted, layer, options.source));
        }
    } catch (const host::error& error) {
        throw library_failure("tavi", error);
    }
    block_output output("");
    output.write(filter.text() + '\n');
    output.close();
    return end_of(messages);
}

} // namespace tavi::tool
