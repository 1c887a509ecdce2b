#include "tools/tavi/commands/commands.hpp"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "qorcpp/node_layout.hpp"
#include "tavi/nodes.hpp"
#include "tavi/value_text.hpp"
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

constexpr std::uint32_t extended_bit = 0x80000000;
constexpr std::size_t longest_table = 60;
constexpr int indent_width = 2;

// A frame id as logs write it, any other address as descriptions do.
std::string address_text(std::uint64_t address, bool is_frame_id) {
    char text[32];
    if (!is_frame_id) {
        std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(address));
    } else if ((address & extended_bit) != 0) {
        std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(address & ~extended_bit));
    } else {
        std::snprintf(text, sizeof text, "%03X", static_cast<unsigned>(address));
    }
    return text;
}

std::string object_text(const qor_object_node_t& object, bool is_frame) {
    std::string text = "  (" + address_text(object.address, is_frame) + ", " + std::to_string(object.element_size) +
                       (object.element_size == 1 ? " byte" : " bytes");
    if (object.element_count != 1) {
        text += ", " + std::to_string(object.element_count) + " times";
    }
    return text + ')';
}

// "0:0:4:0:0:Page=0,2" as "Page = 0,2".
std::string presence_text(std::string_view presence) {
    std::string text;
    while (!presence.empty()) {
        const auto stop = presence.find('&');
        std::string_view condition = presence.substr(0, stop);
        for (int field = 0; field < 5 && condition.find(':') != std::string_view::npos; ++field) {
            condition.remove_prefix(condition.find(':') + 1);
        }
        const auto equals = condition.rfind('=');
        text += (text.empty() ? "" : " and ") + std::string(condition.substr(0, equals));
        text += equals == std::string_view::npos ? "" : " = " + std::string(condition.substr(equals + 1));
        presence.remove_prefix(stop == std::string_view::npos ? presence.size() : stop + 1);
    }
    return text;
}

// The beginning of a value table on one line: "0 = off, 1 = running".
std::string table_text(std::string_view table) {
    std::string text;
    while (!table.empty() && text.size() < longest_table) {
        const std::string_view entry = table.substr(0, table.find('\n'));
        const auto equals = entry.find('=');
        text += (text.empty() ? "" : ", ") + std::string(entry.substr(0, equals));
        text += equals == std::string_view::npos ? "" : " = " + std::string(entry.substr(equals + 1));
        table.remove_prefix(entry.size() + (entry.size() < table.size() ? 1 : 0));
    }
    return table.empty() ? text : text + ", ...";
}

std::string signal_text(const qor_signal_node_t& signal) {
    std::string text;
    if (signal.element_count > 1) {
        text += '[' + std::to_string(signal.element_count) + ']';
    }
    if (const auto unit = host::text_of(signal.unit); !unit.empty()) {
        text += "  " + std::string(unit);
    }
    if (signal.minimum != 0 || signal.maximum != 0) {
        text += "  " + host::value_text(signal.minimum) + " to " + host::value_text(signal.maximum);
    }
    if (const auto presence = host::text_of(signal.presence); !presence.empty()) {
        text += "  if " + presence_text(presence);
    }
    if (const auto table = host::text_of(signal.value_table); !table.empty()) {
        text += "  {" + table_text(table) + '}';
    }
    return text;
}

void print_node(block_output& output, catalogue& known, const qor_type_node_t& node, int depth, bool of_frames) {
    std::string line(static_cast<std::size_t>(depth) * indent_width, ' ');
    line += node.kind == QOR_TYPE_NODE_OBJECT ? known.names().name_of(node) : host::text_of(node.name);
    switch (qor::kind_of(node)) {
    case qor::node_kind::view:
        line += node.view.cycle != 0 ? "  (cycle " + std::to_string(node.view.cycle) + ')' : "";
        break;
    case qor::node_kind::object:
        line += object_text(node.object, of_frames && node.object.address <= UINT32_MAX);
        break;
    case qor::node_kind::group:
        line += node.group.element_count > 1 ? '[' + std::to_string(node.group.element_count) + ']' : "";
        break;
    case qor::node_kind::signal:
        line += signal_text(node.signal);
        break;
    }
    if (const auto comment = host::text_of(node.comment); !comment.empty()) {
        line += "  -- " + std::string(comment);
    }
    end_if_interrupted();
    output.write(printable(line) + '\n');
    if (node.kind != QOR_TYPE_NODE_SIGNAL) {
        for (const qor_type_node_t& below : known.extractor().children(node)) {
            print_node(output, known, below, depth + 1, of_frames);
        }
    }
}

} // namespace

exit_code run_tree(const tree_options& options) {
    check_written_files(options.catalogue);
    diagnostics messages(options.catalogue.strict);
    catalogue known(options.catalogue, messages);
    known.load();
    block_output output("");
    try {
        for (std::size_t description = 0; description < known.descriptions().size(); ++description) {
            output.write(printable(known.descriptions()[description].path) + '\n');
            for (const qor_type_node_t& view : known.views(description)) {
                print_node(output, known, view, 1, host::text_of(view.name) == view_of_frames);
            }
        }
    } catch (const host::error& error) {
        throw library_failure("tavi", error);
    }
    output.close();
    return end_of(messages);
}

} // namespace tavi::tool
