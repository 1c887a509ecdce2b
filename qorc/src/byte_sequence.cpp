#include "qorc/byte_sequence.h"

#include "boundary.hpp"

namespace {

const uint8_t* room_behind(const qor_runtime_c_uint8_sequence_t* sequence) {
    return reinterpret_cast<const uint8_t*>(sequence + 1);
}

void* allocate_apart(const qor_memory_allocator_t& allocator, const qor_runtime_c_uint8_sequence_t* sequence,
                     uint64_t size) {
    qorc::block_owner memory(allocator, qorc::allocate(allocator, size));
    if (memory.get() != room_behind(sequence)) {
        return memory.give_up();
    }
    // An arena may place the bytes of a lone sequence right behind it, where they would be taken for the room inside.
    // With that place occupied the next block lies elsewhere.
    return qorc::allocate(allocator, size);
}

} // namespace

uint32_t qor_runtime_c_uint8_sequence_init(qor_memory_allocator_t* allocator, qor_runtime_c_uint8_sequence_t* sequence,
                                           uint64_t size, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(sequence, "sequence");
        const bool has_room = sequence->data == room_behind(sequence);
        if (size != 0 && !(has_room && size <= QOR_BYTE_SEQUENCE_INLINE_CAPACITY)) {
            sequence->data = static_cast<uint8_t*>(allocate_apart(*allocator, sequence, size));
        }
        sequence->sequence_length = size;
    });
}

uint32_t qor_runtime_c_uint8_sequence_clear(qor_memory_allocator_t* allocator, qor_runtime_c_uint8_sequence_t* sequence,
                                            qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(sequence, "sequence");
        sequence->sequence_length = 0;
        if (sequence->data != room_behind(sequence)) {
            uint8_t* const data = sequence->data;
            sequence->data = nullptr;
            qorc::release(*allocator, data);
        }
    });
}
