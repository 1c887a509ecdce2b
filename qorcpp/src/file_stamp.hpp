// Whether a file is still what it was when it was read.
#ifndef QORCPP_FILE_STAMP_HPP
#define QORCPP_FILE_STAMP_HPP

#include <cstdint>
#include <optional>
#include <string>

namespace qor::platform {

// Two stamps of a path are equal as long as neither the name leads to another file nor the file was changed.
struct file_stamp {
    std::uint64_t device;
    std::uint64_t index;
    std::uint64_t size;
    // In ns. Who writes can set the first, only the system sets the second.
    std::int64_t modified;
    std::int64_t changed;

    bool operator==(const file_stamp&) const = default;
};

// Nothing for a file that cannot be looked at, or was changed less than two seconds ago: a further change could then
// leave the stamp as it is. `path` is UTF-8. Thread: any.
std::optional<file_stamp> settled_stamp(const std::string& path) noexcept;

} // namespace qor::platform

#endif
