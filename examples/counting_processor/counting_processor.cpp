// A processor in a page: for each package of format "counted" from a source of type 15 and class 0x70 (source id 0x70F)
// a record with the number and the bytes of the packages so far. It brings the description of that record.
#include <cstring>
#include <new>
#include <set>

#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_processor.h"

namespace {

constexpr char description[] = R"({"sdl": 1, "views": [{"name": "Count", "objects": [{"name": "Packages", "address": 1,
  "members": [{"name": "Number", "stored": "uint64"}, {"name": "Bytes", "stored": "uint64", "unit": "B"}]}]}]})";

class counting_processor {
public:
    explicit counting_processor(qor_service_locator_t*) {
        services_.offer(qor_data_processor_support_t{
            .register_type = qor::sdk::slot<&counting_processor::register_type>,
            .unregister_type = qor::sdk::slot<&counting_processor::unregister_type>,
            .process = qor::sdk::slot<&counting_processor::process>,
        });
        services_.offer(qor_data_processor_format_support_t{
            .get_supported_format_count = qor::sdk::slot<&counting_processor::get_one>,
            .get_supported_format = qor::sdk::slot<&counting_processor::get_supported_format>,
        });
        services_.offer(qor_data_processor_port_support_t{
            .get_port_count = qor::sdk::slot<&counting_processor::get_one>,
            .get_port_name = qor::sdk::slot<&counting_processor::get_port_name>,
        });
        services_.offer(qor_data_processor_data_description_support_t{
            .get_data_descriptions = qor::sdk::slot<&counting_processor::get_data_descriptions>,
        });
    }

    qor::sdk::service_table& services() { return services_; }

private:
    // Takes the whole object only: a non-zero status without an exception declines.
    uint32_t register_type(uint64_t handle, const char*, const qor_type_node_sequence_t* hierarchy, uint64_t position,
                           uint64_t extent) {
        if (hierarchy->count != 2 || std::strcmp(hierarchy->nodes[1].name, "Packages") != 0 || position != 0 ||
            extent != sizeof(counts_)) {
            return QOR_STATUS_FAILURE;
        }
        handles_.insert(handle);
        return QOR_STATUS_OK;
    }

    void unregister_type(uint64_t handle) { handles_.erase(handle); }

    void process(uint64_t handle, const qor_package_t* package, qor_dynamic_data_t*** records, uint64_t* count,
                 qor_memory_allocator_t* allocator) {
        *count = 0;
        // A package is offered once for each subscription: the first counts it.
        if (handles_.count(handle) == 0) {
            return;
        }
        if (handle == *handles_.begin()) {
            ++counts_.number;
            counts_.bytes += package->payload_size;
        }
        qor_error_details_t* details = nullptr;
        qor_dynamic_data_t* record = nullptr;
        qor_dynamic_data_create_ex(allocator, sizeof(counts_), &record, &details);
        qor::rethrow_details(details);
        *records = static_cast<qor_dynamic_data_t**>(allocator->calloc(1, sizeof(void*), allocator->context));
        if (*records == nullptr) {
            qor_dynamic_data_destroy(allocator, record, nullptr);
            throw std::bad_alloc();
        }
        std::memcpy(record->sequence.data, &counts_, sizeof(counts_));
        record->subscription_handle = handle;
        record->length = sizeof(counts_);
        (*records)[0] = record;
        *count = 1;
    }

    void get_one(size_t* count) { *count = 1; }
    void get_supported_format(size_t, qor_data_processor_format_t* format) { *format = {"counted", 0xF, 0x70, {}}; }
    void get_port_name(size_t, const char** name) { *name = "counted"; }

    void get_data_descriptions(qor_memory_allocator_t* allocator, qor_runtime_c_string_sequence_t** descriptions) {
        qor_error_details_t* details = nullptr;
        qor_runtime_c_string_sequence_t* texts = nullptr;
        qor_runtime_c_string_sequence_create(allocator, 1, &texts, &details);
        qor::rethrow_details(details);
        qor_runtime_c_string_sequence_put(allocator, texts, 0, description, &details);
        if (details != nullptr) {
            qor_runtime_c_string_sequence_destroy(allocator, texts, nullptr);
        }
        qor::rethrow_details(details);
        *descriptions = texts;
    }

    qor::sdk::service_table services_;
    std::set<uint64_t> handles_;
    struct {
        uint64_t number = 0;
        uint64_t bytes = 0;
    } counts_;
};

} // namespace

QOR_DATA_PROCESSOR(counting_processor)
