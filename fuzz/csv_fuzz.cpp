#include "fuzz/recording_fuzz.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const tavi::test::reader_plugin plugin("qor_csv_reader");
    tavi::fuzz::check_recording(plugin, "python-can-csv", data, size);
    return tavi::fuzz::check_recording(plugin, "gvret-csv", data, size);
}
