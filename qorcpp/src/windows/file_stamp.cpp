#include "qorcpp/src/file_stamp.hpp"

namespace qor::platform {

// Files are read each time.
std::optional<file_stamp> settled_stamp(const std::string&) noexcept {
    return std::nullopt;
}

} // namespace qor::platform
