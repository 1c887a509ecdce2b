#include "tools/tavi/commands/commands.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>

#include "qorcpp/platform/stream.hpp"
#include "tavi/candump_reader.hpp"
#include "tavi/nmea_reader.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/frame_decoder.hpp"
#include "tools/tavi/decode/memory_input.hpp"
#include "tools/tavi/decode/nmea_input.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/output/written_files.hpp"
#include "tools/tavi/parallel/parallel_decoder.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"
#include "tools/tavi/report/printable.hpp"
#include "tools/tavi/report/progress_bar.hpp"

namespace tavi::tool {

namespace {

std::unique_ptr<qor::platform::input_stream> open_log(const decode_options& options) {
    try {
        return options.log == "-" ? std::make_unique<qor::platform::input_stream>()
                                  : std::make_unique<qor::platform::input_stream>(options.log);
    } catch (const std::system_error& error) {
        throw command_error(printable(options.log) + ": error: cannot be read: " + error.code().message());
    }
}

decode_options with_jobs(decode_options options) {
    if (options.jobs == 0) {
        options.jobs = std::max(1U, std::thread::hardware_concurrency());
    }
    return options;
}

// One decode, from the opened files to the account.
class decode_run {
public:
    explicit decode_run(const decode_options& options)
        : options_(with_jobs(options)), messages_(options.catalogue.strict), input_(open_log(options)),
          progress_(input_->size()) {
        totals_.log = log_name(options);
        messages_.set_before_print([this] { progress_.clear(); });
        if (!options.report.empty()) {
            report_.emplace(options.report);
        }
    }

    exit_code run() {
        const auto start = std::chrono::steady_clock::now();
        bool wanted = true;
        try {
            decode();
            close_output();
        } catch (const qor::platform::closed_pipe_error&) {
            wanted = false;
            totals_.interrupted = qor::platform::interrupted();
        } catch (const command_error& error) {
            failure_.emplace(error);
            close_after_failure();
        } catch (...) {
            close_after_failure();
            print_part();
            throw;
        }
        totals_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        totals_.damaged_lines = messages_.count(topic::damaged_line);
        totals_.first_damaged = messages_.first_place(topic::damaged_line);
        totals_.first_short = messages_.first_place(topic::short_frame);
        totals_.left_out = messages_.count(topic::left_out);
        totals_.first_left_out = messages_.first_place(topic::left_out);
        totals_.description_warnings = messages_.count(topic::description) + totals_.left_out;
        totals_.code = result();
        close(wanted);
        if (failure_) {
            throw command_error(*failure_);
        }
        return totals_.code;
    }

private:
    void decode();
    void close_output();
    void close_after_failure() noexcept;
    void print_part();
    bool is_nmea();
    bool is_parallel() const;
    std::size_t read_head_or_log(char* buffer, std::size_t room);
    std::size_t read_log(char* buffer, std::size_t room, block_output& output);
    void read_frames(catalogue& known, selection& wanted, row_writer& rows, block_output& output);
    void read_frames_in_parallel(catalogue& known, selection& wanted, block_output& output);
    void read_memory(catalogue& known, selection& wanted, row_writer& rows);
    void note_unused_descriptions(const std::function<bool(const std::string&)>& has_interface);

    exit_code result() const {
        if (failure_) {
            return failure_->code;
        }
        if (totals_.interrupted) {
            return exit_code::interrupted;
        }
        return totals_.lost_something() ? exit_code::incomplete : exit_code::done;
    }

