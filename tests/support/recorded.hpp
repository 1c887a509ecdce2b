// What a recording reader makes of bytes, as text: a line for each package and fault, then what is known at the end.
#ifndef TESTS_SUPPORT_RECORDED_HPP
#define TESTS_SUPPORT_RECORDED_HPP

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/can_frame.hpp"
#include "tests/support/loaded_plugin.hpp"

namespace tavi::test {

// The stream of a recording in memory. `piece`: bytes that one read gives at most; without `can_seek` it is a pipe.
class memory_stream {
public:
    explicit memory_stream(std::string_view bytes, std::size_t piece = SIZE_MAX, bool can_seek = true)
        : bytes_(bytes), piece_(piece), stream_{read, can_seek ? seek : nullptr, can_seek ? get_size : nullptr, this} {}
    memory_stream(const memory_stream&) = delete;
    memory_stream& operator=(const memory_stream&) = delete;

    const qor_recording_stream_t* stream() const noexcept { return &stream_; }
    std::uint64_t reads() const noexcept { return reads_; }

private:
    static std::uint32_t read(void* context, void* buffer, std::size_t room, std::size_t* count,
                              qor_error_details_t**) {
        auto& self = *static_cast<memory_stream*>(context);
        ++self.reads_;
        *count = std::min({room, self.piece_, self.bytes_.size() - self.at_});
        std::memcpy(buffer, self.bytes_.data() + self.at_, *count);
        self.at_ += *count;
        return 0;
    }
    static std::uint32_t seek(void* context, std::uint64_t offset, qor_error_details_t**) {
        auto& self = *static_cast<memory_stream*>(context);
        self.at_ = static_cast<std::size_t>(std::min<std::uint64_t>(offset, self.bytes_.size()));
        return 0;
    }
    static std::uint32_t get_size(void* context, std::uint64_t* size, qor_error_details_t**) {
        *size = static_cast<memory_stream*>(context)->bytes_.size();
        return 0;
    }

    std::string_view bytes_;
    std::size_t piece_;
    std::size_t at_ = 0;
    std::uint64_t reads_ = 0;
    qor_recording_stream_t stream_;
};

// How a recording is to be read.
struct reading_manner {
    std::size_t most = 1000;
    std::size_t piece = SIZE_MAX;
    bool can_seek = true;
    const char* options = nullptr;
};

// A plug-in whose formats are read by tests. Throws: std::exception with the plug-in's text.
class reader_plugin {
public:
    explicit reader_plugin(const std::string& library, const std::string& folder = library_folder)
        : plugin_(library, "recording-reader", nullptr, folder),
          formats_(plugin_.table<qor_recording_format_support_t>()),
          reader_(plugin_.table<qor_recording_reader_support_t>()) {}

    // "" when no format takes it, else the surest; the others after it when several do: "asc candump".
    std::string recognised(std::string_view beginning, bool is_whole = true) const {
        std::vector<std::pair<std::int32_t, std::string>> found;
        for (std::size_t index = 0; index < formats_.get_format_count(plugin_.instance()); ++index) {
            const std::int32_t certainty = this->certainty(index, beginning, is_whole);
            if (certainty > 0) {
                found.emplace_back(-certainty, format_name(index));
            }
        }
        std::sort(found.begin(), found.end());
        std::string result;
        for (const auto& [certainty, name] : found) {
            result.append(result.empty() ? "" : " ").append(name);
        }
        return result;
    }

    std::int32_t certainty(std::size_t format, std::string_view beginning, bool is_whole) const {
        std::int32_t certainty = 0;
        qor_error_details_t* details = nullptr;
        formats_.recognise(plugin_.instance(), format, reinterpret_cast<const std::uint8_t*>(beginning.data()),
                           beginning.size(), is_whole, &certainty, &details);
        qor::rethrow_details(details);
        return certainty;
    }

