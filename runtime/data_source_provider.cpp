#include "runtime/data_source_provider.hpp"

#include <algorithm>
#include <cstring>
#include <future>
#include <stdexcept>
#include <thread>

#include "runtime/details_owner.hpp"

namespace qor::extensibility {

namespace {

// Repeats call(&details) until the provider is ready; details count also in between. Returns the last status.
template<typename Call>
std::uint32_t repeat_until_ready(Call&& call) {
    for (;;) {
        runtime::details_owner details;
        const std::uint32_t status = call(details.place());
        details.rethrow();
        if (status != QOR_STATUS_NOT_READY) {
            return status;
        }
        std::this_thread::yield();
    }
}

template<typename Retrieval>
auto run_as_task(Retrieval&& retrieval) {
    return std::async(std::launch::async, std::forward<Retrieval>(retrieval)).get();
}

// Texts of fixed room, equal up to their terminators.
template<std::size_t Size>
bool equal_texts(const char (&left)[Size], const char (&right)[Size]) noexcept {
    return std::strncmp(left, right, Size) == 0;
}

bool equal(const data_source& left, const data_source& right) noexcept {
    return left.source_id == right.source_id && left.instance == right.instance && left.flag == right.flag &&
           left.data_description_count == right.data_description_count && equal_texts(left.text_15, right.text_15) &&
           equal_texts(left.name, right.name) && equal_texts(left.text_302, right.text_302) &&
           equal_texts(left.text_557, right.text_557);
}

bool equal(const data_description& left, const data_description& right) noexcept {
    return equal_texts(left.name, right.name) && equal_texts(left.format_type, right.format_type);
}

template<typename Record>
std::size_t find_equal(const std::vector<Record>& records, const Record& wanted, const char* failure) {
    const auto found =
        std::find_if(records.begin(), records.end(), [&](const Record& record) { return equal(record, wanted); });
    if (found == records.end()) {
        throw std::runtime_error(failure);
    }
    return static_cast<std::size_t>(found - records.begin());
}

void check(bool valid) {
    if (!valid) {
        throw std::runtime_error("invalid data source provider handle");
    }
}

} // namespace

void data_source_provider::check_source_queries() const {
    check(record_.context != nullptr && record_.get_data_source_count != nullptr && record_.get_data_source != nullptr);
}

void data_source_provider::check_description_queries() const {
    check(record_.context != nullptr && record_.get_data_description != nullptr);
}

std::vector<data_source> data_source_provider::list_sources() const {
    std::size_t count = 0;
    repeat_until_ready([&](auto error) { return record_.get_data_source_count(record_.context, &count, error); });
    std::vector<data_source> sources;
    for (std::size_t index = 0; index < count; ++index) {
        data_source source = {};
        repeat_until_ready([&](auto error) { return record_.get_data_source(record_.context, index, &source, error); });
        sources.push_back(source);
    }
    return sources;
}

std::vector<data_source> data_source_provider::get_data_sources() const {
    check_source_queries();
    return own_ != nullptr ? own_->sources : run_as_task([&] { return list_sources(); });
}

std::size_t data_source_provider::find_source(const data_source& source) const {
    check_source_queries();
    return find_equal(list_sources(), source, "the specified data source was not found");
}

std::vector<data_description> data_source_provider::list_descriptions(const data_source& source) const {
    const std::size_t source_index = find_source(source);
    std::vector<data_description> descriptions;
    for (std::size_t index = 0; index < source.data_description_count; ++index) {
        data_description description = {};
        repeat_until_ready([&](auto error) {
            return record_.get_data_description(record_.context, source_index, index, &description, error);
        });
        descriptions.push_back(description);
    }
    return descriptions;
}

std::vector<data_description> data_source_provider::get_data_descriptions(const data_source& source) const {
    check_description_queries();
    if (own_ != nullptr) {
        return own_->list();
    }
    return run_as_task([&] { return list_descriptions(source); });
}

std::size_t data_source_provider::find_description(const data_source& source,
                                                   const data_description& description) const {
    return find_equal(list_descriptions(source), description, "the specified data description was not found");
}

std::uint64_t data_source_provider::query_content_size(std::size_t source_index, std::size_t description_index) const {
    std::uint64_t size = 0;
    const std::uint32_t status = repeat_until_ready([&](auto) {
        return record_.get_data_description_content(record_.context, source_index, description_index, nullptr, &size,
                                                    nullptr);
    });
    if (status != QOR_STATUS_BUFFER_TOO_SMALL) {
        throw std::runtime_error("unexpected value received from 'get_data_description_content' function while "
                                 "retrieving content size");
    }
    return size;
}

std::pair<std::unique_ptr<std::uint8_t[]>, std::uint64_t>
data_source_provider::read_content(std::size_t source_index, std::size_t description_index) const {
    const std::uint64_t room = query_content_size(source_index, description_index);
    auto content = std::make_unique<std::uint8_t[]>(room);
    std::uint64_t size = 0;
    repeat_until_ready([&](auto error) {
        size = room; // an answer that it is not ready may have changed it
        return record_.get_data_description_content(record_.context, source_index, description_index, content.get(),
                                                    &size, error);
    });
    if (size > room) {
        throw std::runtime_error("unexpected value received from 'get_data_description_content' function while "
                                 "retrieving content");
    }
    return {std::move(content), size};
}

std::pair<std::unique_ptr<std::uint8_t[]>, std::uint64_t>
data_source_provider::get_data_description_content(const data_source& source,
                                                   const data_description& description) const {
    check_description_queries();
    check(record_.get_data_description_content != nullptr);
    if (own_ != nullptr) {
        return read_content(0, own_->place_of(description));
    }
    return run_as_task([&] {
        const std::size_t source_index = find_source(source);
        return read_content(source_index, find_description(source, description));
    });
}

} // namespace qor::extensibility
