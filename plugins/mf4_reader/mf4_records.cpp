// Records of a data group with ids come one after the other: the id, then a record of that group. A payload group has
// payloads of any length, after a size u32; a frame has the offset of its payload among these. With frames of group 1
// and payloads of group 2:
//
//     1 [.. offset 0]  2 4 abcd  1 [.. offset 8]  2 2 ef
//
// The frame waits for its payload, and frames after it wait for the frame. Usually the payload is the next record.
// After damage, reading goes on where several records follow one another.
#include "plugins/mf4_reader/mf4_records.hpp"

#include <algorithm>

namespace tavi::mf4 {

using qor::sdk::can_length;

namespace {

constexpr std::size_t size_of_size = 4;
constexpr std::uint32_t largest_payload = 65536;
constexpr std::size_t most_waiting = 1024;
constexpr std::uint64_t largest_standard_id = 0x7FF;
constexpr std::uint64_t extended_id = 0x80000000;

std::uint64_t load_id(std::span<const std::uint8_t> bytes, std::size_t size) noexcept {
    std::uint64_t id = 0;
    for (std::size_t index = 0; index < size; ++index) {
        id |= std::uint64_t{bytes[index]} << 8 * index;
    }
    return id;
}

} // namespace

record_reader::record_reader(file& source, data_group groups, const file_state& state)
    : groups_(std::move(groups)), data_(source, groups_.first_block, state.is_open && !state.has_data_length),
      states_(groups_.groups.size()), has_counts_(state.has_counts) {
    const bool is_by_columns = groups_.first_block != 0 && source.find_block(groups_.first_block).id == "LD";
    for (std::size_t index = 0; index < groups_.groups.size(); ++index) {
        group& known = groups_.groups[index];
        if (known.record_id < by_id_.size() && by_id_[known.record_id] == 0 && index < UINT16_MAX) {
            by_id_[known.record_id] = static_cast<std::uint16_t>(index + 1);
        }
        if (known.payload && !known.has_payload_group && known.payload_block != 0) {
            states_[index].payloads = std::make_unique<data_stream>(source, known.payload_block, state.is_open);
        }
        if (is_by_columns && groups_.id_size == 0) {
            known.invalidation_size = 0; // these bytes are in blocks of their own
            known.invalid_at.reset();
        }
    }
}

record_reader::outcome record_reader::advance(qor::sdk::batch_builder& batch) {
    while (true) {
        if (first_ < waiting_.size() && (waiting_[first_].is_whole || waiting_.size() - first_ > most_waiting)) {
            if (waiting_[first_].is_whole) {
                return outcome::frame;
            }
            miss();
        } else if (has_ended_ && first_ < waiting_.size()) {
            miss();
        } else if (has_ended_) {
            return outcome::end;
        } else if (is_lost_) {
            search();
        } else {
            read_record();
        }
        if (!fault_.empty()) {
            batch.add_fault(fault_place_, 0, fault_, "reading goes on at the next record");
            fault_.clear();
            return outcome::fault;
        }
    }
}

void record_reader::pop() noexcept {
    ++first_;
    if (first_ == waiting_.size() || first_ == most_waiting) {
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(first_));
        first_ = 0;
    }
}

bool record_reader::fail(std::uint64_t place, std::string cause) {
    fault_place_ = place;
    fault_ = std::move(cause);
    return false;
}

// ---- Records. Each function returns false for a fault, or at the end.

bool record_reader::read_record() {
    const std::size_t id_size = groups_.id_size;
    const std::uint64_t place = data_.place();
    std::size_t index = 0;
    if (id_size != 0) {
        const auto bytes = data_.peek(id_size);
        if (bytes.size() == id_size) {
            index = group_of(load_id(bytes, id_size));
            if (index == none) {
                return lose("no group has the record id " + std::to_string(load_id(bytes, id_size)));
            }
        }
    }
    const bool is_payload = groups_.groups[index].is_payload;
    std::size_t size = id_size + (is_payload ? size_of_size : groups_.groups[index].record_size());
    auto bytes = data_.peek(size);
    if (is_payload && bytes.size() == size) {
        const auto payload = load<std::uint32_t>(bytes, id_size);
        if (payload > largest_payload) {
            return lose("a payload has " + std::to_string(payload) + " bytes");
        }
        size += payload;
        bytes = data_.peek(size);
    }
    if (bytes.size() < size || size == 0) {
        if (data_.damage() != nullptr) {
            fail(data_.damage_place(), data_.damage());
            is_contradicted_ = true;
            is_lost_ = true;
            data_.resume();
        } else {
            if (!bytes.empty()) {
                fail(place, "the recording ends within a record");
                is_contradicted_ = true;
            }
            finish();
        }
        return false;
    }
    const auto record = bytes.subspan(id_size);
    const bool is_read =
        is_payload ? read_payload(index, record.subspan(size_of_size), place) : read_main(index, record, place);
    data_.skip(size);
    return is_read;
}

