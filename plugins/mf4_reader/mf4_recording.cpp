// The frames of all data groups in the order of their times: of each group the next frame is read, and the earliest of
// these is given out. Within a data group frames come in the order of its records.
#include "plugins/mf4_reader/mf4_recording.hpp"

#include <algorithm>
#include <string>

namespace tavi::mf4 {

std::int32_t mf4_recording::recognise(std::span<const std::uint8_t> beginning, bool) {
    const std::int32_t closed = qor::sdk::recognise_signature(beginning, "MDF     ");
    const std::int32_t open = qor::sdk::recognise_signature(beginning, "UnFinMF ");
    return closed == QOR_RECORDING_IS_OTHER ? open : closed;
}

mf4_recording::mf4_recording(qor::sdk::recording_input input) : file_(input), state_(read_state(file_)) {
    std::uint64_t announced = 0;
    for (data_group& groups : read_groups(file_, signal_records_)) {
        for (const group& known : groups.groups) {
            announced += known.has_frames() && known.kind != frame_kind::overload ? known.announced : 0;
        }
        parts_.push_back({std::make_unique<record_reader>(file_, std::move(groups), state_)});
    }
    if (parts_.empty()) {
        throw std::runtime_error(
            "the recording holds no CAN frames, only measured signals: MDF recordings of buses are "
            "read");
    }
    if (state_.has_counts) {
        set_announced_packages(announced);
    }
    set_version(state_.version);
    set_producer(state_.program);
    if (state_.start != 0) {
        set_start(state_.start);
    }
}

bool mf4_recording::read(qor::sdk::batch_builder& batch) {
    for (int faults = 0; !batch.is_full() && faults < most_faults;) {
        part* earliest = nullptr;
        for (part& each : parts_) {
            while (!each.has_frame && !each.has_ended && faults < most_faults) {
                const auto outcome = each.reader->advance(batch);
                each.has_frame = outcome == record_reader::outcome::frame;
                each.has_ended = outcome == record_reader::outcome::end;
                faults += outcome == record_reader::outcome::fault ? 1 : 0;
            }
            if (each.has_frame && (earliest == nullptr || each.reader->front().time.nanoseconds <
                                                              earliest->reader->front().time.nanoseconds)) {
                earliest = &each;
            }
        }
        if (faults == most_faults) {
            return true;
        }
        if (earliest == nullptr) {
            end();
            return false;
        }
        add(*earliest, batch);
    }
    return true;
}

void mf4_recording::add(part& from, qor::sdk::batch_builder& batch) {
    const recorded_event& event = from.reader->front();
    qor::sdk::recorded_time time = event.time;
    qor::sdk::recorded_frame frame = event.frame;
    frame.data = std::span(event.data).first(frame.length);
    if (time.nanoseconds > 0 && state_.start > INT64_MAX - time.nanoseconds) {
        batch.add_fault(event.place, 0, "the time is beyond the year 2262", "the frame is left out");
    } else {
        time.nanoseconds += state_.start;
        add_frame(batch, can_channel(event.channel), event.place, time, frame);
    }
    from.reader->pop();
    from.has_frame = false;
}

// The counts of groups prove nothing when bytes at the end were not linked to.
void mf4_recording::end() {
    bool is_proven = file_.place() + 8 > file_.size();
    bool is_contradicted = false;
    for (const part& each : parts_) {
        is_proven = is_proven && each.reader->is_proven();
        is_contradicted = is_contradicted || each.reader->is_contradicted();
        for (const auto& [kind, count] : each.reader->others()) {
            count_other(kind, count);
        }
    }
    if (signal_records_ != 0) {
        count_other("record of signals", signal_records_);
    }
    set_end(is_contradicted ? QOR_RECORDING_END_CONTRADICTED
            : is_proven     ? QOR_RECORDING_END_PROVEN
                            : QOR_RECORDING_END_UNKNOWN);
}

} // namespace tavi::mf4
