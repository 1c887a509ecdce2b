#include "qorc/type_node.h"

#include <array>
#include <cstring>

#include "boundary.hpp"

namespace {

// One text of a node: its bytes without terminator, and where its copy is to be stored; no place where the node's kind
// has no such text.
struct node_text {
    const char* bytes;
    uint64_t length;
    const char** place;
};

std::array<node_text, 7> texts_of(const qor_type_node_t& source, qor_type_node_t& copy) {
    const auto terminated = [](const char* text, const char** place) {
        return node_text{text, text != nullptr ? std::strlen(text) : 0, place};
    };
    const qor_signal_node_t& signal = source.signal;
    // A suffix is as long as its length says, and is not looked at when that is 0.
    const char* const suffix = signal.signal_suffix_length != 0 ? signal.signal_suffix : nullptr;
    return {terminated(source.name, &copy.name),
            terminated(source.comment, &copy.comment),
            source.kind == QOR_TYPE_NODE_OBJECT ? terminated(source.group_ids, &copy.group_ids)
                                                : node_text{nullptr, 0, nullptr},
            terminated(signal.presence, &copy.signal.presence),
            terminated(signal.unit, &copy.signal.unit),
            terminated(signal.value_table, &copy.signal.value_table),
            node_text{suffix, suffix != nullptr ? signal.signal_suffix_length : 0, &copy.signal.signal_suffix}};
}

// The copy's texts are one block of `allocator`, which it owns from now on.
qor_type_node_t copy_node(const qor_memory_allocator_t& allocator, const qor_type_node_t& source) {
    qor_type_node_t copy = source;
    const std::array<node_text, 7> texts = texts_of(source, copy);
    uint64_t size = 0;
    for (const node_text& text : texts) {
        if (text.place != nullptr) {
            *text.place = nullptr;
        }
        if (text.bytes != nullptr) {
            if (text.length >= std::numeric_limits<uint64_t>::max() - size) {
                throw std::bad_alloc();
            }
            size += text.length + 1;
        }
    }
    copy.signal.signal_suffix_length = texts.back().length;
    copy.texts = size != 0 ? qorc::allocate(allocator, size) : nullptr;
    auto* next = static_cast<char*>(copy.texts);
    for (const node_text& text : texts) {
        if (text.bytes != nullptr) {
            *text.place = static_cast<const char*>(std::memcpy(next, text.bytes, text.length));
            next[text.length] = '\0';
            next += text.length + 1;
        }
    }
    return copy;
}

} // namespace

uint32_t qor_type_node_clone(qor_memory_allocator_t* allocator, const qor_type_node_t* source, qor_type_node_t** copy,
                             qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        if (copy != nullptr) {
            *copy = nullptr;
        }
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(source, "source");
        qorc::check_argument(copy, "copy");
        qorc::block_owner record(*allocator, qorc::allocate(*allocator, sizeof(qor_type_node_t)));
        new (record.get()) qor_type_node_t(copy_node(*allocator, *source));
        *copy = static_cast<qor_type_node_t*>(record.give_up());
    });
}

uint32_t qor_type_node_destroy(qor_memory_allocator_t* allocator, qor_type_node_t* node, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        if (node != nullptr) {
            qorc::release(*allocator, node->texts);
            qorc::release(*allocator, node);
        }
    });
}

uint32_t qor_type_node_sequence_create(qor_memory_allocator_t* allocator, uint64_t count,
                                       qor_type_node_sequence_t** sequence, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        if (sequence != nullptr) {
            *sequence = nullptr;
        }
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(sequence, "sequence");
        qorc::block_owner record(*allocator, qorc::allocate_zeroed(*allocator, 1, sizeof(qor_type_node_sequence_t)));
        auto* const created = static_cast<qor_type_node_sequence_t*>(record.get());
        if (count != 0) {
            created->nodes =
                static_cast<qor_type_node_t*>(qorc::allocate_zeroed(*allocator, count, sizeof(qor_type_node_t)));
        }
        created->count = count;
        record.give_up();
        *sequence = created;
    });
}

uint32_t qor_type_node_sequence_put(qor_memory_allocator_t* allocator, qor_type_node_sequence_t* sequence,
                                    uint64_t index, const qor_type_node_t* node, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(sequence, "sequence");
        qorc::check_argument(node, "node");
        if (index >= sequence->count) {
            throw std::invalid_argument("node " + std::to_string(index) + " is beyond the end of a sequence of " +
                                        std::to_string(sequence->count));
        }
        qor_type_node_t& place = sequence->nodes[index];
        const qor_type_node_t copy = copy_node(*allocator, *node);
        void* const previous = place.texts;
        place = copy;
        qorc::release(*allocator, previous);
    });
}

uint32_t qor_type_node_sequence_destroy(qor_memory_allocator_t* allocator, qor_type_node_sequence_t* sequence,
                                        qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        if (sequence == nullptr) {
            return;
        }
        for (uint64_t i = 0; sequence->nodes != nullptr && i < sequence->count; ++i) {
            qorc::release(*allocator, sequence->nodes[i].texts);
        }
        qorc::release(*allocator, sequence->nodes);
        qorc::release(*allocator, sequence);
    });
}
