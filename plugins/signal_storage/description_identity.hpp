// What distinguishes one description from another.
#ifndef PLUGINS_SIGNAL_STORAGE_DESCRIPTION_IDENTITY_HPP
#define PLUGINS_SIGNAL_STORAGE_DESCRIPTION_IDENTITY_HPP

#include <cstdint>
#include <string>

namespace qor::storage {

struct description_identity {
    std::string signature;
    std::string name;
    std::uint8_t context_type = 0;
    std::uint64_t content_size = 0;
};

} // namespace qor::storage

#endif
