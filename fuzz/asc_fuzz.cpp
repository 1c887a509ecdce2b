#include "fuzz/recording_fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tavi::test::reader_plugin plugin("qor_asc_reader");
    return tavi::fuzz::check_recording(plugin, "asc", data, size);
}
