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
#include "tavi/candump_reader.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/frame_decoder.hpp"
#include "tools/tavi/decode/log_input.hpp"
#include "tools/tavi/decode/memory_input.hpp"
#include "tools/tavi/decode/nmea_input.hpp"
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
    std::size_t read_log(char* buffer, std::size_t room, block_output& output);
    void read_frames(catalogue& known, selection& wanted, row_writer& rows, block_output& output);
    void read_frames_in_parallel(catalogue& known, selection& wanted, block_output& output);
    void read_memory(catalogue& known, selection& wanted, row_writer& rows);
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
    std::uint64_t done_ = 0;
};

void decode_run::decode() {
    open_log();
    // What is wrong with a description is reported before a pipe is waited for.
    const bool late = log_->is_pipe_with_descriptions();
    const bool nmea = !late && log_->is_nmea();
    const bool parallel = !nmea && options_.memory.empty() && is_parallel();
    catalogue known(options_.catalogue, messages_, parallel);
    if (nmea) {
        known.load_source(receiver_source_id, receiver_source_name);
    } else {
        known.load();
    }
    selection wanted(known, options_.patterns);
    if (nmea) {
        require_receiver(known);
    } else {
        require_matcher({!options_.memory.empty() ? "memory" : options_.j1939 ? qor::j1939_format : qor::can_format});
    }

    block_output& output = output_.emplace(options_.output);
    row_writer rows(output, row_style_of(options_, output));
    if (late && log_->is_nmea()) {
        throw command_error("tavi: error: the log is NMEA 0183, which has a built-in description", exit_code::usage,
                            "use --input nmea, without -d");
    }
    started_ = true;
    rows.write_header();
    if (!log_->size()) {
        output.flush();
    }
    if (nmea) {
        totals_.unit = "sentence";
        const auto source = [&](char* buffer, std::size_t room) { return read_log(buffer, room, output); };
        decode_nmea(options_, source, known, wanted, rows, messages_, totals_);
    } else if (parallel) {
        read_frames_in_parallel(known, wanted, output);
    } else if (options_.memory.empty()) {
        read_frames(known, wanted, rows, output);
    } else {
        read_memory(known, wanted, rows);
    }
    totals_.complete = !qor::platform::interrupted();
    if (totals_.complete) {
        count_messages();
        log_->check_something_read(totals_);
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

std::size_t decode_run::read_log(char* buffer, std::size_t room, block_output& output) {
    if (log_->may_wait()) {
        output.flush();
    }
    const std::size_t count = log_->read(buffer, room);
    done_ += count;
    progress_->advance(done_, totals_.values);
    return count;
}

void decode_run::read_frames(catalogue& known, selection& wanted, row_writer& rows, block_output& output) {
    host::candump_reader reader([&](char* buffer, std::size_t room) { return read_log(buffer, room, output); });
    const auto& names = reader.channels();
    frame_decoder decoder(options_, known, wanted, rows, messages_, totals_,
                          [&](std::size_t number) { return names[number]; });
    try {
        decoder.decode_all(reader);
    } catch (...) {
        rethrow_with_place(std::current_exception(), totals_.log, reader.line_number());
    }
    note_unused_descriptions(names);
    note_unknown_ids(decoder.unknown_ids(), names, known, wanted);
}

void decode_run::read_frames_in_parallel(catalogue& known, selection& wanted, block_output& output) {
    output.flush();
    chunk_cutter cutter([&](char* buffer, std::size_t room) { return log_->read(buffer, room); }, !log_->size(),
                        options_.chunk_size, [&] { log_->end(); });
    parallel_decoder decoder(options_, known, wanted, output, messages_, totals_,
                             [&](std::uint64_t bytes) { progress_->advance(bytes, totals_.values); });
    decoder.run(cutter);
    const std::vector<std::string> names = decoder.interfaces().names();
    note_unused_descriptions(names);
    note_unknown_ids(decoder.unknown_ids(), names, known, wanted);
}

void decode_run::read_memory(catalogue& known, selection& wanted, row_writer& rows) {
    totals_.unit = "memory block";
    try {
        decode_memory(options_, log_->stream(), known, wanted, rows, messages_, totals_);
        note_unused_descriptions({memory_source_name});
    } catch (const host::error& error) {
        throw library_failure(printable(totals_.log), error);
    } catch (const std::system_error& error) {
        throw command_error(printable(totals_.log) + ": error: cannot be read further: " + error.code().message());
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
