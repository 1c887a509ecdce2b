// Recordings of CAN frames in the text that `candump -L` writes, one frame a line:
//
//     (1436509052.249713) can0 0C0#1122          classic frame, 11-bit id (3 digits), data in hexadecimal
//     (1436509052.250001) can0 18FEF100#1122     29-bit id (8 digits)
//     (1436509052.250100) can1 123##1AABBCCDD    CAN FD: one digit of flags, then the data
//     (1436509052.250200) can1 0C0#R8            remote frame, with or without a length
//     (1436509052.250300) can0 20000080#00000000 error frame: bit 29 of 8 digits is set
//
// A letter R or T may follow (direction). Lines end in LF or CRLF; blank lines are passed over, and so is a byte order
// mark at the beginning of the log. The text is read in blocks and parsed in place: no line is copied, and a line of
// any length takes no more memory than a block.
#ifndef PLUGINS_CANDUMP_READER_CANDUMP_RECORDING_HPP
#define PLUGINS_CANDUMP_READER_CANDUMP_RECORDING_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "plugins/candump_reader/candump_line.hpp"
#include "plugins/candump_reader/candump_plain.hpp"
#include "qor_plugin_sdk/package_filter.hpp"
#include "qor_plugin_sdk/recording_reader.hpp"

namespace qor::candump {

// Thread: one at a time.
class candump_recording final : public sdk::recording {
public:
    static constexpr qor_recording_format_t format{"candump", "text of candump -L", "log"};

    // Interfaces that one log may name; lines of further ones are faults.
    static constexpr std::size_t channel_limit = 256;
    // A part does not know which names of the log came first: the host decides about those, up to this many.
    static constexpr std::size_t part_channel_limit = 4096;
    static constexpr std::size_t default_block_size = QOR_RECORDING_LONGEST_RECORD;

    // Sure when the first line is a frame, likely when it begins as one, a guess when a later line does.
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    // block_size: bytes that are read at once, at least 4096; a line as long as this is a fault
    explicit candump_recording(sdk::recording_input input, std::size_t block_size = default_block_size);
    // For chunks.
    candump_recording();

    bool read(sdk::batch_builder& batch) override;
    std::uint64_t place() const noexcept override { return line_number_; }

    void set_filter(std::size_t source, std::optional<std::string_view> expression) override {
        filter_.set(source, expression);
    }
    std::span<const qor_excluded_packages_t> excluded() const override { return filter_.excluded(); }

    bool begin_split(std::span<const std::uint8_t>& rest) override;
    std::size_t find_end(std::span<const std::uint8_t> data) const override;
    std::unique_ptr<sdk::recording> make_part() const override;
    void set_chunk(std::span<const std::uint8_t> data) override;
    std::uint64_t extent() const noexcept override { return line_number_; }

private:
    bool take_plain_line(sdk::batch_builder& batch);
    bool take_line(sdk::batch_builder& batch);
    bool find_line();
    bool skip_rest_of_line();
    void refill();
    bool parse(candump_frame& frame);
    bool learn_beginning(candump_cursor& line, std::string_view channel, candump_frame& frame);
    void add(sdk::batch_builder& batch, const candump_frame& frame, std::string_view line, bool has_end);

    // None for chunks.
    std::optional<sdk::recording_input> input_;
    std::vector<char> block_;
    // A line as long as this is a fault.
    std::size_t limit_;
    // The block, or a chunk that belongs to the host.
    const char* text_ = nullptr;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    // Bytes from `begin_` on that are known to have no line end.
    std::size_t scanned_ = 0;
    bool at_end_ = false;
    bool begins_log_ = true;
    std::uint64_t line_number_ = 0;
    std::string_view line_;
    bool line_is_cut_ = false;
    bool line_has_end_ = false;
    candump_fault fault_;
    candump_plain_line plain_;
    sdk::package_filter filter_;
};

} // namespace qor::candump

#endif
