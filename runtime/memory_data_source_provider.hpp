// Our own provider: one source whose descriptions the host handed over as buffers.
#ifndef RUNTIME_MEMORY_DATA_SOURCE_PROVIDER_HPP
#define RUNTIME_MEMORY_DATA_SOURCE_PROVIDER_HPP

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

    const std::vector<data_source> sources;
    const std::vector<data_description_content>& descriptions;
};

} // namespace qor::extensibility

#endif
