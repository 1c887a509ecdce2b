#include "qor_tavi_extractor/src/boundary.hpp"

using namespace qor;
using namespace qor::tavi::detail;

namespace {

// Signatures on their way to the host: what was allocated is freed again unless all of it was.
class signature_array {
public:
    signature_array(qor_memory_allocator_t* allocator, size_t count)
        : allocator_(allocator), texts_(static_cast<char**>(allocate_elements(allocator, count))) {}
    signature_array(const signature_array&) = delete;
    signature_array& operator=(const signature_array&) = delete;
    ~signature_array() {
        for (size_t index = 0; texts_ != nullptr && index < count_; ++index) {
            allocator_->free(texts_[index], allocator_->context);
        }
        if (texts_ != nullptr) {
            allocator_->free(texts_, allocator_->context);
        }
    }

    // Eight bytes for each character and the terminator: the host's side counts on blocks of this size.
    void add(const std::string& signature) {
        auto* const text = static_cast<char*>(allocate_elements(allocator_, signature.size() + 1));
        signature.copy(text, signature.size());
        texts_[count_++] = text;
    }

    char** release() noexcept { return std::exchange(texts_, nullptr); }

private:
    qor_memory_allocator_t* allocator_;
    char** texts_;
    size_t count_ = 0;
};

void return_signatures(const std::vector<std::string>& signatures, char*** texts, size_t* count,
                       qor_memory_allocator_t* allocator) {
    if (texts == nullptr || count == nullptr) {
        return;
    }
    check_argument(allocator, "allocator");
    signature_array array(allocator, signatures.size());
    for (const std::string& signature : signatures) {
        array.add(signature);
    }
    *texts = array.release();
    *count = signatures.size();
}

} // namespace

uint32_t qor_tavi_extractor_register_source(qor_tavi_extractor_t* handle, const qor_data_source_t* data_source,
                                            const qor_data_source_provider_t* provider, bool sanitize_name,
                                            char*** data_description_signatures,
                                            size_t* data_description_signature_count, qor_memory_allocator_t* allocator,
                                            qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(data_source, "data_source");
            return_signatures(handle->object->register_source(*data_source, provider, sanitize_name),
                              data_description_signatures, data_description_signature_count, allocator);
        },
        error_details);
}

uint32_t qor_tavi_extractor_register_source_from_signal_storage(qor_tavi_extractor_t* handle, uint16_t source_id,
                                                                uint32_t instance, const char* source_name,
                                                                const char* const* data_description_signatures,
                                                                size_t data_description_signature_count,
                                                                qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(source_name, "source_name");
            check_argument(data_description_signatures, "data_description_signatures");
            std::vector<std::string> signatures;
            for (size_t index = 0; index < data_description_signature_count; ++index) {
                check_argument(data_description_signatures[index], "data_description_signatures");
                signatures.emplace_back(data_description_signatures[index]);
            }
            handle->object->register_source_from_signal_storage(source_id, instance, source_name, signatures);
        },
        error_details);
}

uint32_t qor_tavi_extractor_register_source_with_data_descriptions(
    qor_tavi_extractor_t* handle, uint16_t source_id, uint32_t instance, const char* source_name,
    const qor_data_description_content_t* data_descriptions, size_t data_description_count,
    char*** data_description_signatures, size_t* data_description_signature_count, qor_memory_allocator_t* allocator,
    qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(source_name, "source_name");
            if (data_description_count != 0) {
                check_argument(data_descriptions, "data_descriptions");
            }
            const std::vector<qor_data_description_content_t> descriptions(data_descriptions,
                                                                           data_descriptions + data_description_count);
            return_signatures(
                handle->object->register_source_with_data_descriptions(source_id, instance, source_name, descriptions),
                data_description_signatures, data_description_signature_count, allocator);
        },
        error_details);
}

uint32_t qor_tavi_extractor_unregister_sources(qor_tavi_extractor_t* handle, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            handle->object->unregister_sources();
        },
        error_details);
}

uint32_t qor_tavi_extractor_checkpoint_signal_storage(qor_tavi_extractor_t* handle,
                                                      qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            handle->object->checkpoint_signal_storage();
        },
        error_details);
}
