#include "tools/tavi/check/read_through.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace tavi::tool {

namespace {

// The stream of a recording in memory.
class memory_stream {
public:
    memory_stream(std::string_view bytes, const reading_manner& manner)
        : bytes_(bytes),
          manner_(manner), stream_{read, manner.can_seek ? seek : nullptr, manner.can_seek ? get_size : nullptr, this} {
    }
    memory_stream(const memory_stream&) = delete;
    memory_stream& operator=(const memory_stream&) = delete;

    const qor_recording_stream_t* table() const noexcept { return &stream_; }

private:
    static std::uint32_t read(void* context, void* buffer, std::size_t room, std::size_t* count,
                              qor_error_details_t** error) {
        auto& self = *static_cast<memory_stream*>(context);
        if (self.manner_.fails) {
            return qor_error_details_create(error, QOR_STATUS_FAILURE, "the stream cannot be read");
        }
        *count = std::min({room, self.manner_.block_size, self.bytes_.size() - self.at_});
        if (*count != 0) {
            std::memcpy(buffer, self.bytes_.data() + self.at_, *count);
        }
        self.at_ += *count;
        return QOR_STATUS_OK;
    }
    static std::uint32_t seek(void* context, std::uint64_t offset, qor_error_details_t**) {
        auto& self = *static_cast<memory_stream*>(context);
        self.at_ = static_cast<std::size_t>(std::min<std::uint64_t>(offset, self.bytes_.size()));
        return QOR_STATUS_OK;
    }
    static std::uint32_t get_size(void* context, std::uint64_t* size, qor_error_details_t**) {
        *size = static_cast<memory_stream*>(context)->bytes_.size();
        return QOR_STATUS_OK;
    }

    std::string_view bytes_;
    reading_manner manner_;
    std::size_t at_ = 0;
    qor_recording_stream_t stream_;
};

// Two hashes of 64 bits (FNV-1a, two starts) of all that is added.
class content_digest {
public:
    void add(const void* data, std::size_t size) noexcept {
        const auto* const bytes = static_cast<const unsigned char*>(data);
        for (std::size_t index = 0; index < size; ++index) {
            first_ = (first_ ^ bytes[index]) * prime;
            second_ = (second_ ^ bytes[index]) * prime;
        }
    }
    void add(std::uint64_t number) noexcept { add(&number, sizeof number); }
    void add(std::string_view text) noexcept {
        add(static_cast<std::uint64_t>(text.size()));
        add(text.data(), text.size());
    }

    std::string text() const { return std::to_string(first_) + ' ' + std::to_string(second_); }

private:
    static constexpr std::uint64_t prime = 1099511628211;
    std::uint64_t first_ = 14695981039346656037U;
    std::uint64_t second_ = 2;
};

void demand(bool good, const char* fault) {
    if (!good) {
        throw std::runtime_error(fault);
    }
}

class open_recording {
public:
    open_recording(const qor_recording_reader_support_t& reader, void* instance, void* recording)
        : reader_(reader), instance_(instance), recording_(recording) {}
    open_recording(const open_recording&) = delete;
    open_recording& operator=(const open_recording&) = delete;
    ~open_recording() { reader_.close(instance_, recording_); }

    // Details, or null.
    qor_error_details_t* read(std::size_t most, recording_content& content) {
        for (bool is_last = false; !is_last;) {
            qor_recording_batch_t batch{};
            qor_error_details_t* details = nullptr;
            reader_.next_batch(instance_, recording_, most, &batch, &details);
            if (details != nullptr) {
                return details;
            }
            is_last = batch.is_last;
            take_sources();
            take(batch, most, content);
        }
        qor_recording_batch_t batch{};
        qor_error_details_t* details = nullptr;
        reader_.next_batch(instance_, recording_, most, &batch, &details);
        qor::rethrow_details(details);
        demand(batch.is_last && batch.package_count == 0 && batch.fault_count == 0,
               "the batch after the last one is not an empty last one");
        take_end();
        content.digest = digest_.text() + ' ' + source_digest_.text();
        return nullptr;
    }

private:
    void take(const qor_recording_batch_t& batch, std::size_t most, recording_content& content) {
        demand(batch.package_count <= most, "a batch has more packages than the host takes");
        demand(batch.package_count == 0 || batch.packages != nullptr, "a batch has packages at a null pointer");
        demand(batch.fault_count == 0 || batch.faults != nullptr, "a batch has faults at a null pointer");
        std::size_t fault = 0;
        for (std::size_t index = 0; index <= batch.package_count; ++index) {
            for (; fault < batch.fault_count && batch.faults[fault].package == index; ++fault) {
                take(batch.faults[fault]);
            }
            if (index < batch.package_count) {
                take(batch.packages[index]);
            }
        }
        demand(fault == batch.fault_count, "the faults of a batch are not in the order of its packages");
        content.packages += batch.package_count;
        content.faults += batch.fault_count;
    }

