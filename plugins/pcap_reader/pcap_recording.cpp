// After a damaged header of a packet, reading goes on where several headers with plausible numbers follow one another,
// each where the one before it ends. A header is plausible when its fraction is below a second, its packet is not
// larger than packets are, and it is not larger than it was on the wire.
#include "plugins/pcap_reader/pcap_recording.hpp"

#include <optional>
#include <string>

namespace tavi::pcap {

using qor::sdk::byte_order;
using qor::sdk::load;

namespace {

constexpr std::size_t file_header_size = 24;
constexpr std::size_t packet_header_size = 16;
constexpr std::uint32_t largest_packet = 262144;
constexpr std::uint32_t link_type_mask = 0xFFFF; // the bits above are about checksums

struct magic_form {
    number_reader numbers;
    bool has_nanoseconds;
};

std::optional<magic_form> form_of(std::span<const std::uint8_t> beginning) noexcept {
    if (beginning.size() < 4) {
        return std::nullopt;
    }
    for (const byte_order order : {byte_order::little, byte_order::big}) {
        const number_reader numbers{order};
        const auto magic = numbers.load<std::uint32_t>(beginning, 0);
        if (magic == 0xA1B2C3D4 || magic == 0xA1B23C4D) {
            return magic_form{numbers, magic == 0xA1B23C4D};
        }
    }
    return std::nullopt;
}

} // namespace

std::int32_t pcap_recording::recognise(std::span<const std::uint8_t> beginning, bool) {
    return form_of(beginning)     ? QOR_RECORDING_IS_CERTAIN
           : beginning.size() < 4 ? QOR_RECORDING_NEEDS_MORE
                                  : QOR_RECORDING_IS_OTHER;
}

pcap_recording::pcap_recording(qor::sdk::recording_input input) : input_(input) {
    const auto bytes = input_.peek(file_header_size);
    const auto form = form_of(bytes);
    if (!form) {
        throw std::runtime_error("this is not a capture in pcap: its first bytes are not those of one");
    }
    if (bytes.size() < file_header_size) {
        throw std::runtime_error("the recording ends within the header of the file");
    }
    numbers_ = form->numbers;
    has_nanoseconds_ = form->has_nanoseconds;
    link_type_ = numbers_.load<std::uint32_t>(bytes, 20) & link_type_mask;
    if (!has_can(link_type_)) {
        throw std::runtime_error("the capture holds packets of " + link_name(link_type_) +
                                 "; CAN frames are in SocketCAN (227) and Linux cooked (113, 276) captures");
    }
    set_version(std::to_string(numbers_.load<std::uint16_t>(bytes, 4)) + "." +
                std::to_string(numbers_.load<std::uint16_t>(bytes, 6)));
    set_times(QOR_RECORDING_TIMES_ABSOLUTE);
    input_.skip(file_header_size);
}

pcap_recording::header pcap_recording::read_header(std::span<const std::uint8_t> bytes) const noexcept {
    return {numbers_.load<std::uint32_t>(bytes, 0), numbers_.load<std::uint32_t>(bytes, 4),
            numbers_.load<std::uint32_t>(bytes, 8), numbers_.load<std::uint32_t>(bytes, 12)};
}

bool pcap_recording::is_plausible(const header& head) const noexcept {
    return head.fraction < (has_nanoseconds_ ? 1000000000U : 1000000U) && head.size <= largest_packet &&
           head.size <= head.wire_size;
}

// Up to three packets, and times near the last one.
bool pcap_recording::begins_packets(std::span<const std::uint8_t> bytes) const noexcept {
    constexpr std::uint32_t most_distance = 7 * 24 * 3600;
    for (int packets = 0; packets < 3 && bytes.size() >= packet_header_size; ++packets) {
        const header head = read_header(bytes);
        const std::uint32_t distance = head.seconds - last_seconds_;
        if (!is_plausible(head) || (last_seconds_ != 0 && std::min(distance, 0 - distance) > most_distance) ||
            (bytes.size() - packet_header_size >= head.size &&
             read_packet(bytes.subspan(packet_header_size, head.size), link_type_, numbers_).kind ==
                 packet::content::damaged)) {
            return false;
        }
        bytes = bytes.subspan(std::min<std::size_t>(bytes.size(), packet_header_size + head.size));
    }
    return true;
}

void pcap_recording::search() {
    constexpr std::size_t step = std::size_t{64} << 10;
    is_lost_ = false;
    for (auto bytes = input_.peek(2 * step); bytes.size() >= packet_header_size; bytes = input_.peek(2 * step)) {
        const std::size_t end = std::min(step, bytes.size() - packet_header_size + 1);
        std::size_t at = 0;
        while (at < end && !begins_packets(bytes.subspan(at))) {
            ++at;
        }
        input_.skip(at);
        if (at < end) {
            return;
        }
    }
    input_.skip(packet_header_size); // what is left is no packet
}

bool pcap_recording::read(qor::sdk::batch_builder& batch) {
    for (int faults = 0; !batch.is_full() && faults < most_faults;) {
        if (!batch.empty() && (is_lost_ || input_.has_to_read(packet_header_size))) {
            return true;
        }
        if (is_lost_) {
            search();
        }
        const auto bytes = input_.peek(packet_header_size);
        if (bytes.size() < packet_header_size) {
            return end(bytes.empty() ? nullptr : "the recording ends within the header of a packet", batch);
        }
        const header head = read_header(bytes);
        if (!is_plausible(head)) {
            batch.add_fault(input_.offset(), 0, "the header of a packet is damaged",
                            "reading goes on at the next packet");
            input_.skip(1);
            is_lost_ = true;
            ++faults;
            continue;
        }
        if (!batch.empty() && input_.has_to_read(packet_header_size + head.size)) {
            return true;
        }
        const auto record = input_.peek(packet_header_size + head.size);
        if (record.size() < packet_header_size + head.size) {
            is_cut_ = true;
            lose("the recording ends within a packet", batch);
            ++faults;
            continue;
        }
        faults += add(head, record.subspan(packet_header_size), batch) ? 0 : 1;
        input_.skip(record.size());
    }
    return true;
}

// False for a fault.
bool pcap_recording::add(const header& head, std::span<const std::uint8_t> bytes, qor::sdk::batch_builder& batch) {
    const packet found = read_packet(bytes, link_type_, numbers_);
    if (found.kind == packet::content::frame) {
        const std::int64_t fraction = std::int64_t{head.fraction} * (has_nanoseconds_ ? 1 : 1000);
        add_frame(batch, can_channel(found.interface_index.value_or(0)), input_.offset(),
                  {std::int64_t{head.seconds} * 1000000000 + fraction, std::uint8_t(has_nanoseconds_ ? 9 : 6)},
                  found.frame);
        last_seconds_ = head.seconds;
    } else if (found.kind == packet::content::other) {
        count_other(packet_name(found));
    } else {
        batch.add_fault(input_.offset(), 0, found.text, "the packet is left out");
        return false;
    }
    return true;
}

void pcap_recording::lose(const char* cause, qor::sdk::batch_builder& batch) {
    batch.add_fault(input_.offset(), 0, cause, "reading goes on at the next packet");
    input_.skip(1);
    is_lost_ = true;
}

bool pcap_recording::end(const char* cause, qor::sdk::batch_builder& batch) {
    if (cause != nullptr) {
        batch.add_fault(input_.offset(), 0, cause, "what was read before is whole");
        is_cut_ = true;
    }
    if (is_cut_) {
        set_end(QOR_RECORDING_END_CONTRADICTED);
    }
    return false;
}

} // namespace tavi::pcap
