#include "fuzz/recording_fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tavi::test::reader_plugin plugin("qor_mf4_reader");
    return tavi::fuzz::check_recording(plugin, "mf4", data, size);
}
