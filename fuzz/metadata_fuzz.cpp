// Any bytes as a library file: reading its metadata section ends, the section is a part of the file, and its lines come
// out as they are in it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include "qorcpp/metadata_section.hpp"

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// A file in memory with these bytes.
class file_of {
public:
    explicit file_of(std::string_view bytes) : descriptor_(::memfd_create("library", MFD_CLOEXEC)) {
        require(descriptor_ >= 0);
        require(::write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    ~file_of() { ::close(descriptor_); }
    file_of(const file_of&) = delete;
    file_of& operator=(const file_of&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto section = qor::runtime::read_metadata_section(file_of(bytes).path());
    require(!section || bytes.find(*section) != std::string_view::npos);
    for (const std::string_view text : {section ? std::string_view(*section) : std::string_view(), bytes}) {
        for (const auto& [key, value] : qor::runtime::parse_metadata(text)) {
            require(key.find('=') == std::string::npos && (key + value).find('\n') == std::string::npos);
            require(text.find(key + '=' + value) != std::string_view::npos);
        }
    }
    return 0;
}