bool record_reader::read_main(std::size_t index, std::span<const std::uint8_t> record, std::uint64_t place) {
    const group& from = groups_.groups[index];
    ++states_[index].records;
    if (from.kind == frame_kind::none || from.kind == frame_kind::overload) {
        ++others_[from.kind == frame_kind::overload ? "CAN overload frame"
                  : from.name.empty()               ? "record without frame"
                                                    : from.name];
        return true;
    }
    if (from.invalid_at && (record[from.data_size + *from.invalid_at / 8] >> *from.invalid_at % 8 & 1) != 0) {
        ++others_["invalid frame"];
        return true;
    }
    waiting_frame& frame = waiting_.emplace_back();
    frame.event.place = place;
    bool is_valid = read_frame(from, record, frame.event);
    if (is_valid && from.time.kind != clock::form::absent) {
        const auto time = from.time.read(record, states_[index].records - 1);
        is_valid = time.has_value() || fail(place, "the time is beyond the year 2262");
        frame.event.time = {time.value_or(0), from.time.decimals};
    }
    if (!is_valid || !add_payload(from, record, frame)) {
        waiting_.pop_back();
        return false;
    }
    last_time_ = frame.event.time.nanoseconds;
    has_time_ = from.time.kind != clock::form::absent;
    return true;
}

bool record_reader::read_frame(const group& from, std::span<const std::uint8_t> record, recorded_event& event) {
    event.channel = from.channel ? static_cast<std::uint32_t>(from.channel.read(record)) : from.default_channel;
    qor::sdk::recorded_frame& frame = event.frame;
    frame.flags = from.is_sent && from.is_sent.read(record) == 1 ? QOR_RECORDED_TRANSMITTED : 0;
    if (from.kind == frame_kind::error) {
        frame.id = qor::can_error_bit;
        return true;
    }
    const std::uint64_t id = from.id.read(record);
    const bool is_extended = from.is_extended
                                 ? from.is_extended.read(record) != 0
                                 : (id & extended_id) != 0 || (id & qor::can_id_mask) > largest_standard_id;
    if ((id & qor::can_id_mask) > (is_extended ? qor::can_id_mask : largest_standard_id) || id >> 32 != 0) {
        return fail(event.place, "the id has more than 11 bits and is not marked as one of 29");
    }
    const bool is_remote = from.kind == frame_kind::remote;
    const bool is_fd = from.is_fd && from.is_fd.read(record) != 0;
    frame.id = static_cast<std::uint32_t>(id & qor::can_id_mask) | (is_extended ? qor::can_extended_bit : 0) |
               (is_remote ? qor::can_remote_bit : 0);
    if (is_fd) {
        const bool switches_rate = from.has_rate_switch && from.has_rate_switch.read(record) != 0;
        const bool is_passive = from.is_passive && from.is_passive.read(record) != 0;
        frame.fd_flags =
            static_cast<std::uint8_t>(qor::sdk::can_fd_format | (switches_rate ? qor::sdk::can_fd_bit_rate_switch : 0) |
                                      (is_passive ? qor::sdk::can_fd_error_passive : 0));
    }
    event.has_length = from.length || from.code || !from.payload;
    const std::uint64_t length = from.length ? from.length.read(record)
                                 : from.code
                                     ? can_length(static_cast<std::uint8_t>(from.code.read(record) & 0xF), is_fd)
                                     : std::min<std::uint64_t>(from.bytes_size, qor::can_max_data_size);
    if (length > (is_fd ? qor::can_max_data_size : 8)) {
        return fail(event.place, "the frame has more data than a frame can have");
    }
    frame.length = static_cast<std::uint8_t>(length);
    return true;
}

// ---- Payloads

