#include "tools/tavi/decode/frame_decoder.hpp"

#include <algorithm>
#include <cstdio>
#include <system_error>
#include <utility>

#include "qorc/extensibility/data_source.h"
#include "qorcpp/can_frame.hpp"
#include "qorcpp/platform/stream.hpp"
#include "tools/tavi/decode/record_rows.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/library_failure.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t longest_source_name = 254;

std::string sanitized(const std::string& name) {
    std::string result(longest_source_name + 2, '\0');
    std::size_t size = result.size();
    if (qor_data_source_sanitize_name(name.c_str(), result.data(), &size, nullptr) != QOR_STATUS_OK) {
        throw command_error("tavi: error: the interface '" + printable(name) + "' cannot be a source");
    }
    result.resize(size - 1);
    return result;
}

constexpr std::size_t named_messages = 4;
constexpr std::uint64_t shared_group_subject = UINT64_C(1) << 63;

// For message_sink::set_subject: what came up when a message, counted from 1, was prepared on an interface; 0 for what
// came up before any was.
std::uint64_t subject_of(std::size_t interface, std::size_t message) noexcept {
    return (std::uint64_t{interface} + 1) << 32 | message;
}

} // namespace

frame_decoder::frame_decoder(const decode_options& options, catalogue& catalogue, selection& selection,
                             row_writer& rows, message_sink& messages, frame_counts& totals, interface_name name_of)
    : options_(options), log_(log_name(options)), catalogue_(catalogue), selection_(selection), rows_(rows),
      messages_(messages), totals_(totals), name_of_(std::move(name_of)),
      package_(options.j1939 ? qor::j1939_format : qor::can_format) {}

// Most frames of most runs end here: nobody asked for them.
inline void frame_decoder::decode(const host::candump_reader& reader, const host::candump_frame& frame) {
    if ((frame.id & (qor::can_remote_bit | qor::can_error_bit)) != 0) {
        ++((frame.id & qor::can_error_bit) != 0 ? totals_.error_frames : totals_.remote);
        return;
    }
    while (interfaces_.size() <= frame.channel) {
        add_interface(name_of_(interfaces_.size()));
    }
    interface_routes& interface = *interfaces_[frame.channel];
    const std::uint32_t number = interface.find(frame.id);
    if (number == interface_routes::not_selected || number == interface_routes::unknown) {
        if (number == interface_routes::unknown) {
            ++totals_.unknown_ids;
            // Of use only as long as nothing else comes.
            if (!totals_.has_known_ids()) {
                unknown_ids_.add(frame.id);
            }
            return;
        }
        ++totals_.not_selected;
        return;
    }
    decode_wanted(reader, frame, interface, interface[number]);
}

void frame_decoder::decode_all(host::candump_reader& reader) {
    host::candump_frame frame;
    for (auto outcome = reader.next(frame); outcome != host::candump_reader::outcome::end;
         outcome = reader.next(frame)) {
        if (!reader.line_has_end() && qor::platform::interrupted()) {
            return; // the part of a line that was read before the interrupt
        }
        if (outcome == host::candump_reader::outcome::frame) {
            decode(reader, frame);
        } else {
            report_damage(reader);
        }
    }
}

void frame_decoder::report_damage(const host::candump_reader& reader) {
    if (!messages_.shows(topic::damaged_line)) {
        messages_.add(topic::damaged_line);
        return;
    }
    const host::candump_fault& fault = reader.fault();
    messages_.report(
        {topic::damaged_line, log_, reader.line_number(), fault.column, fault.cause, reader.line_text(), fault.hint});
    if (options_.catalogue.strict) {
        throw command_error("tavi: error: stopped at the first damaged line (--strict)");
    }
}

void frame_decoder::decode_wanted(const host::candump_reader& reader, const host::candump_frame& frame,
                                  interface_routes& interface, route& found) {
    if (!found.ready) {
        prepare(interface, found);
        report_shared_groups(reader, frame, found);
    }
    rows_.set_time(frame.time);
    bool has_values = false;
    const std::uint64_t short_before = totals_.short_frames;
    for (const std::size_t layer : found.layers) {
        package_.set_source(catalogue::interface_source_id, catalogue::instance_of(interface.number(), layer));
        catalogue_.extractor().process(package_.build(frame.id, frame.flags, {frame.data.data(), frame.length}),
                                       host::lenient, records_);
        for (const qor_dynamic_data_t& record : records_) {
            const auto wanted = std::find_if(found.targets.begin(), found.targets.end(), [&](const target* candidate) {
                return candidate->handle == record.subscription_handle;
            });
            if (wanted != found.targets.end()) {
                has_values = write_values(reader, frame, **wanted, record) || has_values;
            }
        }
    }
    ++(has_values ? totals_.matched : totals_.without_values);
    if (options_.catalogue.strict && totals_.short_frames != short_before) {
        throw command_error("tavi: error: stopped at the first short frame (--strict)");
    }
}

interface_routes& frame_decoder::add_interface(const std::string& name) {
    // Two interfaces whose names differ only in what a source name cannot hold stay two sources.
    std::string source_name = sanitized(name);
    for (int number = 2; !source_names_.insert(source_name).second; ++number) {
        source_name = sanitized(name) + '_' + std::to_string(number);
    }
    interface_routes& added =
        *interfaces_.emplace_back(std::make_unique<interface_routes>(interfaces_.size(), source_name, options_.j1939));
    messages_.set_subject(subject_of(added.number(), 0));
    catalogue_.register_interface(added.number(), name, source_name);
    for (message& known : selection_.messages()) {
        if (catalogue_.serves(known.description, name)) {
            added.add(known);
        }
    }
    messages_.set_subject(0);
    added.close();
    // Where all is asked for, a filter excludes nothing that is known, and messages that never come need no
    // subscription.
    if (options_.filters && !options_.patterns.empty()) {
        apply_filter(added);
    }
    return added;
}

