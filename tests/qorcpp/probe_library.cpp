#include <string>

#include "qorc/metadata.h"
#include "qorcpp/platform/module.hpp"

QOR_LIBRARY_METADATA_VERSION("data-matcher", "9.8.7-01234567")

extern "C" QOR_EXPORT const char* probe_directory(void) {
    static const std::string directory = qor::platform::get_current_module_directory();
    return directory.c_str();
}
