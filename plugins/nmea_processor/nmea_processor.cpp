// The processor of packages of format "nmea": sentences of a satellite receiver (source id 0x23F) become records of
// what the receiver told.
//
// The extractor calls `process` once for each handle of the source, with the same package and ascending handles. The
// receiver's state must advance once for a package, so the first of these calls takes all sentences and keeps the
// records of every subscription; the others fetch theirs. A call begins a new package when its handle is not greater
// than that of the call before, as all walks begin with the lowest handle, also when two packages are equal; or when
// the bytes differ, for callers that skip handles; or when subscriptions came or went, since the lowest handle may then
// be greater than any before.
#include <algorithm>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "plugins/nmea_processor/receiver.hpp"
#include "plugins/nmea_processor/statistics_description.hpp"
#include "plugins/nmea_processor/subscriptions.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_processor.h"

namespace nmea_processor {

namespace {

constexpr char format_name[] = "nmea";
// Source id 0x23F: the low four bits and the rest.
constexpr uint32_t source_type = 0xF;
constexpr uint16_t source_class = 0x23;

// An array of records for the extractor; what was made is freed unless it is released.
class record_array {
public:
    record_array(uint64_t capacity, qor_memory_allocator_t& allocator)
        : allocator_(allocator), records_(static_cast<qor_dynamic_data_t**>(
                                     allocator.calloc(capacity, sizeof(qor_dynamic_data_t*), allocator.context))) {
        if (records_ == nullptr) {
            throw std::bad_alloc();
        }
    }
    record_array(const record_array&) = delete;
    record_array& operator=(const record_array&) = delete;
    ~record_array() {
        for (uint64_t index = 0; records_ != nullptr && index < count_; ++index) {
            qor_dynamic_data_destroy(&allocator_, records_[index], nullptr);
        }
        allocator_.free(records_, allocator_.context);
    }

    void append(uint64_t handle, std::span<const uint8_t> bytes) {
        qor_error_details_t* details = nullptr;
        qor_dynamic_data_t* record = nullptr;
        qor_dynamic_data_create_ex(&allocator_, bytes.size(), &record, &details);
        qor::rethrow_details(details);
        if (record == nullptr) {
            throw std::bad_alloc();
        }
        records_[count_++] = record;
        std::copy(bytes.begin(), bytes.end(), record->sequence.data);
        record->subscription_handle = handle;
        record->length = static_cast<uint32_t>(record->sequence.sequence_length);
    }

    qor_dynamic_data_t** release() noexcept { return std::exchange(records_, nullptr); }

private:
    qor_memory_allocator_t& allocator_;
    qor_dynamic_data_t** records_;
    uint64_t count_ = 0;
};

bool has_our_format(const qor_package_t& package) noexcept {
    const auto* const end = std::find(std::begin(package.format_type), std::end(package.format_type), '\0');
    return std::string_view(package.format_type, static_cast<size_t>(end - package.format_type)) == format_name;
}

std::string_view payload_of(const qor_package_t& package) noexcept {
    return {reinterpret_cast<const char*>(qor_package_payload(&package)), package.payload_size};
}

} // namespace

class processor {
public:
    explicit processor(qor_service_locator_t*) {
        services_.offer(qor_data_processor_support_t{
            .register_type = qor::sdk::slot<&processor::register_type>,
            .unregister_type = qor::sdk::slot<&processor::unregister_type>,
            .process = qor::sdk::slot<&processor::process>,
        });
        services_.offer(qor_data_processor_format_support_t{
            .get_supported_format_count = qor::sdk::slot<&processor::give_one>,
            .get_supported_format = qor::sdk::slot<&processor::get_supported_format>,
        });
        services_.offer(qor_data_processor_port_support_t{
            .get_port_count = qor::sdk::slot<&processor::give_one>,
            .get_port_name = qor::sdk::slot<&processor::get_port_name>,
        });
        services_.offer(qor_data_processor_data_source_binding_t{.bind = qor::sdk::slot<&processor::bind>});
        services_.offer(qor_data_processor_data_description_support_t{
            .get_data_descriptions = qor::sdk::slot<&processor::get_data_descriptions>,
        });
    }

