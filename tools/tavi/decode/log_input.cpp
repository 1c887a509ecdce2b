#include "tools/tavi/decode/log_input.hpp"

#include <algorithm>
#include <system_error>

#include "tavi/nmea_reader.hpp"
#include "tavi/recording_format.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

using host::recording_kind;

// Fewer bytes do not show that a log without a signature is not a damaged one.
constexpr std::size_t shortest_content = 4096;

qor::platform::input_stream open_log(const decode_options& options) {
    try {
        return options.log == "-" ? qor::platform::input_stream() : qor::platform::input_stream(options.log);
    } catch (const std::system_error& error) {
        throw command_error(printable(options.log) + ": error: cannot be read: " + error.code().message());
    }
}

// What the command has for a format, after what reads it in general.
std::string hint_of(const host::recording_format& format) {
    const std::string advice(format.advice);
    switch (format.kind) {
    case recording_kind::compressed:
        return advice.ends_with("-c") ? advice + " FILE | tavi decode - ..." : advice;
    case recording_kind::description:
        return "LOG is a recording; pass a description with -d";
    case recording_kind::database:
        return "LOG is a recording; pass a catalogue with --storage file:PATH";
    case recording_kind::memory:
        return advice + ", which --memory address=ADDRESS reads";
    case recording_kind::binary:
        return "--memory address=ADDRESS reads a memory image, --input candump a damaged candump log";
    case recording_kind::document:
        return "LOG is a recording; pass a description in SDL with -d";
    default:
        return advice.empty() ? "expected lines of candump -L or NMEA 0183" : advice;
    }
}

[[noreturn]] void refuse(const std::string& log, const host::recording_format& format) {
    throw command_error(printable(log) + ": error: this is " + std::string(format.name) +
                            ", which tavi decode does not read",
                        exit_code::failed, hint_of(format));
}

} // namespace

log_input::log_input(const decode_options& options)
    : options_(options), name_(log_name(options)), stream_(open_log(options)) {}

bool log_input::is_pipe_with_descriptions() const noexcept {
    const catalogue_options& given = options_.catalogue;
    return options_.input == input_kind::automatic && !size() && !(given.descriptions.empty() && given.storage.empty());
}

bool log_input::is_nmea() {
    if (options_.input != input_kind::automatic || !options_.memory.empty()) {
        return options_.input == input_kind::nmea;
    }
    do {
        if (const auto* const format = host::recognise_signature(beginning_)) {
            refuse(name_, *format);
        }
        if (const auto found = host::nmea_reader::recognise(beginning_)) {
            return *found;
        }
    } while (beginning_.size() < host::recognised_bytes && read_ahead());
    if (ended_ || beginning_.size() >= shortest_content) {
        if (const auto* const format = host::recognise_content(beginning_)) {
            refuse(name_, *format);
        }
    }
    return false;
}

bool log_input::read_ahead() {
    const std::size_t before = beginning_.size();
    beginning_.resize(host::recognised_bytes);
    try {
        const std::size_t count = stream_.read(beginning_.data() + before, beginning_.size() - before);
        beginning_.resize(before + count);
        ended_ = count == 0;
    } catch (const std::system_error& error) {
        throw command_error(printable(name_) + ": error: cannot be read: " + error.code().message());
    }
    return !ended_;
}

std::size_t log_input::read(char* buffer, std::size_t room) {
    if (used_ < beginning_.size()) {
        const std::size_t count = beginning_.copy(buffer, room, used_);
        used_ += count;
        return count;
    }
    const std::size_t count = stream_.read(buffer, room);
    if (used_ < shortest_content) {
        keep_beginning(buffer, count);
    }
    return count;
}

// For `check_something_read`, when the log was not looked at before.
void log_input::keep_beginning(const char* bytes, std::size_t count) {
    beginning_.append(bytes, std::min(count, shortest_content - used_));
    used_ = beginning_.size();
    ended_ = count == 0;
}

void log_input::check_something_read(const account& totals) const {
    if (totals.frames() != 0 || totals.damaged_lines == 0 || totals.interrupted) {
        return;
    }
    if (const auto* const format = host::recognise_content(beginning_)) {
        refuse(name_, *format);
    }
    const bool as_nmea = totals.unit == "sentence";
    const bool is_other = host::nmea_reader::recognise(beginning_).value_or(as_nmea) != as_nmea;
    const char* const hint = is_other  ? "try another --input, or leave it out"
                             : as_nmea ? "expected a sentence such as $GPGGA,...*hh"
                                       : "expected lines of candump -L such as (1436509052.249713) can0 0C0#1122";
    throw command_error(printable(name_) + ": error: all lines are damaged", exit_code::failed, hint);
}

} // namespace tavi::tool
