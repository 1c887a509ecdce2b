#include "tools/tavi/report/account.hpp"

#include <charconv>
#include <vector>

#include <nlohmann/json.hpp>

#include "qorc/text.hpp"
#include "tools/tavi/output/cell_text.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

std::string plural(std::uint64_t count, const char* one, const char* several) {
    return std::to_string(count) + ' ' + (count == 1 ? one : several);
}

std::string seconds_text(double seconds) {
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, seconds, std::chars_format::fixed, 3).ptr;
    return std::string(buffer, end);
}

const char* output_text(account::output rows) {
    return rows == account::output::written ? "written" : rows == account::output::closed ? "closed" : "failed";
}

} // namespace

frame_counts& frame_counts::operator+=(const frame_counts& other) noexcept {
    for (const auto count : {&frame_counts::matched, &frame_counts::unknown_ids, &frame_counts::not_selected,
                             &frame_counts::without_values, &frame_counts::remote, &frame_counts::error_frames,
                             &frame_counts::short_frames, &frame_counts::values}) {
        this->*count += other.*count;
    }
    return *this;
}

std::string format_account(const account& totals) {
    std::vector<std::string> frames{plural(totals.matched, "matched", "matched")};
    const auto add = [](std::vector<std::string>& parts, std::uint64_t count, const char* name) {
        if (count != 0) {
            parts.push_back(std::to_string(count) + ' ' + name);
        }
    };
    add(frames, totals.unknown_ids, "of unknown ids");
    add(frames, totals.not_selected, "not selected");
    add(frames, totals.without_values, "without a selected value");
    add(frames, totals.remote, "remote");
    add(frames, totals.error_frames, "error frames");

    std::vector<std::string> lost;
    if (totals.damaged_lines != 0) {
        const std::string damaged = "damaged " + totals.damaged_unit;
        lost.push_back(plural(totals.damaged_lines, damaged.c_str(), (damaged + 's').c_str()) +
                       " (first: " + totals.first_damaged + ')');
    }
    if (totals.short_frames != 0) {
        lost.push_back("signals of " + plural(totals.short_frames, "short frame", "short frames") +
                       " (first: " + totals.first_short + ')');
    }
    if (totals.left_out != 0) {
        lost.push_back(plural(totals.left_out, "part", "parts") + " of descriptions (first: " + totals.first_left_out +
                       ')');
    }
    const bool failed = totals.rows == account::output::failed;
    if (failed) {
        lost.push_back("rows that could not be written");
    }
    if (!totals.complete && !totals.interrupted) {
        lost.push_back("the rest of the log");
    }
    std::string others;
    for (const auto& [kind, count] : totals.other_records) {
        others +=
            (others.empty() ? "\ntavi: beside them: " : ", ") + printable(kind) + " (" + std::to_string(count) + ')';
    }
    return "tavi: " + plural(totals.frames(), (totals.unit + " read").c_str(), (totals.unit + "s read").c_str()) +
           ": " + qor::joined(frames, ", ") +
           (totals.comment_lines != 0 ? "; " + plural(totals.comment_lines, "comment line", "comment lines") : "") +
           others + (totals.has_relative_times ? "\ntavi: times count from the beginning of the recording" : "") +
           "\ntavi: lost: " + (lost.empty() ? "nothing" : qor::joined(lost, ", ")) + "\ntavi: " +
           (failed ? plural(totals.values, "value decoded", "values decoded")
                   : plural(totals.values, "value written", "values written")) +
           " in " + seconds_text(totals.seconds) + " s" +
           (failed               ? ", the output is incomplete"
            : totals.interrupted ? ", then interrupted"
                                 : "") +
           '\n';
}

std::string account_json(const account& totals) {
    const auto place = [](const std::string& text) {
        return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(text);
    };
    nlohmann::ordered_json report{{"log", totals.log},
                                  {"frames", totals.frames()},
                                  {"matched", totals.matched},
                                  {"unknown_ids", totals.unknown_ids},
                                  {"not_selected", totals.not_selected},
                                  {"without_values", totals.without_values},
                                  {"remote", totals.remote},
                                  {"error_frames", totals.error_frames},
                                  {"comment_lines", totals.comment_lines},
                                  {"short_frames", totals.short_frames},
                                  {"first_short", place(totals.first_short)},
                                  {"damaged_lines", totals.damaged_lines},
                                  {"first_damaged", place(totals.first_damaged)},
                                  {"left_out", totals.left_out},
                                  {"first_left_out", place(totals.first_left_out)},
                                  {"description_warnings", totals.description_warnings},
                                  {"values", totals.values},
                                  {"seconds", totals.seconds},
                                  {"interrupted", totals.interrupted},
                                  {"output", output_text(totals.rows)},
                                  {"error", place(totals.error)},
                                  {"exit_code", static_cast<int>(totals.code)}};
    // Of formats that have them.
    for (const auto& [kind, count] : totals.other_records) {
        report["other_records"][kind] = count;
    }
    if (totals.has_relative_times) {
        report["times"] = "relative";
    }
    if (totals.end != QOR_RECORDING_END_UNKNOWN) {
        report["end"] = totals.end == QOR_RECORDING_END_PROVEN ? "proven" : "contradicted";
    }
    // Foreign names may hold bytes that are no UTF-8.
    return escape_json(report.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) + '\n';
}

} // namespace tavi::tool
