#include "tools/tavi/decode/nmea_input.hpp"

#include <algorithm>
#include <system_error>
#include <utility>

#include "qorcpp/platform/stream.hpp"
#include "tavi/nmea_reader.hpp"
#include "tavi/package_builder.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/decode/object_decoder.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/library_failure.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr char receiver_format[] = "nmea";

// What is known of damage before a processor looks at it, and after.
void report_damage(const host::nmea_reader& reader, const host::candump_fault& fault, const decode_options& options,
                   diagnostics& messages, const account& totals) {
    messages.report({topic::damaged_line, totals.log, reader.line_number(), fault.column, fault.cause,
                     reader.line_text(), fault.hint});
    if (options.catalogue.strict) {
        throw command_error("tavi: error: stopped at the first damaged line (--strict)");
    }
}

const host::candump_fault refused{0, "the processor cannot read the sentence",
                                  "a field is missing or has an invalid value, such as minute 60"};

// The processor counts sentences that it cannot read, and gives the count when it changed: that is a sign of one.
// 0 when the processor has no such count.
std::uint64_t subscribe_to_refusals(catalogue& catalogue) {
    try {
        return catalogue.extractor().subscribe(std::to_string(receiver_source_id) + "#0.NMEA.Statistics.Broken",
                                               host::lenient);
    } catch (const host::error&) {
        return 0;
    }
}

// False when the processor refused it; it may have given values of that nevertheless.
bool decode_sentence(const host::nmea_sentence& sentence, host::package_builder& package, object_decoder& decoder,
                     std::uint64_t refusals, account& totals) {
    const std::span<std::uint8_t> payload = package.resize_payload(sentence.text.size() + 2);
    std::copy(sentence.text.begin(), sentence.text.end(), payload.begin());
    payload[payload.size() - 2] = '\r';
    payload[payload.size() - 1] = '\n';
    const std::uint64_t values = decoder.decode(package, sentence.time);
    totals.values += values;
    if (decoder.served(refusals)) {
        return false;
    }
    ++(values != 0 ? totals.matched : totals.without_values);
    return true;
}

} // namespace

void require_receiver(catalogue& catalogue) {
    host::package_builder package;
    package.set_source(receiver_source_id, 0);
    package.set_format(receiver_format);
    if (!catalogue.extractor().has_data_processor(package.package())) {
        throw missing_format_error(receiver_format);
    }
}

void decode_nmea(const decode_options& options, host::byte_source source, catalogue& catalogue, selection& selection,
                 row_writer& rows, diagnostics& messages, account& totals) {
    host::nmea_reader reader(std::move(source));
    try {
        object_decoder decoder(receiver_source_id, 0, receiver_source_name, catalogue, selection, rows, messages,
                               zero_elements::left_out);
        host::package_builder package;
        package.set_source(receiver_source_id, 0);
        package.set_format(receiver_format);
        const std::uint64_t refusals = subscribe_to_refusals(catalogue);
        host::nmea_sentence sentence;
        for (auto outcome = reader.next(sentence); outcome != host::nmea_reader::outcome::end;
             outcome = reader.next(sentence)) {
            if (!reader.line_has_end() && qor::platform::interrupted()) {
                break; // the part of a line that was read before the interrupt
            }
            if (outcome == host::nmea_reader::outcome::damaged) {
                report_damage(reader, reader.fault(), options, messages, totals);
            } else if (!decode_sentence(sentence, package, decoder, refusals, totals)) {
                report_damage(reader, refused, options, messages, totals);
            }
            totals.comment_lines = reader.comment_lines();
        }
        totals.comment_lines = reader.comment_lines();
    } catch (const host::error& error) {
        throw library_failure(place_text(totals.log, reader.line_number(), 0), error);
    } catch (const std::system_error& error) {
        throw command_error(place_text(totals.log, reader.line_number(), 0) +
                            ": error: cannot be read further: " + error.code().message());
    }
}

} // namespace tavi::tool