    qor::sdk::service_table& services() noexcept { return services_; }

private:
    uint32_t register_type(uint64_t handle, const char* /*schema*/, const qor_type_node_sequence_t* hierarchy,
                           uint64_t position, uint64_t extent) {
        qor::check_argument(hierarchy, "hierarchy");
        const auto range = find_range(*hierarchy, position, extent);
        if (!range) {
            return QOR_STATUS_FAILURE; // declined
        }
        subscriptions_.add(handle, *range);
        package_known_ = false;
        return QOR_STATUS_OK;
    }

    void unregister_type(uint64_t handle) {
        subscriptions_.remove(handle);
        package_known_ = false;
    }

    void process(uint64_t handle, const qor_package_t* package, qor_dynamic_data_t*** records, uint64_t* count,
                 qor_memory_allocator_t* allocator) {
        qor::check_argument(package, "package");
        qor::check_argument(records, "records");
        qor::check_argument(count, "count");
        qor::check_argument(allocator, "allocator");
        *records = nullptr;
        *count = 0;
        if (!has_our_format(*package)) {
            return;
        }
        const std::string_view payload = payload_of(*package);
        if (!package_known_ || handle <= last_handle_ || payload != last_payload_) {
            package_known_ = false;
            advance(payload);
            package_known_ = true;
        }
        last_handle_ = handle;
        hand_over(handle, records, count, *allocator);
    }

    void advance(std::string_view payload) {
        last_payload_ = payload;
        subscriptions_.begin_package();
        sentence_scanner scanner(payload);
        for (std::string_view piece; scanner.next(piece);) {
            receiver_.take(piece);
            subscriptions_.serve(receiver_.values());
        }
    }

    void hand_over(uint64_t handle, qor_dynamic_data_t*** records, uint64_t* count, qor_memory_allocator_t& allocator) {
        const auto owed = subscriptions_.fetch(handle);
        if (owed.bytes.empty()) {
            return;
        }
        const uint64_t number = owed.bytes.size() / owed.record_size;
        record_array array(number, allocator);
        for (uint64_t index = 0; index < number; ++index) {
            array.append(handle, std::span(owed.bytes).subspan(index * owed.record_size, owed.record_size));
        }
        *records = array.release();
        *count = number;
    }

    void give_one(size_t* count) {
        qor::check_argument(count, "count");
        *count = 1;
    }

    void get_supported_format(size_t index, qor_data_processor_format_t* format) {
        qor::check_argument(format, "format");
        check_index(index);
        *format = {format_name, source_type, source_class, {}};
    }

    void get_port_name(size_t index, const char** name) {
        qor::check_argument(name, "name");
        check_index(index);
        *name = format_name;
    }

    static void check_index(size_t index) {
        if (index != 0) {
            throw std::invalid_argument("there is one format and one port, not number " + std::to_string(index));
        }
    }

    // Another source is another receiver.
    void bind(const qor_data_source_t* source, const qor_data_source_provider_t* /*provider*/) {
        qor::check_argument(source, "source");
        receiver_ = receiver();
        package_known_ = false;
    }

    void get_data_descriptions(qor_memory_allocator_t* allocator, qor_runtime_c_string_sequence_t** descriptions) {
        qor::check_argument(allocator, "allocator");
        qor::check_argument(descriptions, "descriptions");
        qor_error_details_t* details = nullptr;
        qor_runtime_c_string_sequence_t* texts = nullptr;
        qor_runtime_c_string_sequence_create(allocator, 1, &texts, &details);
        qor::rethrow_details(details);
        qor_runtime_c_string_sequence_put(allocator, texts, 0, statistics_description, &details);
        if (details != nullptr) {
            qor_runtime_c_string_sequence_destroy(allocator, texts, nullptr);
        }
        qor::rethrow_details(details);
        *descriptions = texts;
    }

    qor::sdk::service_table services_;
    receiver receiver_;
    subscriptions subscriptions_;
    std::string last_payload_;
    uint64_t last_handle_ = 0;
    // Whether last_handle_ and last_payload_ say what package is at hand.
    bool package_known_ = false;
};

} // namespace nmea_processor

QOR_DATA_PROCESSOR(nmea_processor::processor)