    void close(bool wanted) {
        progress_.clear();
        if (started_ && wanted) {
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
    std::unique_ptr<qor::platform::input_stream> input_;
    progress_bar progress_;
    std::optional<block_output> report_;
    std::optional<block_output> output_;
    // Where rows of a run that was not ended are kept; empty for none.
    std::string part_;
    std::optional<command_error> failure_;
    bool started_ = false;
    // What was read of the log to see what it is, and how much of that was used again.
    std::string head_;
    std::size_t head_used_ = 0;
    std::uint64_t done_ = 0;
};

void decode_run::decode() {
    const bool nmea = is_nmea();
    const bool parallel = !nmea && options_.memory.empty() && is_parallel();
    catalogue known(options_.catalogue, messages_, parallel);
    if (nmea) {
        known.load_source(receiver_source_id, receiver_source_name);
    } else {
        known.load();
    }
    selection wanted(known, options_.patterns);

    block_output& output = output_.emplace(options_.output);
    row_writer rows(output, options_.format);
    started_ = true;
    rows.write_header();
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
        messages_.print("tavi: the rows until then are in " + printable(part_) + '\n');
    }
}

// Looks at the beginning of the log where nothing else tells what it is. A pipe that comes with descriptions is not
// waited for.
bool decode_run::is_nmea() {
    if (options_.input != input_kind::automatic || !options_.memory.empty()) {
        return options_.input == input_kind::nmea;
    }
    const catalogue_options& given = options_.catalogue;
    if (!input_->size() && !(given.descriptions.empty() && given.storage.empty())) {
        return false;
    }
    constexpr std::size_t looked_at = 65536;
    std::optional<bool> found;
    for (std::size_t count = 1; !found && count != 0 && head_.size() < looked_at;) {
        const std::size_t used = head_.size();
        head_.resize(looked_at);
        try {
            count = input_->read(head_.data() + used, looked_at - used);
        } catch (const std::system_error& error) {
            throw command_error(printable(totals_.log) + ": error: cannot be read: " + error.code().message());
        }
        head_.resize(used + count);
        found = host::nmea_reader::recognise(head_);
    }
    return found.value_or(false);
}

// Whether more than one thread may decode. A log that is small has no time to win.
bool decode_run::is_parallel() const {
    return options_.jobs > 1 &&
           input_->size().value_or(options_.shortest_parallel_log) >= options_.shortest_parallel_log;
}

std::size_t decode_run::read_head_or_log(char* buffer, std::size_t room) {
    const std::size_t count = std::min(room, head_.size() - head_used_);
    head_.copy(buffer, count, head_used_);
    head_used_ += count;
    return count != 0 ? count : input_->read(buffer, room);
}

std::size_t decode_run::read_log(char* buffer, std::size_t room, block_output& output) {
    if (head_used_ == head_.size() && !input_->size()) {
        output.flush();
    }
    const std::size_t count = read_head_or_log(buffer, room);
    done_ += count;
    progress_.advance(done_, totals_.values);
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
    note_unused_descriptions(
        [&](const std::string& name) { return std::find(names.begin(), names.end(), name) != names.end(); });
}

void decode_run::read_frames_in_parallel(catalogue& known, selection& wanted, block_output& output) {
    output.flush();
    chunk_cutter cutter([&](char* buffer, std::size_t room) { return read_head_or_log(buffer, room); }, !input_->size(),
                        options_.chunk_size, [&] { input_->end(); });
    parallel_decoder decoder(options_, known, wanted, output, messages_, totals_,
                             [&](std::uint64_t bytes) { progress_.advance(bytes, totals_.values); });
    decoder.run(cutter);
    note_unused_descriptions([&](const std::string& name) { return decoder.interfaces().find(name).has_value(); });
}

void decode_run::read_memory(catalogue& known, selection& wanted, row_writer& rows) {
    totals_.unit = "memory block";
    try {
        decode_memory(options_, *input_, known, wanted, rows, messages_, totals_);
        note_unused_descriptions([](const std::string& name) { return name == memory_source_name; });
    } catch (const host::error& error) {
        throw command_error(printable(totals_.log) + ": error: " + printable(error.what()), exit_code::plugin_failed);
    } catch (const std::system_error& error) {
        throw command_error(printable(totals_.log) + ": error: cannot be read further: " + error.code().message());
    }
}

// A description for an interface that never came is a slip of the pen more often than not.
void decode_run::note_unused_descriptions(const std::function<bool(const std::string&)>& has_interface) {
    for (const std::string& text : options_.catalogue.descriptions) {
        const std::string source = parse_description(text).source;
        if (!qor::platform::interrupted() && !source.empty() && !has_interface(source)) {
            messages_.print("tavi: note: " + printable(text) + " was not used: the log has no interface " +
                            printable(source) + '\n');
        }
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
