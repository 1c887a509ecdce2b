// The one exception of calls into the extractor.
#ifndef TAVI_ERROR_HPP
#define TAVI_ERROR_HPP

#include <cstdint>
#include <stdexcept>
#include <string>

#include "qorc/status.h"

namespace tavi::host {

// what() is the text of the failure, as the library or plug-in that failed wrote it.
class error : public std::runtime_error {
public:
    error(qor_status_t status, const std::string& text) : std::runtime_error(text), status_(status) {}

    // A value of qorc/status.h.
    qor_status_t status() const noexcept { return status_; }

private:
    qor_status_t status_;
};

} // namespace tavi::host

#endif
