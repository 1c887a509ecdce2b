// Any bytes as sentences, or with an odd first byte as what stands between '$' and '*' on each line, since a fuzzer
// hardly ever guesses checksums: nothing crashes, every piece is counted once, the values stay within their bounds, and
// the state does not depend on how the text is cut into packages at line ends.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "plugins/nmea_processor/receiver.hpp"

namespace {

using namespace nmea_processor;

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

std::uint64_t integer_at(const image& values, std::size_t place, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value |= std::uint64_t{values.bytes()[place + index]} << (8 * index);
    }
    return value;
}

// True for NaN.
bool is_within(const image& values, member<double> member, double minimum, double maximum) {
    const auto value = std::bit_cast<double>(integer_at(values, member.place, sizeof(double)));
    return !(value < minimum || value > maximum);
}

void check(const image& values) {
    for (const byte_range& update : values.updates()) {
        require(update.begin < update.end && update.end <= image_size);
    }
    require(is_within(values, latitude, -90, 90) && is_within(values, longitude, -180, 180));
    require(is_within(values, course, 0, 360) && is_within(values, second, 0, 61));
    require(integer_at(values, month.place, 1) <= 12 && integer_at(values, day.place, 1) <= 31);
    require(integer_at(values, hour.place, 1) <= 23 && integer_at(values, minute.place, 1) <= 59);
    const std::uint64_t in_view = integer_at(values, satellites_in_view.place, 1);
    require(in_view <= satellite_capacity);
    const auto elements = values.bytes().subspan(satellite_object.begin, satellite_object.size());
    const auto rest = elements.subspan(in_view * satellite_object.element_size);
    require(std::all_of(rest.begin(), rest.end(), [](std::uint8_t byte) { return byte == 0; }));
}

void take_all(receiver& receiver, std::string_view text) {
    sentence_scanner scanner(text);
    for (std::string_view piece; scanner.next(piece);) {
        const auto counted = [&] {
            return integer_at(receiver.values(), sentence_count.place, 8) +
                   integer_at(receiver.values(), broken_count.place, 8);
        };
        const std::uint64_t before = counted();
        require(!piece.empty());
        receiver.take(piece);
        require(counted() == before + 1);
        check(receiver.values());
    }
}

std::string with_checksums(std::string_view text) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string sealed;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        const std::string_view body = text.substr(0, text[end - 1] == '\n' ? end - 1 : end);
        unsigned sum = 0;
        for (const char character : body) {
            sum ^= static_cast<unsigned char>(character);
        }
        sealed += '$';
        sealed += body;
        sealed += '*';
        sealed += digits[sum >> 4u];
        sealed += digits[sum & 15u];
        sealed += '\n';
        text.remove_prefix(end);
    }
    return sealed;
}

void check_text(std::string_view text) {
    receiver whole;
    take_all(whole, text);
    receiver by_lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        take_all(by_lines, text.substr(0, end));
        text.remove_prefix(end);
    }
    const auto left = whole.values().bytes();
    const auto right = by_lines.values().bytes();
    require(std::equal(left.begin(), left.end(), right.begin(), right.end()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    if (size != 0 && data[0] % 2 == 1) {
        check_text(with_checksums(text.substr(1)));
    } else {
        check_text(text);
    }
    return 0;
}
