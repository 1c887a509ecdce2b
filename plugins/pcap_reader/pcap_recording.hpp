// A recording in pcap:
//
//     file    magic u32, version u16.u16, 8 bytes, most bytes of a packet u32, link type u32
//     packet  seconds u32, fraction u32, bytes u32, bytes on the wire u32, bytes
//
// The magic shows the byte order and whether the fraction counts microseconds or nanoseconds.
#ifndef PCAP_READER_PCAP_RECORDING_HPP
#define PCAP_READER_PCAP_RECORDING_HPP

#include "plugins/pcap_reader/can_packet.hpp"

namespace tavi::pcap {

class pcap_recording : public qor::sdk::can_recording {
public:
    static constexpr qor_recording_format_t format{"pcap", "packet capture with CAN frames", "pcap cap"};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    // Throws: std::runtime_error for another format and for captures without CAN.
    explicit pcap_recording(qor::sdk::recording_input input);

    bool read(qor::sdk::batch_builder& batch) override;
    std::uint64_t place() const noexcept override { return input_.offset(); }

private:
    struct header {
        std::uint32_t seconds;
        std::uint32_t fraction;
        std::uint32_t size;
        std::uint32_t wire_size;
    };

    header read_header(std::span<const std::uint8_t> bytes) const noexcept;
    bool is_plausible(const header& head) const noexcept;
    bool begins_packets(std::span<const std::uint8_t> bytes) const noexcept;
    void search();
    bool add(const header& head, std::span<const std::uint8_t> bytes, qor::sdk::batch_builder& batch);
    void lose(const char* cause, qor::sdk::batch_builder& batch);
    bool end(const char* cause, qor::sdk::batch_builder& batch);

    qor::sdk::binary_input input_;
    number_reader numbers_;
    bool has_nanoseconds_ = false;
    bool is_cut_ = false;  // the recording ends within a packet
    bool is_lost_ = false; // search for a packet
    std::uint32_t link_type_ = 0;
    std::uint32_t last_seconds_ = 0;
};

} // namespace tavi::pcap

#endif
