#include "runtime/sanitize_source_name.hpp"

#include <algorithm>
#include <stdexcept>

namespace qor::extensibility {

std::string sanitize_source_name(const data_source& source) {
    const std::string name(source.name, std::find(source.name, source.name + sizeof(source.name), '\0'));
    std::size_t size = sizeof(source.name);
    std::string output(size, '\0');
    std::uint32_t status = qor_data_source_sanitize_name(name.c_str(), output.data(), &size, nullptr);
    while (status == QOR_STATUS_BUFFER_TOO_SMALL) {
        output.resize(size);
        status = qor_data_source_sanitize_name(name.c_str(), output.data(), &size, nullptr);
    }
    if (status != QOR_STATUS_OK) {
        throw std::runtime_error("failed to sanitize name");
    }
    output.resize(size - 1);
    return output;
}

} // namespace qor::extensibility
