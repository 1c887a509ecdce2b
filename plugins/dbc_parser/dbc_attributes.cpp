// Comments and attributes: what a DBC says about messages and signals besides their bits.
#include <charconv>

#include "plugins/dbc_parser/dbc_sections.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"

namespace dbc_parser {

namespace {

// What a comment or attribute is about.
struct subject {
    enum class kind { file, message, signal, other } kind = kind::file;
    dbc_message* message = nullptr;
    dbc_signal* signal = nullptr;
    // For warnings; empty for the file.
    std::string label;
};

subject read_subject(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const auto word = cursor.peek_word();
    subject subject;
    if (word == "BO_" || word == "SG_") {
        cursor.set_offset(cursor.offset() + word.size());
        const uint64_t id = cursor.read_unsigned("a message's id");
        subject.label = "message " + std::to_string(id);
        if (word == "BO_") {
            subject.kind = subject::kind::message;
            subject.message = reading.file.find_message(id);
        } else {
            subject.kind = subject::kind::signal;
            const auto name = cursor.read_word("a signal's name");
            subject.label += " signal '" + to_utf8(name) + "'";
            subject.signal = reading.file.find_signal(id, name);
        }
    } else if (word == "BU_" || word == "EV_") {
        cursor.set_offset(cursor.offset() + word.size());
        cursor.read_word("a name");
        subject.kind = subject::kind::other;
    }
    return subject;
}

// A text in quotes, or a bare number.
std::string_view read_attribute_value(dbc_cursor& cursor) {
    cursor.skip_white();
    return cursor.peek() == '"' ? cursor.read_text("a value", true) : cursor.read_word("a value");
}

bool names_parameter_group(std::string_view value) noexcept {
    return value.find("J1939") != std::string_view::npos;
}

} // namespace

void read_comment(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const subject subject = read_subject(reading);
    const auto text = cursor.read_text("the comment", true);
    cursor.expect(';', "';' behind the comment");
    if (subject.kind == subject::kind::file) {
        reading.file.comment = text;
    } else if (subject.message != nullptr) {
        subject.message->comment = text;
    } else if (subject.signal != nullptr) {
        subject.signal->comment = text;
    } else if (subject.kind != subject::kind::other) {
        reading.warn_at(offset, "the comment of " + subject.label + " is left out: there is no such thing");
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
        cursor.skip_statement();
        return;
    }
    auto& values = reading.enumerations[name];
    values.clear();
    while (!cursor.accept(';')) {
        values.push_back(cursor.read_text("a value of the enumeration", true));
        cursor.accept(',');
    }
}

void read_attribute_default(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    const auto name = cursor.read_text("the attribute's name", true);
    reading.defaults[name] = read_attribute_value(cursor);
    cursor.accept(';');
}

void read_attribute(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    const auto name = cursor.read_text("the attribute's name", true);
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const subject subject = read_subject(reading);
    std::string_view value = read_attribute_value(cursor);
    cursor.accept(';');
    // An enumeration's value is written as its number or its text.
    if (const auto found = reading.enumerations.find(name); found != reading.enumerations.end()) {
        size_t index = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), index);
        if (error == std::errc() && end == value.data() + value.size() && index < found->second.size()) {
            value = found->second[index];
        }
    }
    if (subject.kind == subject::kind::file) {
        reading.file.attributes.push_back({name, value});
    } else if (subject.message != nullptr) {
        subject.message->attributes.push_back({name, value});
    } else if (subject.signal != nullptr) {
        subject.signal->attributes.push_back({name, value});
    } else if (subject.kind != subject::kind::other) {
        reading.warn_at(offset, "the attribute '" + to_utf8(name) + "' of " + subject.label +
                                    " is left out: there is no such thing");
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
