// Whether two file names lead to one file.
#ifndef QORCPP_PLATFORM_FILE_IDENTITY_HPP
#define QORCPP_PLATFORM_FILE_IDENTITY_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "qorcpp/export.hpp"

namespace qor::platform {

// Two are equal when writing to the one changes the other, whatever names lead to them.
struct file_identity {
    // Device and inode (on Windows volume and file index) of the file, or of its folder while the file does not exist.
    std::uint64_t device = 0;
    std::uint64_t index = 0;
    // The last part of the name of a file that does not exist; empty for one that does.
    std::string name;
    // Whether it is a regular file or does not exist yet: pipes and devices may be read and written at once.
    bool is_regular = true;

    bool operator==(const file_identity&) const = default;
};

// What a path leads to, symbolic links followed to the end, also where no file is there. `path` is UTF-8.
// Nothing when not even its folder can be looked at. Thread: any.
QORCPP_API std::optional<file_identity> identify_file(const std::string& path);

// Of the files that the process was started with. Nothing when they are closed. Thread: any.
QORCPP_API std::optional<file_identity> identify_standard_input();
QORCPP_API std::optional<file_identity> identify_standard_output();

} // namespace qor::platform

#endif
