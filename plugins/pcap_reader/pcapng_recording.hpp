// A recording in pcapng.
#ifndef PCAP_READER_PCAPNG_RECORDING_HPP
#define PCAP_READER_PCAPNG_RECORDING_HPP

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plugins/pcap_reader/pcapng_blocks.hpp"

namespace tavi::pcap {

class pcapng_recording : public qor::sdk::can_recording {
public:
    static constexpr qor_recording_format_t format{"pcapng", "packet capture with CAN frames, several interfaces",
                                                   "pcapng ntar"};
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    // Throws: std::runtime_error for another format and for captures without CAN.
    explicit pcapng_recording(qor::sdk::recording_input input);

    bool read(qor::sdk::batch_builder& batch) override;
    std::uint64_t place() const noexcept override { return input_.offset(); }

private:
    using bytes = std::span<const std::uint8_t>;

    struct interface {
        std::uint32_t link_type = 0;
        std::uint32_t most_bytes = 0; // of a packet; 0 for no limit
        std::string name;             // empty without one
        time_scale scale;
        std::optional<std::size_t> source;
    };

    enum class step { next, fault, wait, end };

    step read_next(qor::sdk::batch_builder& batch);
    void search();
    step use_block(const block& head, qor::sdk::batch_builder& batch);
    step pass_large_block(const block& head, qor::sdk::batch_builder& batch);
    const char* use_body(const block& head, bytes body, qor::sdk::batch_builder& batch);
    step lose(std::uint64_t place, const char* cause, qor::sdk::batch_builder& batch);
    const char* begin_section(bytes body);
    const char* add_interface(bytes body);
    const char* add_packet(std::uint32_t type, bytes body, qor::sdk::batch_builder& batch);
    const char* add_simple_packet(bytes body, qor::sdk::batch_builder& batch);
    const char* add_content(interface& from, bytes content, qor::sdk::recorded_time time,
                            qor::sdk::batch_builder& batch);
    void end_section(qor::sdk::batch_builder& batch);
    step end(qor::sdk::batch_builder& batch);
    std::size_t source_of(interface& from, const packet& found);

    qor::sdk::binary_input input_;
    number_reader numbers_;
    std::vector<interface> interfaces_;
    std::vector<std::pair<std::string, std::size_t>> named_sources_;
    std::uint64_t section_begin_ = 0;
    std::optional<std::uint64_t> section_size_; // of the blocks after its header
    std::uint32_t sent_ = 0;                    // flags of the packet at hand
    bool has_sizes_ = true;                     // all sections have sizes, which agree
    bool is_contradicted_ = false;              // a section has another size
    bool is_cut_ = false;                       // a block has no end
    bool is_lost_ = false;                      // search for a block
};

} // namespace tavi::pcap

#endif