    // Packages of the first batch.
    std::size_t first_batch(const std::string& format, memory_stream& stream) const {
        void* recording = nullptr;
        qor_error_details_t* details = nullptr;
        reader_.open(plugin_.instance(), format_index(format), stream.stream(), nullptr, &recording, &details);
        qor::rethrow_details(details);
        qor_recording_batch_t batch{};
        reader_.next_batch(plugin_.instance(), recording, 1000, &batch, &details);
        const std::size_t count = batch.package_count;
        reader_.close(plugin_.instance(), recording);
        qor::rethrow_details(details);
        return count;
    }

    // The whole recording as text:
    //
    //     12.500000 can1 123#1122              time, source, id#data; other formats 0xADDRESS#payload
    //     12.500000 can1 123#R8 tx             flags: tx, fdN (flags of CAN FD), error, unended
    //     ! 3:7 the time is not a number       place:column and cause of a fault
    //     end: proven, 12 announced, absolute from 1436509052.000000000, version 2.1, producer X
    //     other: 3 comment, 1 LIN frame
    std::string read(const std::string& format, std::string_view bytes, const reading_manner& manner = {}) const {
        memory_stream stream(bytes, manner.piece, manner.can_seek);
        void* recording = nullptr;
        qor_error_details_t* details = nullptr;
        reader_.open(plugin_.instance(), format_index(format), stream.stream(), manner.options, &recording, &details);
        qor::rethrow_details(details);
        std::string text;
        try {
            text = told(recording, manner.most);
        } catch (...) {
            reader_.close(plugin_.instance(), recording);
            throw;
        }
        reader_.close(plugin_.instance(), recording);
        return text;
    }

private:
    std::string format_name(std::size_t index) const {
        qor_recording_format_t format{};
        qor_error_details_t* details = nullptr;
        formats_.get_format(plugin_.instance(), index, &format, &details);
        qor::rethrow_details(details);
        return format.name;
    }

    std::size_t format_index(const std::string& name) const {
        for (std::size_t index = 0; index < formats_.get_format_count(plugin_.instance()); ++index) {
            if (format_name(index) == name) {
                return index;
            }
        }
        throw std::invalid_argument("no format " + name);
    }

    std::string told(void* recording, std::size_t most) const {
        std::string text;
        for (bool is_last = false; !is_last;) {
            qor_recording_batch_t batch{};
            const qor_recorded_source_t* sources = nullptr;
            std::size_t source_count = 0;
            qor_error_details_t* details = nullptr;
            reader_.next_batch(plugin_.instance(), recording, most, &batch, &details);
            qor::rethrow_details(details);
            reader_.get_sources(plugin_.instance(), recording, &sources, &source_count, &details);
            qor::rethrow_details(details);
            if (batch.package_count > most) {
                throw std::runtime_error("a batch of more packages than requested");
            }
            std::size_t fault = 0;
            for (std::size_t index = 0; index <= batch.package_count; ++index) {
                for (; fault < batch.fault_count && batch.faults[fault].package == index; ++fault) {
                    text += fault_text(batch.faults[fault]);
                }
                if (index < batch.package_count) {
                    text += package_text(batch.packages[index], sources[batch.packages[index].source]);
                }
            }
            is_last = batch.is_last;
        }
        return text + end_text(recording);
    }

    static std::string fault_text(const qor_recording_fault_t& fault) {
        std::string text = "! " + std::to_string(fault.place);
        if (fault.column != 0) {
            text += ":" + std::to_string(fault.column);
        }
        return text + " " + fault.cause + "\n";
    }

    static std::string time_text(std::int64_t time, int decimals) {
        if (decimals == QOR_RECORDED_WITHOUT_TIME) {
            return "-";
        }
        char text[40];
        const std::uint64_t size = time < 0 ? 0 - static_cast<std::uint64_t>(time) : static_cast<std::uint64_t>(time);
        std::snprintf(text, sizeof text, "%s%llu.%09llu", time < 0 ? "-" : "",
                      static_cast<unsigned long long>(size / 1000000000),
                      static_cast<unsigned long long>(size % 1000000000));
        const std::string whole = text;
        return whole.substr(0, whole.size() - (decimals == 0 ? 10 : 9 - static_cast<std::size_t>(decimals)));
    }

