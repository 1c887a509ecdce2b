// A block is used when its two lengths agree. After a damaged one reading goes on at the next bytes that are such a
// block of a type that is known.
#include "plugins/pcap_reader/pcapng_recording.hpp"

#include <algorithm>

namespace tavi::pcap {

using qor::sdk::byte_order;
using qor::sdk::load;

namespace {

constexpr std::size_t most_interfaces = 4096;

std::string text_of(std::span<const std::uint8_t> value) {
    std::string text(value.begin(), value.end());
    return text.substr(0, text.find('\0'));
}

} // namespace

std::int32_t pcapng_recording::recognise(std::span<const std::uint8_t> beginning, bool) {
    const std::int32_t first = qor::sdk::recognise_signature(beginning, "\x0A\x0D\x0D\x0A");
    if (first != QOR_RECORDING_IS_CERTAIN || beginning.size() < 12) {
        return first == QOR_RECORDING_IS_OTHER ? first : QOR_RECORDING_NEEDS_MORE;
    }
    return load<std::uint32_t>(beginning, 8, byte_order::little) == byte_order_magic ||
                   load<std::uint32_t>(beginning, 8, byte_order::big) == byte_order_magic
               ? QOR_RECORDING_IS_CERTAIN
               : QOR_RECORDING_IS_OTHER;
}

// Reads up to the first packet, so that a capture without CAN is refused.
pcapng_recording::pcapng_recording(qor::sdk::recording_input input) : input_(input) {
    if (recognise(input_.peek(12), true) != QOR_RECORDING_IS_CERTAIN) {
        throw std::runtime_error("this is not a capture in pcapng: it does not begin with a section");
    }
    set_times(QOR_RECORDING_TIMES_ABSOLUTE);
    for (;;) {
        const block head = read_block(input_.peek(block_frame_size), numbers_);
        const bool is_first = input_.offset() == 0;
        if (head.length == 0 || (head.type == section_header) != is_first ||
            (!is_first && head.type != interface_block)) {
            break;
        }
        const auto whole = input_.peek(head.length);
        if (whole.size() < head.length || !head.is_closed(whole)) {
            break;
        }
        const auto body = whole.subspan(block_header_size, head.length - block_frame_size);
        if ((is_first ? begin_section(body) : add_interface(body)) != nullptr) {
            break;
        }
        input_.skip(head.length);
    }
    std::string names;
    for (const interface& from : interfaces_) {
        if (has_can(from.link_type)) {
            return;
        }
        const std::string name = link_name(from.link_type);
        names += names.find(name) != std::string::npos ? "" : (names.empty() ? "" : ", ") + name;
    }
    if (!interfaces_.empty()) {
        throw std::runtime_error("the capture holds packets of " + names +
                                 "; CAN frames are in SocketCAN (227) and Linux cooked (113, 276) captures");
    }
}

bool pcapng_recording::read(qor::sdk::batch_builder& batch) {
    for (int faults = 0; !batch.is_full() && faults < most_faults;) {
        switch (read_next(batch)) {
        case step::next:
            break;
        case step::fault:
            ++faults;
            break;
        case step::wait:
            return true;
        case step::end:
            return false;
        }
    }
    return true;
}

pcapng_recording::step pcapng_recording::read_next(qor::sdk::batch_builder& batch) {
    if (!batch.empty() && (is_lost_ || input_.has_to_read(block_frame_size))) {
        return step::wait;
    }
    if (is_lost_) {
        search();
    }
    const auto header = input_.peek(block_frame_size);
    if (header.empty()) {
        return end(batch);
    }
    const block head = read_block(header, numbers_);
    if (head.length == 0) {
        is_cut_ = is_cut_ || header.size() < block_frame_size;
        return lose(input_.offset(), is_cut_ ? "the recording ends within a block" : "the header of a block is damaged",
                    batch);
    }
    if (!batch.empty() && input_.has_to_read(head.length)) {
        return step::wait;
    }
    return head.length <= largest_held ? use_block(head, batch) : pass_large_block(head, batch);
}

pcapng_recording::step pcapng_recording::lose(std::uint64_t place, const char* cause, qor::sdk::batch_builder& batch) {
    batch.add_fault(place, 0, cause, "reading goes on at the next block");
    is_lost_ = true;
    return step::fault;
}

pcapng_recording::step pcapng_recording::use_block(const block& head, qor::sdk::batch_builder& batch) {
    const std::uint64_t begin = input_.offset();
    const auto whole = input_.peek(head.length);
    is_cut_ = whole.size() < head.length;
    if (is_cut_ || !head.is_closed(whole)) {
        input_.skip(1);
        return lose(begin, is_cut_ ? "the recording ends within a block" : "the two lengths of a block differ", batch);
    }
    const char* const cause = use_body(head, whole.subspan(block_header_size, head.length - block_frame_size), batch);
    input_.skip(head.length);
    if (cause != nullptr) {
        batch.add_fault(begin, 0, cause, "the block is left out");
        return step::fault;
    }
    return step::next;
}

const char* pcapng_recording::use_body(const block& head, bytes body, qor::sdk::batch_builder& batch) {
    switch (head.type) {
    case section_header:
        end_section(batch);
        return begin_section(body);
    case interface_block:
        return add_interface(body);
    case old_packet:
    case enhanced_packet:
        return add_packet(head.type, body, batch);
    case simple_packet:
        return add_simple_packet(body, batch);
    default:
        count_other(block_name(head.type));
        return nullptr;
    }
}

pcapng_recording::step pcapng_recording::pass_large_block(const block& head, qor::sdk::batch_builder& batch) {
    const std::uint64_t begin = input_.offset();
    input_.skip(head.length - 4);
    const auto length = input_.peek(4);
    is_cut_ = length.size() < 4;
    if (is_cut_ || head.numbers.load<std::uint32_t>(length, 0) != head.length) {
        return lose(begin, is_cut_ ? "the recording ends within a block" : "the two lengths of a block differ", batch);
    }
    input_.skip(4);
    count_other(block_name(head.type));
    return step::next;
}

void pcapng_recording::search() {
    constexpr std::size_t chunk = std::size_t{64} << 10;
    is_lost_ = false;
    for (auto found = input_.peek(2 * chunk); found.size() >= block_frame_size; found = input_.peek(2 * chunk)) {
        const std::size_t end = std::min(chunk, found.size() - block_frame_size + 1);
        for (std::size_t at = 0; at < end; ++at) {
            const auto rest = found.subspan(at);
            const block head = read_block(rest, numbers_);
            if (head.length != 0 && head.length <= rest.size() && is_known(head.type) && head.is_closed(rest)) {
                input_.skip(at);
                return;
            }
        }
        input_.skip(end);
    }
    input_.skip(block_frame_size); // what is left is no block
}

// ---- Blocks. Each function returns what is wrong with the block, or null.

const char* pcapng_recording::begin_section(bytes body) {
    constexpr std::size_t fixed_size = 16;
    if (body.size() < fixed_size) {
        return "the section has no version and no size";
    }
    numbers_.order =
        load<std::uint32_t>(body, 0, byte_order::little) == byte_order_magic ? byte_order::little : byte_order::big;
    const auto major = numbers_.load<std::uint16_t>(body, 4);
    if (major != 1) {
        return "the section has a version that is not read";
    }
    const auto size = numbers_.load<std::uint64_t>(body, 8);
    section_begin_ = input_.offset() + body.size() + block_frame_size;
    section_size_ = size == UINT64_MAX ? std::nullopt : std::optional(size);
    interfaces_.clear();
    set_version(std::to_string(major) + "." + std::to_string(numbers_.load<std::uint16_t>(body, 6)));
    const bool has_options = for_each_option(body.subspan(fixed_size), numbers_, [&](std::uint16_t code, bytes value) {
        constexpr std::uint16_t application = 4;
        if (code == application) {
            set_producer(text_of(value));
        }
    });
    return has_options ? nullptr : "the options of the section are damaged";
}

const char* pcapng_recording::add_interface(bytes body) {
    constexpr std::size_t fixed_size = 8;
    if (body.size() < fixed_size) {
        return "the interface has no link type";
    }
    if (interfaces_.size() == most_interfaces) {
        return "the section has more than 4096 interfaces";
    }
    interface& added = interfaces_.emplace_back();
    added.link_type = numbers_.load<std::uint16_t>(body, 0);
    added.most_bytes = numbers_.load<std::uint32_t>(body, 4);
    bool is_scale_valid = true;
    const bool has_options = for_each_option(body.subspan(fixed_size), numbers_, [&](std::uint16_t code, bytes value) {
        constexpr std::uint16_t name = 2;
        constexpr std::uint16_t resolution = 9;
        constexpr std::uint16_t offset = 14;
        if (code == name) {
            added.name = text_of(value);
        } else if (code == resolution && !value.empty()) {
            added.scale.is_binary = (value[0] & 0x80) != 0;
            added.scale.exponent = value[0] & 0x7F;
            is_scale_valid = added.scale.exponent <= (added.scale.is_binary ? 63 : 19);
        } else if (code == offset && value.size() == 8) {
            added.scale.offset = numbers_.load<std::int64_t>(value, 0);
        }
    });
    if (!has_options || !is_scale_valid) {
        added.link_type = UINT32_MAX; // its packets are not read
        return has_options ? "the interface has a time resolution that is not read"
                           : "the options of the interface are damaged";
    }
    return nullptr;
}

// An enhanced packet, or one of the older kind, whose interface has 16 bits.
const char* pcapng_recording::add_packet(std::uint32_t type, bytes body, qor::sdk::batch_builder& batch) {
    constexpr std::size_t fixed_size = 20;
    constexpr std::uint16_t flags_option = 2;
    if (body.size() < fixed_size) {
        return "the block is shorter than the header of a packet";
    }
    const std::uint32_t index =
        type == old_packet ? numbers_.load<std::uint16_t>(body, 0) : numbers_.load<std::uint32_t>(body, 0);
    const std::uint64_t ticks =
        std::uint64_t{numbers_.load<std::uint32_t>(body, 4)} << 32 | numbers_.load<std::uint32_t>(body, 8);
    const std::size_t size = numbers_.load<std::uint32_t>(body, 12);
    if (index >= interfaces_.size()) {
        return "the packet is of an interface that was not described";
    }
    if (size > body.size() - fixed_size || size > numbers_.load<std::uint32_t>(body, 16)) {
        return "the size of the packet is damaged";
    }
    sent_ = 0;
    const std::size_t end = fixed_size + with_padding(size);
    const bool has_options =
        end <= body.size() && for_each_option(body.subspan(end), numbers_, [&](std::uint16_t code, bytes value) {
            if (code == flags_option && value.size() == 4) {
                constexpr std::uint32_t outbound = 2;
                sent_ = (numbers_.load<std::uint32_t>(value, 0) & 3) == outbound ? QOR_RECORDED_TRANSMITTED : 0;
            }
        });
    if (!has_options) {
        return "the options of the packet are damaged";
    }
    interface& from = interfaces_[index];
    const auto time = from.scale.nanoseconds(ticks);
    return time ? add_content(from, body.subspan(fixed_size, size), *time, batch) : "the time is beyond the year 2262";
}

// A packet of the first interface, without time.
const char* pcapng_recording::add_simple_packet(bytes body, qor::sdk::batch_builder& batch) {
    if (body.size() < 4) {
        return "the block is shorter than the header of a packet";
    }
    if (interfaces_.empty()) {
        return "the packet is of an interface that was not described";
    }
    std::size_t size = numbers_.load<std::uint32_t>(body, 0);
    if (interfaces_[0].most_bytes != 0) {
        size = std::min<std::size_t>(size, interfaces_[0].most_bytes);
    }
    if (with_padding(size) != body.size() - 4) {
        return "the size of the packet is damaged";
    }
    sent_ = 0;
    return add_content(interfaces_[0], body.subspan(4, size), {}, batch);
}

const char* pcapng_recording::add_content(interface& from, bytes content, qor::sdk::recorded_time time,
                                          qor::sdk::batch_builder& batch) {
    if (!has_can(from.link_type)) {
        count_other(from.link_type == UINT32_MAX ? "packet of a damaged interface"
                                                 : link_name(from.link_type) + " packet");
        return nullptr;
    }
    packet found = read_packet(content, from.link_type, numbers_);
    if (found.kind == packet::content::damaged) {
        return found.text;
    }
    if (found.kind == packet::content::other) {
        count_other(packet_name(found));
        return nullptr;
    }
    found.frame.flags |= sent_;
    add_frame(batch, source_of(from, found), input_.offset(), time, found.frame);
    return nullptr;
}

// By the interface's name, or else its number.
std::size_t pcapng_recording::source_of(interface& from, const packet& found) {
    if (found.interface_index) {
        return can_channel(*found.interface_index);
    }
    if (from.source) {
        return *from.source;
    }
    const auto known = std::find_if(named_sources_.begin(), named_sources_.end(),
                                    [&](const auto& named) { return named.first == from.name; });
    if (from.name.empty()) {
        from.source = can_channel(static_cast<std::uint32_t>(&from - interfaces_.data()));
    } else if (known != named_sources_.end()) {
        from.source = known->second;
    } else {
        from.source = add_source(from.name, qor::can_format, QOR_RECORDED_CAN_CHANNEL);
        named_sources_.emplace_back(from.name, *from.source);
    }
    return *from.source;
}

void pcapng_recording::end_section(qor::sdk::batch_builder& batch) {
    if (section_size_ && input_.offset() - section_begin_ != *section_size_) {
        batch.add_fault(input_.offset(), 0, "the section has another size than its header says",
                        "blocks are missing, or were added");
        is_contradicted_ = true;
    }
    has_sizes_ = has_sizes_ && section_size_.has_value();
}

pcapng_recording::step pcapng_recording::end(qor::sdk::batch_builder& batch) {
    end_section(batch);
    set_end(is_cut_ || is_contradicted_ ? QOR_RECORDING_END_CONTRADICTED
            : has_sizes_                ? QOR_RECORDING_END_PROVEN
                                        : QOR_RECORDING_END_UNKNOWN);
    return step::end;
}

} // namespace tavi::pcap
