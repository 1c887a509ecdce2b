// The filesystem of the machine as a qor_filesystem_t.
#ifndef QORCPP_LOCAL_FILESYSTEM_HPP
#define QORCPP_LOCAL_FILESYSTEM_HPP

#include "qorc/filesystem.h"

namespace qor {

// Owner: the caller, by the table's `close`. `root` is an existing directory or the empty text.
// Throws: std::system_error when it is neither, std::bad_alloc.
qor_filesystem_t* open_local_filesystem(const char* root);

} // namespace qor

#endif
