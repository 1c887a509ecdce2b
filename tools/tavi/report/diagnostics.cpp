#include "tools/tavi/report/diagnostics.hpp"

#include <cstdio>

#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

std::string place_text(std::string_view file, std::uint64_t line, std::size_t column, host::recording_place counts) {
    std::string place = printable(file);
    if (counts != host::recording_place::line) {
        place += counts == host::recording_place::byte ? ", byte " : ", compressed byte ";
        place += std::to_string(line);
    } else if (line != 0) {
        place += ':' + std::to_string(line);
        if (column != 0) {
            place += ':' + std::to_string(column);
        }
    }
    return place;
}

namespace {

const char* severity_of(topic kind, bool as_error) noexcept {
    if (kind == topic::note) {
        return ": note: ";
    }
    return as_error || kind == topic::damaged_line ? ": error: " : ": warning: ";
}

} // namespace

std::string format_diagnostic(const diagnostic& message, bool as_error) {
    std::string text = place_text(message.file, message.line, message.column, message.counts) +
                       severity_of(message.kind, as_error) + printable(message.cause) + '\n';
    if (!message.source_line.empty()) {
        const excerpt shown = make_excerpt(message.source_line, message.column);
        text += "  " + shown.text + '\n';
        if (message.column != 0) {
            text += "  " + std::string(shown.caret, ' ') + "^\n";
        }
    }
    if (!message.hint.empty()) {
        text += "  hint: " + printable(message.hint) + '\n';
    }
    return text;
}

void diagnostics::report(const diagnostic& message) {
    const std::size_t kind = index(message.kind);
    if (counts_[kind] == 0) {
        first_places_[kind] = place_text(message.file, message.line, 0, message.counts);
    }
    if (++counts_[kind] <= shown_of_a_kind) {
        print(format_diagnostic(message, strict_));
    }
}

void diagnostics::print_rest() {
    constexpr std::array<const char*, kinds> names{"damaged lines", "short frames", "parts of descriptions left out",
                                                   "warnings about descriptions", "notes"};
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        if (counts_[kind] > shown_of_a_kind) {
            print("tavi: " + std::to_string(counts_[kind] - shown_of_a_kind) + " more " + names[kind] + '\n');
        }
    }
}

void diagnostics::print(std::string_view text) {
    if (before_print_) {
        before_print_();
    }
    std::fwrite(text.data(), 1, text.size(), stderr);
}

exit_code end_of(diagnostics& messages) {
    messages.print_rest();
    return messages.count(topic::left_out) != 0 ? exit_code::incomplete : exit_code::done;
}

} // namespace tavi::tool
