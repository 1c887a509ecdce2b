// An open recording. Its stream is read through three layers:
//
//     the caller's stream  ->  decompressed (by the first bytes)  ->  the bytes that recognised it, then the others
//
// Which format it is of: the surest that is likely; else what the table of known files says of the bytes; else the
// surest guess. Example: a description in DBC with a comment that looks like a frame is a description.
#include "tavi/recording.hpp"

#include <algorithm>
#include <charconv>
#include <exception>
#include <utility>

#include "host/src/recordings/reader_plugin.hpp"
#include "qorc/text.hpp"

namespace tavi::host {

namespace {

// From then on no other format is asked for; and so many bytes show the signature of any binary format.
constexpr std::int32_t sure = 90;
constexpr std::size_t longest_signature = 512;
// Of a recording whose format was chosen, for messages.
constexpr std::size_t kept_beginning = 4096;

} // namespace

std::string_view time_text_of(const qor_recorded_package_t& package, std::span<char, 32> buffer) noexcept {
    if (package.time_text != nullptr) {
        return {package.time_text, package.time_text_size};
    }
    if (package.time_decimals > 9) {
        return {};
    }
    const bool is_negative = package.time < 0;
    const auto time =
        is_negative ? 0 - static_cast<std::uint64_t>(package.time) : static_cast<std::uint64_t>(package.time);
    char* at = buffer.data();
    *at = '-';
    at = std::to_chars(at + (is_negative ? 1 : 0), buffer.data() + buffer.size(), time / 1000000000).ptr;
    if (package.time_decimals != 0) {
        *at = '.';
        auto fraction = static_cast<std::uint32_t>(time % 1000000000);
        for (unsigned place = 9; place > 0; --place) {
            if (place <= package.time_decimals) {
                at[place] = static_cast<char>('0' + fraction % 10);
            }
            fraction /= 10;
        }
        at += 1 + package.time_decimals;
    }
    return {buffer.data(), static_cast<std::size_t>(at - buffer.data())};
}

package_reader::package_reader(std::shared_ptr<const reader_plugin> plugin) : plugin_(std::move(plugin)) {}

package_reader::~package_reader() {
    if (opened_ != nullptr) {
        plugin_->reader.close(plugin_->instance(), opened_);
    }
}

void package_reader::check(qor_error_details_t*& details) const {
    if (details != nullptr) {
        try {
            rethrow_failure_of_stream();
        } catch (...) {
            qor_error_details_destroy(details);
            details = nullptr;
            throw;
        }
        throw_reader_error(details);
    }
}

bool package_reader::next(recording_batch& batch, std::size_t most) {
    batch = {};
    faults_.clear();
    if (has_ended_) {
        return false;
    }
    qor_recording_batch_t read{};
    qor_error_details_t* details = nullptr;
    plugin_->reader.next_batch(plugin_->instance(), opened_, most, &read, &details);
    check(details);
    has_ended_ = read.is_last;
    batch.packages = {read.packages, read.package_count};
    if (read.fault_count != 0 || (has_ended_ && fault_of_stream() != nullptr)) {
        take_faults(read);
        batch.faults = faults_;
    }
    return true;
}

void package_reader::take_faults(const qor_recording_batch_t& batch) {
    const auto counts = batch.fault_count != 0 && properties().places == QOR_RECORDING_PLACES_LINES
                            ? recording_place::line
                            : recording_place::byte;
    for (std::size_t index = 0; index < batch.fault_count; ++index) {
        const qor_recording_fault_t& fault = batch.faults[index];
        faults_.push_back({fault.package, counts, fault.place, fault.column,
                           fault.text != nullptr ? std::string_view(fault.text, fault.text_size) : std::string_view(),
                           qor::text_of(fault.cause), qor::text_of(fault.hint),
                           (fault.flags & QOR_RECORDED_UNENDED) != 0});
    }
    const stream_fault* const damage = has_ended_ ? fault_of_stream() : nullptr;
    if (damage != nullptr) {
        faults_.push_back({batch.package_count,
                           recording_place::compressed_byte,
                           damage->offset,
                           0,
                           {},
                           damage->cause,
                           damage->hint});
    }
}

std::span<const qor_recorded_source_t> package_reader::sources() {
    const qor_recorded_source_t* sources = nullptr;
    std::size_t count = 0;
    qor_error_details_t* details = nullptr;
    plugin_->reader.get_sources(plugin_->instance(), opened_, &sources, &count, &details);
    throw_reader_error(details);
    return {sources, count};
}

qor_recording_properties_t package_reader::properties() const {
    qor_recording_properties_t properties{};
    qor_error_details_t* details = nullptr;
    plugin_->reader.get_properties(plugin_->instance(), opened_, &properties, &details);
    throw_reader_error(details);
    return properties;
}

std::span<const qor_other_records_t> package_reader::other_records() const {
    const qor_other_records_t* records = nullptr;
    std::size_t count = 0;
    qor_error_details_t* details = nullptr;
    plugin_->reader.get_other_records(plugin_->instance(), opened_, &records, &count, &details);
    throw_reader_error(details);
    return {records, count};
}

void package_reader::set_filter(std::size_t source, const std::string& expression) {
    if (plugin_->filter != nullptr) {
        qor_error_details_t* details = nullptr;
        plugin_->filter->set_filter(plugin_->instance(), opened_, source, expression.c_str(), &details);
        throw_reader_error(details);
    }
}

std::span<const qor_excluded_packages_t> package_reader::excluded() const {
    const qor_excluded_packages_t* excluded = nullptr;
    std::size_t count = 0;
    if (plugin_->filter != nullptr) {
        qor_error_details_t* details = nullptr;
        plugin_->filter->get_excluded(plugin_->instance(), opened_, &excluded, &count, &details);
        throw_reader_error(details);
    }
    return {excluded, count};
}

// What the reader reads from. An exception of the stream goes by the details of the reader and is kept meanwhile.
struct recording::input {
    explicit input(std::unique_ptr<byte_stream> source) : stream(decompressed(std::move(source))) {
        table.read = [](void* context, void* buffer, std::size_t room, std::size_t* count,
                        qor_error_details_t** details) {
            auto& self = *static_cast<input*>(context);
            return self.guarded([&] { *count = self.read(static_cast<char*>(buffer), room); }, details);
        };
        if (stream->can_seek()) {
            table.seek = [](void* context, std::uint64_t offset, qor_error_details_t** details) {
                auto& self = *static_cast<input*>(context);
                return self.guarded(
                    [&] {
                        self.stream->seek(offset);
                        self.used = self.beginning.size();
                    },
                    details);
            };
        }
        if (stream->size()) {
            table.get_size = [](void* context, std::uint64_t* size, qor_error_details_t**) {
                *size = *static_cast<input*>(context)->stream->size();
                return std::uint32_t{QOR_STATUS_OK};
            };
        }
        table.context = this;
    }

