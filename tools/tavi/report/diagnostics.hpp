// Messages about what was read, on standard error:
//
//     drive.log:14:32: error: the data have an odd number of digits
//       (1436509052.249713) can0 0C0#112
//                                ^
//       hint: data are pairs of hexadecimal digits
//
// The first ten of a kind are printed, the others counted.
#ifndef TOOLS_TAVI_REPORT_DIAGNOSTICS_HPP
#define TOOLS_TAVI_REPORT_DIAGNOSTICS_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tavi/recording.hpp"
#include "tools/tavi/exit_code.hpp"

namespace tavi::tool {

enum class topic {
    damaged_line, // an error: a line of a text, or another place of a recording, that cannot be read
    short_frame,  // a warning: a frame with less data than its message
    left_out,     // a warning: a part of a description that is not used
    description,  // a warning: something else about a description
    note          // worth knowing, no fault of anything
};

struct diagnostic {
    topic kind;
    std::string_view file;
    std::uint64_t line = 0; // or byte offset, see `counts`; as a line 0 for none
    std::size_t column = 0; // bytes from 1, 0 for none
    std::string_view cause;
    std::string_view source_line; // shown below the message, empty for none
    std::string_view hint;        // empty for none
    host::recording_place counts = host::recording_place::line;
};

// "file:line:column", as far as known, or "file, byte 4711", fit for a terminal.
std::string place_text(std::string_view file, std::uint64_t line, std::size_t column,
                       host::recording_place counts = host::recording_place::line);

// The whole message, several lines each with its line end; for `as_error` a warning is an error.
std::string format_diagnostic(const diagnostic& message, bool as_error = false);

// Where messages go: to the screen, or first to a place where they wait for those of earlier lines.
class message_sink {
public:
    static constexpr std::uint64_t shown_of_a_kind = 10;
    static constexpr std::size_t kinds = 5;

    virtual ~message_sink() = default;

    // Prints or only counts. A later report of a kind whose ten are printed costs next to nothing.
    virtual void report(const diagnostic& message) = 0;

    // Whether a report of this kind would be printed: otherwise `add` will do.
    virtual bool shows(topic kind) const noexcept = 0;
    virtual void add(topic kind) noexcept = 0;
    virtual std::uint64_t count(topic kind) const noexcept = 0;

    // Until the next call messages are about what many frames lead to, one of which is the first: each decoder of a
    // log tells it once, and the first that does in the log's order is heard. 0: about a single frame.
    virtual void set_subject(std::uint64_t) noexcept {}

    // Prints a text as it is, whole lines, behind what was reported before.
    virtual void print(std::string_view text) = 0;

protected:
    static constexpr std::size_t index(topic kind) noexcept { return static_cast<std::size_t>(kind); }
};

// Thread: one at a time.
class diagnostics final : public message_sink {
public:
    // strict: warnings are errors.
    explicit diagnostics(bool strict) : strict_(strict) {}

    // Called before something is printed, to take a progress bar off the screen; empty for none.
    void set_before_print(std::function<void()> before_print) { before_print_ = std::move(before_print); }

    void report(const diagnostic& message) override;
    bool shows(topic kind) const noexcept override { return counts_[index(kind)] < shown_of_a_kind; }
    void add(topic kind) noexcept override { ++counts_[index(kind)]; }
    void add(topic kind, std::uint64_t count) noexcept { counts_[index(kind)] += count; }
    std::uint64_t count(topic kind) const noexcept override { return counts_[index(kind)]; }

    // Place of the first report of a kind, "file:line"; empty when there was none.
    const std::string& first_place(topic kind) const noexcept { return first_places_[index(kind)]; }

    // Says how many were not printed.
    void print_rest();

    void print(std::string_view text) override;

private:
    bool strict_;
    std::function<void()> before_print_;
    std::array<std::uint64_t, kinds> counts_{};
    std::array<std::string, kinds> first_places_;
};

// The end of a command whose only losses are parts of descriptions that are left out: says how many messages were not
// printed, and whether it is incomplete.
exit_code end_of(diagnostics& messages);

} // namespace tavi::tool

#endif
