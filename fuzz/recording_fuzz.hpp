// Any bytes as a recording: a reader plug-in gives the same packages, faults and account in all manners of reading.
#ifndef FUZZ_RECORDING_FUZZ_HPP
#define FUZZ_RECORDING_FUZZ_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "tests/support/recorded.hpp"

namespace tavi::fuzz {

// A recording that is refused as a whole is fine.
inline int check_recording(const test::reader_plugin& plugin, const char* format, const std::uint8_t* data,
                           std::size_t size) {
    constexpr std::size_t most = 65536;
    if (size > most) {
        return 0;
    }
    try {
        test::read_in_all_manners(plugin, format, {reinterpret_cast<const char*>(data), size});
    } catch (const std::exception& failure) {
        if (std::string_view(failure.what()).starts_with("read otherwise")) {
            std::fprintf(stderr, "%s\n", failure.what());
            std::abort();
        }
    }
    return 0;
}

} // namespace tavi::fuzz

#endif
