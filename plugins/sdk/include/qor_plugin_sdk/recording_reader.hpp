// What makes a recording reader (qorc/extensibility/recording_reader.h) a page of code. A format is a class
//
//     class my_recording : public qor::sdk::recording {
//     public:
//         static constexpr qor_recording_format_t format{"my", "log of my recorder", "my"};
//         static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);
//         explicit my_recording(qor::sdk::recording_input input);   // may throw: the text reaches the host
//         bool read(qor::sdk::batch_builder& batch) override;
//     };
//
// A format with options has the constructor (qor::sdk::recording_input, std::string_view options) instead; it throws
// std::invalid_argument for options that it does not have.
//
// and a library with one or more of them has one line at file scope:
//
//     QOR_RECORDING_READER(my_recording, my_other_recording)
//
// <qor_plugin_sdk/text_recording.hpp> has a base for formats of text lines, <qor_plugin_sdk/binary_input.hpp> the
// reading of binary records.
#ifndef QOR_PLUGIN_SDK_RECORDING_READER_HPP
#define QOR_PLUGIN_SDK_RECORDING_READER_HPP

#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/can_frame.hpp"

namespace qor::sdk {

// The stream of a recording. Valid as long as the recording is open.
class recording_input {
public:
    explicit recording_input(const qor_recording_stream_t& stream) : stream_(stream) {
        check_argument(stream_.read, "read");
    }

    // Up to `room` bytes, 0 only at the end. Throws: what the stream reports.
    std::size_t read(void* buffer, std::size_t room) {
        std::size_t count = 0;
        qor_error_details_t* error = nullptr;
        stream_.read(stream_.context, buffer, room, &count, &error);
        rethrow_details(error);
        return count;
    }

    bool can_seek() const noexcept { return stream_.seek != nullptr; }

    // Requires: can_seek(). Throws: what the stream reports.
    void seek(std::uint64_t offset) {
        qor_error_details_t* error = nullptr;
        stream_.seek(stream_.context, offset, &error);
        rethrow_details(error);
    }

    // Throws: what the stream reports.
    std::optional<std::uint64_t> size() {
        if (stream_.get_size == nullptr) {
            return std::nullopt;
        }
        std::uint64_t size = 0;
        qor_error_details_t* error = nullptr;
        stream_.get_size(stream_.context, &size, &error);
        rethrow_details(error);
        return size;
    }

private:
    qor_recording_stream_t stream_;
};

// Memory for the payloads and texts of one batch: stays where it is until the next one.
class batch_memory {
public:
    std::uint8_t* take(std::size_t size) {
        std::uint8_t* const place = reserve(size);
        commit(size);
        return place;
    }

    // Room that `commit` takes later, all or a part of it.
    std::uint8_t* reserve(std::size_t size) {
        if (size > room_) {
            next_block(size);
        }
        return at_;
    }
    void commit(std::size_t size) noexcept {
        at_ += size;
        room_ -= size;
    }

    void clear() noexcept {
        next_ = 0;
        room_ = 0;
    }

private:
    static constexpr std::size_t block_size = std::size_t{64} << 10;

    void next_block(std::size_t size) {
        while (next_ < blocks_.size() && blocks_[next_].size() < size) {
            ++next_;
        }
        if (next_ == blocks_.size()) {
            blocks_.emplace_back(size > block_size ? size : block_size);
        }
        at_ = blocks_[next_].data();
        room_ = blocks_[next_].size();
        ++next_;
    }

