// Packages of one source that is not a CAN channel, whatever their format: of a satellite receiver, which a processor
// plug-in reads, of a control unit's memory, or of a format that only plug-ins know.
#ifndef TOOLS_TAVI_DECODE_SOURCE_DECODER_HPP
#define TOOLS_TAVI_DECODE_SOURCE_DECODER_HPP

#include <cstdint>
#include <string>
#include <string_view>

#include "tavi/package_builder.hpp"
#include "tavi/recording.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/log_sources.hpp"
#include "tools/tavi/decode/object_decoder.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// Thread: one at a time.
class source_decoder {
public:
    // number       of the source in the recording
    // source_name  the name that rows have
    // All others must outlive the decoder. Makes the source known to the catalogue unless it has a source id of its
    // own: then catalogue::load_source did. Throws: host::error.
    source_decoder(const decode_options& options, const log_source& source, std::size_t number,
                   const std::string& source_name, catalogue& catalogue, selection& selection, row_writer& rows,
                   message_sink& messages, frame_counts& totals);

    // Writes the rows of a package. Throws: command_error in a strict run for what is damaged or too short; host::error
    // when a plug-in fails.
    void decode(const qor_recorded_package_t& package, std::string_view time, host::recording_place counts);

private:
    void check_refusal(const qor_recorded_package_t& package, host::recording_place counts);
    void note_absent_objects(const qor_recorded_package_t& package);
    void report_short(const qor_recorded_package_t& package, host::recording_place counts, const message& object,
                      std::size_t size, std::size_t whole_size, std::size_t lost);
    void count(std::uint64_t values);

    const decode_options& options_;
    const std::string log_;
    const std::uint32_t kind_;
    message_sink& messages_;
    frame_counts& totals_;
    object_decoder decoder_;
    host::package_builder package_;
    // The subscription whose records show that a processor refused a sentence; 0 for none.
    std::uint64_t refusals_ = 0;
};

} // namespace tavi::tool

#endif