bool record_reader::add_payload(const group& from, std::span<const std::uint8_t> record, waiting_frame& frame) {
    recorded_event& event = frame.event;
    frame.is_whole = true;
    if (from.kind != frame_kind::data || (!from.payload && from.bytes_size == 0)) {
        return from.kind != frame_kind::data || event.frame.length == 0 ||
               fail(event.place, "the frame has a length and no data");
    }
    if (!from.payload) {
        std::copy_n(record.begin() + from.bytes_at, std::min<std::size_t>(event.frame.length, from.bytes_size),
                    event.data.begin());
        return event.frame.length <= from.bytes_size || fail(event.place, "the record is shorter than its frame");
    }
    frame.offset = from.payload.read(record);
    if (!from.has_payload_group) {
        return find_payload(states_[static_cast<std::size_t>(&from - groups_.groups.data())], frame.offset, event);
    }
    frame.payload_group = from.payload_group;
    group_state& payloads = states_[frame.payload_group];
    if (!payloads.is_offset_known) {
        payloads.next_offset = frame.offset;
        payloads.is_offset_known = true;
    }
    frame.is_whole = false;
    return early_.empty() || find_early(frame);
}

// A payload in a data section of its own.
bool record_reader::find_payload(group_state& state, std::uint64_t offset, recorded_event& event) {
    if (!state.payloads) {
        return event.frame.length == 0 || fail(event.place, "the frame has a length and no data");
    }
    data_stream& payloads = *state.payloads;
    if (offset < payloads.position()) {
        return fail(event.place, "the payload of the frame was passed already");
    }
    while (payloads.position() < offset) {
        const auto bytes = payloads.peek(
            static_cast<std::size_t>(std::min<std::uint64_t>(offset - payloads.position(), largest_payload)));
        payloads.skip(bytes.size());
        if (bytes.empty() && payloads.damage() != nullptr) {
            payloads.resume();
        } else if (bytes.empty()) {
            return fail(event.place, "the payload of the frame is missing");
        }
    }
    const auto size = payloads.peek(size_of_size);
    if (size.size() < size_of_size || payloads.position() != offset) {
        return fail(event.place, "the payload of the frame is missing");
    }
    const auto length = load<std::uint32_t>(size, 0);
    const auto bytes = payloads.peek(size_of_size + std::min(length, largest_payload));
    if (length > largest_payload || bytes.size() < size_of_size + length) {
        return fail(event.place, "the payload of the frame is missing");
    }
    const bool is_set = set_payload(bytes.subspan(size_of_size), event);
    payloads.skip(bytes.size());
    return is_set;
}

bool record_reader::set_payload(std::span<const std::uint8_t> bytes, recorded_event& event) {
    if (!event.has_length && bytes.size() <= (event.frame.fd_flags != 0 ? qor::can_max_data_size : 8)) {
        event.frame.length = static_cast<std::uint8_t>(bytes.size());
    }
    if (bytes.size() != event.frame.length) {
        return fail(event.place, "the payload has " + std::to_string(bytes.size()) + " bytes and the frame " +
                                     std::to_string(event.frame.length));
    }
    std::copy(bytes.begin(), bytes.end(), event.data.begin());
    return true;
}

// A payload that came before its frame.
bool record_reader::find_early(waiting_frame& frame) {
    while (!early_.empty()) {
        const early_payload payload = early_.front();
        if (payload.group == frame.payload_group && payload.offset > frame.offset) {
            break;
        }
        early_.pop_front();
        if (payload.group == frame.payload_group && payload.offset == frame.offset) {
            frame.is_whole = true;
            return set_payload(std::span(payload.data).first(payload.size), frame.event);
        }
        ++others_["payload without frame"];
    }
    return true;
}

bool record_reader::read_payload(std::size_t index, std::span<const std::uint8_t> bytes, std::uint64_t place) {
    group_state& state = states_[index];
    ++state.records;
    const std::uint64_t offset = state.next_offset;
    state.next_offset += size_of_size + bytes.size();
    const auto frame =
        std::find_if(waiting_.begin() + static_cast<std::ptrdiff_t>(first_), waiting_.end(),
                     [&](const waiting_frame& waits) { return !waits.is_whole && waits.payload_group == index; });
    if (frame != waiting_.end() && frame->offset == offset) {
        frame->is_whole = true;
        if (set_payload(bytes, frame->event)) {
            return true;
        }
        waiting_.erase(frame);
    } else if (frame != waiting_.end() && frame->offset < offset) {
        state.is_offset_known = false; // the next frame says where its payload is
        fail(frame->event.place, "the payload of the frame is missing");
        waiting_.erase(frame);
    } else if (!state.is_offset_known || bytes.size() > qor::can_max_data_size || early_.size() == most_waiting) {
        return state.is_offset_known ? fail(place, "a payload belongs to no frame") : true;
    } else {
        early_payload& kept =
            early_.emplace_back(early_payload{index, offset, static_cast<std::uint8_t>(bytes.size()), {}});
        std::copy(bytes.begin(), bytes.end(), kept.data.begin());
        return true;
    }
    return false;
}