// Only the first of like interfaces subscribes to all: on the others a message may never come.
void frame_decoder::apply_filter(interface_routes& interface) {
    const auto like = std::find_if(interfaces_.begin(), interfaces_.end(),
                                   [&](const auto& other) { return other->is_like(interface); });
    if (like->get() != &interface) {
        interface.exclude_as(**like);
        return;
    }
    for (const auto& wanted : interface.targets()) {
        try {
            subscribe(interface, *wanted);
        } catch (const host::error&) {
            // It fails the run if a frame of it comes.
            messages_.set_subject(0);
        }
    }
    interface.exclude(host::reader_filter(catalogue_.extractor().reader_filter()), catalogue::interface_source_id);
}

void frame_decoder::prepare(interface_routes& interface, route& frames) {
    for (target* wanted : frames.targets) {
        if (wanted->handle == 0) {
            subscribe(interface, *wanted);
        }
        if (wanted->plan == nullptr) {
            const message_plan& plan = selection_.plan_of(*wanted->wanted, catalogue_.extractor(), wanted->handle);
            report_unreadable(*wanted->wanted, plan);
            wanted->rows = make_rows(rows_, interface.source_name(), *wanted->wanted, plan);
            wanted->plan = &plan;
        }
    }
    frames.ready = true;
}

// Once whatever the number of interfaces: the description is at fault.
void frame_decoder::report_unreadable(const message& subscribed, const message_plan& plan) {
    if (told_unreadable_.insert(subscribed.number).second) {
        messages_.set_subject(subscribed.number);
        tool::report_unreadable(subscribed, plan, catalogue_, messages_);
        messages_.set_subject(0);
    }
}

// Once for each message that gets frames for others of its parameter group too.
void frame_decoder::report_shared_groups(const host::candump_reader& reader, const host::candump_frame& frame,
                                         const route& frames) {
    for (const target* const used : frames.by_group) {
        const message& first = *used->wanted;
        if (!told_shared_.insert(first.number).second) {
            continue;
        }
        const std::uint32_t group = qor::parameter_group(frame.id);
        std::string others;
        std::size_t count = 0;
        for (const message& other : selection_.messages()) {
            const auto id = static_cast<std::uint32_t>(other.address);
            if (other.description == first.description && &other != &first && other.address <= UINT32_MAX &&
                (id & qor::can_extended_bit) != 0 && qor::parameter_group(id) == group && ++count <= named_messages) {
                others += (others.empty() ? "" : ", ") + other.path;
            }
        }
        if (count == 0) {
            continue;
        }
        others += count > named_messages ? " and " + std::to_string(count - named_messages) + " more" : "";
        char id[9];
        std::snprintf(id, sizeof id, "%08X", static_cast<unsigned>(frame.id & ~qor::can_extended_bit));
        const std::string cause = std::string("no message has the id ") + id + "; it is decoded as " + first.path +
                                  ", the first of parameter group " + std::to_string(group) + " in " +
                                  catalogue_.descriptions()[first.description].path + " (others: " + others + ")";
        messages_.set_subject(shared_group_subject | first.number);
        messages_.report({topic::note, log_, reader.line_number(), 0, cause, {}, {}});
        messages_.set_subject(0);
    }
}

void frame_decoder::subscribe(const interface_routes& interface, target& wanted) {
    const message& subscribed = *wanted.wanted;
    messages_.set_subject(subject_of(interface.number(), subscribed.number));
    const std::uint32_t instance = catalogue::instance_of(interface.number(), subscribed.layer);
    wanted.handle = catalogue_.extractor().subscribe(std::to_string(catalogue::interface_source_id) + '#' +
                                                         std::to_string(instance) + '.' + subscribed.own_path,
                                                     host::lenient);
    messages_.set_subject(0);
}

bool frame_decoder::write_values(const host::candump_reader& reader, const host::candump_frame& frame,
                                 const target& wanted, const qor_dynamic_data_t& record) {
    const auto bytes = host::bytes_of(record);
    const std::uint64_t written = write_record(rows_, *wanted.plan, wanted.rows, bytes, readings_);
    totals_.values += written;
    if (const std::size_t lost = lost_values(*wanted.plan, bytes); lost != 0) {
        report_short(reader, frame, wanted, lost);
    }
    return written != 0;
}

void frame_decoder::report_short(const host::candump_reader& reader, const host::candump_frame& frame,
                                 const target& wanted, std::size_t lost) {
    ++totals_.short_frames;
    if (!messages_.shows(topic::short_frame)) {
        messages_.add(topic::short_frame);
        return;
    }
    const std::string cause = "a frame of " + std::to_string(frame.length) +
                              (frame.length == 1 ? " byte, " : " bytes, ") + wanted.wanted->path + " has " +
                              std::to_string(wanted.plan->plan.record_size()) + ": " + std::to_string(lost) +
                              (lost == 1 ? " signal is" : " signals are") + " not in it";
    const diagnostic message{topic::short_frame, log_, reader.line_number(), 0, cause, reader.line_text(),
                             std::string_view{}};
    messages_.report(message);
}

void rethrow_with_place(const std::exception_ptr& failure, const std::string& log, std::uint64_t line) {
    try {
        std::rethrow_exception(failure);
    } catch (const host::error& error) {
        throw library_failure(place_text(log, line, 0), error);
    } catch (const std::system_error& error) {
        throw command_error(place_text(log, line, 0) + ": error: cannot be read further: " + error.code().message());
    }
}

} // namespace tavi::tool
