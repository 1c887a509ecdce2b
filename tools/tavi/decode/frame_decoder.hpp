// From the frames of a log to rows of values: one package, one call of the extractor, one record a message.
#ifndef TOOLS_TAVI_DECODE_FRAME_DECODER_HPP
#define TOOLS_TAVI_DECODE_FRAME_DECODER_HPP

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tavi/candump_reader.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_list.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/interface_routes.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/decode/unknown_ids.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// Thread: one at a time.
class frame_decoder {
public:
    // Gives the name of an interface by its number.
    using interface_name = std::function<std::string(std::size_t number)>;

    // All of them must outlive the decoder; `totals` is counted up.
    frame_decoder(const decode_options& options, catalogue& catalogue, selection& selection, row_writer& rows,
                  message_sink& messages, frame_counts& totals, interface_name name_of);

    // All frames that the reader gives. Throws: command_error, in a strict run at the first line that is damaged or
    // frame that is too short; host::error when a plug-in fails; what the reader throws.
    void decode_all(host::candump_reader& reader);

    // Ids that no description of their interface has, all of them while `totals` had none that are known.
    const id_counts& unknown_ids() const noexcept { return unknown_ids_; }

private:
    void decode(const host::candump_reader& reader, const host::candump_frame& frame);
    void decode_wanted(const host::candump_reader& reader, const host::candump_frame& frame,
                       interface_routes& interface, route& found);
    void report_damage(const host::candump_reader& reader);
    interface_routes& add_interface(const std::string& name);
    void prepare(interface_routes& interface, route& frames);
    void report_shared_groups(const host::candump_reader& reader, const host::candump_frame& frame,
                              const route& frames);
    void apply_filter(interface_routes& interface);
    void report_unreadable(const message& subscribed, const message_plan& plan);
    void subscribe(const interface_routes& interface, target& wanted);
    bool write_values(const host::candump_reader& reader, const host::candump_frame& frame, const target& wanted,
                      const qor_dynamic_data_t& record);
    void report_short(const host::candump_reader& reader, const host::candump_frame& frame, const target& wanted,
                      std::size_t lost);

    const decode_options& options_;
    const std::string log_;
    catalogue& catalogue_;
    selection& selection_;
    row_writer& rows_;
    message_sink& messages_;
    frame_counts& totals_;
    interface_name name_of_;
    std::vector<std::unique_ptr<interface_routes>> interfaces_;
    std::set<std::string> source_names_;
    // Numbers of messages.
    std::set<std::size_t> told_unreadable_;
    std::set<std::size_t> told_shared_;
    id_counts unknown_ids_;
    host::can_package package_;
    host::record_list records_;
    std::vector<host::reading> readings_;
};

// Throws a failure of decode_all on, as a command_error with the line that was read last where that helps.
[[noreturn]] void rethrow_with_place(const std::exception_ptr& failure, const std::string& log, std::uint64_t line);

} // namespace tavi::tool

#endif
