// A host's (or our own) provider of sources and descriptions, asked until it answers.
#ifndef RUNTIME_DATA_SOURCE_PROVIDER_HPP
#define RUNTIME_DATA_SOURCE_PROVIDER_HPP

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "qorc/extensibility/data_source_provider.h"
#include "runtime/memory_data_source_provider.hpp"

namespace qor::extensibility {

// Each retrieval from a host's provider runs as a task on another thread, for which the caller waits: a provider that
// never becomes ready holds both for ever. Nothing is kept between retrievals. Our own provider answers at once, on the
// calling thread, without listing what it has. All throw what the provider reports, and std::runtime_error "invalid
// data source provider handle" when it lacks a function or its context.
class data_source_provider {
public:
    explicit data_source_provider(const qor_data_source_provider_t& record) noexcept : record_(record) {}
    // Requires: `own` outlives the object, and is asked for the source that it was made with.
    explicit data_source_provider(const memory_data_source_provider& own) noexcept
        : record_(own.record()), own_(&own) {}

    const qor_data_source_provider_t& record() const noexcept { return record_; }

    std::vector<data_source> get_data_sources() const;

    // As many as the record's data_description_count says. Throws: std::runtime_error "the specified data source was
    // not found" when no source of the provider equals `source` in all fields.
    std::vector<data_description> get_data_descriptions(const data_source& source) const;

    // The bytes and their count. Throws as above, and std::runtime_error "the specified data description was not
    // found"; "unexpected value received from 'get_data_description_content' function while retrieving content size";
    // "unexpected value received from 'get_data_description_content' function while retrieving content" for more
    // bytes than there is room for.
    std::pair<std::unique_ptr<std::uint8_t[]>, std::uint64_t>
    get_data_description_content(const data_source& source, const data_description& description) const;

private:
    void check_source_queries() const;
    void check_description_queries() const;
    std::vector<data_source> list_sources() const;
    std::size_t find_source(const data_source& source) const;
    std::vector<data_description> list_descriptions(const data_source& source) const;
    std::size_t find_description(const data_source& source, const data_description& description) const;
    std::uint64_t query_content_size(std::size_t source_index, std::size_t description_index) const;
    std::pair<std::unique_ptr<std::uint8_t[]>, std::uint64_t> read_content(std::size_t source_index,
                                                                           std::size_t description_index) const;

    qor_data_source_provider_t record_;
    // Null for a host's.
    const memory_data_source_provider* own_ = nullptr;
};

} // namespace qor::extensibility

#endif