    std::vector<std::vector<std::uint8_t>> blocks_;
    std::size_t next_ = 0;
    std::uint8_t* at_ = nullptr;
    std::size_t room_ = 0;
};

// The answer of `recognise` for a format whose recordings begin with a signature.
inline std::int32_t recognise_signature(std::span<const std::uint8_t> beginning, std::string_view signature) noexcept {
    const std::size_t size = beginning.size() < signature.size() ? beginning.size() : signature.size();
    if (size != 0 && std::memcmp(beginning.data(), signature.data(), size) != 0) {
        return QOR_RECORDING_IS_OTHER;
    }
    return size == signature.size() ? QOR_RECORDING_IS_CERTAIN : QOR_RECORDING_NEEDS_MORE;
}

// When a package came: nanoseconds, and how many decimals of the second the recording has.
struct recorded_time {
    std::int64_t nanoseconds = 0;
    std::uint8_t decimals = QOR_RECORDED_WITHOUT_TIME;
};

// A CAN frame. `id` with the flag bits of qorcpp/can_frame.hpp; `fd_flags` as byte 5 of the payload has them; `length`
// is that of the data, for a remote frame the length that it requests.
struct recorded_frame {
    std::uint32_t id = 0;
    std::uint8_t fd_flags = 0;
    std::uint8_t length = 0;
    // May be shorter than `length`: what is missing is zero.
    std::span<const std::uint8_t> data;
    // QOR_RECORDED_TRANSMITTED, QOR_RECORDED_UNENDED; the others follow from the id.
    std::uint32_t flags = 0;
};

// Collects the packages and faults of one batch.
class batch_builder {
public:
    // Packages that the caller still takes.
    std::size_t room() const noexcept { return most_ - count_; }
    bool is_full() const noexcept { return count_ >= most_; }
    bool empty() const noexcept { return count_ == 0 && faults_.empty(); }

    // For formats that decode into the payload: room for the payload of the next package. Nothing else is added before
    // `commit`.
    std::uint8_t* reserve(std::size_t most_bytes) { return memory_.reserve(most_bytes); }

    // The package of the payload that was reserved, `payload_size` bytes of it. All other fields are to be set.
    qor_recorded_package_t& commit(std::size_t payload_size) {
        qor_recorded_package_t& package = next_package();
        package.payload = memory_.reserve(0);
        package.payload_size = payload_size;
        memory_.commit(payload_size);
        return package;
    }

    // A package of which only source, place and payload are set. The payload is zero, to be filled.
    qor_recorded_package_t& add(std::size_t source, std::uint64_t place, std::size_t payload_size,
                                std::uint8_t*& payload) {
        payload = memory_.take(payload_size);
        std::memset(payload, 0, payload_size);
        qor_recorded_package_t& package = next_package();
        package = {};
        package.source = static_cast<std::uint32_t>(source);
        package.place = place;
        package.payload = payload;
        package.payload_size = payload_size;
        package.time_decimals = QOR_RECORDED_WITHOUT_TIME;
        return package;
    }

    // Requires: frame.length of at most can_max_data_size.
    qor_recorded_package_t& add_frame(std::size_t source, std::uint64_t place, recorded_time time,
                                      const recorded_frame& frame) {
        const bool has_data = (frame.id & can_remote_bit) == 0;
        std::uint8_t* payload = nullptr;
        qor_recorded_package_t& package = add(source, place, can_header_size + (has_data ? frame.length : 0U), payload);
        write_can_header(payload, frame.id, frame.length, frame.fd_flags);
        if (has_data && !frame.data.empty()) {
            std::memcpy(payload + can_header_size, frame.data.data(),
                        frame.data.size() < frame.length ? frame.data.size() : frame.length);
        }
        package.time = time.nanoseconds;
        package.time_decimals = time.decimals;
        package.address = frame.id;
        package.flags = frame.flags | ((frame.id & can_remote_bit) != 0 ? QOR_RECORDED_REMOTE : 0) |
                        ((frame.id & can_error_bit) != 0 ? QOR_RECORDED_BUS_ERROR : 0);
        return package;
    }

    // A place that could not be read. The texts are copied.
    void add_fault(std::uint64_t place, std::uint64_t column, std::string_view cause, std::string_view hint,
                   std::optional<std::string_view> text = std::nullopt, std::uint32_t flags = 0) {
        qor_recording_fault_t& fault = faults_.emplace_back();
        fault.package = count_;
        fault.place = place;
        fault.column = column;
        fault.text = text ? copy(*text) : nullptr;
        fault.text_size = text ? text->size() : 0;
        fault.cause = copy(cause);
        fault.hint = copy(hint);
        fault.flags = flags;
    }