// The first frame never got its payload.
bool record_reader::miss() {
    fail(front().place, "the payload of the frame is missing");
    pop();
    return false;
}

// ---- Damage and end

std::size_t record_reader::group_of(std::uint64_t record_id) const noexcept {
    if (record_id < by_id_.size()) {
        return by_id_[record_id] != 0 ? by_id_[record_id] - 1U : none;
    }
    const auto found = std::find_if(groups_.groups.begin(), groups_.groups.end(),
                                    [&](const group& known) { return known.record_id == record_id; });
    return found != groups_.groups.end() ? static_cast<std::size_t>(found - groups_.groups.begin()) : none;
}

bool record_reader::lose(std::string cause) {
    fail(data_.place(), std::move(cause));
    data_.skip(1);
    is_lost_ = true;
    return false;
}

// Up to eight records, and times near the last one.
bool record_reader::is_record_chain(std::span<const std::uint8_t> bytes) const noexcept {
    constexpr std::int64_t most_backwards = 1000000000;
    constexpr std::int64_t most_forwards = 3600 * INT64_C(1000000000);
    const std::size_t id_size = groups_.id_size;
    for (int records = 0; records < 8 && bytes.size() > id_size + size_of_size; ++records) {
        const std::size_t index = group_of(load_id(bytes, id_size));
        if (index == none) {
            return false;
        }
        const group& found = groups_.groups[index];
        std::size_t size = id_size + (found.is_payload ? size_of_size : found.record_size());
        if (found.is_payload) {
            const auto payload = load<std::uint32_t>(bytes, id_size);
            if (payload > qor::can_max_data_size) {
                return false;
            }
            size += payload;
        } else if (found.has_frames() && has_time_ && bytes.size() >= size) {
            const auto time = found.time.read(bytes.subspan(id_size), 0);
            if (!time || *time < last_time_ - most_backwards || *time > last_time_ + most_forwards) {
                return false;
            }
        }
        bytes = bytes.subspan(std::min(size, bytes.size()));
    }
    return true;
}

void record_reader::search() {
    is_lost_ = false;
    if (groups_.id_size == 0) {
        // Records of one size: the next one begins at a multiple of it.
        const std::size_t size = groups_.groups[0].record_size();
        const std::size_t rest = static_cast<std::size_t>(data_.position() % size);
        const auto bytes = data_.peek(rest == 0 ? 0 : size - rest);
        data_.skip(bytes.size());
        return;
    }
    for (group_state& state : states_) {
        state.is_offset_known = false;
    }
    early_.clear();
    constexpr std::size_t chunk = std::size_t{32} << 10;
    for (auto bytes = data_.peek(2 * chunk); !bytes.empty(); bytes = data_.peek(2 * chunk)) {
        const std::size_t end = std::min(bytes.size(), chunk);
        std::size_t at = 0;
        while (at < end && !is_record_chain(bytes.subspan(at))) {
            ++at;
        }
        data_.skip(at);
        if (at < end) {
            return;
        }
    }
}

void record_reader::finish() {
    has_ended_ = true;
    bool is_proven = has_counts_;
    for (std::size_t index = 0; index < groups_.groups.size(); ++index) {
        const group& known = groups_.groups[index];
        // Some programs do not count payloads.
        if (has_counts_ && known.announced != states_[index].records && !(known.is_payload && known.announced == 0)) {
            is_proven = false;
            is_contradicted_ = true;
            if (fault_.empty()) {
                fail(known.offset, "the group counts " + std::to_string(known.announced) + " records, and " +
                                       std::to_string(states_[index].records) + " were read");
            }
        }
    }
    is_proven_ = is_proven;
}

} // namespace tavi::mf4
