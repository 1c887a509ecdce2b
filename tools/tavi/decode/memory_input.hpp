// A piece of memory out of a binary file: one package.
#ifndef TOOLS_TAVI_DECODE_MEMORY_INPUT_HPP
#define TOOLS_TAVI_DECODE_MEMORY_INPUT_HPP

#include <cstdint>
#include <string>

#include "qorcpp/platform/stream.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

inline constexpr char memory_source_name[] = "memory";

// Where and when a piece of memory was read.
struct memory_place {
    std::uint64_t address = 0; // of its first byte
    std::uint32_t cycle = 0;   // serves the views of this cycle and those without one
};

// "address=0x20000000,cycle=5": decimal or hexadecimal numbers, the cycle may be missing. Throws: command_error with
// exit_code::usage.
memory_place parse_memory_place(const std::string& text);

// Writes the values of all objects that were asked for and lie in the piece. The source is called "memory".
// Throws: command_error, host::error when a plug-in fails, std::system_error when reading fails.
void decode_memory(const decode_options& options, qor::platform::input_stream& input, catalogue& catalogue,
                   selection& selection, row_writer& rows, diagnostics& messages, account& totals);

} // namespace tavi::tool

#endif
