// Nodes on their way to a caller, under the default allocator.
#ifndef PLUGINS_SIGNAL_STORAGE_NODE_SEQUENCE_HPP
#define PLUGINS_SIGNAL_STORAGE_NODE_SEQUENCE_HPP

#include <cstdint>
#include <memory>
#include <utility>

#include "qorc/type_node.h"
#include "qorcpp/call_frame.hpp"

namespace qor::storage {

struct node_destroyer {
    void operator()(qor_type_node_t* node) const noexcept {
        qor_type_node_destroy(qor_get_default_allocator(), node, nullptr);
    }
};
using owned_node = std::unique_ptr<qor_type_node_t, node_destroyer>;

// A deep copy of a node.
inline owned_node clone(const qor_type_node_t& node) {
    qor_type_node_t* copy = nullptr;
    qor_error_details_t* details = nullptr;
    qor_type_node_clone(qor_get_default_allocator(), &node, &copy, &details);
    rethrow_details(details);
    return owned_node(copy);
}

// Owns a sequence until it is released to the caller.
class node_sequence {
public:
    explicit node_sequence(std::uint64_t count) {
        qor_error_details_t* details = nullptr;
        qor_type_node_sequence_create(qor_get_default_allocator(), count, &sequence_, &details);
        rethrow_details(details);
    }
    node_sequence(node_sequence&& other) noexcept : sequence_(std::exchange(other.sequence_, nullptr)) {}
    node_sequence& operator=(node_sequence&&) = delete;
    ~node_sequence() { qor_type_node_sequence_destroy(qor_get_default_allocator(), sequence_, nullptr); }

    std::uint64_t count() const noexcept { return sequence_->count; }

    // Stores a deep copy.
    void put(std::uint64_t index, const qor_type_node_t& node) {
        qor_error_details_t* details = nullptr;
        qor_type_node_sequence_put(qor_get_default_allocator(), sequence_, index, &node, &details);
        rethrow_details(details);
    }

    qor_type_node_sequence_t* release() noexcept { return std::exchange(sequence_, nullptr); }

private:
    qor_type_node_sequence_t* sequence_ = nullptr;
};

} // namespace qor::storage

#endif
