#include "tools/tavi/decode/log_input.hpp"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "qorcpp/platform/stream.hpp"
#include "tavi/recording_format.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

using host::recording_kind;

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

// For a log that no reader takes. A damaged library beside the readers may be the one that would.
[[noreturn]] void refuse_unread(const std::string& message, exit_code code, const std::string& hint) {
    const plugin_folder folder;
    throw folder.has_damaged_file() ? command_error(message + folder.skipped(), exit_code::plugin_failed, hint)
                                    : command_error(message, code, hint);
}

} // namespace

class log_input::stream final : public host::byte_stream {
public:
    explicit stream(const std::string& log) { log == "-" ? file_.emplace() : file_.emplace(log); }

    std::size_t read(char* buffer, std::size_t room) override {
        if (events_.before_wait && !file_->size()) {
            events_.before_wait();
        }
        const std::size_t count = file_->read(buffer, room);
        bytes_read_ += count;
        if (events_.progress) {
            events_.progress(bytes_read_);
        }
        return count;
    }
    std::optional<std::uint64_t> size() const noexcept override { return file_->size(); }
    bool can_seek() const noexcept override { return file_->size().has_value(); }
    void seek(std::uint64_t offset) override { file_->seek(offset); }

    void set_events(log_events events) { events_ = std::move(events); }
    std::uint64_t bytes_read() const noexcept { return bytes_read_; }
    void end() noexcept { file_->end(); }

private:
    std::optional<qor::platform::input_stream> file_;
    log_events events_;
    std::uint64_t bytes_read_ = 0;
};

record_example example_of(const std::string& format) {
    struct row {
        const char* format;
        record_example example;
    };
    constexpr std::array<row, 2> rows{{{"candump",
                                        {"expected (SECONDS.FRACTION) INTERFACE ID#DATA, as candump -L writes it",
                                         "expected lines of candump -L such as (1436509052.249713) can0 0C0#1122"}},
                                       {"nmea", {"", "expected a sentence such as $GPGGA,...*hh"}}}};
    const auto* const found =
        std::find_if(rows.begin(), rows.end(), [&](const row& each) { return each.format == format; });
    return found != rows.end() ? found->example : record_example{};
}

log_input::log_input(const decode_options& options) : options_(options), name_(log_name(options)) {
    try {
        unopened_ = std::make_unique<stream>(options.log);
    } catch (const std::system_error& error) {
        throw command_error(printable(options.log) + ": error: cannot be read: " + error.code().message());
    }
    stream_ = unopened_.get();
}

log_input::~log_input() = default;

std::optional<std::uint64_t> log_input::size() const noexcept {
    return stream_->size();
}

void log_input::set_events(log_events events) {
    stream_->set_events(std::move(events));
}

std::uint64_t log_input::bytes_read() const noexcept {
    return stream_->bytes_read();
}

void log_input::end() noexcept {
    stream_->end();
}

bool log_input::is_pipe_with_descriptions() const noexcept {
    const catalogue_options& given = options_.catalogue;
    return options_.input.empty() && options_.memory.empty() && !size() &&
           !(given.descriptions.empty() && given.storage.empty());
}

host::recording& log_input::open(message_sink& messages) {
    readers_.emplace(options_.plugin_folders);
    for (const host::unusable_library& library : readers_->unusable()) {
        messages.print(printable(library.path) + ": warning: not used: " + printable(library.reason) + '\n');
    }
    host::recording_options options{options_.input, {}};
    if (!options_.memory.empty()) {
        const memory_place place = parse_memory_place(options_.memory);
        options = {"memory", "address=" + std::to_string(place.address) + ",cycle=" + std::to_string(place.cycle) +
                                 ",limit=" + std::to_string(options_.largest_image)};
    }
    if (!options.format.empty() && !readers_->find(options.format)) {
        if (!options_.memory.empty()) {
            throw command_error("tavi: error: no plug-in reads memory images" + plugin_folder().where(),
                                exit_code::plugin_failed);
        }
        std::string formats;
        for (const host::readable_format& format : readers_->formats()) {
            formats += (formats.empty() ? "" : ", ") + format.name;
        }
        refuse_unread("tavi: error: there is no format '" + printable(options.format) + '\'', exit_code::usage,
                      "formats: " + (formats.empty() ? "none" : formats));
    }
    try {
        return recording_.emplace(*readers_, std::move(unopened_), options);
    } catch (const host::unrecognised_recording& unknown) {
        if (const host::recording_format* const format = unknown.format()) {
            refuse_unread(printable(name_) + ": error: this is " + std::string(format->name) +
                              ", which tavi decode does not read",
                          exit_code::failed, hint_of(*format));
        }
        refuse_unread(printable(name_) + ": error: " + printable(unknown.what()), exit_code::failed, "");
    } catch (const host::error& error) {
        throw command_error(printable(name_) + ": error: " + printable(error.what()));
    } catch (const std::system_error& error) {
        throw command_error(printable(name_) + ": error: cannot be read: " + error.code().message());
    }
}

void log_input::check_something_read(const account& totals) const {
    if (totals.frames() != 0 || totals.damaged_lines == 0 || totals.interrupted) {
        return;
    }
    const std::string_view beginning = recording_->beginning();
    const std::string& name = recording_->format().name;
    const auto found = readers_->recognise(beginning, true);
    const bool is_known = !found.answers.empty() && found.answers[0].certainty > QOR_RECORDING_IS_POSSIBLE;
    const bool is_itself = is_known && readers_->formats()[found.answers[0].format].name == name;
    const auto* const format = is_itself ? nullptr : host::recognise_content(beginning);
    if (format != nullptr) {
        refuse(name_, *format);
    }
    const bool is_text = recording_->properties().places == QOR_RECORDING_PLACES_LINES;
    throw command_error(printable(name_) + ": error: " + (is_text ? "all lines are damaged" : "all of it is damaged"),
                        exit_code::failed,
                        is_known && !is_itself ? "try another --input, or leave it out" : example_of(name).example);
}

} // namespace tavi::tool
