// Owners of the C records that travel through the library: an exception cannot leak one, and a record for the host is
// released from its holder at the very end. A holder costs no allocation of its own.
#ifndef RUNTIME_HOLDERS_HPP
#define RUNTIME_HOLDERS_HPP

#include <cstdint>
#include <memory>
#include <vector>

#include "qorc/dynamic_data.h"
#include "qorc/memory_allocator.h"
#include "qorc/type_node.h"

namespace qor::runtime {

// Frees under the default allocator what is owned and leaves alone what is not.
struct type_node_deleter {
    bool owned = false;
    void operator()(qor_type_node_t* node) const noexcept;
};

struct type_node_sequence_deleter {
    bool owned = false;
    void operator()(qor_type_node_sequence_t* sequence) const noexcept;
};

// Frees under the allocator that made the record, which must outlive the holder.
struct dynamic_data_deleter {
    qor_memory_allocator_t* allocator = nullptr;
    void operator()(qor_dynamic_data_t* record) const noexcept;
};

using type_node_holder = std::unique_ptr<qor_type_node_t, type_node_deleter>;
using type_node_sequence_holder = std::unique_ptr<qor_type_node_sequence_t, type_node_sequence_deleter>;
using dynamic_data_holder = std::unique_ptr<qor_dynamic_data_t, dynamic_data_deleter>;

// A null record gives an empty holder.
type_node_holder wrap_node(qor_type_node_t* node, bool owned) noexcept;
type_node_sequence_holder wrap_nodes(qor_type_node_sequence_t* sequence, bool owned) noexcept;
dynamic_data_holder wrap_dynamic_data(qor_dynamic_data_t* record, qor_memory_allocator_t* allocator) noexcept;

// A deep copy. Throws what the C runtime reports; std::runtime_error "failed to allocate 'qor_type_node_t' instance".
type_node_holder clone_node(const qor_type_node_t* source);

// A sequence of `count` free places. Throws what the C runtime reports; std::runtime_error "failed to allocate
// 'qor_type_node_sequence_t' instance".
type_node_sequence_holder make_sequence(std::uint64_t count);

// A sequence of copies of the nodes, none of which is null. Throws as above.
type_node_sequence_holder make_sequence(const std::vector<type_node_holder>& nodes);

} // namespace qor::runtime

#endif
