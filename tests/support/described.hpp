// A parser plug-in without a storage: what it writes, warns of and refuses, as texts that people can read.
#ifndef TESTS_SUPPORT_DESCRIBED_HPP
#define TESTS_SUPPORT_DESCRIBED_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "introspection/xtypes/type_kind.hpp"
#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/log.h"
#include "tests/support/loaded_plugin.hpp"
#include "tests/support/outcome.hpp"

namespace tavi::test {

struct described {
    std::vector<std::string> paths; // of the nodes: "CAN.M.s"
    // A line for each node and text, in the order in which they were written, what is not there left out:
    //
    //      VIEW cycle 5 "COMMENT"
    //      VIEW.M @ADDRESS 3*8 bytes, group, id alone, but GROUP_IDS "COMMENT"
    //      VIEW.M.g OFFSET 2*8 bytes
    //      VIEW.M.s OFFSET+BIT_OFFSET|BITS@BYTE_ORDER 3*2 bytes int16 = float64(0 0.5 -3 / 0 0 1) encoding 2 [-1|1]
    //      'UNIT' VIEW.M KEY: TEXT
    //
    // Behind a signal also "selector", "if PRESENCE", "{VALUE TABLE}" and its comment.
    std::string written;
    // A line for each warning, "LINE:COLUMN CAUSE", then the refusal, "LINE:COLUMN: CAUSE"; both without the name.
    std::string told;
};

class parsing_plugin {
public:
    explicit parsing_plugin(const char* library) : plugin_(library, "data-description-parser", &host_) {}

    described parse(std::string_view text, const char* name = "x", qor_parse_progress_t progress = nullptr,
                    void* progress_context = nullptr) {
        result_ = {};
        qor_signal_storage_context_t storage{};
        storage.add_nodes = add_nodes;
        storage.add_text = add_text;
        storage.context = &result_;
        const outcome ended =
            call(plugin_.table<qor_data_description_parser_support_t>().parse_buffer, plugin_.instance(), &storage,
                 std::uint8_t{0}, text.data(), text.size(), name, progress, progress_context);
        if (ended.text) {
            tell(*ended.text);
        }
        return result_;
    }

private:
    void tell(std::string message) {
        message.erase(0, message.starts_with("x:") ? message.find_first_not_of(' ', 2) : 0);
        constexpr std::string_view mark = ": warning:";
        message.erase(std::min(message.find(mark), message.size()), mark.size());
        result_.told += message + '\n';
    }

    // Nothing for a text that is not there.
    static std::string text_of(const char* before, const char* text, const char* behind) {
        return text != nullptr ? std::string(before) + text + behind : "";
    }

    static std::string bytes_of(std::uint32_t count, std::uint32_t size) {
        return ' ' + (count != 1 ? std::to_string(count) + '*' : "") + std::to_string(size) + " bytes";
    }

    static void print(std::ostream& line, const qor_signal_node_t& signal) {
        using qor::introspection::xtypes::kind_name, qor::introspection::xtypes::type_kind;
        line << ' ' << signal.offset << '+' << signal.bit_offset << '|' << signal.bit_length << '@'
             << int{signal.byte_order} << bytes_of(signal.element_count, signal.element_size) << ' '
             << kind_name(type_kind{signal.raw_kind});
        std::ostringstream conversion;
        conversion << signal.numerator_x2 << ' ' << signal.numerator_x1 << ' ' << signal.numerator_x0 << " / "
                   << signal.denominator_x2 << ' ' << signal.denominator_x1 << ' ' << signal.denominator_x0;
        if (signal.converted_kind != signal.raw_kind || conversion.str() != "0 1 0 / 0 0 1") {
            line << " = " << kind_name(type_kind{signal.converted_kind}) << '(' << conversion.str() << ')';
        }
        line << (signal.encoding != 0 ? " encoding " + std::to_string(signal.encoding) : "");
        if (signal.minimum != 0 || signal.maximum != 0) {
            line << " [" << signal.minimum << '|' << signal.maximum << ']';
        }
        if (signal.unit != nullptr) {
            const std::string suffix(signal.signal_suffix, signal.signal_suffix_length);
            line << " '" << signal.unit << "'" << (suffix != signal.unit ? " suffix " + suffix : "");
        }
        line << ((signal.multiplexing & QOR_MULTIPLEXING_SELECTOR) != 0 ? " selector" : "")
             << ((signal.multiplexing & QOR_MULTIPLEXING_MULTIPLEXED) != 0 ? " if" : "")
             << text_of(" ", signal.presence, "") << text_of(" {", signal.value_table, "}");
    }

    static std::string line_of(const qor_type_node_t& node) {
        std::ostringstream line;
        if (node.kind == QOR_TYPE_NODE_VIEW) {
            line << (node.view.cycle != 0 ? " cycle " + std::to_string(node.view.cycle) : "");
        } else if (node.kind == QOR_TYPE_NODE_OBJECT) {
            line << " @" << node.object.address << bytes_of(node.object.element_count, node.object.element_size)
                 << ((node.object.flags & QOR_OBJECT_PARAMETER_GROUP) != 0 ? ", group" : "")
                 << ((node.object.flags & QOR_OBJECT_ID_ALONE) != 0 ? ", id alone" : "")
                 << text_of(", but ", node.group_ids, "");
        } else if (node.kind == QOR_TYPE_NODE_GROUP) {
            line << ' ' << node.group.offset << bytes_of(node.group.element_count, node.group.element_size);
        } else {
            print(line, node.signal);
        }
        line << text_of(" \"", node.comment, "\"") << '\n';
        return line.str();
    }

    static std::uint32_t add_nodes(void* context, const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* ids,
                                   qor_error_details_t**) {
        auto& result = *static_cast<described*>(context);
        for (std::uint64_t index = 0; index < count; ++index) {
            const std::uint64_t parent = nodes[index].parent_id;
            result.paths.push_back((parent != 0 ? result.paths.at(parent - 1) + "." : "") + nodes[index].name);
            result.written += result.paths.back() + line_of(nodes[index]);
            ids[index] = result.paths.size();
        }
        return 0;
    }

    static std::uint32_t add_text(void* context, std::uint64_t id, const char* key, const char* text,
                                  qor_error_details_t**) {
        auto& result = *static_cast<described*>(context);
        result.written += (id != 0 ? result.paths.at(id - 1) + ' ' : "") + key + ": " + text + '\n';
        return 0;
    }

    described result_;
    qor_log_t log_{[](void* self, const qor_log_info_t* info, qor_error_details_t**) {
                       EXPECT_EQ(info->level, unsigned{QOR_LOG_LEVEL_WARNING});
                       static_cast<parsing_plugin*>(self)->tell(info->message);
                       return 0u;
                   },
                   this};
    qor_service_locator_t host_{[](void* self, const char*, void* target, qor_error_details_t**) {
                                    *static_cast<void**>(target) = &static_cast<parsing_plugin*>(self)->log_;
                                    return 0u;
                                },
                                [](void*, const char* name, bool* known, qor_error_details_t**) {
                                    *known = std::string_view(name) == "qor_log_t";
                                    return 0u;
                                },
                                this};
    loaded_plugin plugin_;
};

} // namespace tavi::test

#endif
