#include "tools/tavi/commands/commands.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <thread>

#include "qorcpp/can_frame.hpp"
#include "qorcpp/platform/stream.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/recording.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/frame_decoder.hpp"
#include "tools/tavi/decode/log_input.hpp"
#include "tools/tavi/decode/log_sources.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/decode/unknown_ids.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/output/written_files.hpp"
#include "tools/tavi/parallel/parallel_decoder.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/library_failure.hpp"
#include "tools/tavi/report/printable.hpp"
#include "tools/tavi/report/progress_bar.hpp"

namespace tavi::tool {

namespace {

decode_options with_jobs(decode_options options) {
    if (options.jobs == 0) {
        options.jobs = std::max(1U, std::thread::hardware_concurrency());
    }
    return options;
}

// "a, b and c"
std::string listed(const std::vector<std::string>& names) {
    constexpr std::size_t shown = 10;
    std::string text;
    for (std::size_t at = 0; at < std::min(names.size(), shown); ++at) {
        const bool last = at != 0 && at + 1 == names.size();
        text += (at == 0 ? "" : last ? " and " : ", ") + printable(names[at]);
    }
    return names.size() <= shown ? text : text + " and " + std::to_string(names.size() - shown) + " more";
}

// One decode, from the opened files to the account.
class decode_run {
public:
    explicit decode_run(const decode_options& options)
        : options_(with_jobs(options)), messages_(options.catalogue.strict) {
        totals_.log = log_name(options);
        messages_.set_before_print([this] { clear_progress(); });
        if (!options.report.empty()) {
            report_.emplace(options.report);
        }
    }

    exit_code run() {
        const auto start = std::chrono::steady_clock::now();
        try {
            decode();
            close_output();
        } catch (const qor::platform::closed_pipe_error&) {
            totals_.rows = account::output::closed;
            totals_.interrupted = qor::platform::interrupted();
        } catch (const output_error& error) {
            totals_.rows = account::output::failed;
            fail(error);
        } catch (const command_error& error) {
            fail(error);
        } catch (const std::bad_alloc&) {
            fail(command_error(printable(totals_.log) + ": error: not enough memory to decode it"));
        } catch (const std::exception& error) {
            fail(command_error(std::string("tavi: error: ") + printable(error.what())));
        }
        totals_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        count_messages();
        totals_.code = result();
        close();
        if (failure_) {
            throw command_error(*failure_);
        }
        return totals_.code;
    }

private:
    void decode();
    void open_log();
    void count_messages();
    void fail(const command_error& error);
    void close_output();
    void close_after_failure() noexcept;
    void print_part();
    bool is_parallel() const;
    void open_recording();
    const qor_recorded_source_t* receiver();
    bool can_be_parallel();
    void load(catalogue& known, bool late);
    void require_plugins(catalogue& known, bool late);
    void read_packages(catalogue& known, selection& wanted, row_writer& rows, block_output& output);
    bool read_batch(host::recording& recording, host::recording_batch& batch, host::recording_place counts);
    void read_in_parallel(catalogue& known, selection& wanted, block_output& output);
    void report_stream_damage(const host::recording& recording);
    void count_rest(frame_decoder& decoder, const host::recording& recording);
    void count_other_records(const host::recording& recording);
    void end_reading(const host::recording& recording, const id_counts& unknown, const catalogue& known,
                     selection& wanted);
    void note_unused_descriptions(const std::vector<std::string>& interfaces);
    void note_unknown_ids(const id_counts& ids, const std::vector<std::string>& interfaces, const catalogue& known,
                          selection& wanted);

    exit_code result() const {
        if (failure_) {
            return failure_->code;
        }
        if (totals_.interrupted) {
            return exit_code::interrupted;
        }
        const bool incomplete = totals_.lost_something() && totals_.rows != account::output::closed;
        return incomplete ? exit_code::incomplete : exit_code::done;
    }

    void clear_progress() {
        if (progress_) {
            progress_->clear();
        }
    }

    // A run whose output was closed ends quietly.
    void close() {
        clear_progress();
        if (started_ && totals_.rows != account::output::closed) {
            messages_.print_rest();
            messages_.print(format_account(totals_));
            print_part();
        }
        if (report_) {
            write_report();
        }
    }

    // Of two failures the first is told.
    void write_report() {
        try {
            report_->write(account_json(totals_));
            report_->close();
        } catch (const command_error&) {
            if (!failure_) {
                throw;
            }
        }
    }

