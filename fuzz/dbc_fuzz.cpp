// Any bytes as a DBC: nothing crashes, and every condition of presence that comes out is one that matchers can read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "plugins/dbc_parser/dbc_mapper.hpp"
#include "plugins/dbc_parser/dbc_reader.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"
#include "qorcpp/presence.hpp"
#include "qorcpp/utf8.hpp"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void check(const qor_type_node_t& node) {
    require(node.name != nullptr && *node.name != '\0');
    if (node.kind != QOR_TYPE_NODE_SIGNAL) {
        return;
    }
    const qor_signal_node_t& signal = node.signal;
    require(signal.bit_length >= 1 && signal.bit_length <= 64);
    require((signal.bit_offset % 8 + signal.bit_length + 7) / 8 == signal.element_size);
    if (signal.presence != nullptr) {
        qor::presence{signal.presence};
    }
    for (const char* const text : {node.comment, signal.unit, signal.value_table}) {
        require(text == nullptr || qor::is_utf8(text));
    }
}

std::uint32_t add_nodes(void* context, const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* ids,
                        qor_error_details_t**) {
    for (std::uint64_t index = 0; index < count; ++index) {
        check(nodes[index]);
        ids[index] = ++*static_cast<std::uint64_t*>(context);
    }
    return 0;
}

std::uint32_t add_text(void*, std::uint64_t, const char*, const char* text, qor_error_details_t**) {
    require(qor::is_utf8(text));
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    dbc_parser::dbc_cursor cursor(dbc_parser::without_byte_order_mark(text));
    const dbc_parser::warning_sink warn = [&](std::size_t offset, const std::string& cause) {
        const auto place = cursor.place_of(offset);
        require(place.line >= 1 && place.column >= 1 && !cause.empty());
    };
    std::uint64_t nodes = 0;
    qor_signal_storage_context_t storage{};
    storage.add_nodes = add_nodes;
    storage.add_text = add_text;
    storage.context = &nodes;
    try {
        auto file = dbc_parser::read_file(cursor, warn, nullptr);
        dbc_parser::settle_names_and_layout(file, warn);
        qor::sdk::node_writer catalogue(storage);
        dbc_parser::write_file(file, catalogue);
    } catch (const dbc_parser::statement_error& refusal) {
        cursor.place_of(refusal.offset);
    }
    return 0;
}
