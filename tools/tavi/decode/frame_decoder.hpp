// From the packages of a recording to rows of values. A CAN frame goes to the messages that have its id: one package,
// one call of the extractor, one record a message. Packages of other sources go to a source_decoder.
#ifndef TOOLS_TAVI_DECODE_FRAME_DECODER_HPP
#define TOOLS_TAVI_DECODE_FRAME_DECODER_HPP

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tavi/package_builder.hpp"
#include "tavi/record_list.hpp"
#include "tavi/recording.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/interface_routes.hpp"
#include "tools/tavi/decode/log_sources.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/decode/source_decoder.hpp"
#include "tools/tavi/decode/unknown_ids.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// Thread: one at a time.
class frame_decoder {
public:
    // The number of a source of the reader among all of the recording; nothing when there are too many.
    using source_number = std::function<std::optional<std::size_t>(const qor_recorded_source_t& source)>;

    // All of them must outlive the decoder; `totals` is counted up.
    frame_decoder(const decode_options& options, catalogue& catalogue, selection& selection, row_writer& rows,
                  message_sink& messages, frame_counts& totals, const log_sources& all, source_number number_of);

    // Takes over the sources that a reader has before its first package, and what its places count. To be called before
    // `decode`. Throws: as decode.
    void begin(host::package_reader& reader);

    // The packages and faults of a batch, which is of that reader: always the same one. Throws: command_error, in a
    // strict run at the first place that is damaged or frame that is too short; host::error when a plug-in fails.
    void decode(host::package_reader& reader, const host::recording_batch& batch);

    // Batches from elsewhere: the sources of which are those of the recording, `counts` says what places are.
    void decode(const host::recording_batch& batch, host::recording_place counts);

    // Counts the packages that the reader's filter excluded since the last time.
    void count_excluded(const host::package_reader& reader);

    // Where the package is that is decoded.
    std::uint64_t place() const noexcept { return place_; }
    host::recording_place counts() const noexcept { return counts_; }

    // Ids that no description of their interface has, all of them while `totals` had none that are known.
    const id_counts& unknown_ids() const noexcept { return unknown_ids_; }

private:
    // By the index that packages have.
    struct reader_source {
        // Beyond the limit of sources: all its packages are damaged.
        bool is_refused = false;
        bool has_frames = false;
        std::size_t number = 0;
        // Of frames, once one with data came.
        interface_routes* routes = nullptr;
    };
    // By the number in the recording.
    struct known_source {
        std::unique_ptr<interface_routes> routes;
        std::unique_ptr<source_decoder> others;
    };

    void decode_all(const host::recording_batch& batch);
    void decode(const qor_recorded_package_t& package);
    void decode_unusual(const qor_recorded_package_t& package, reader_source& source);
    void add_reader_sources(std::size_t index);
    known_source& make_known(std::size_t number);
    void add_routes(std::size_t index);
    void decode_selected(const qor_recorded_package_t& package, interface_routes& interface, route& found);
    bool is_cut(bool is_unended) const noexcept;
    void report_damage(const host::recording_fault& fault);
    void report_refused_source(const qor_recorded_package_t& package);
    void count_unknown(std::uint32_t id, std::uint64_t frames);
    std::string unique_source_name(const std::string& name);
    std::unique_ptr<interface_routes> make_routes(std::size_t number, const std::string& name,
                                                  const std::string& source_name);
    void prepare(interface_routes& interface, route& frames);
    void report_shared_groups(const qor_recorded_package_t& package, const route& frames);
    void apply_filter(interface_routes& interface);
    void report_unreadable(const message& subscribed, const message_plan& plan);
    void subscribe(const interface_routes& interface, target& wanted);
    bool write_values(const qor_recorded_package_t& package, const target& wanted, const qor_dynamic_data_t& record);
    void report_short(const qor_recorded_package_t& package, const target& wanted, std::size_t lost);

    const decode_options& options_;
    const std::string log_;
    catalogue& catalogue_;
    selection& selection_;
    row_writer& rows_;
    message_sink& messages_;
    frame_counts& totals_;
    const log_sources& all_;
    source_number number_of_;
    // Gives the sources and takes the filter; null for batches from elsewhere.
    host::package_reader* reader_ = nullptr;
    host::recording_place counts_ = host::recording_place::line;
    std::vector<reader_source> sources_;
    std::vector<known_source> known_;
    std::set<std::string> source_names_;
    // Numbers of messages.
    std::set<std::size_t> told_unreadable_;
    std::set<std::size_t> told_shared_;
    id_counts unknown_ids_;
    // Of the packages that the reader's filter excluded, how many were counted.
    std::vector<std::uint64_t> counted_excluded_;
    std::uint64_t place_ = 0;
    // An interrupt ended the recording within a line: nothing more is decoded.
    bool is_ended_ = false;
    host::package_builder package_;
    host::record_list records_;
    std::vector<host::reading> readings_;
    std::array<char, 32> time_{};
};

// Throws a failure on, as a command_error with the place of the log where that helps.
[[noreturn]] void rethrow_with_place(const std::exception_ptr& failure, const std::string& log, std::uint64_t place,
                                     host::recording_place counts);

// The same for a failure of a reader or of its stream.
[[noreturn]] void rethrow_reading_failure(const std::exception_ptr& failure, const std::string& log,
                                          std::uint64_t place, host::recording_place counts);

} // namespace tavi::tool

#endif
