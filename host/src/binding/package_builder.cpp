#include "tavi/package_builder.hpp"

#include <algorithm>
#include <cstring>
#include <new>

#include "tavi/error.hpp"

namespace tavi::host {

namespace {

// The record begins one byte behind an aligned address, so that the payload, 63 bytes on, is aligned.
constexpr std::size_t alignment = 64;
constexpr std::size_t record_place = alignment - sizeof(qor_package_t);

} // namespace

void package_builder::aligned_delete::operator()(std::byte* memory) const noexcept {
    ::operator delete (memory, std::align_val_t{alignment});
}

package_builder::package_builder(std::size_t capacity) {
    reserve(capacity);
}

void package_builder::reserve(std::size_t capacity, std::size_t kept) {
    std::unique_ptr<std::byte, aligned_delete> fresh(
        static_cast<std::byte*>(::operator new (alignment + capacity, std::align_val_t{alignment})));
    auto* const record = new (fresh.get() + record_place) qor_package_t{};
    if (record_ != nullptr) {
        *record = *record_;
        std::memcpy(fresh.get() + alignment, memory_.get() + alignment, kept);
    }
    memory_ = std::move(fresh);
    record_ = record;
    capacity_ = capacity;
}

void package_builder::set_source(std::uint16_t source_id, std::uint32_t instance) noexcept {
    const std::uint8_t low_first[2] = {static_cast<std::uint8_t>(source_id), static_cast<std::uint8_t>(source_id >> 8)};
    std::memcpy(&record_->source_id, low_first, sizeof low_first);
    record_->instance = instance;
}

void package_builder::set_format(std::string_view format) {
    if (format.size() >= sizeof record_->format_type || format.find('\0') != std::string_view::npos) {
        throw error(QOR_STATUS_INVALID_ARGUMENT,
                    "the format '" + std::string(format) + "' has a zero byte or more than 46 bytes");
    }
    std::memset(record_->format_type, 0, sizeof record_->format_type);
    std::memcpy(record_->format_type, format.data(), format.size());
}

void package_builder::return_to_own() noexcept {
    auto* const own = reinterpret_cast<qor_package_t*>(memory_.get() + record_place);
    if (record_ != own) {
        *own = *record_;
        record_ = own;
    }
}

const qor_package_t& package_builder::build_in_place(std::span<std::uint8_t> payload) noexcept {
    auto* const place = payload.data() - sizeof(qor_package_t);
    record_ = new (place) qor_package_t(*record_);
    record_->payload_size = payload.size();
    return *record_;
}

std::span<std::uint8_t> package_builder::resize_payload(std::size_t size) {
    return_to_own();
    if (size > capacity_) {
        reserve(std::max(size, 2 * capacity_));
    }
    record_->payload_size = size;
    return {reinterpret_cast<std::uint8_t*>(memory_.get() + alignment), size};
}

std::span<std::uint8_t> package_builder::extend_payload(std::size_t size) {
    return_to_own();
    if (size > capacity_) {
        reserve(size, record_->payload_size);
    }
    record_->payload_size = size;
    return {reinterpret_cast<std::uint8_t*>(memory_.get() + alignment), size};
}

const qor_package_t& package_builder::build(std::span<const std::uint8_t> payload) {
    const std::span<std::uint8_t> place = resize_payload(payload.size());
    std::copy(payload.begin(), payload.end(), place.begin());
    return *record_;
}

can_package::can_package(std::string_view format) : builder_(qor::can_header_size + qor::can_max_data_size) {
    builder_.set_format(format);
}

const qor_package_t& can_package::build(std::uint32_t id, std::uint8_t flags, std::span<const std::uint8_t> data) {
    if (data.size() > qor::can_max_data_size) {
        throw error(QOR_STATUS_INVALID_ARGUMENT,
                    "a frame of " + std::to_string(data.size()) + " bytes is longer than 64 bytes");
    }
    const std::span<std::uint8_t> payload = builder_.resize_payload(qor::can_header_size + data.size());
    qor::write_can_header(payload.data(), id, static_cast<std::uint8_t>(data.size()), flags);
    std::copy(data.begin(), data.end(), payload.begin() + qor::can_header_size);
    return builder_.package();
}

const qor_package_t& can_package::build_remote(std::uint32_t id, std::uint8_t length) {
    const std::span<std::uint8_t> payload = builder_.resize_payload(qor::can_header_size);
    qor::write_can_header(payload.data(), id | qor::can_remote_bit, length, 0);
    return builder_.package();
}

} // namespace tavi::host
