#pragma once

// Folders of the build and of the sources. Only paths.cpp depends on where they are, so that a compiler cache serves
// the tests of several checkouts.
namespace tavi::test {

extern const char* const library_folder; ///< the private folder of the libraries, with the plug-ins
extern const char* const example_folder; ///< the folder of the example plug-ins
extern const char* const program_folder; ///< the folder of the command
extern const char* const source_folder;  ///< the root of the sources

} // namespace tavi::test
