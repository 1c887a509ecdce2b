#include "tools/tavi/report/description_log.hpp"

#include <charconv>
#include <utility>

namespace tavi::tool {

namespace {

// Takes "<number>:" off the front.
template<typename Number>
bool take_number(std::string_view& text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end == text.data() + text.size() || *end != ':') {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
    return true;
}

void take_text(std::string_view& text, std::string_view prefix) {
    if (text.starts_with(prefix)) {
        text.remove_prefix(prefix.size());
    }
}

} // namespace

std::optional<parser_message> parse_parser_message(std::string_view text, std::string_view name) {
    if (name.empty() || !text.starts_with(name) || text.size() == name.size() || text[name.size()] != ':') {
        return std::nullopt;
    }
    text.remove_prefix(name.size() + 1);
    parser_message message;
    if (!take_number(text, message.line)) {
        return std::nullopt;
    }
    take_number(text, message.column);
    take_text(text, " ");
    take_text(text, "warning: ");
    message.cause = text;
    return message;
}

topic topic_of(std::string_view cause) {
    return cause.find(" is left out") == std::string_view::npos ? topic::description : topic::left_out;
}

std::string_view line_of(std::string_view text, std::uint64_t number) {
    if (number == 0) {
        return {};
    }
    for (; number > 1; --number) {
        const auto stop = text.find('\n');
        if (stop == std::string_view::npos) {
            return {};
        }
        text.remove_prefix(stop + 1);
    }
    text = text.substr(0, text.find('\n'));
    return text.ends_with('\r') ? text.substr(0, text.size() - 1) : text;
}

void description_log::begin(std::string name, std::string path, std::string_view content) {
    const std::lock_guard lock(mutex_);
    name_ = std::move(name);
    path_ = std::move(path);
    content_ = content;
}

void description_log::end() {
    const std::lock_guard lock(mutex_);
    for (const std::string& failure : failures_) {
        messages_->report({topic::description, path_, 0, 0, failure, {}, {}});
    }
    failures_.clear();
    name_.clear();
    path_.clear();
    content_ = {};
}

void description_log::receive(const qor_log_info_t& message) {
    if (message.level > QOR_LOG_LEVEL_WARNING) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (message.level <= QOR_LOG_LEVEL_ERROR && !path_.empty()) {
        failures_.emplace_back(message.message);
        return;
    }
    const topic kind = topic_of(message.message);
    if (!messages_->shows(kind)) {
        messages_->add(kind);
        return;
    }
    if (const auto parsed = parse_parser_message(message.message, name_)) {
        messages_->report(
            {kind, path_, parsed->line, parsed->column, parsed->cause, line_of(content_, parsed->line), {}});
    } else {
        messages_->report({kind, path_.empty() ? "tavi" : path_, 0, 0, message.message, {}, {}});
    }
}

void description_log::report_to(message_sink& messages) {
    const std::lock_guard lock(mutex_);
    messages_ = &messages;
}

std::string description_log::refusal(std::string_view text) {
    const std::lock_guard lock(mutex_);
    failures_.clear();
    diagnostic message{topic::damaged_line, path_, 0, 0, text, {}, {}};
    if (const auto parsed = parse_parser_message(text, name_)) {
        message.line = parsed->line;
        message.column = parsed->column;
        message.cause = parsed->cause;
        message.source_line = line_of(content_, parsed->line);
    } else if (!name_.empty() && text.starts_with(name_ + ": ")) {
        message.cause.remove_prefix(name_.size() + 2);
    }
    std::string formatted = format_diagnostic(message);
    formatted.pop_back();
    return formatted;
}

} // namespace tavi::tool
