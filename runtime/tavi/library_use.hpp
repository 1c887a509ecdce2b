// How a plug-in's library is taken into use.
#ifndef RUNTIME_TAVI_LIBRARY_USE_HPP
#define RUNTIME_TAVI_LIBRARY_USE_HPP

#include <string>
#include <utility>

#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/shared_library.hpp"

namespace qor::runtime::tavi {

// Throws what a translated exception told; its own type is one of ours whatever was thrown.
[[noreturn]] void throw_translated(std::uint32_t status, qor_error_details_t* details);

// Loads the library at `path` and hands it to `work`, which gives it to a proxy. When `work` fails, the proxy is gone
// and nothing else may hold the library; but an exception that the plug-in itself threw has its type and its destructor
// there. So the code stays until the exception was translated.
template<typename Work>
void use_library(const std::string& path, Work&& work) {
    const platform::shared_library code(path);
    std::uint32_t status = QOR_STATUS_OK;
    qor_error_details_t* details = nullptr;
    try {
        work(platform::shared_library(path));
        return;
    } catch (...) {
        status = translate_current_exception(&details);
    }
    throw_translated(status, details);
}

} // namespace qor::runtime::tavi

#endif
