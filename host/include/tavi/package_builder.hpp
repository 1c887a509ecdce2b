// Makes packages in a buffer that is used again.
#ifndef TAVI_PACKAGE_BUILDER_HPP
#define TAVI_PACKAGE_BUILDER_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "qorc/extensibility/package.h"
#include "qorcpp/can_frame.hpp"

namespace tavi::host {

// Packages of any format. The payload begins at an address that is a multiple of 8, so that plug-ins read it fast.
// Thread: one at a time.
class package_builder {
public:
    // Room for a payload of `capacity` bytes; it grows when more is asked for.
    explicit package_builder(std::size_t capacity = 256);

    // Whom the packages belong to, from the next payload on.
    void set_source(std::uint16_t source_id, std::uint32_t instance) noexcept;

    // The format type specifier. Throws: host::error (QOR_STATUS_INVALID_ARGUMENT) for more than 46 bytes or a zero
    // byte.
    void set_format(std::string_view format);

    // Sets the payload's size and returns its bytes for filling; what stood there before is not kept.
    std::span<std::uint8_t> resize_payload(std::size_t size);

    // The same, and the bytes that it has before and after stay. Takes no more memory than `size` needs.
    std::span<std::uint8_t> extend_payload(std::size_t size);

    // Copies a payload and returns the package.
    const qor_package_t& build(std::span<const std::uint8_t> payload);

    // The package of a payload where it is, without a copy. Overwrites the 63 bytes before it; the next payload is a
    // copy again.
    const qor_package_t& build_in_place(std::span<std::uint8_t> payload) noexcept;

    // The package as it stands, valid until the next change.
    const qor_package_t& package() const noexcept { return *record_; }

private:
    struct aligned_delete {
        void operator()(std::byte* memory) const noexcept;
    };

    // kept  bytes of the payload that stay
    void reserve(std::size_t capacity, std::size_t kept = 0);
    // Goes back to the own memory after build_in_place.
    void return_to_own() noexcept;

    std::unique_ptr<std::byte, aligned_delete> memory_;
    std::size_t capacity_ = 0;
    qor_package_t* record_ = nullptr;
};

// Packages of one CAN frame each, see qorcpp/can_frame.hpp. Thread: one at a time.
class can_package {
public:
    // format  qor::can_format or qor::j1939_format
    explicit can_package(std::string_view format = qor::can_format);

    void set_source(std::uint16_t source_id, std::uint32_t instance) noexcept {
        builder_.set_source(source_id, instance);
    }

    // id      with the flag bits of qorcpp/can_frame.hpp
    // flags   of a CAN FD frame, as the log has them
    // data    at most 64 bytes
    //
    // The package is valid until the next call. Throws: host::error (QOR_STATUS_INVALID_ARGUMENT) for longer data.
    const qor_package_t& build(std::uint32_t id, std::uint8_t flags, std::span<const std::uint8_t> data);

    // A remote frame that asks for `length` bytes.
    const qor_package_t& build_remote(std::uint32_t id, std::uint8_t length);

private:
    package_builder builder_;
};

} // namespace tavi::host

#endif
