// What the file of a library says of itself, without loading it. All texts are UTF-8.
#ifndef QORCPP_LIBRARY_FILE_HPP
#define QORCPP_LIBRARY_FILE_HPP

#include <string>

namespace qor::runtime {

// The bytes of the metadata section. Throws: unusable_file for a file that is no whole library or has no such section;
// std::system_error for a file that cannot be read.
std::string read_library_metadata(const std::string& path);

// Refuses a library that is shorter than its headers say: the loader would map what is not there. Files of other forms
// are left to the loader. Throws: std::runtime_error "cannot load 'PATH': cut short: ..."; std::system_error for a file
// that cannot be read.
void check_library_is_whole(const std::string& path);

} // namespace qor::runtime

#endif
