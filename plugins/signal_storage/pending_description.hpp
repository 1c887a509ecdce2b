// A description on its way into the catalogue: what a parser has added so far, in memory.
//
// Nothing is written before the commit. So parsing holds no lock of the file, several descriptions can be under way at
// once, and what was added last can still change.
#ifndef PLUGINS_SIGNAL_STORAGE_PENDING_DESCRIPTION_HPP
#define PLUGINS_SIGNAL_STORAGE_PENDING_DESCRIPTION_HPP

#include <cstdint>
#include <memory_resource>
#include <vector>

#include "plugins/signal_storage/block_list.hpp"
#include "qorc/type_node.h"

namespace qor::storage {

struct pending_object {
    qor_object_node_t fields;
    const char* group_ids;
};

// Nodes are numbered from 1 in the order of adding; number 0 is above the views and has no node.
struct pending_node {
    const char* name = nullptr;
    const char* comment = nullptr;
    std::uint64_t path_hash = 0; // FNV-1a of the names from the view down, joined by '.'
    std::uint32_t parent = 0;
    std::uint32_t depth = 0; // 1 for a view
    std::uint32_t child_count = 0;
    std::uint32_t first_child = 0; // 0: none
    std::uint32_t last_child = 0;
    std::uint32_t next_sibling = 0;
    std::uint8_t kind = 0;
    // The part that belongs to the kind.
    union {
        qor_view_node_t view;
        pending_object object;
        qor_group_node_t group;
        qor_signal_node_t signal = {};
    };
};

// By number.
using pending_nodes = block_list<pending_node>;

// The record of node `number` under the id that its description was given. Its texts stay where they are.
qor_type_node_t make_record(const pending_node& source, std::uint64_t description_id, std::uint32_t number) noexcept;

// A named text of a node; of the description for node 0.
struct pending_text {
    std::uint32_t node;
    const char* key;
    const char* text;
};

class pending_description {
public:
    // `number` is the description's id, from which those of its nodes are made. A description that is in the catalogue
    // already is not kept: its additions are checked and numbered, and forgotten.
    pending_description(std::uint32_t number, bool keep);

    std::uint32_t number() const noexcept { return number_; }
    bool kept() const noexcept { return keep_; }

    // These four check their arguments and change nothing when they throw.
    // Throws: std::invalid_argument as qor_signal_storage_context_t says.
    void add(const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* ids);
    void set_value_table(std::uint64_t node_id, const char* value_table);
    void add_text(std::uint64_t node_id, const char* key, const char* text);

    // What was kept; the first node is number 0.
    const pending_nodes& nodes() const noexcept { return nodes_; }
    const std::vector<pending_text>& texts() const noexcept { return texts_; }

private:
    std::uint32_t find(std::uint64_t node_id) const;
    std::uint32_t check(const qor_type_node_t& node) const;
    void append(const qor_type_node_t& node, std::uint32_t parent);
    const char* keep_suffix(const qor_signal_node_t& signal, const char* kept_unit);
    const char* keep_text(const char* text);
    const char* keep_text(const char* text, std::size_t size);

    const std::uint32_t number_;
    const bool keep_;
    std::vector<std::uint8_t> kinds_; // by number; that of 0 is no kind
    pending_nodes nodes_;
    std::vector<pending_text> texts_;
    std::pmr::monotonic_buffer_resource characters_;
};

} // namespace qor::storage

#endif
