#include "plugins/blf_reader/blf_recording.hpp"

#include <chrono>
#include <string>

namespace tavi::blf {

using qor::sdk::load;

namespace {

constexpr std::string_view signature = "LOGG";

} // namespace

std::int32_t blf_recording::recognise(std::span<const std::uint8_t> beginning, bool) {
    return qor::sdk::recognise_signature(beginning, signature);
}

blf_recording::blf_recording(qor::sdk::recording_input input) : objects_(input) {
    const auto header = objects_.input().peek(file_header_size);
    if (recognise(header, true) != QOR_RECORDING_IS_CERTAIN) {
        throw std::runtime_error("this is not a BLF recording: it does not begin with LOGG");
    }
    if (header.size() < file_header_size) {
        throw std::runtime_error("the recording ends within the header of the file");
    }
    announced_ = load<std::uint32_t>(header, object_count_at);
    const auto number = [&](std::size_t at) { return std::to_string(header[at]); };
    set_version(number(version_at) + "." + number(version_at + 1) + "." + number(version_at + 2) + "." +
                number(version_at + 3));
    set_producer("application " + number(application_at) + " version " + number(application_at + 1) + "." +
                 number(application_at + 2) + "." + number(application_at + 3));
    read_start(header);
    const auto size = load<std::uint32_t>(header, header_size_at);
    objects_.input().skip(size >= file_header_size && size <= 4096 ? size : file_header_size);
}

// The header does not say of which time zone its date is; it is taken as UTC.
void blf_recording::read_start(std::span<const std::uint8_t> header) {
    using namespace std::chrono;
    const auto field = [&](std::size_t index) { return unsigned{load<std::uint16_t>(header, start_at + 2 * index)}; };
    if (field(0) == 0) {
        return; // no date
    }
    const year_month_day date{year(static_cast<int>(field(0))), month(field(1)), day(field(3))};
    has_bad_start_ = !date.ok() || field(0) < 1970 || field(0) > 2200 || field(4) > 23 || field(5) > 59 ||
                     field(6) > 60 || field(7) > 999;
    if (!has_bad_start_) {
        const auto time =
            sys_days(date) + hours(field(4)) + minutes(field(5)) + seconds(field(6)) + milliseconds(field(7));
        start_ = duration_cast<nanoseconds>(time.time_since_epoch()).count();
        set_start(start_);
    }
}

bool blf_recording::read(qor::sdk::batch_builder& batch) {
    if (has_bad_start_) {
        has_bad_start_ = false;
        batch.add_fault(start_at, 0, "the start of the recording is not a date",
                        "times count from the beginning of the recording");
    }
    for (int faults = 0; !batch.is_full() && faults < most_faults;) {
        switch (objects_.next(object_, batch)) {
        case object_stream::outcome::object:
            add(batch);
            break;
        case object_stream::outcome::fault:
            ++faults;
            break;
        case object_stream::outcome::wait:
            return true;
        case object_stream::outcome::end:
            end(batch);
            return false;
        }
    }
    return true;
}

void blf_recording::add(qor::sdk::batch_builder& batch) {
    ++count_;
    if (is_frame(object_.type)) {
        add_object_of_frame(batch);
    } else {
        restore_points_ += object_.type == restore_point ? 1 : 0;
        count_other(object_name(object_.type));
    }
}

void blf_recording::add_object_of_frame(qor::sdk::batch_builder& batch) {
    qor::sdk::recorded_time time;
    const char* cause = read_frame(object_, record_);
    if (cause == nullptr && (!read_time(object_, time) || time.nanoseconds > INT64_MAX - start_)) {
        cause = "the time is beyond the year 2262";
    }
    if (cause != nullptr) {
        batch.add_fault(object_.place, 0, cause, "the frame is left out");
    } else if (record_.is_request) {
        count_other("transmit request");
    } else {
        time.nanoseconds += start_;
        add_frame(batch, can_channel(record_.channel), object_.place, time, record_.frame);
        ++packages_;
    }
}

// Programs differ in whether they count restore points.
void blf_recording::end(qor::sdk::batch_builder& batch) {
    const bool agrees = announced_ == count_ || announced_ == count_ - restore_points_;
    if (announced_ != 0 && !agrees) {
        batch.add_fault(object_count_at, 0,
                        "the header counts " + std::to_string(announced_) + " objects, and " + std::to_string(count_) +
                            " were read",
                        "objects are missing, or were added");
    }
    if (announced_ != 0) {
        set_announced_packages(agrees ? packages_ : announced_ - std::min(announced_, count_ - packages_));
    }
    set_end(objects_.is_cut() || (announced_ != 0 && !agrees) ? QOR_RECORDING_END_CONTRADICTED
            : announced_ != 0                                 ? QOR_RECORDING_END_PROVEN
                                                              : QOR_RECORDING_END_UNKNOWN);
}

} // namespace tavi::blf
