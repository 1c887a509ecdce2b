#include "tests/support/paths.hpp"

namespace tavi::test {

const char* const library_folder = TAVI_LIBRARY_DIR;
const char* const example_folder = TAVI_EXAMPLE_DIR;
const char* const program_folder = TAVI_BINARY_DIR;
const char* const source_folder = TAVI_SOURCE_DIR;

} // namespace tavi::test
