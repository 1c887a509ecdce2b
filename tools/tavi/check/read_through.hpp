// Reads a recording through a plug-in to its end, as a host would, and holds every batch against
// qorc/extensibility/recording_reader.h.
#ifndef TOOLS_TAVI_CHECK_READ_THROUGH_HPP
#define TOOLS_TAVI_CHECK_READ_THROUGH_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/plugin_handle.hpp"

namespace tavi::tool {

// How a recording is read.
struct reading_manner {
    std::size_t most = 1000;           // packages of a batch
    std::size_t block_size = SIZE_MAX; // bytes that one read of the stream gives at most
    bool can_seek = true;
    bool fails = false; // every read of the stream fails
};

// What was read.
struct recording_content {
    std::uint64_t packages = 0;
    std::uint64_t faults = 0;
    std::string digest; // equal for equal packages, faults, sources, properties and counts of other records

    friend bool operator==(const recording_content&, const recording_content&) = default;
};

// The recording that `bytes` are, in a format of the plug-in. Nothing, with the plug-in's text in `refusal`, when it
// cannot be opened or a batch fails. `options` as in `open`.
// Throws: std::runtime_error for what the contract does not allow.
std::optional<recording_content> read_through(const qor_recording_reader_support_t& reader, void* instance,
                                              std::size_t format, std::string_view bytes, const reading_manner& manner,
                                              std::string& refusal, const char* options = nullptr);

} // namespace tavi::tool

#endif
