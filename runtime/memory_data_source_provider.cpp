#include "runtime/memory_data_source_provider.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "qorcpp/call_frame.hpp"

namespace qor::extensibility {

namespace {

template<typename T>
const T& element(const std::vector<T>& elements, std::size_t index) {
    if (index >= elements.size()) {
        throw std::out_of_range("invalid vector<T> subscript");
    }
    return elements[index];
}

const memory_data_source_provider& provider_of(void* handle) {
    check_argument(handle, "handle");
    return *static_cast<const memory_data_source_provider*>(handle);
}

std::uint32_t get_data_source_count(void* handle, std::size_t* count, qor_error_details_t** error) {
    return guarded_call(
        [&] {
            const auto& provider = provider_of(handle);
            check_argument(count, "count");
            *count = provider.sources.size();
        },
        error);
}

std::uint32_t get_data_source(void* handle, std::size_t index, data_source* source, qor_error_details_t** error) {
    return guarded_call(
        [&] {
            const auto& provider = provider_of(handle);
            check_argument(source, "data_source");
            *source = element(provider.sources, index);
        },
        error);
}

std::uint32_t get_data_description(void* handle, std::size_t, std::size_t index, data_description* description,
                                   qor_error_details_t** error) {
    return guarded_call(
        [&] {
            const auto& provider = provider_of(handle);
            check_argument(description, "data_description");
            *description = element(provider.descriptions, index).description;
        },
        error);
}

std::uint32_t get_data_description_content(void* handle, std::size_t, std::size_t index, void* buffer,
                                           std::uint64_t* size, qor_error_details_t** error) {
    return guarded_call(
        [&]() -> std::uint32_t {
            const auto& provider = provider_of(handle);
            check_argument(size, "size");
            // Copies, since the packed record's fields stand at odd addresses.
            const data_description_content& record = element(provider.descriptions, index);
            const std::uint64_t content_size = record.content_size;
            const void* const content = record.content;
            if (buffer == nullptr) {
                *size = content_size;
                return QOR_STATUS_BUFFER_TOO_SMALL;
            }
            *size = std::min(*size, content_size);
            if (*size != 0) {
                check_argument(content, "content");
                std::memcpy(buffer, content, *size);
            }
            return QOR_STATUS_OK;
        },
        error);
}

} // namespace

memory_data_source_provider::memory_data_source_provider(const data_source& source,
                                                         const std::vector<data_description_content>& descriptions)
    : sources{source}, descriptions(descriptions) {
    for (std::size_t index = 0; index < descriptions.size(); ++index) {
        places_.try_emplace(title_of(descriptions[index].description), index);
    }
}

memory_data_source_provider::title memory_data_source_provider::title_of(const data_description& description) noexcept {
    return {{description.name, strnlen(description.name, sizeof(description.name))},
            {description.format_type, strnlen(description.format_type, sizeof(description.format_type))}};
}

std::vector<data_description> memory_data_source_provider::list() const {
    std::vector<data_description> list;
    list.reserve(descriptions.size());
    for (const data_description_content& element : descriptions) {
        list.push_back(element.description);
    }
    return list;
}

std::size_t memory_data_source_provider::place_of(const data_description& description) const {
    return places_.at(title_of(description));
}

qor_data_source_provider_t memory_data_source_provider::record() const noexcept {
    // The functions only read through the context.
    return {get_data_source_count,
            get_data_source,
            nullptr,
            get_data_description,
            get_data_description_content,
            const_cast<memory_data_source_provider*>(this)};
}

} // namespace qor::extensibility
