// How a plug-in's library is taken into use.
#ifndef RUNTIME_TAVI_LIBRARY_USE_HPP
#define RUNTIME_TAVI_LIBRARY_USE_HPP

#include <string>
#include <utility>

#include "qorcpp/platform/shared_library.hpp"
#include "runtime/details_owner.hpp"

namespace qor::runtime::tavi {

// Throws the failure that translate_current_exception gave, as an exception of our own: status_error with its status
// and text, or std::bad_alloc when there was no memory for the text.
[[noreturn]] void throw_translated(std::uint32_t status, const details_owner& details);

// Loads the library at `path` and hands it to `work`, which gives it to a proxy. When `work` fails, the proxy is gone
// and nothing else may hold the library, but an exception that the plug-in itself threw has its type and its destructor
// there. So the code stays loaded until the exception is translated.
// Throws: what platform::shared_library throws; the failure of `work` as throw_translated does.
template<typename Work>
void use_library(const std::string& path, Work&& work) {
    const platform::shared_library code(path);
    std::uint32_t status = QOR_STATUS_OK;
    details_owner details;
    try {
        work(platform::shared_library(path));
        return;
    } catch (...) {
        status = translate_current_exception(details.place());
    }
    throw_translated(status, details);
}

} // namespace qor::runtime::tavi

#endif
