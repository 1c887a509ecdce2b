// What library and parsers say while descriptions are read, as messages for a person.
#ifndef TOOLS_TAVI_REPORT_DESCRIPTION_LOG_HPP
#define TOOLS_TAVI_REPORT_DESCRIPTION_LOG_HPP

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorc/extensibility/log.h"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// A parser's text "<name>:<line>:<column>: [warning: ]<cause>", taken apart.
struct parser_message {
    std::uint64_t line = 0;
    std::size_t column = 0;
    std::string_view cause;
};

// Nothing when `text` does not begin with the name and a place.
std::optional<parser_message> parse_parser_message(std::string_view text, std::string_view name);

// Of which kind a parser's warning is: parsers say of what they do not use that it "is left out".
topic topic_of(std::string_view cause);

// Line `number` (from 1) of a text, without its line end; empty when there is none.
std::string_view line_of(std::string_view text, std::uint64_t number);

// Thread: any.
class description_log {
public:
    explicit description_log(message_sink& messages) : messages_(&messages) {}

    // Where messages go from now on.
    void report_to(message_sink& messages);

    // Which description is read from now on: messages that begin with `name` are about it. The content is only
    // looked at until the next call.
    void begin(std::string name, std::string path, std::string_view content);
    // It was read. Failures that were survived meanwhile are told now.
    void end();

    // Takes one message of the extractor.
    void receive(const qor_log_info_t& message);

    // It was refused: the text as a message "path:line:column: error: cause" with the line it points at. Failures
    // told meanwhile are dropped, they led to this one.
    std::string refusal(std::string_view text);

private:
    std::mutex mutex_;
    message_sink* messages_;
    std::string name_;
    std::string path_;
    std::string_view content_;
    std::vector<std::string> failures_;
};

} // namespace tavi::tool

#endif
