#include "tools/tavi/decode/source_decoder.hpp"

#include <cstdio>
#include <limits>
#include <span>

#include "tools/tavi/exit_code.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t memory_header_size = 16; // address, cycle, zero

std::uint64_t load_little_endian(const std::uint8_t* bytes) noexcept {
    std::uint64_t value = 0;
    for (int byte = 7; byte >= 0; --byte) {
        value = value << 8 | bytes[byte];
    }
    return value;
}

// "the 100 bytes from 0x20000000 in cycle 5"
std::string range_text(const qor_recorded_package_t& package) {
    char text[96];
    std::snprintf(text, sizeof text, "the %llu bytes from 0x%llX in cycle %u",
                  static_cast<unsigned long long>(package.payload_size - memory_header_size),
                  static_cast<unsigned long long>(package.address),
                  static_cast<unsigned>(load_little_endian(package.payload + 8)));
    return text;
}

// Registers a source that has no source id of its own; gives the id to use.
std::uint16_t make_known(const log_source& source, std::size_t number, const std::string& source_name,
                         catalogue& catalogue) {
    if (source.source_id != 0) {
        return source.source_id;
    }
    catalogue.register_interface(number, source.name, source_name);
    return catalogue::interface_source_id;
}

std::string_view line_of(const qor_recorded_package_t& package) {
    return package.text != nullptr ? std::string_view(package.text, package.text_size) : std::string_view();
}

} // namespace

source_decoder::source_decoder(const decode_options& options, const log_source& source, std::size_t number,
                               const std::string& source_name, catalogue& catalogue, selection& selection,
                               row_writer& rows, message_sink& messages, frame_counts& totals)
    : options_(options), log_(log_name(options)), kind_(source.kind), messages_(messages), totals_(totals),
      decoder_(make_known(source, number, source_name, catalogue),
               source.source_id != 0 ? 0 : static_cast<std::uint32_t>(number), source.name, source_name, catalogue,
               selection, rows, messages,
               source.kind == QOR_RECORDED_RECEIVER ? zero_elements::left_out : zero_elements::written) {
    package_.set_source(source.source_id, 0);
    package_.set_format(source.package_format);
    if (kind_ != QOR_RECORDED_RECEIVER) {
        return;
    }
    // The processor counts sentences that it cannot read, and gives the count when it changed.
    try {
        refusals_ = catalogue.extractor().subscribe(std::to_string(source.source_id) + "#0.NMEA.Statistics.Broken",
                                                    host::lenient);
    } catch (const host::error&) {
        refusals_ = 0;
    }
}

void source_decoder::decode(const qor_recorded_package_t& package, std::string_view time,
                            host::recording_place counts) {
    const auto report = [&](const message& object, std::size_t size, std::size_t whole_size, std::size_t lost) {
        report_short(package, counts, object, size, whole_size, lost);
    };
    const auto size = static_cast<std::size_t>(package.payload_size);
    if (kind_ == QOR_RECORDED_MEMORY && size >= memory_header_size && size > memory_header_size &&
        size - memory_header_size - 1 > std::numeric_limits<std::uint64_t>::max() - package.address) {
        throw command_error("tavi: error: " + range_text(package) + " end after the last address");
    }
    if (package.headroom >= sizeof(qor_package_t)) {
        package_.build_in_place({const_cast<std::uint8_t*>(package.payload), size});
    } else {
        package_.build({package.payload, size});
    }
    if (kind_ == QOR_RECORDED_RECEIVER) {
        const std::uint64_t values = decoder_.decode(package_, time);
        totals_.values += values;
        // It may have given values of the sentence nevertheless.
        decoder_.served(refusals_) ? check_refusal(package, counts) : count(values);
        return;
    }
    const std::uint64_t values = decoder_.decode(package_, time, report);
    totals_.values += values;
    count(values);
    if (kind_ == QOR_RECORDED_MEMORY) {
        note_absent_objects(package);
    }
}

void source_decoder::count(std::uint64_t values) {
    ++(values != 0 ? totals_.matched : totals_.without_values);
}

void source_decoder::check_refusal(const qor_recorded_package_t& package, host::recording_place counts) {
    messages_.report({topic::damaged_line, log_, package.place, 0, "the processor cannot read the sentence",
                      line_of(package), "a field is missing or has an invalid value, such as minute 60", counts});
    if (options_.catalogue.strict) {
        throw command_error("tavi: error: stopped at the first damaged line (--strict)");
    }
}

void source_decoder::report_short(const qor_recorded_package_t& package, host::recording_place counts,
                                  const message& object, std::size_t size, std::size_t whole_size, std::size_t lost) {
    ++totals_.short_frames;
    const bool is_memory = kind_ == QOR_RECORDED_MEMORY;
    const std::string cause = (is_memory ? "the memory image ends within " : "the package ends within ") + object.path +
                              ", after " + std::to_string(size) + " of " + std::to_string(whole_size) +
                              " bytes: " + std::to_string(lost) + (lost == 1 ? " value is" : " values are") +
                              " not in it";
    messages_.report({topic::short_frame,
                      log_,
                      is_memory ? 0 : package.place,
                      0,
                      cause,
                      line_of(package),
                      {},
                      is_memory ? host::recording_place::line : counts});
    if (options_.catalogue.strict) {
        totals_.values += decoder_.written();
        count(decoder_.written());
        throw command_error(is_memory ? "tavi: error: stopped at the first incomplete object (--strict)"
                                      : "tavi: error: stopped at the first short package (--strict)");
    }
}

void source_decoder::note_absent_objects(const qor_recorded_package_t& package) {
    if (decoder_.found_count() < decoder_.object_count()) {
        messages_.print("tavi: note: " + std::to_string(decoder_.object_count() - decoder_.found_count()) + " of " +
                        std::to_string(decoder_.object_count()) + " objects are not in " + range_text(package) + '\n');
    }
}

} // namespace tavi::tool