    void take(const qor_recorded_package_t& package) {
        demand(package.source < source_count_, "a package has a source that get_sources does not have");
        demand(package.payload != nullptr || package.payload_size == 0, "a package has its payload at a null pointer");
        demand(package.text != nullptr || package.text_size == 0, "a package has its text at a null pointer");
        demand(package.time_text != nullptr || package.time_text_size == 0,
               "a package has the text of its time at a null pointer");
        demand(package.time_decimals <= 9 || package.time_decimals == QOR_RECORDED_WITHOUT_TIME,
               "a package has more than nine decimals of the second");
        digest_.add(static_cast<std::uint64_t>(package.time));
        digest_.add(package.address);
        digest_.add({reinterpret_cast<const char*>(package.payload), static_cast<std::size_t>(package.payload_size)});
        digest_.add(package.place);
        digest_.add(std::string_view(package.text, package.text_size));
        digest_.add(std::string_view(package.time_text, package.time_text_size));
        digest_.add(package.source);
        digest_.add(package.flags);
        digest_.add(package.time_decimals);
    }

    void take(const qor_recording_fault_t& fault) {
        demand(fault.cause != nullptr && *fault.cause != '\0', "a fault has no cause");
        demand(fault.hint != nullptr, "a fault has its hint at a null pointer");
        demand(fault.text != nullptr || fault.text_size == 0, "a fault has its text at a null pointer");
        demand(fault.text == nullptr || fault.column <= fault.text_size + 1, "a fault has its column beyond its text");
        digest_.add(fault.place);
        digest_.add(fault.column);
        digest_.add(std::string_view(fault.text, fault.text_size));
        digest_.add(std::string_view(fault.cause));
        digest_.add(std::string_view(fault.hint));
    }

    void take_sources() {
        const qor_recorded_source_t* sources = nullptr;
        std::size_t count = 0;
        qor_error_details_t* details = nullptr;
        reader_.get_sources(instance_, recording_, &sources, &count, &details);
        qor::rethrow_details(details);
        demand(count >= source_count_, "a source was taken back");
        demand(count == 0 || sources != nullptr, "there are sources at a null pointer");
        for (std::size_t index = 0; index < count; ++index) {
            const qor_recorded_source_t& source = sources[index];
            demand(source.name != nullptr && *source.name != '\0', "a source has no name");
            demand(source.package_format != nullptr && *source.package_format != '\0',
                   "a source has no package format");
            demand(source.kind <= QOR_RECORDED_MEMORY, "a source has a kind that the header does not have");
            if (index >= source_count_) {
                source_digest_.add(std::string_view(source.name));
                source_digest_.add(std::string_view(source.package_format));
                source_digest_.add(std::uint64_t{source.kind} << 16 | source.source_id);
            }
        }
        source_count_ = count;
    }

    void take_end() {
        qor_recording_properties_t properties{};
        qor_error_details_t* details = nullptr;
        reader_.get_properties(instance_, recording_, &properties, &details);
        qor::rethrow_details(details);
        demand(properties.version != nullptr && properties.producer != nullptr,
               "version or producer is at a null pointer");
        demand(properties.times <= QOR_RECORDING_TIMES_NONE, "the properties have unknown kinds of times");
        demand(properties.places <= QOR_RECORDING_PLACES_LINES, "the properties have an unknown kind of places");
        demand(properties.end <= QOR_RECORDING_END_CONTRADICTED, "the properties have an unknown kind of end");
        digest_.add(std::string_view(properties.version));
        digest_.add(std::string_view(properties.producer));
        digest_.add(properties.has_start ? static_cast<std::uint64_t>(properties.start) : 0);
        digest_.add(properties.announced_packages);
        digest_.add(properties.times);
        digest_.add(properties.end);
        digest_.add(properties.places);
        const qor_other_records_t* others = nullptr;
        std::size_t count = 0;
        reader_.get_other_records(instance_, recording_, &others, &count, &details);
        qor::rethrow_details(details);
        demand(count == 0 || others != nullptr, "there are other records at a null pointer");
        for (std::size_t index = 0; index < count; ++index) {
            demand(others[index].kind != nullptr && *others[index].kind != '\0', "other records have no kind");
            digest_.add(std::string_view(others[index].kind));
            digest_.add(others[index].count);
        }
    }

    const qor_recording_reader_support_t& reader_;
    void* instance_;
    void* recording_;
    std::size_t source_count_ = 0;
    content_digest digest_;
    content_digest source_digest_; // apart, since batches of other sizes have them at other times
};

// Takes the text of details and destroys them.
std::string text_of(qor_error_details_t* details) {
    try {
        qor::rethrow_details(details);
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

} // namespace

std::optional<recording_content> read_through(const qor_recording_reader_support_t& reader, void* instance,
                                              std::size_t format, std::string_view bytes, const reading_manner& manner,
                                              std::string& refusal, const char* options) {
    memory_stream stream(bytes, manner);
    void* recording = nullptr;
    qor_error_details_t* details = nullptr;
    reader.open(instance, format, stream.table(), options, &recording, &details);
    if (details != nullptr) {
        refusal = text_of(details);
        return std::nullopt;
    }
    demand(recording != nullptr, "open gave neither a recording nor a failure");
    recording_content content;
    open_recording opened(reader, instance, recording);
    if (qor_error_details_t* const failure = opened.read(manner.most, content)) {
        refusal = text_of(failure);
        return std::nullopt;
    }
    return content;
}

} // namespace tavi::tool
