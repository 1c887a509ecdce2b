#include "runtime/tavi/data_processor_proxy.hpp"

#include <algorithm>
#include <utility>

#include "runtime/details_owner.hpp"

namespace qor::runtime::tavi {

namespace {

using description_table = qor_data_processor_data_description_support_t;

constexpr plugin_kind processor_kind{
    "qor_data_processor_create",
    "qor_data_processor_destroy",
    "qor_data_processor_get_service_locator",
    "invalid data processor library, 'qor_data_processor_destroy' destructor function is missing",
    "invalid service locator interface returned from 'qor_data_processor_get_service_locator' function",
    false,
};

// A list of texts that a plug-in allocated, freed also when copying it fails.
class owned_texts {
public:
    explicit owned_texts(qor_memory_allocator_t* allocator) : allocator_(allocator) {}
    owned_texts(const owned_texts&) = delete;
    owned_texts& operator=(const owned_texts&) = delete;
    ~owned_texts() {
        if (sequence != nullptr) {
            qor_runtime_c_string_sequence_destroy(allocator_, sequence, nullptr);
        }
    }
    void destroy() {
        details_owner details;
        qor_runtime_c_string_sequence_destroy(allocator_, std::exchange(sequence, nullptr), details.place());
        details.rethrow();
    }

    qor_runtime_c_string_sequence_t* sequence = nullptr;

private:
    qor_memory_allocator_t* allocator_;
};

// The array of records that a plug-in gave, freed by the allocator that made it, also when it is null, together with
// the records that were not taken.
class records_array {
public:
    records_array(qor_memory_allocator_t* allocator, qor_dynamic_data_t** records, uint64_t count) noexcept
        : allocator_(allocator), records_(records), count_(records != nullptr ? count : 0) {}
    records_array(const records_array&) = delete;
    records_array& operator=(const records_array&) = delete;
    ~records_array() {
        for (uint64_t index = 0; index < count_; ++index) {
            qor_dynamic_data_destroy(allocator_, records_[index], nullptr);
        }
        allocator_->free(records_, allocator_->context);
    }
    qor::runtime::dynamic_data_holder take(uint64_t index) noexcept {
        return wrap_dynamic_data(std::exchange(records_[index], nullptr), allocator_);
    }

private:
    qor_memory_allocator_t* allocator_;
    qor_dynamic_data_t** records_;
    uint64_t count_;
};

} // namespace

data_processor_proxy::data_processor_proxy(platform::shared_library&& library,
                                           std::shared_ptr<qor::runtime::service_locator>&& host_locator)
    : plugin_proxy(processor_kind, std::move(library), std::move(host_locator), nullptr),
      support(mandatory_table<qor_data_processor_support_t>()),
      format_support(mandatory_table<qor_data_processor_format_support_t>()),
      port_support(mandatory_table<qor_data_processor_port_support_t>()) {
    if (has_service<qor_data_processor_data_source_binding_t>(*service_locator)) {
        const auto* const binding = get_service<qor_data_processor_data_source_binding_t>(*service_locator);
        bind = binding != nullptr ? binding->bind : nullptr;
    }
}

std::vector<qor_data_processor_format_t> data_processor_proxy::get_supported_formats() const {
    check_slot<qor_data_processor_format_support_t>(format_support.get_supported_format, "get_supported_format");
    check_slot<qor_data_processor_format_support_t>(format_support.get_supported_format_count,
                                                    "get_supported_format_count");
    details_owner details;
    size_t count = 0;
    format_support.get_supported_format_count(handle, &count, details.place());
    details.rethrow();
    check_count<qor_data_processor_format_support_t>(count, QOR_PLUGIN_MAX_FORMATS, "get_supported_format_count");
    std::vector<qor_data_processor_format_t> formats;
    for (size_t index = 0; index < count; ++index) {
        qor_data_processor_format_t format{};
        format_support.get_supported_format(handle, index, &format, details.place());
        details.rethrow();
        check_text<qor_data_processor_format_support_t>(format.format, "get_supported_format");
        formats.push_back(format);
    }
    return formats;
}

std::vector<std::string> data_processor_proxy::get_data_descriptions() const {
    if (!has_service<description_table>(*service_locator)) {
        throw std::logic_error("the underlying processor does not support data descriptions");
    }
    const auto* const table = get_service<description_table>(*service_locator);
    if (table == nullptr || table->get_data_descriptions == nullptr) {
        throw std::logic_error("invalid 'qor_data_processor_data_description_support' interface");
    }
    qor_memory_allocator_t* const allocator = qor_get_default_allocator();
    owned_texts texts(allocator);
    details_owner details;
    table->get_data_descriptions(handle, allocator, &texts.sequence, details.place());
    details.rethrow();
    const uint64_t count = texts.sequence != nullptr ? texts.sequence->count : 0;
    if (count != 0 && texts.sequence->strings == nullptr) {
        throw std::logic_error("invalid 'qor_data_processor_data_description_support' interface");
    }
    if (count > QOR_DATA_PROCESSOR_MAX_DESCRIPTIONS) {
        texts.sequence->count = 0; // not for the owner to walk through
        check_count<description_table>(count, QOR_DATA_PROCESSOR_MAX_DESCRIPTIONS, "get_data_descriptions");
    }
    std::vector<std::string> descriptions;
    for (uint64_t index = 0; index < count; ++index) {
        const char* const text = texts.sequence->strings[index].text;
        check_text<description_table>(text, "get_data_descriptions");
        descriptions.emplace_back(text);
    }
    texts.destroy();
    return descriptions;
}

void data_processor_proxy::bind_source(const qor_data_source_t& source,
                                       const qor_data_source_provider_t& provider) const {
    if (!has_service<qor_data_processor_data_source_binding_t>(*service_locator)) {
        return;
    }
    if (bind == nullptr) {
        throw std::runtime_error("missing interface 'qor_data_processor_data_source_binding_t'");
    }
    details_owner details;
    bind(handle, &source, &provider, details.place());
    details.rethrow();
}

bool data_processor_proxy::register_type(uint64_t subscription_handle, const char* schema,
                                         const qor_type_node_sequence_t& hierarchy, uint64_t position,
                                         uint64_t extent) const {
    check_slot<qor_data_processor_support_t>(support.register_type, "register_type");
    details_owner details;
    const uint32_t status =
        support.register_type(handle, subscription_handle, schema, &hierarchy, position, extent, details.place());
    details.rethrow();
    return status == QOR_STATUS_OK;
}

void data_processor_proxy::unregister_type(uint64_t subscription_handle) const {
    check_slot<qor_data_processor_support_t>(support.unregister_type, "unregister_type");
    details_owner details;
    support.unregister_type(handle, subscription_handle, details.place());
    details.rethrow();
}

std::vector<qor::runtime::dynamic_data_holder> data_processor_proxy::process(uint64_t subscription_handle,
                                                                             const qor_package_t& package,
                                                                             qor_memory_allocator_t* allocator) const {
    check_slot<qor_data_processor_support_t>(support.process, "process");
    qor_dynamic_data_t** array = nullptr;
    uint64_t count = 0;
    details_owner details;
    support.process(handle, subscription_handle, &package, &array, &count, allocator, details.place());
    details.rethrow();
    const bool is_countable = count <= QOR_DATA_PROCESSOR_MAX_RECORDS;
    records_array records(allocator, array, is_countable ? count : 0);
    check_count<qor_data_processor_support_t>(count, QOR_DATA_PROCESSOR_MAX_RECORDS, "process");
    // Hosts read every record that they receive.
    if (count != 0 && (array == nullptr || std::find(array, array + count, nullptr) != array + count)) {
        throw std::invalid_argument("invalid dynamic data state");
    }
    std::vector<qor::runtime::dynamic_data_holder> holders;
    holders.reserve(count);
    for (uint64_t index = 0; index < count; ++index) {
        holders.push_back(records.take(index));
    }
    return holders;
}

} // namespace qor::runtime::tavi
