#include "runtime/holders.hpp"

#include <stdexcept>

#include "runtime/details_owner.hpp"

namespace qor::runtime {

void type_node_deleter::operator()(qor_type_node_t* node) const noexcept {
    if (owned) {
        qor_type_node_destroy(qor_get_default_allocator(), node, nullptr);
    }
}

void type_node_sequence_deleter::operator()(qor_type_node_sequence_t* sequence) const noexcept {
    if (owned) {
        qor_type_node_sequence_destroy(qor_get_default_allocator(), sequence, nullptr);
    }
}

void dynamic_data_deleter::operator()(qor_dynamic_data_t* record) const noexcept {
    qor_dynamic_data_destroy(allocator, record, nullptr);
}

type_node_holder wrap_node(qor_type_node_t* node, bool owned) noexcept {
    return type_node_holder(node, {owned});
}

type_node_sequence_holder wrap_nodes(qor_type_node_sequence_t* sequence, bool owned) noexcept {
    return type_node_sequence_holder(sequence, {owned});
}

dynamic_data_holder wrap_dynamic_data(qor_dynamic_data_t* record, qor_memory_allocator_t* allocator) noexcept {
    return dynamic_data_holder(record, {allocator});
}

type_node_holder clone_node(const qor_type_node_t* source) {
    qor_type_node_t* copy = nullptr;
    details_owner details;
    const std::uint32_t status = qor_type_node_clone(qor_get_default_allocator(), source, &copy, details.place());
    auto holder = wrap_node(copy, true);
    details.check(status);
    if (!holder) {
        throw std::runtime_error("failed to allocate 'qor_type_node_t' instance");
    }
    return holder;
}

type_node_sequence_holder make_sequence(std::uint64_t count) {
    qor_type_node_sequence_t* sequence = nullptr;
    details_owner details;
    const std::uint32_t status =
        qor_type_node_sequence_create(qor_get_default_allocator(), count, &sequence, details.place());
    auto holder = wrap_nodes(sequence, true);
    details.check(status);
    if (!holder) {
        throw std::runtime_error("failed to allocate 'qor_type_node_sequence_t' instance");
    }
    return holder;
}

type_node_sequence_holder make_sequence(const std::vector<type_node_holder>& nodes) {
    auto holder = make_sequence(nodes.size());
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        details_owner details;
        const std::uint32_t status = qor_type_node_sequence_put(qor_get_default_allocator(), holder.get(), index,
                                                                nodes[index].get(), details.place());
        details.check(status);
    }
    return holder;
}

} // namespace qor::runtime
