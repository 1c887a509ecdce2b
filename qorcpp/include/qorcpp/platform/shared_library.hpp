// A shared library, loaded as long as its object lives.
#ifndef QORCPP_PLATFORM_SHARED_LIBRARY_HPP
#define QORCPP_PLATFORM_SHARED_LIBRARY_HPP

#include <cstdint>
#include <string>

#include "qorcpp/export.hpp"

namespace qor::platform {

// 0, the only value: all symbols are bound at once and stay out of other libraries' sight.
using load_mode = std::uint32_t;

// Thread: an object is to be used by one thread at a time.
class QORCPP_API shared_library {
public:
    // For a file that the loader refuses the object tests as false, and get_last_error gives the reason, also after
    // each later get_symbol. `path` is UTF-8. Throws: std::runtime_error "cannot load 'PATH': cut short: ..." for a
    // library that is shorter than its headers say, which the loader would not notice; std::system_error for a file
    // that exists and cannot be read.
    explicit shared_library(const std::string& path, load_mode mode = 0);

    // Leaves `other` unloaded.
    shared_library(shared_library&& other) noexcept;
    shared_library& operator=(shared_library&&) = delete;

    // Unloads.
    ~shared_library();

    // Whether the library is loaded.
    explicit operator bool() const noexcept { return handle_ != nullptr; }

    // Null when the library has no such symbol or is not loaded; get_last_error tells why.
    void* get_symbol(const std::string& name) const;

    // As given to the constructor.
    const std::string& get_library_path() const noexcept { return path_; }

private:
    void* handle_ = nullptr;
    std::string path_;
    // Why the library is not loaded.
    std::string load_error_;
};

// What the platform said about the last failure on this thread, at most 1023 bytes; empty before the first.
QORCPP_API std::string get_last_error();

} // namespace qor::platform

#endif
