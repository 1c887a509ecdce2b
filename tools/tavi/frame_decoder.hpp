// From the frames of a log to rows of values: one package, one call of the extractor, one record a message.
#ifndef TOOLS_TAVI_FRAME_DECODER_HPP
#define TOOLS_TAVI_FRAME_DECODER_HPP

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/candump_reader.hpp"
#include "host/package_builder.hpp"
#include "host/record_list.hpp"
#include "tools/tavi/account.hpp"
#include "tools/tavi/catalogue.hpp"
#include "tools/tavi/diagnostics.hpp"
#include "tools/tavi/interface_routes.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/row_writer.hpp"
#include "tools/tavi/selection.hpp"

namespace tavi::tool {

// Thread: one at a time.
class frame_decoder {
public:
    // All of them must outlive the decoder; `totals` is counted up.
    frame_decoder(const decode_options& options, catalogue& catalogue, selection& selection, row_writer& rows,
                  diagnostics& messages, account& totals);

    // The frame that `reader` gave last. An interface that comes for the first time is made known first.
    // Throws: command_error, in a strict run for a frame that is too short, else when a plug-in fails.
    void decode(const host::candump_reader& reader, const host::candump_frame& frame);

private:
    interface_routes& routes_of(const host::candump_reader& reader, std::size_t channel);
    interface_routes& add_interface(const std::string& name);
    void prepare(interface_routes& interface, route& frames);
    void subscribe(const interface_routes& interface, target& wanted);
    bool write_values(const host::candump_reader& reader, const host::candump_frame& frame, const target& wanted,
                      const qor_dynamic_data_t& record);
    void report_short(const host::candump_reader& reader, const host::candump_frame& frame, const target& wanted,
                      std::size_t lost);

    const decode_options& options_;
    catalogue& catalogue_;
    selection& selection_;
    row_writer& rows_;
    diagnostics& messages_;
    account& totals_;
    std::vector<std::unique_ptr<interface_routes>> interfaces_;
    std::set<std::string> source_names_;
    host::can_package package_;
    host::record_list records_;
    std::vector<host::reading> readings_;
};

} // namespace tavi::tool

#endif
