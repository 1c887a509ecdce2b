// What formats that store CAN frames in binary records have in common.
#ifndef QOR_PLUGIN_SDK_CAN_RECORDING_HPP
#define QOR_PLUGIN_SDK_CAN_RECORDING_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "qor_plugin_sdk/package_filter.hpp"
#include "qor_plugin_sdk/recording_reader.hpp"

namespace qor::sdk {

// Flags of a CAN FD frame (recorded_frame::fd_flags). Each CAN FD frame has can_fd_format.
inline constexpr std::uint8_t can_fd_bit_rate_switch = 1;
inline constexpr std::uint8_t can_fd_error_passive = 2; // error state indicator
inline constexpr std::uint8_t can_fd_format = 4;

// The bytes that a data length code stands for. Codes above 8 mean 8 bytes in classic frames.
constexpr std::uint8_t can_length(std::uint8_t code, bool is_fd) noexcept {
    constexpr std::uint8_t lengths[16] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    return is_fd ? lengths[code < 15 ? code : 15] : code < 8 ? code : std::uint8_t{8};
}

// A recording of CAN frames, which passes over those that a filter excludes.
class can_recording : public recording {
public:
    void set_filter(std::size_t source, std::optional<std::string_view> expression) final {
        filter_.set(source, expression);
    }
    std::span<const qor_excluded_packages_t> excluded() const final { return filter_.excluded(); }

protected:
    // Faults that read() may add to a batch that has no packages before it gives the batch away.
    static constexpr int most_faults = 100;

    // Requires: as batch_builder::add_frame.
    void add_frame(batch_builder& batch, std::size_t source, std::uint64_t place, recorded_time time,
                   const recorded_frame& frame) {
        if (!filter_.excludes(source, frame.id)) {
            batch.add_frame(source, place, time, frame);
        }
    }

private:
    package_filter filter_;
};

} // namespace qor::sdk

#endif