    // A text that stays until the next batch, with a zero after it.
    const char* copy(std::string_view text) {
        auto* const place = reinterpret_cast<char*>(memory_.take(text.size() + 1));
        std::memcpy(place, text.data(), text.size());
        place[text.size()] = '\0';
        return place;
    }

    void begin(std::size_t most) {
        count_ = 0;
        faults_.clear();
        memory_.clear();
        most_ = most;
    }

    qor_recording_batch_t batch(bool is_last) const noexcept {
        return {packages_.data(), count_, faults_.data(), faults_.size(), is_last};
    }

private:
    qor_recorded_package_t& next_package() {
        if (count_ == packages_.size()) {
            packages_.resize(count_ == 0 ? 64 : 2 * count_);
        }
        return packages_[count_++];
    }

    // Those after the first `count_` are of earlier batches.
    std::vector<qor_recorded_package_t> packages_;
    std::size_t count_ = 0;
    std::vector<qor_recording_fault_t> faults_;
    batch_memory memory_;
    std::size_t most_ = 0;
};

// One open recording.
class recording {
public:
    virtual ~recording() = default;

    // Adds the next packages and faults until the batch is full or the stream has to be read again; false at the end.
    // Packages and faults that the last call adds count. Throws: what ends the reading, with its text.
    virtual bool read(batch_builder& batch) = 0;

    const std::deque<qor_recorded_source_t>& sources() const noexcept { return sources_; }
    qor_recording_properties_t properties() const {
        qor_recording_properties_t now = properties_;
        now.place = place();
        return now;
    }
    const std::vector<qor_other_records_t>& other_records() const noexcept { return other_records_; }

    // How far the reading came, see qor_recording_properties_t; 0 for unknown.
    virtual std::uint64_t place() const noexcept { return 0; }

    // For formats that pass over what a filter excludes, see qor_recording_filter_support_t;
    // <qor_plugin_sdk/package_filter.hpp> does the work.
    virtual void set_filter(std::size_t, std::optional<std::string_view>) {}
    virtual std::span<const qor_excluded_packages_t> excluded() const { return {}; }

    // For formats that several threads read, see qor_recording_split_support_t. The base for texts has all of it but
    // make_part.
    virtual bool begin_split(std::span<const std::uint8_t>&) { return false; }
    virtual std::size_t find_end(std::span<const std::uint8_t>) const { return 0; }
    virtual std::unique_ptr<recording> make_part() const { return nullptr; }
    virtual void set_chunk(std::span<const std::uint8_t>) {}
    virtual std::uint64_t extent() const noexcept { return 0; }

protected:
    recording() = default;
    recording(const recording&) = delete;
    recording& operator=(const recording&) = delete;

    // A further source; returns its index.
    std::size_t add_source(std::string_view name, const char* package_format, std::uint32_t kind,
                           std::uint16_t source_id = 0) {
        sources_.push_back({keep(name), package_format, kind, source_id});
        return sources_.size() - 1;
    }

    // The source "canN" of a CAN channel with that number, added when it comes first.
    std::size_t can_channel(std::uint32_t number) {
        for (std::size_t index = 0; index < channels_.size(); ++index) {
            if (channels_[index].number == number) {
                return channels_[index].source;
            }
        }
        const std::size_t source = add_source("can" + std::to_string(number), can_format, QOR_RECORDED_CAN_CHANNEL);
        channels_.push_back({number, source});
        return source;
    }

    // Counts a record that is not a package; `kind` is a few words such as "LIN frame".
    void count_other(std::string_view kind, std::uint64_t count = 1) {
        for (qor_other_records_t& record : other_records_) {
            if (record.kind == kind) {
                record.count += count;
                return;
            }
        }
        other_records_.push_back({keep(kind), count});
    }