    template<typename Call>
    std::uint32_t guarded(const Call& call, qor_error_details_t** details) noexcept {
        return qor::guarded_call(
            [&] {
                try {
                    call();
                } catch (...) {
                    failure = std::current_exception();
                    throw;
                }
            },
            details);
    }

    std::size_t read(char* buffer, std::size_t room) {
        if (used < beginning.size()) {
            const std::size_t count = beginning.copy(buffer, room, used);
            used += count;
            return count;
        }
        const std::size_t count = stream->read(buffer, room);
        if (keeps_beginning && beginning.size() < kept_beginning) {
            beginning.append(buffer, std::min(count, kept_beginning - beginning.size()));
            used = beginning.size();
        }
        return count;
    }

    // False at the end.
    bool read_beginning() {
        const std::size_t before = beginning.size();
        beginning.resize(QOR_RECORDING_BEGINNING);
        const std::size_t count = stream->read(beginning.data() + before, beginning.size() - before);
        beginning.resize(before + count);
        return count != 0;
    }

    std::unique_ptr<byte_stream> stream;
    std::string beginning;
    // Of the beginning, what was read again.
    std::size_t used = 0;
    // The format was chosen without it.
    bool keeps_beginning = false;
    std::exception_ptr failure;
    qor_recording_stream_t table{};
};

namespace {

std::string names_of(const std::vector<readable_format>& formats) {
    std::vector<std::string> names;
    for (const readable_format& format : formats) {
        names.push_back(format.name);
    }
    return names.empty() ? "there are no reader plug-ins" : "formats: " + qor::joined(names, ", ");
}

[[noreturn]] void refuse(const recording_format* format, const recording_readers& readers) {
    if (format != nullptr) {
        throw unrecognised_recording("this is " + std::string(format->name) + ", which no reader plug-in reads",
                                     format);
    }
    throw unrecognised_recording("the format is not known (" + names_of(readers.formats()) + ")", nullptr);
}

// The surest format. Throws: host::error when another is as sure.
std::size_t surest(const std::vector<recording_readers::answer>& answers, const recording_readers& readers) {
    if (answers.size() > 1 && answers[0].certainty == answers[1].certainty) {
        throw error(QOR_STATUS_INVALID_ARGUMENT, "it may be " + readers.formats()[answers[0].format].name + " or " +
                                                     readers.formats()[answers[1].format].name +
                                                     ": both readers are equally sure; choose one by its name");
    }
    return answers.front().format;
}

// Most recordings are known by their first lines: only those of which no format is sure by then are looked through.
recording_readers::recognition recognise_in_steps(const recording_readers& readers, std::string_view beginning,
                                                  bool is_whole) {
    constexpr std::size_t few_bytes = 1024;
    if (beginning.size() > few_bytes) {
        auto found = readers.recognise(beginning.substr(0, few_bytes), false);
        if (!found.answers.empty() && found.answers[0].certainty >= sure) {
            return found;
        }
    }
    return readers.recognise(beginning, is_whole);
}

} // namespace

std::size_t recording::choose(const recording_readers& readers, const recording_options& options) {
    if (!options.format.empty()) {
        const auto found = readers.find(options.format);
        if (!found) {
            throw error(QOR_STATUS_INVALID_ARGUMENT,
                        "there is no format '" + options.format + "' (" + names_of(readers.formats()) + ")");
        }
        input_->keeps_beginning = true;
        return *found;
    }
    for (bool is_whole = false;;) {
        is_whole = !input_->read_beginning();
        const std::string_view beginning = input_->beginning;
        const bool is_all = is_whole || beginning.size() >= QOR_RECORDING_BEGINNING;
        const auto found = recognise_in_steps(readers, beginning, is_whole);
        const std::int32_t certainty = found.answers.empty() ? QOR_RECORDING_IS_OTHER : found.answers[0].certainty;
        if (certainty >= QOR_RECORDING_IS_LIKELY && (is_all || certainty >= sure || !found.needs_more)) {
            return surest(found.answers, readers);
        }
        const recording_format* const format = recognise_signature(beginning);
        if (format != nullptr && (is_all || beginning.size() >= longest_signature || !found.needs_more)) {
            refuse(format, readers);
        }
        if (!is_all && (found.needs_more || certainty <= QOR_RECORDING_IS_POSSIBLE)) {
            continue;
        }
        if (certainty > QOR_RECORDING_IS_POSSIBLE) {
            return surest(found.answers, readers);
        }
        const recording_format* const content = recognise_content(beginning);
        if (content != nullptr || certainty == QOR_RECORDING_IS_OTHER) {
            refuse(content, readers);
        }
        return surest(found.answers, readers);
    }
}

recording::recording(const recording_readers& readers, std::unique_ptr<byte_stream> stream,
                     const recording_options& options)
    : package_reader(nullptr), input_(std::make_unique<input>(std::move(stream))) {
    const std::size_t chosen = choose(readers, options);
    const recording_readers::place& place = readers.places_[chosen];
    format_ = &readers.formats()[chosen];
    plugin_ = place.plugin;
    qor_error_details_t* details = nullptr;
    plugin_->reader.open(plugin_->instance(), place.index, &input_->table,
                         options.reader_options.empty() ? nullptr : options.reader_options.c_str(), &opened_, &details);
    check(details);
    if (opened_ == nullptr) {
        throw error(QOR_STATUS_FAILURE, "the reader of " + format_->name + " gave no recording");
    }
}

// Closes it while the stream is there.
recording::~recording() {
    if (opened_ != nullptr) {
        plugin_->reader.close(plugin_->instance(), std::exchange(opened_, nullptr));
    }
}

std::string recording::compression() const {
    return input_->stream->compression();
}

std::string_view recording::beginning() const noexcept {
    return input_->beginning;
}

void recording::rethrow_failure_of_stream() const {
    if (input_->failure != nullptr) {
        std::rethrow_exception(std::exchange(input_->failure, nullptr));
    }
}

const stream_fault* recording::fault_of_stream() const {
    return input_->stream->fault();
}

bool recording::begin_split() {
    if (plugin_->split == nullptr) {
        return false;
    }
    bool can_split = false;
    const std::uint8_t* rest = nullptr;
    std::size_t size = 0;
    qor_error_details_t* details = nullptr;
    plugin_->split->begin_split(plugin_->instance(), opened_, &can_split, &rest, &size, &details);
    check(details);
    rest_ = {reinterpret_cast<const char*>(rest), can_split ? size : 0};
    return can_split;
}

std::size_t recording::read(char* buffer, std::size_t room) {
    return input_->read(buffer, room);
}

std::size_t recording::find_end(std::span<const char> data) const {
    std::size_t whole = 0;
    qor_error_details_t* details = nullptr;
    plugin_->split->find_end(plugin_->instance(), opened_, reinterpret_cast<const std::uint8_t*>(data.data()),
                             data.size(), &whole, &details);
    throw_reader_error(details);
    return std::min(whole, data.size());
}

recording_part::recording_part(const recording& split) : package_reader(split.plugin_) {
    qor_error_details_t* details = nullptr;
    plugin_->split->open_part(plugin_->instance(), split.opened_, &opened_, &details);
    throw_reader_error(details);
    if (opened_ == nullptr) {
        throw error(QOR_STATUS_FAILURE, "the reader gave no part of the recording");
    }
}

void recording_part::set_chunk(std::span<const char> data) {
    qor_error_details_t* details = nullptr;
    plugin_->split->set_chunk(plugin_->instance(), opened_, reinterpret_cast<const std::uint8_t*>(data.data()),
                              data.size(), &details);
    throw_reader_error(details);
    begin_chunk();
}

std::uint64_t recording_part::extent() const {
    std::uint64_t extent = 0;
    qor_error_details_t* details = nullptr;
    plugin_->split->get_extent(plugin_->instance(), opened_, &extent, &details);
    throw_reader_error(details);
    return extent;
}

} // namespace tavi::host
