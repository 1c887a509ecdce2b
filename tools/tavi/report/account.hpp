// What a run read, wrote and lost.
#ifndef TOOLS_TAVI_REPORT_ACCOUNT_HPP
#define TOOLS_TAVI_REPORT_ACCOUNT_HPP

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qorc/extensibility/recording_reader.h"
#include "tools/tavi/exit_code.hpp"

namespace tavi::tool {

// Each frame read is counted once among matched, unknown_ids, not_selected, without_values, remote and error_frames.
struct frame_counts {
    std::uint64_t matched = 0;        // gave at least one value
    std::uint64_t unknown_ids = 0;    // no description of their interface has the id
    std::uint64_t not_selected = 0;   // of messages of which nothing was asked for
    std::uint64_t without_values = 0; // of messages asked for, but no signal asked for was there
    std::uint64_t remote = 0;         // remote frames carry no data
    std::uint64_t error_frames = 0;   // reports of the interface, no messages

    std::uint64_t short_frames = 0; // with less data than the message has, signals were left out
    std::uint64_t values = 0;

    // All that were read.
    std::uint64_t frames() const noexcept {
        return matched + unknown_ids + not_selected + without_values + remote + error_frames;
    }

    // Whether a frame of a message of the descriptions was among them.
    bool has_known_ids() const noexcept { return (matched | not_selected | without_values) != 0; }

    frame_counts& operator+=(const frame_counts& other) noexcept;
};

struct account : frame_counts {
    std::string log;
    // What is counted; several of it are it and an s.
    std::string unit = "frame";

    // What is damaged, in the same way.
    std::string damaged_unit = "line";

    std::uint64_t comment_lines = 0; // beside the frames
    // Other records beside the frames: kind and count.
    std::vector<std::pair<std::string, std::uint64_t>> other_records;
    // Times count from the beginning of the recording, which has no date.
    bool has_relative_times = false;
    // QOR_RECORDING_END_
    std::uint32_t end = QOR_RECORDING_END_UNKNOWN;
    std::string first_short;
    std::uint64_t damaged_lines = 0; // no frames
    std::string first_damaged;
    std::uint64_t left_out = 0; // parts of descriptions that are not used
    std::string first_left_out;
    std::uint64_t description_warnings = 0; // all, those of parts left out too

    double seconds = 0;
    bool interrupted = false;
    // Whether the log was read to its end.
    bool complete = false;
    // What became of the rows: all written, not all since the output's reader closed it, not all since writing failed.
    enum class output { written, closed, failed } rows = output::written;
    std::string error; // what ended the run, one line without line end; empty for none
    exit_code code = exit_code::done;

    bool lost_something() const noexcept { return short_frames != 0 || damaged_lines != 0 || left_out != 0; }
};

// A few lines for a person, each with its line end.
std::string format_account(const account& totals);

// One line of JSON with its line end; the keys stand in docs/tavi.md.
std::string account_json(const account& totals);

} // namespace tavi::tool

#endif
