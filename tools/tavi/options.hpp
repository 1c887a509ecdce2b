// The command line: what each command was asked to do.
#ifndef TOOLS_TAVI_OPTIONS_HPP
#define TOOLS_TAVI_OPTIONS_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/tavi/exit_code.hpp"

namespace CLI {
class App;
}

namespace tavi::tool {

// [SOURCE=]FILE
struct description_argument {
    std::string source; // empty: for every source
    std::string path;
};

// Where and when a piece of memory was read.
struct memory_place {
    std::uint64_t address = 0; // of its first byte
    std::uint32_t cycle = 0;   // of the views that it has values of, beside those without one
};

// What all commands that read descriptions share.
struct catalogue_options {
    std::vector<std::string> descriptions; // as given, see parse_description
    std::vector<std::string> signatures;   // of descriptions in the storage, in the same form
    std::string storage;                   // empty: in memory
    bool strict = false;
};

struct decode_options {
    std::string log;
    catalogue_options catalogue;
    std::vector<std::string> patterns;
    std::string input; // the format of the log; empty: as it begins
    std::vector<std::string> plugin_folders;
    std::string memory; // where the log, a piece of memory, was read; empty for other logs
    // A place in row_formats.
    std::size_t format = 0;
    bool no_formula_guard = false; // in CSV
    std::string output;            // empty: standard output
    std::string report;            // empty: none
    bool j1939 = false;
    // Threads that decode; 0: as many as there are processors.
    std::size_t jobs = 0;

    // Not on the command line. Logs that are shorter are not worth a second thread; bytes that a thread takes at once.
    std::uint64_t shortest_parallel_log = std::uint64_t{1} << 20;
    std::size_t chunk_size = std::size_t{64} << 10;
    // Bytes of a memory image.
    std::uint64_t largest_image = std::uint64_t{1} << 30;
    // Frames that the library's reader filter excludes are passed over before a package is made of them.
    bool filters = true;
};

// The log in messages.
std::string log_name(const decode_options& options);

struct tree_options {
    catalogue_options catalogue;
};

struct schema_options {
    std::string expression;
    catalogue_options catalogue;
};

struct plugins_options {
    std::string check; // a file to check; empty: list what is beside the extractor
    // Of the check, which runs in a child process.
    double time_limit = 10;            // seconds
    std::uint64_t memory_limit = 1024; // MiB of address space
    std::string recording;             // a file that a recording reader is to read; may be empty
    std::string check_in_child;        // set in that process only, to the file
};

struct filter_options {
    catalogue_options catalogue;
    std::vector<std::string> patterns;
    std::string source; // the interface, for descriptions that are for one only
};

struct register_options {
    catalogue_options catalogue;
};

// The part before the first '=' is the source, unless it is empty or holds a '/'.
description_argument parse_description(const std::string& text);

// "address=0x20000000,cycle=5": decimal or hexadecimal numbers, the cycle may be missing. Throws: command_error with
// exit_code::usage.
memory_place parse_memory_place(const std::string& text);

// Adds the command `decode` (`tree`, `schema`, `plugins`, `register`, `filter`) to the command line; the options live
// as long as `app`.
void add_decode_options(CLI::App& app, decode_options& options);
void add_tree_options(CLI::App& app, tree_options& options);
void add_schema_options(CLI::App& app, schema_options& options);
void add_plugins_options(CLI::App& app, plugins_options& options);
void add_filter_options(CLI::App& app, filter_options& options);
void add_register_options(CLI::App& app, register_options& options);

} // namespace tavi::tool

#endif