    void set_version(std::string_view text) { properties_.version = keep(text); }
    void set_producer(std::string_view text) { properties_.producer = keep(text); }
    // Nanoseconds since 1970-01-01 UTC. Times of packages then have to count from 1970 as well.
    void set_start(std::int64_t nanoseconds) noexcept {
        properties_.start = nanoseconds;
        properties_.has_start = true;
        properties_.times = QOR_RECORDING_TIMES_ABSOLUTE;
    }
    void set_times(std::uint32_t times) noexcept { properties_.times = times; }
    void set_places(std::uint32_t places) noexcept { properties_.places = places; }
    void set_end(std::uint32_t end) noexcept { properties_.end = end; }
    void set_announced_packages(std::uint64_t count) noexcept { properties_.announced_packages = count; }

private:
    struct channel {
        std::uint32_t number;
        std::size_t source;
    };

    // Stays as long as the recording.
    const char* keep(std::string_view text) { return texts_.emplace_back(text).c_str(); }

    std::deque<std::string> texts_;
    std::deque<qor_recorded_source_t> sources_;
    std::vector<channel> channels_;
    std::vector<qor_other_records_t> other_records_;
    qor_recording_properties_t properties_{"",
                                           "",
                                           0,
                                           QOR_RECORDING_UNCOUNTED,
                                           QOR_RECORDING_TIMES_RELATIVE,
                                           QOR_RECORDING_END_UNKNOWN,
                                           0,
                                           QOR_RECORDING_PLACES_BYTES,
                                           false};
};

// A plug-in of these formats; see QOR_RECORDING_READER.
template<typename... Recordings>
class recording_reader {
public:
    explicit recording_reader(qor_service_locator_t*) {
        services_.offer(qor_recording_format_support_t{[](void*) { return sizeof...(Recordings); },
                                                       slot<&recording_reader::get_format>,
                                                       slot<&recording_reader::recognise>});
        services_.offer(qor_recording_reader_support_t{
            slot<&recording_reader::open>, [](void*, void* opened) { delete static_cast<open_recording*>(opened); },
            slot<&recording_reader::next_batch>, slot<&recording_reader::get_sources>,
            slot<&recording_reader::get_properties>, slot<&recording_reader::get_other_records>});
        services_.offer(
            qor_recording_filter_support_t{slot<&recording_reader::set_filter>, slot<&recording_reader::get_excluded>});
        services_.offer(qor_recording_split_support_t{
            slot<&recording_reader::begin_split>, slot<&recording_reader::find_end>, slot<&recording_reader::open_part>,
            slot<&recording_reader::set_chunk>, slot<&recording_reader::get_extent>});
    }

    service_table& services() noexcept { return services_; }

    void get_format(std::size_t index, qor_recording_format_t* format) {
        check_argument(format, "format");
        *format = *formats[checked(index)];
    }

    void recognise(std::size_t index, const std::uint8_t* data, std::size_t size, bool is_whole,
                   std::int32_t* certainty) {
        check_argument(certainty, "certainty");
        *certainty = recognisers[checked(index)]({data, size}, is_whole);
    }

    void open(std::size_t format, const qor_recording_stream_t* stream, const char* options, void** opened) {
        check_argument(stream, "stream");
        check_argument(opened, "recording");
        auto made = std::make_unique<open_recording>();
        made->content =
            openers[checked(format)](recording_input(*stream), options != nullptr ? options : std::string_view());
        *opened = made.release();
    }

    void next_batch(void* opened, std::size_t most, qor_recording_batch_t* batch) {
        check_argument(opened, "recording");
        check_argument(batch, "batch");
        auto& recording = *static_cast<open_recording*>(opened);
        recording.builder.begin(most);
        recording.has_more = recording.has_more && recording.content->read(recording.builder);
        *batch = recording.builder.batch(!recording.has_more);
    }

    void get_sources(void* opened, const qor_recorded_source_t** sources, std::size_t* count) {
        check_argument(opened, "recording");
        check_argument(sources, "sources");
        check_argument(count, "count");
        auto& recording = *static_cast<open_recording*>(opened);
        const auto& all = recording.content->sources();
        recording.sources.assign(all.begin(), all.end());
        *sources = recording.sources.data();
        *count = recording.sources.size();
    }

