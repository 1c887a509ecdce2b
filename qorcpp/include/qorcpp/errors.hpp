// The exceptions that have a status of their own at a C boundary, see call_frame.hpp.
#ifndef QORCPP_ERRORS_HPP
#define QORCPP_ERRORS_HPP

#include <cstdint>
#include <stdexcept>
#include <string>

#include "qorcpp/export.hpp"

namespace qor::runtime {

// QOR_STATUS_NOT_IMPLEMENTED.
class QORCPP_API not_implemented_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// QOR_STATUS_TIMED_OUT.
class QORCPP_API timed_out_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// QOR_STATUS_FILE_EXISTS.
class QORCPP_API file_exists_error : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

// A failure that was translated before: its status and its text leave the boundary unchanged.
class QORCPP_API status_error : public std::runtime_error {
public:
    status_error(std::uint32_t status, const std::string& text) : std::runtime_error(text), status_(status) {}

    // Any value, 0 included.
    std::uint32_t status() const noexcept { return status_; }

private:
    std::uint32_t status_;
};

} // namespace qor::runtime

#endif
