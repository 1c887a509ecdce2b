#include "qorc/string_sequence.h"

#include <cstring>

#include "boundary.hpp"

uint32_t qor_runtime_c_string_sequence_create(qor_memory_allocator_t* allocator, uint64_t count,
                                              qor_runtime_c_string_sequence_t** sequence, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(sequence, "sequence");
        *sequence = nullptr;
        qorc::block_owner record(*allocator,
                                 qorc::allocate_zeroed(*allocator, 1, sizeof(qor_runtime_c_string_sequence_t)));
        auto* const created = static_cast<qor_runtime_c_string_sequence_t*>(record.get());
        if (count != 0) {
            created->strings = static_cast<qor_runtime_c_string_t*>(
                qorc::allocate_zeroed(*allocator, count, sizeof(qor_runtime_c_string_t)));
        }
        created->count = count;
        record.give_up();
        *sequence = created;
    });
}

uint32_t qor_runtime_c_string_sequence_put(qor_memory_allocator_t* allocator, qor_runtime_c_string_sequence_t* sequence,
                                           uint64_t index, const char* text, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(sequence, "sequence");
        if (index >= sequence->count) {
            throw std::invalid_argument("string " + std::to_string(index) + " is beyond the end of a sequence of " +
                                        std::to_string(sequence->count));
        }
        qor_runtime_c_string_t put = {};
        if (text != nullptr) {
            put.length = std::strlen(text);
            put.capacity = put.length + 1;
            put.text = static_cast<const char*>(
                std::memcpy(qorc::allocate(*allocator, put.capacity), text, static_cast<std::size_t>(put.capacity)));
        }
        qor_runtime_c_string_t& place = sequence->strings[index];
        char* const previous = const_cast<char*>(place.text);
        place = put;
        qorc::release(*allocator, previous);
    });
}

uint32_t qor_runtime_c_string_sequence_destroy(qor_memory_allocator_t* allocator,
                                               qor_runtime_c_string_sequence_t* sequence, qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        if (sequence == nullptr) {
            return;
        }
        for (uint64_t i = 0; sequence->strings != nullptr && i < sequence->count; ++i) {
            qorc::release(*allocator, const_cast<char*>(sequence->strings[i].text));
        }
        qorc::release(*allocator, sequence->strings);
        qorc::release(*allocator, sequence);
    });
}