    const decode_options options_;
    diagnostics messages_;
    account totals_;
    std::optional<log_input> log_;
    std::optional<progress_bar> progress_;
    std::optional<block_output> report_;
    std::optional<block_output> output_;
    // Where rows of a run that was not ended are kept; empty for none.
    std::string part_;
    std::optional<command_error> failure_;
    bool started_ = false;
    log_sources sources_;
};

void decode_run::decode() {
    open_log();
    // What is wrong with a description is reported before a pipe is waited for.
    const bool late = log_->is_pipe_with_descriptions();
    if (!late) {
        open_recording();
    }
    const bool parallel = options_.memory.empty() && is_parallel() && (late || can_be_parallel());
    catalogue known(options_.catalogue, messages_, parallel);
    load(known, late);
    selection wanted(known, options_.patterns);
    require_plugins(known, late);

    block_output& output = output_.emplace(options_.output);
    row_writer rows(output, row_style_of(options_, output));
    if (late) {
        open_recording();
        if (receiver() != nullptr) {
            throw command_error("tavi: error: the log is NMEA 0183, which has a built-in description", exit_code::usage,
                                "use --input nmea, without -d");
        }
    }
    started_ = true;
    rows.write_header();
    if (!log_->size()) {
        output.flush();
    }
    if (parallel && can_be_parallel()) {
        read_in_parallel(known, wanted, output);
    } else {
        read_packages(known, wanted, rows, output);
    }
    totals_.complete = !qor::platform::interrupted();
    if (totals_.complete) {
        count_messages();
        log_->check_something_read(totals_);
    }
}

void decode_run::open_recording() {
    host::recording& recording = log_->open(messages_);
    sources_.set_limit_hint(example_of(recording.format().name).form);
    if (recording.properties().places == QOR_RECORDING_PLACES_BYTES) {
        totals_.damaged_unit = "place";
    }
    if (receiver() != nullptr) {
        totals_.unit = "sentence";
    } else if (!recording.sources().empty() && recording.sources()[0].kind == QOR_RECORDED_MEMORY) {
        totals_.unit = "memory block";
    }
}

// A source whose description comes by itself; null for none.
const qor_recorded_source_t* decode_run::receiver() {
    for (const qor_recorded_source_t& source : log_->recording().sources()) {
        if (source.source_id != 0) {
            return &source;
        }
    }
    return nullptr;
}

// What the sources that are known need; frames when none is.
void decode_run::require_plugins(catalogue& known, bool late) {
    const qor_recorded_source_t* const source = late ? nullptr : receiver();
    if (source != nullptr) {
        host::package_builder package;
        package.set_source(source->source_id, 0);
        package.set_format(source->package_format);
        if (!known.extractor().has_data_processor(package.package())) {
            throw missing_format_error(source->package_format);
        }
        return;
    }
    const auto sources = late ? std::span<const qor_recorded_source_t>() : log_->recording().sources();
    if (!sources.empty() && !log_source(sources[0]).has_frames()) {
        require_matcher({sources[0].package_format});
    } else {
        require_matcher({options_.j1939 ? qor::j1939_format : qor::can_format});
    }
}

// Sources that a recording names before its first package may keep a state between packages.
bool decode_run::can_be_parallel() {
    return log_->recording().sources().empty();
}

void decode_run::load(catalogue& known, bool late) {
    const qor_recorded_source_t* const source = late ? nullptr : receiver();
    if (source != nullptr) {
        known.load_source(source->source_id, source->name);
    } else {
        known.load();
    }
}

void decode_run::open_log() {
    log_.emplace(options_);
    progress_.emplace(log_->size());
}

void decode_run::count_messages() {
    totals_.damaged_lines = messages_.count(topic::damaged_line);
    totals_.first_damaged = messages_.first_place(topic::damaged_line);
    totals_.first_short = messages_.first_place(topic::short_frame);
    totals_.left_out = messages_.count(topic::left_out);
    totals_.first_left_out = messages_.first_place(topic::left_out);
    totals_.description_warnings = messages_.count(topic::description) + totals_.left_out;
}

void decode_run::fail(const command_error& error) {
    failure_.emplace(error);
    totals_.error = error.what();
    close_after_failure();
}

// Rows of an interrupted run do not replace those of a whole one.
void decode_run::close_output() {
    totals_.interrupted = qor::platform::interrupted();
    if (totals_.interrupted) {
        part_ = output_->close_part();
    } else {
        output_->close();
    }
}

// What was decoded before the failure is whole and stays. Of two failures the first is told.
void decode_run::close_after_failure() noexcept {
    totals_.interrupted = qor::platform::interrupted();
    try {
        if (output_ && (totals_.values != 0 || options_.output.empty())) {
            part_ = output_->close_part();
        }
    } catch (const std::exception&) {
        part_.clear();
    }
    output_.reset();
}

void decode_run::print_part() {
    if (!part_.empty()) {
        messages_.print("tavi: the rows up to here are in " + printable(part_) + '\n');
    }
}

// Whether more than one thread may decode. A log that is small has no time to win.
bool decode_run::is_parallel() const {
    return options_.jobs > 1 && log_->size().value_or(options_.shortest_parallel_log) >= options_.shortest_parallel_log;
}

void decode_run::read_packages(catalogue& known, selection& wanted, row_writer& rows, block_output& output) {
    host::recording& recording = log_->recording();
    log_->set_events(
        {[&] { output.flush(); }, [&](std::uint64_t bytes) { progress_->advance(bytes, totals_.values); }});
    frame_decoder decoder(
        options_, known, wanted, rows, messages_, totals_, sources_, [&](const qor_recorded_source_t& source) {
            return sources_.size() < log_sources::limit ? std::optional(sources_.add(source)) : std::nullopt;
        });
    try {
        decoder.begin(recording);
        host::recording_batch batch;
        while (read_batch(recording, batch, decoder.counts())) {
            decoder.decode(recording, batch);
        }
    } catch (const host::error&) {
        count_rest(decoder, recording);
        rethrow_with_place(std::current_exception(), totals_.log, decoder.place(), decoder.counts());
    } catch (...) {
        count_rest(decoder, recording);
        throw;
    }
    count_rest(decoder, recording);
    end_reading(recording, decoder.unknown_ids(), known, wanted);
}

bool decode_run::read_batch(host::recording& recording, host::recording_batch& batch, host::recording_place counts) {
    try {
        return recording.next(batch);
    } catch (const output_error&) {
        throw;
    } catch (const qor::platform::closed_pipe_error&) {
        throw;
    } catch (...) {
        rethrow_reading_failure(std::current_exception(), totals_.log, recording.properties().place, counts);
    }
}

// What was passed over, and what is not a package.
void decode_run::count_rest(frame_decoder& decoder, const host::recording& recording) {
    decoder.count_excluded(recording);
    count_other_records(recording);
}

void decode_run::count_other_records(const host::recording& recording) {
    for (const qor_other_records_t& record : recording.other_records()) {
        if (record.kind == std::string_view("comment line")) {
            totals_.comment_lines = record.count;
        } else {
            totals_.other_records.emplace_back(record.kind, record.count);
        }
    }
}

void decode_run::read_in_parallel(catalogue& known, selection& wanted, block_output& output) {
    output.flush();
    host::recording& recording = log_->recording();
    const bool is_split = recording.begin_split();
    parallel_decoder decoder(options_, known, wanted, output, messages_, totals_, is_split ? &recording : nullptr,
                             sources_, [&] { progress_->advance(log_->bytes_read(), totals_.values); });
    const auto end = [&] { log_->end(); };
    if (is_split) {
        chunk_cutter cutter([&](char* buffer, std::size_t room) { return recording.read(buffer, room); },
                            [&](std::span<const char> data) { return recording.find_end(data); }, recording.rest(),
                            !log_->size(), options_.chunk_size, end);
        decoder.run(cutter);
        report_stream_damage(recording);
    } else {
        batch_reader reader(recording, sources_, end);
        decoder.run(reader);
        count_other_records(recording);
    }
    end_reading(recording, decoder.unknown_ids(), known, wanted);
}

// Where no reader sees the end of the stream.
void decode_run::report_stream_damage(const host::recording& recording) {
    if (const host::stream_fault* const damage = recording.stream_damage()) {
        messages_.report({topic::damaged_line,
                          totals_.log,
                          damage->offset,
                          0,
                          damage->cause,
                          {},
                          damage->hint,
                          host::recording_place::compressed_byte});
        if (options_.catalogue.strict) {
            throw command_error("tavi: error: stopped at the first damaged place (--strict)");
        }
    }
}

void decode_run::end_reading(const host::recording& recording, const id_counts& unknown, const catalogue& known,
                             selection& wanted) {
    totals_.unit = sources_.size() != 0 ? sources_.unit() : totals_.unit;
    const qor_recording_properties_t properties = recording.properties();
    totals_.has_relative_times = totals_.frames() != 0 && properties.times == QOR_RECORDING_TIMES_RELATIVE;
    totals_.end = properties.end;
    const std::vector<std::string> names = sources_.names();
    if (receiver() == nullptr) {
        note_unused_descriptions(names);
        note_unknown_ids(unknown, names, known, wanted);
    }
}

// A description for an interface that never came is a slip of the pen more often than not.
void decode_run::note_unused_descriptions(const std::vector<std::string>& interfaces) {
    std::vector<std::string> arguments = options_.catalogue.descriptions;
    arguments.insert(arguments.end(), options_.catalogue.signatures.begin(), options_.catalogue.signatures.end());
    for (const std::string& text : arguments) {
        const std::string source = parse_description(text).source;
        const bool came = std::find(interfaces.begin(), interfaces.end(), source) != interfaces.end();
        if (!qor::platform::interrupted() && !source.empty() && !came) {
            messages_.print("tavi: note: " + printable(text) + " was not used: the log has no interface " +
                            printable(source) + (interfaces.empty() ? "" : ", it has " + listed(interfaces)) + '\n');
        }
    }
}

void decode_run::note_unknown_ids(const id_counts& ids, const std::vector<std::string>& interfaces,
                                  const catalogue& known, selection& wanted) {
    if (totals_.unknown_ids != 0 && !totals_.has_known_ids()) {
        messages_.print(unknown_ids_note(ids, interfaces, known, wanted));
    }
}

} // namespace

exit_code run_decode(const decode_options& options) {
    if (!options.memory.empty()) {
        parse_memory_place(options.memory);
    }
    check_written_files(options);
    return decode_run(options).run();
}

} // namespace tavi::tool
