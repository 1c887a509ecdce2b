// Comments and attributes: what a DBC says about messages and signals besides their bits.
#include <charconv>

#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"

namespace dbc_parser {

namespace {

// What a comment or attribute is about.
struct subject {
    enum class kind { file, message, signal, other } kind = kind::file;
    dbc_message* message = nullptr;
    dbc_signal* signal = nullptr;
    uint64_t written_id = 0;
    std::string_view signal_name;

    bool is_missing() const noexcept {
        return (kind == kind::message && message == nullptr) || (kind == kind::signal && signal == nullptr);
    }

    std::string label() const {
        return kind == kind::signal ? label_of(written_id, signal_name) : "message " + std::to_string(written_id);
    }
};

subject read_subject(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const auto word = cursor.peek_word();
    subject subject;
    if (word == "BO_" || word == "SG_") {
        cursor.set_offset(cursor.offset() + word.size());
        subject.written_id = cursor.read_unsigned("a message's id");
        if (word == "BO_") {
            subject.kind = subject::kind::message;
            subject.message = reading.file.find_message(subject.written_id);
        } else {
            subject.kind = subject::kind::signal;
            subject.signal_name = cursor.read_word("a signal's name");
            subject.signal = reading.file.find_signal(subject.written_id, subject.signal_name);
        }
    } else if (word == "BU_" || word == "EV_") {
        cursor.set_offset(cursor.offset() + word.size());
        cursor.read_word("a name");
        subject.kind = subject::kind::other;
    }
    return subject;
}

// Tells of something that is not there, at the end of the file.
void miss(reading& reading, const subject& subject, size_t offset, const std::string& what) {
    if (!reading.is_independent(subject.written_id) && !reading.defer()) {
        reading.warn_at(offset, what + " of " + subject.label() + " is left out: it is not defined");
    }
}

// A text in quotes, or a bare number.
std::string_view read_attribute_value(dbc_cursor& cursor) {
    cursor.skip_white();
    return cursor.at_quote() ? cursor.read_text("a value", true) : cursor.read_word("a value");
}

// "J1939PG", or its usual number in a file that does not define the attribute.
bool names_parameter_group(std::string_view value) noexcept {
    return value.find("J1939") != std::string_view::npos || value == "3";
}

// The text of an enumeration's value, which is written as its number or its text.
std::string_view enumerated(const reading& reading, std::string_view name, std::string_view value) {
    const auto found = reading.enumerations.find(name);
    if (found == reading.enumerations.end()) {
        return value;
    }
    size_t index = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), index);
    const bool is_index = error == std::errc() && end == value.data() + value.size() && index < found->second.size();
    return is_index ? found->second[index] : value;
}

// Names have 32 characters at most; longer ones are in attributes of their own. Whether this is one.
bool take_long_name(reading& reading, const subject& subject, std::string_view key, std::string_view value) {
    if (value.empty()) {
        return false;
    }
    if (subject.message != nullptr && key == "SystemMessageLongSymbol") {
        reading.file.set_long_name(subject.written_id, value);
        return true;
    }
    if (subject.signal != nullptr && key == "SystemSignalLongSymbol") {
        reading.file.set_long_name(subject.written_id, subject.signal_name, value);
        return true;
    }
    return false;
}

} // namespace

void read_comment(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const subject subject = read_subject(reading);
    const auto text = cursor.read_text("the comment", true);
    end_statement(cursor);
    if (subject.is_missing()) {
        miss(reading, subject, offset, "the comment");
    } else if (subject.kind == subject::kind::file) {
        reading.file.comments.push_back(text);
    } else if (subject.message != nullptr) {
        subject.message->comment = text;
    } else if (subject.signal != nullptr) {
        subject.signal->comment = text;
    }
}

void read_attribute_definition(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const auto word = cursor.peek_word();
    if (word == "BU_" || word == "BO_" || word == "SG_" || word == "EV_") {
        cursor.set_offset(cursor.offset() + word.size());
    }
    const auto name = cursor.read_text("the attribute's name", true);
    if (cursor.read_word("the attribute's type") != "ENUM") {
        pass_statement(reading);
        return;
    }
    auto& values = reading.enumerations[name];
    values.clear();
    for (cursor.skip_white(); cursor.at_quote() || cursor.accept(','); cursor.skip_white()) {
        if (cursor.at_quote()) {
            values.push_back(cursor.read_text("a value of the enumeration", true));
        }
    }
    end_statement(cursor);
}

void read_attribute_default(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    const auto name = cursor.read_text("the attribute's name", true);
    reading.defaults[name] = read_attribute_value(cursor);
    end_statement(cursor);
}

void read_attribute(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    const auto name = cursor.read_text("the attribute's name", true);
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const subject subject = read_subject(reading);
    const std::string_view value = enumerated(reading, name, read_attribute_value(cursor));
    end_statement(cursor);
    if (subject.is_missing()) {
        miss(reading, subject, offset, "the attribute " + quoted_name(name));
    } else if (subject.kind == subject::kind::file) {
        reading.file.attributes.push_back({name, value});
    } else if (take_long_name(reading, subject, name, value)) {
        return;
    } else if (subject.message != nullptr) {
        subject.message->attributes.push_back({name, value});
    } else if (subject.signal != nullptr) {
        subject.signal->attributes.push_back({name, value});
    }
}

// A message's own frame format decides; without one, a file of protocol J1939 is one of parameter groups. Only 29-bit
// ids carry them.
void mark_parameter_groups(const reading& reading) {
    const auto value_of = [](const std::vector<dbc_attribute>& attributes, std::string_view key) {
        for (const dbc_attribute& attribute : attributes) {
            if (attribute.key == key) {
                return attribute.text;
            }
        }
        return std::string_view();
    };
    const auto default_of = [&](std::string_view key) {
        const auto found = reading.defaults.find(key);
        return found != reading.defaults.end() ? found->second : std::string_view();
    };
    std::string_view protocol = value_of(reading.file.attributes, "ProtocolType");
    protocol = protocol.empty() ? default_of("ProtocolType") : protocol;
    for (dbc_message& message : reading.file.messages) {
        const std::string_view format = value_of(message.attributes, "VFrameFormat");
        const bool marked = !format.empty()
                                ? names_parameter_group(format)
                                : names_parameter_group(default_of("VFrameFormat")) || names_parameter_group(protocol);
        message.parameter_group = marked && (message.frame_id & 0x80000000u) != 0;
    }
}

} // namespace dbc_parser