    void get_properties(void* opened, qor_recording_properties_t* properties) {
        check_argument(opened, "recording");
        check_argument(properties, "properties");
        *properties = static_cast<open_recording*>(opened)->content->properties();
    }

    void get_other_records(void* opened, const qor_other_records_t** records, std::size_t* count) {
        check_argument(opened, "recording");
        check_argument(records, "records");
        check_argument(count, "count");
        const auto& all = static_cast<open_recording*>(opened)->content->other_records();
        *records = all.data();
        *count = all.size();
    }

    void set_filter(void* opened, std::size_t source, const char* expression) {
        content_of(opened).set_filter(source, expression != nullptr ? std::optional<std::string_view>(expression)
                                                                    : std::nullopt);
    }

    void get_excluded(void* opened, const qor_excluded_packages_t** excluded, std::size_t* count) {
        check_argument(excluded, "excluded");
        check_argument(count, "count");
        const auto all = content_of(opened).excluded();
        *excluded = all.data();
        *count = all.size();
    }

    void begin_split(void* opened, bool* can_split, const std::uint8_t** rest, std::size_t* rest_size) {
        check_argument(can_split, "can_split");
        check_argument(rest, "rest");
        check_argument(rest_size, "rest_size");
        std::span<const std::uint8_t> unread;
        *can_split = content_of(opened).begin_split(unread);
        *rest = unread.data();
        *rest_size = unread.size();
    }

    void find_end(void* opened, const std::uint8_t* data, std::size_t size, std::size_t* whole) {
        check_argument(whole, "whole");
        *whole = content_of(opened).find_end({data, size});
    }

    void open_part(void* opened, void** part) {
        check_argument(part, "part");
        auto made = std::make_unique<open_recording>();
        made->content = content_of(opened).make_part();
        if (made->content == nullptr) {
            throw std::runtime_error("the recording cannot be split");
        }
        made->has_more = false;
        *part = made.release();
    }

    void set_chunk(void* opened, const std::uint8_t* data, std::size_t size) {
        content_of(opened).set_chunk({data, size});
        static_cast<open_recording*>(opened)->has_more = true;
    }

    void get_extent(void* opened, std::uint64_t* extent) {
        check_argument(extent, "extent");
        *extent = content_of(opened).extent();
    }

private:
    struct open_recording {
        std::unique_ptr<recording> content;
        batch_builder builder;
        std::vector<qor_recorded_source_t> sources;
        bool has_more = true;
    };

    static recording& content_of(void* opened) {
        check_argument(opened, "recording");
        return *static_cast<open_recording*>(opened)->content;
    }

    static std::size_t checked(std::size_t index) {
        if (index >= sizeof...(Recordings)) {
            throw std::invalid_argument("there is no format " + std::to_string(index));
        }
        return index;
    }

    template<typename Recording>
    static std::unique_ptr<recording> open_format(recording_input input, std::string_view options) {
        if constexpr (std::is_constructible_v<Recording, recording_input, std::string_view>) {
            return std::make_unique<Recording>(input, options);
        } else if (options.empty()) {
            return std::make_unique<Recording>(input);
        } else {
            throw std::invalid_argument(std::string("the format ") + Recording::format.name + " has no options");
        }
    }

    static constexpr std::array<const qor_recording_format_t*, sizeof...(Recordings)> formats{&Recordings::format...};
    static constexpr std::array<std::int32_t (*)(std::span<const std::uint8_t>, bool), sizeof...(Recordings)>
        recognisers{&Recordings::recognise...};
    static constexpr std::array<std::unique_ptr<recording> (*)(recording_input, std::string_view),
                                sizeof...(Recordings)>
        openers{open_format<Recordings>...};

    service_table services_;
};

} // namespace qor::sdk

// A macro, since it defines symbols of given names.
#define QOR_RECORDING_READER(...)                                                                                      \
    using qor_recording_reader_of_this_library = qor::sdk::recording_reader<__VA_ARGS__>;                              \
    QOR_LIBRARY_METADATA("recording-reader")                                                                           \
    QOR_PLUGIN_ENTRIES(recording_reader, qor_recording_reader_of_this_library)

#endif
