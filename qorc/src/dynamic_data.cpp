#include "qorc/dynamic_data.h"

#include <algorithm>
#include <new>

#include "boundary.hpp"

static_assert(offsetof(qor_dynamic_data_t, sequence) + sizeof(qor_runtime_c_uint8_sequence_t) ==
                  sizeof(qor_dynamic_data_t),
              "the room stands right behind record and sequence");

namespace {

qor_dynamic_data_t* start_record(void* block, uint64_t size) {
    auto* const record = new (block) qor_dynamic_data_t{};
    record->sequence.data = reinterpret_cast<uint8_t*>(record + 1);
    record->sequence.sequence_length = size;
    record->length = static_cast<uint32_t>(size);
    return record;
}

} // namespace

uint32_t qor_dynamic_data_create(qor_memory_allocator_t* allocator, qor_dynamic_data_t** record,
                                 qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(record, "record");
        *record = nullptr;
        *record =
            start_record(qorc::allocate(*allocator, sizeof(qor_dynamic_data_t) + QOR_BYTE_SEQUENCE_INLINE_CAPACITY), 0);
    });
}

uint32_t qor_dynamic_data_create_ex(qor_memory_allocator_t* allocator, uint64_t size, qor_dynamic_data_t** record,
                                    qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        qorc::check_argument(record, "record");
        *record = nullptr;
        if (size > std::numeric_limits<uint64_t>::max() - sizeof(qor_dynamic_data_t)) {
            throw std::bad_alloc();
        }
        const uint64_t room = std::max<uint64_t>(size, QOR_BYTE_SEQUENCE_INLINE_CAPACITY);
        *record = start_record(qorc::allocate_zeroed(*allocator, sizeof(qor_dynamic_data_t) + room, 1), size);
    });
}

uint32_t qor_dynamic_data_destroy(qor_memory_allocator_t* allocator, qor_dynamic_data_t* record,
                                  qor_error_details_t** error) {
    return qorc::at_boundary(error, [&] {
        qorc::check_argument(allocator, "allocator");
        if (record != nullptr) {
            qor_runtime_c_uint8_sequence_clear(allocator, &record->sequence, nullptr);
            qorc::release(*allocator, record);
        }
    });
}
