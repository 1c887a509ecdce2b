#include "tools/tavi/nmea_input.hpp"

#include <algorithm>
#include <system_error>
#include <utility>

#include "host/nmea_reader.hpp"
#include "host/package_builder.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/object_decoder.hpp"
#include "tools/tavi/printable.hpp"

namespace tavi::tool {

namespace {

void report_damage(const host::nmea_reader& reader, const decode_options& options, diagnostics& messages,
                   const account& totals) {
    const host::candump_fault& fault = reader.fault();
    messages.report({topic::damaged_line, totals.log, reader.line_number(), fault.column, fault.cause,
                     reader.line_text(), fault.hint});
    if (options.catalogue.strict) {
        throw command_error("tavi: error: stopped at the first damaged line, since the run is strict");
    }
}

void decode_sentence(const host::nmea_sentence& sentence, host::package_builder& package, object_decoder& decoder,
                     catalogue& catalogue, account& totals) {
    const std::span<std::uint8_t> payload = package.resize_payload(sentence.text.size() + 2);
    std::copy(sentence.text.begin(), sentence.text.end(), payload.begin());
    payload[payload.size() - 2] = '\r';
    payload[payload.size() - 1] = '\n';
    if (totals.frames++ == 0 && !catalogue.extractor().has_data_processor(package.package())) {
        throw command_error("tavi: error: no plug-in beside the library reads NMEA sentences", exit_code::plugin_failed,
                            "tavi plugins lists those that are there");
    }
    const std::uint64_t values = decoder.decode(package.package(), sentence.time);
    totals.values += values;
    ++(values != 0 ? totals.matched : totals.without_values);
}

} // namespace

void decode_nmea(const decode_options& options, host::byte_source source, catalogue& catalogue, selection& selection,
                 row_writer& rows, diagnostics& messages, account& totals) {
    host::nmea_reader reader(std::move(source));
    try {
        object_decoder decoder(receiver_source_id, 0, receiver_source_name, catalogue, selection, rows,
                               zero_elements::left_out);
        host::package_builder package;
        package.set_source(receiver_source_id, 0);
        package.set_format("nmea");
        host::nmea_sentence sentence;
        for (auto outcome = reader.next(sentence); outcome != host::nmea_reader::outcome::end;
             outcome = reader.next(sentence)) {
            if (outcome == host::nmea_reader::outcome::sentence) {
                decode_sentence(sentence, package, decoder, catalogue, totals);
            } else {
                report_damage(reader, options, messages, totals);
            }
        }
    } catch (const host::error& error) {
        throw command_error(place_text(totals.log, reader.line_number(), 0) + ": error: " + printable(error.what()),
                            exit_code::plugin_failed);
    } catch (const std::system_error& error) {
        throw command_error(place_text(totals.log, reader.line_number(), 0) +
                            ": error: cannot be read further: " + error.code().message());
    }
}

} // namespace tavi::tool
