// Any bytes as a reader filter: nothing crashes, and what was read says of each of its terms' packages that it is
// accepted.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "tavi/reader_filter.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const tavi::host::reader_filter filter(std::string_view(reinterpret_cast<const char*>(data), size));
        for (const auto& term : filter.terms()) {
            if (!filter.accepts(term.source_id.value_or(1), term.instance.value_or(2), term.cycle.value_or(3),
                                term.address.value_or(4))) {
                std::abort();
            }
        }
    } catch (const std::invalid_argument&) {
        // It says where.
    }
    return 0;
}
