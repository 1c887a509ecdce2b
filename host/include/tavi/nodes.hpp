// Catalogue nodes as a host gets them by browsing.
#ifndef TAVI_NODES_HPP
#define TAVI_NODES_HPP

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "qorc/text.hpp"
#include "qorc/type_node.h"

namespace tavi::host {

// Siblings, in the order of their description. Owner of the records and their texts; movable only.
class nodes {
public:
    nodes() = default;
    // Takes a sequence that was made with the default allocator; null is none.
    explicit nodes(qor_type_node_sequence_t* sequence) noexcept : sequence_(sequence) {}
    nodes(nodes&& other) noexcept : sequence_(std::exchange(other.sequence_, nullptr)) {}
    nodes& operator=(nodes&& other) noexcept {
        std::swap(sequence_, other.sequence_);
        return *this;
    }
    ~nodes() { qor_type_node_sequence_destroy(qor_get_default_allocator(), sequence_, nullptr); }

    std::size_t size() const noexcept { return sequence_ != nullptr ? static_cast<std::size_t>(sequence_->count) : 0; }
    bool empty() const noexcept { return size() == 0; }
    const qor_type_node_t* begin() const noexcept { return sequence_ != nullptr ? sequence_->nodes : nullptr; }
    const qor_type_node_t* end() const noexcept { return begin() + size(); }
    // Requires: index < size().
    const qor_type_node_t& operator[](std::size_t index) const noexcept { return begin()[index]; }

    // The first node of that name; null when there is none.
    const qor_type_node_t* find(std::string_view name) const noexcept;

private:
    qor_type_node_sequence_t* sequence_ = nullptr;
};

// A node with all that stands below it, as extractor::tree gives it.
struct node_tree {
    // Texts included; belongs to the sequence in which it stands: `children` of the node above, or the nodes that the
    // tree was asked for.
    const qor_type_node_t* node = nullptr;
    // The nodes directly below, and for each of them, in the same order, its own tree.
    nodes children;
    std::vector<node_tree> trees;
};

// Fields that stand in different places of the record, by the node's kind.
// A view has 1 element of size 0 at offset 0; an object's offset is 0.
std::uint32_t element_count(const qor_type_node_t& node) noexcept;
std::uint32_t element_size(const qor_type_node_t& node) noexcept;
std::uint32_t offset_in_parent(const qor_type_node_t& node) noexcept;

// A text of a node, empty for a null one.
using qor::text_of;

} // namespace tavi::host

#endif
