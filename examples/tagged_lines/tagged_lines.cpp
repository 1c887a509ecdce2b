// A recording reader in a page, for a text: packages of format "tagged" (examples/tagged_matcher), one a line after a
// first line that names the format:
//
//     tagged lines 1
//     12.500 box 192 10272A0000000000       seconds, source, tag, bytes in hexadecimal
#include "qor_plugin_sdk/text_recording.hpp"

namespace {

constexpr std::string_view first_line = "tagged lines 1";

class tagged_lines : public qor::sdk::text_recording {
public:
    static constexpr qor_recording_format_t format{"tagged-lines", "tagged packages, one a line", "tagged"};

    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool) {
        return qor::sdk::recognise_signature(beginning, first_line);
    }

    explicit tagged_lines(qor::sdk::recording_input input) : text_recording(input) {}

private:
    void read_line(const qor::sdk::text_line& line, qor::sdk::batch_builder& batch) override {
        if (line.number == 1 && line.text == first_line) {
            return;
        }
        const char* at = line.text.data();
        const char* const end = at + line.text.size();
        qor::sdk::recorded_time time;
        if (!qor::sdk::read_seconds(at, end, time)) {
            return add_fault(batch, line, at, "the time is not SECONDS.FRACTION", "a line is: TIME SOURCE TAG BYTES");
        }
        const std::string_view source = qor::sdk::read_word(at, end);
        std::uint32_t tag = 0;
        const char* const tag_place = qor::sdk::skip_blanks(at, end);
        if (!qor::sdk::read_number(at, end, tag)) {
            return add_fault(batch, line, tag_place, "the tag is not a number of 32 bits", "");
        }
        const char* const bytes_place = qor::sdk::skip_blanks(at, end);
        const std::string_view digits = qor::sdk::read_word(at, end);
        std::uint8_t* payload = nullptr;
        std::vector<std::uint8_t> bytes;
        if (!qor::sdk::read_hexadecimal(digits, bytes) || qor::sdk::skip_blanks(at, end) != end) {
            return add_fault(batch, line, bytes_place, "the bytes are not pairs of hexadecimal digits", "");
        }
        auto& package = batch.add(source_of(source), line.number, 4 + bytes.size(), payload);
        for (int index = 0; index < 4; ++index) {
            payload[index] = static_cast<std::uint8_t>(tag >> 8 * index);
        }
        std::copy(bytes.begin(), bytes.end(), payload + 4);
        package.address = tag;
        package.time = time.nanoseconds;
        package.time_decimals = time.decimals;
        set_line(package, line);
    }

    std::size_t source_of(std::string_view name) {
        for (std::size_t index = 0; index < sources().size(); ++index) {
            if (sources()[index].name == name) {
                return index;
            }
        }
        return add_source(name, "tagged", QOR_RECORDED_OTHER);
    }
};

} // namespace

QOR_RECORDING_READER(tagged_lines)
