// Any bytes as a log: it gives the same frames and the same damage whether the lines stand in one text, where those of
// a shape that was seen before are taken apart at once, or each comes alone, too short for that. The bytes are read
// twice in a row, so that all shapes were seen, with good lines behind them, since lines near the end come alone.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "plugins/candump_reader/candump_recording.hpp"
#include "qorcpp/can_frame.hpp"

namespace {

using qor::candump::candump_recording;

// All that a recording gives, in text.
class history {
public:
    void read_all(candump_recording& recording, std::uint64_t lines_before) {
        qor::sdk::batch_builder builder;
        for (bool has_more = true; has_more;) {
            builder.begin(1000);
            has_more = recording.read(builder);
            const qor_recording_batch_t batch = builder.batch(!has_more);
            std::size_t fault = 0;
            for (std::size_t index = 0; index <= batch.package_count; ++index) {
                for (; fault < batch.fault_count && batch.faults[fault].package == index; ++fault) {
                    add(batch.faults[fault], lines_before);
                }
                if (index < batch.package_count) {
                    add(batch.packages[index], recording, lines_before);
                }
            }
        }
    }

    const std::string& text() const noexcept { return text_; }

private:
    void add(const qor_recording_fault_t& fault, std::uint64_t lines_before) {
        text_ += std::to_string(lines_before + fault.place) + " '" + std::string(fault.text, fault.text_size) +
                 "' damaged at " + std::to_string(fault.column) + ": " + fault.cause + " / " + fault.hint +
                 (fault.flags != 0 ? " (no end)\n" : "\n");
    }

    void add(const qor_recorded_package_t& package, const candump_recording& recording, std::uint64_t lines_before) {
        text_ += std::to_string(lines_before + package.place) + " '" + std::string(package.text, package.text_size) +
                 "' at " + std::string(package.time_text, package.time_text_size) + " = " +
                 std::to_string(package.time) + '/' + std::to_string(package.time_decimals) + " on " +
                 recording.sources()[package.source].name + " flags " + std::to_string(package.flags) + ':';
        for (std::size_t at = 0; at < package.payload_size; ++at) {
            text_ += ' ' + std::to_string(package.payload[at]);
        }
        text_ += '\n';
    }

    std::string text_;
};

std::string read_whole(std::string_view text, std::size_t block_size) {
    const qor_recording_stream_t stream{
        [](void* context, void* buffer, std::size_t room, std::size_t* count, qor_error_details_t**) {
            auto& rest = *static_cast<std::string_view*>(context);
            *count = rest.copy(static_cast<char*>(buffer), room);
            rest.remove_prefix(*count);
            return std::uint32_t{0};
        },
        nullptr, nullptr, &text};
    candump_recording recording(qor::sdk::recording_input{stream}, block_size);
    history read;
    read.read_all(recording, 0);
    return read.text();
}

std::string read_by_lines(std::string_view text) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    text.remove_prefix(text.starts_with(mark) ? mark.size() : 0);
    candump_recording part;
    history read;
    for (std::uint64_t line = 0; !text.empty(); ++line) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        part.set_chunk({reinterpret_cast<const std::uint8_t*>(text.data()), size});
        read.read_all(part, line);
        text.remove_prefix(size);
    }
    return read.text();
}

void check(std::string_view text) {
    const std::string expected = read_by_lines(text);
    for (const std::size_t block_size : {std::size_t{4096}, candump_recording::default_block_size}) {
        if (const std::string told = read_whole(text, block_size); told != expected) {
            std::fprintf(stderr, "by lines:\n%s\nby blocks of %zu:\n%s\n", expected.c_str(), block_size, told.c_str());
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t shorter_than_a_block = 4000;
    if (size > shorter_than_a_block) {
        return 0;
    }
    std::string text(reinterpret_cast<const char*>(data), size);
    check(text);
    text += '\n';
    text += text;
    for (int line = 0; line < 20; ++line) {
        text += "(1436509052.249713) can0 0C0#1122334455667788\n";
    }
    check(text);
    return 0;
}
