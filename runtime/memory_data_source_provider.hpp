// Our own provider: one source whose descriptions the host handed over as buffers.
#ifndef RUNTIME_MEMORY_DATA_SOURCE_PROVIDER_HPP
#define RUNTIME_MEMORY_DATA_SOURCE_PROVIDER_HPP

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "qorc/extensibility/data_source_provider.h"

namespace qor::extensibility {

// An index beyond the end is reported as std::out_of_range "invalid vector<T> subscript".
class memory_data_source_provider {
public:
    // `descriptions` and the content that they point to must outlive the object.
    memory_data_source_provider(const data_source& source, const std::vector<data_description_content>& descriptions);
    memory_data_source_provider(const memory_data_source_provider&) = delete;
    memory_data_source_provider& operator=(const memory_data_source_provider&) = delete;

    // The table, valid as long as the object.
    qor_data_source_provider_t record() const noexcept;

    std::vector<data_description> list() const;
    // Of the first description of this name and format. Requires: it is one of `descriptions`.
    std::size_t place_of(const data_description& description) const;

    const std::vector<data_source> sources;
    const std::vector<data_description_content>& descriptions;

private:
    // Name and format up to their terminators.
    using title = std::pair<std::string_view, std::string_view>;
    static title title_of(const data_description& description) noexcept;

    std::map<title, std::size_t> places_;
};

} // namespace qor::extensibility

#endif
