#include <utility>

#include "qor_tavi_extractor/src/boundary.hpp"

using namespace qor;
using namespace qor::tavi::detail;

namespace {

// Signatures on their way to the host: allocated before the source is stored, handed over afterwards, and freed again
// when either fails.
class returned_signatures {
public:
    // Nothing is returned to a host that leaves out `texts` or `count`; `allocator` may then be null.
    returned_signatures(char*** texts, size_t* count, qor_memory_allocator_t* allocator)
        : texts_place_(texts), count_place_(count), allocator_(allocator) {
        if (are_requested()) {
            check_argument(allocator, "allocator");
        }
    }
    returned_signatures(const returned_signatures&) = delete;
    returned_signatures& operator=(const returned_signatures&) = delete;
    ~returned_signatures() {
        for (size_t index = 0; texts_ != nullptr && index < count_; ++index) {
            allocator_->free(texts_[index], allocator_->context);
        }
        if (texts_ != nullptr) {
            allocator_->free(texts_, allocator_->context);
        }
    }

    void receive(const std::vector<std::string>& signatures) {
        if (!are_requested()) {
            return;
        }
        texts_ = static_cast<char**>(allocate_elements(allocator_, signatures.size()));
        for (const std::string& signature : signatures) {
            // Eight bytes for each character and the terminator: the host's side counts on blocks of this size.
            auto* const text = static_cast<char*>(allocate_elements(allocator_, signature.size() + 1));
            signature.copy(text, signature.size());
            texts_[count_++] = text;
        }
    }

    void hand_over() noexcept {
        if (are_requested()) {
            *texts_place_ = std::exchange(texts_, nullptr);
            *count_place_ = count_;
        }
    }

private:
    bool are_requested() const noexcept { return texts_place_ != nullptr && count_place_ != nullptr; }

    char*** texts_place_;
    size_t* count_place_;
    qor_memory_allocator_t* allocator_;
    char** texts_ = nullptr;
    size_t count_ = 0;
};

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
            returned_signatures returned(data_description_signatures, data_description_signature_count, allocator);
            handle->object->register_source(*data_source, provider, sanitize_name,
                                            [&](const auto& signatures) { returned.receive(signatures); });
            returned.hand_over();
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
            returned_signatures returned(data_description_signatures, data_description_signature_count, allocator);
            const std::vector<qor_data_description_content_t> descriptions(data_descriptions,
                                                                           data_descriptions + data_description_count);
            handle->object->register_source_with_data_descriptions(
                source_id, instance, source_name, descriptions,
                [&](const auto& signatures) { returned.receive(signatures); });
            returned.hand_over();
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
