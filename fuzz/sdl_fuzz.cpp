// Any bytes as a description by hand: nothing crashes, and what comes out is a catalogue that readers can walk.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "plugins/sdl_parser/sdl_reader.hpp"
#include "plugins/sdl_parser/sdl_writer.hpp"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::uint32_t add_nodes(void* context, const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* ids,
                        qor_error_details_t**) {
    for (std::uint64_t index = 0; index < count; ++index) {
        const qor_type_node_t& node = nodes[index];
        require(node.name != nullptr && *node.name != '\0');
        require(node.kind >= QOR_TYPE_NODE_VIEW && node.kind <= QOR_TYPE_NODE_SIGNAL);
        if (node.kind == QOR_TYPE_NODE_SIGNAL) {
            require(node.signal.bit_length >= 1 && node.signal.bit_length <= 64 && node.signal.element_count >= 1);
        }
        ids[index] = ++*static_cast<std::uint64_t*>(context);
    }
    return 0;
}

std::uint32_t add_node(void* context, const qor_type_node_t* node, std::uint64_t* id, qor_error_details_t** details) {
    return add_nodes(context, node, 1, id, details);
}

std::uint32_t add_text(void*, std::uint64_t, const char*, const char*, qor_error_details_t**) {
    return 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::uint64_t nodes = 0;
    qor_signal_storage_context_t storage{};
    storage.add_node = add_node;
    storage.add_nodes = add_nodes;
    storage.add_text = add_text;
    storage.context = &nodes;
    try {
        qor::sdk::node_writer catalogue(storage);
        sdl_parser::write_description(
            sdl_parser::read_description(std::string_view(reinterpret_cast<const char*>(data), size)), catalogue);
    } catch (const std::runtime_error&) {
        // It says where.
    }
    return 0;
}