    static std::string hexadecimal(const std::uint8_t* bytes, std::size_t size) {
        std::string text;
        for (std::size_t index = 0; index < size; ++index) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02X", bytes[index]);
            text += digits;
        }
        return text;
    }

    static std::string package_text(const qor_recorded_package_t& package, const qor_recorded_source_t& source) {
        std::string text = package.time_text != nullptr ? std::string(package.time_text, package.time_text_size)
                                                        : time_text(package.time, package.time_decimals);
        text.append(" ").append(source.name).append(" ");
        qor::can_frame_view frame{};
        char address[32];
        if (std::string_view(source.package_format) == qor::can_format &&
            qor::read_can_frame({package.payload, static_cast<std::size_t>(package.payload_size)}, frame)) {
            if (frame.id != package.address) {
                throw std::runtime_error("address and payload differ in the id");
            }
            std::snprintf(address, sizeof address, (frame.id & qor::can_extended_bit) != 0 ? "%08X" : "%03X",
                          frame.id & qor::can_id_mask);
            text.append(address).append("#");
            text += (frame.id & qor::can_remote_bit) != 0 ? "R" + std::to_string(frame.length)
                                                          : hexadecimal(frame.data.data(), frame.data.size());
            text += frame.flags != 0 ? " fd" + std::to_string(frame.flags) : "";
        } else {
            std::snprintf(address, sizeof address, "0x%llX", static_cast<unsigned long long>(package.address));
            text.append(address).append("#").append(
                hexadecimal(package.payload, static_cast<std::size_t>(package.payload_size)));
        }
        text += (package.flags & QOR_RECORDED_BUS_ERROR) != 0 ? " error" : "";
        text += (package.flags & QOR_RECORDED_TRANSMITTED) != 0 ? " tx" : "";
        text += (package.flags & QOR_RECORDED_UNENDED) != 0 ? " unended" : "";
        return text + "\n";
    }

    std::string end_text(void* recording) const {
        qor_recording_properties_t properties{};
        const qor_other_records_t* others = nullptr;
        std::size_t count = 0;
        qor_error_details_t* details = nullptr;
        reader_.get_properties(plugin_.instance(), recording, &properties, &details);
        qor::rethrow_details(details);
        reader_.get_other_records(plugin_.instance(), recording, &others, &count, &details);
        qor::rethrow_details(details);
        constexpr const char* ends[] = {"unknown", "proven", "contradicted"};
        constexpr const char* times[] = {"absolute", "relative", "no times"};
        std::string text = std::string("end: ") + ends[properties.end];
        if (properties.announced_packages != QOR_RECORDING_UNCOUNTED) {
            text += ", " + std::to_string(properties.announced_packages) + " announced";
        }
        text += std::string(", ") + times[properties.times];
        text += properties.has_start ? " from " + time_text(properties.start, 9) : "";
        text += *properties.version != '\0' ? std::string(", version ") + properties.version : "";
        text += *properties.producer != '\0' ? std::string(", producer ") + properties.producer : "";
        text += "\n";
        for (std::size_t index = 0; index < count; ++index) {
            text += (index == 0 ? "other: " : ", ") + std::to_string(others[index].count) + " " + others[index].kind;
        }
        return text + (count != 0 ? "\n" : "");
    }

    loaded_plugin plugin_;
    const qor_recording_format_support_t& formats_;
    const qor_recording_reader_support_t& reader_;
};

// Every way of reading gives the same text: pieces of one byte, batches of one package, pipes.
// Returns that text. Throws: std::runtime_error with both texts when two differ.
inline std::string read_in_all_manners(const reader_plugin& plugin, const std::string& format, std::string_view bytes) {
    const std::string text = plugin.read(format, bytes);
    for (const reading_manner& manner : {reading_manner{1}, reading_manner{3, 1}, reading_manner{1000, 7, false}}) {
        if (const std::string other = plugin.read(format, bytes, manner); other != text) {
            throw std::runtime_error("read otherwise in pieces: " + other + "\ninstead of " + text);
        }
    }
    return text;
}

} // namespace tavi::test

#endif
