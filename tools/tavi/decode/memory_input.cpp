#include "tools/tavi/decode/memory_input.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <string_view>

#include "tavi/package_builder.hpp"
#include "tools/tavi/decode/object_decoder.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t header_size = 16; // address, cycle, zero
constexpr std::size_t block_size = 65536;

bool read_number(std::string_view text, std::uint64_t& number) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(hexadecimal ? 2 : 0);
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
    return failure == std::errc() && stop == end;
}

[[noreturn]] void refuse_size(const account& totals) {
    throw command_error(printable(totals.log) + ": error: the memory image is larger than 1 GiB", exit_code::failed,
                        "decode parts of it, each with its own address");
}

// Fills the payload behind the header; gives how many bytes. Nothing is read of a file that is too large, and of a pipe
// no more than the limit.
std::size_t read_image(qor::platform::input_stream& input, host::package_builder& package, std::uint64_t largest,
                       const account& totals) {
    const std::uint64_t expected = input.size().value_or(0);
    if (expected > largest) {
        refuse_size(totals);
    }
    const std::size_t most = header_size + static_cast<std::size_t>(largest) + 1;
    std::span<std::uint8_t> payload = package.extend_payload(header_size + static_cast<std::size_t>(expected) + 1);
    for (std::size_t used = header_size;;) {
        if (used == payload.size()) {
            payload = package.extend_payload(std::min(most, std::max(2 * used, used + block_size)));
        }
        const std::size_t count = input.read(reinterpret_cast<char*>(payload.data()) + used, payload.size() - used);
        used += count;
        if (used == most) {
            refuse_size(totals);
        }
        if (count == 0) {
            package.extend_payload(used);
            return used - header_size;
        }
    }
}

void store_little_endian(std::span<std::uint8_t> target, std::uint64_t value) {
    for (std::uint8_t& byte : target) {
        byte = static_cast<std::uint8_t>(value);
        value >>= 8;
    }
}

std::string range_text(const memory_place& place, std::size_t size) {
    char text[96];
    std::snprintf(text, sizeof text, "the %zu bytes from 0x%llX in cycle %u", size,
                  static_cast<unsigned long long>(place.address), place.cycle);
    return text;
}

void count_values(account& totals, std::uint64_t values) {
    totals.values = values;
    ++(values != 0 ? totals.matched : totals.without_values);
}

} // namespace

memory_place parse_memory_place(const std::string& text) {
    memory_place place;
    bool has_address = false;
    bool has_cycle = false;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view part = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        const std::string_view key = part.substr(0, part.find('='));
        std::uint64_t number = 0;
        const bool known = key == "address" || key == "cycle";
        const bool repeated = key == "address" ? has_address : has_cycle;
        if (!known || repeated || key.size() == part.size() || !read_number(part.substr(key.size() + 1), number) ||
            (key == "cycle" && number > std::numeric_limits<std::uint32_t>::max())) {
            throw command_error("tavi: error: invalid --memory: '" + printable(part) + "'", exit_code::usage,
                                "expected address=0x20000000 or address=0x20000000,cycle=5");
        }
        (key == "address" ? has_address : has_cycle) = true;
        key == "address" ? place.address = number : place.cycle = static_cast<std::uint32_t>(number);
    }
    if (!has_address) {
        throw command_error("tavi: error: --memory needs an address", exit_code::usage,
                            "for example address=0x20000000");
    }
    return place;
}

void decode_memory(const decode_options& options, qor::platform::input_stream& input, catalogue& catalogue,
                   selection& selection, row_writer& rows, diagnostics& messages, account& totals) {
    const memory_place place = parse_memory_place(options.memory);
    host::package_builder package;
    package.set_source(catalogue::interface_source_id, 0);
    package.set_format("memory");
    const std::size_t image_size = read_image(input, package, options.largest_image, totals);
    if (image_size != 0 && image_size - 1 > std::numeric_limits<std::uint64_t>::max() - place.address) {
        throw command_error("tavi: error: " + range_text(place, image_size) + " end after the last address");
    }
    catalogue.register_interface(0, memory_source_name, memory_source_name);
    object_decoder decoder(catalogue::interface_source_id, 0, memory_source_name, catalogue, selection, rows, messages);

    const std::span<std::uint8_t> payload = package.extend_payload(header_size + image_size);
    store_little_endian(payload.first(8), place.address);
    store_little_endian(payload.subspan(8, 8), place.cycle);

    const std::uint64_t values = decoder.decode(
        package, {}, [&](const message& object, std::size_t size, std::size_t whole_size, std::size_t lost) {
            ++totals.short_frames;
            const std::string cause = "the memory image ends within " + object.path + ", after " +
                                      std::to_string(size) + " of " + std::to_string(whole_size) +
                                      " bytes: " + std::to_string(lost) + (lost == 1 ? " value is" : " values are") +
                                      " not in it";
            messages.report({topic::short_frame, totals.log, 0, 0, cause, {}, {}});
            if (options.catalogue.strict) {
                count_values(totals, decoder.written());
                throw command_error("tavi: error: stopped at the first incomplete object (--strict)");
            }
        });
    count_values(totals, values);
    if (decoder.found_count() < decoder.object_count()) {
        messages.print("tavi: note: " + std::to_string(decoder.object_count() - decoder.found_count()) + " of " +
                       std::to_string(decoder.object_count()) + " objects are not in " + range_text(place, image_size) +
                       '\n');
    }
}

} // namespace tavi::tool
