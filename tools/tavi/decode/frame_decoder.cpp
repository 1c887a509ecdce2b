#include "tools/tavi/decode/frame_decoder.hpp"

#include <algorithm>
#include <cstdio>
#include <new>
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
                             row_writer& rows, message_sink& messages, frame_counts& totals, const log_sources& all,
                             source_number number_of)
    : options_(options), log_(log_name(options)), catalogue_(catalogue), selection_(selection), rows_(rows),
      messages_(messages), totals_(totals), all_(all), number_of_(std::move(number_of)),
      package_(qor::can_header_size + qor::can_max_data_size) {
    package_.set_format(options.j1939 ? qor::j1939_format : qor::can_format);
}

void frame_decoder::begin(host::package_reader& reader) {
    reader_ = &reader;
    counts_ = reader.properties().places == QOR_RECORDING_PLACES_LINES ? host::recording_place::line
                                                                       : host::recording_place::byte;
    for (std::size_t index = 0; index < reader.sources().size(); ++index) {
        add_reader_sources(index);
        // What a receiver needs is looked at even if nothing comes of it.
        if (reader.sources()[index].kind == QOR_RECORDED_RECEIVER && !sources_[index].is_refused) {
            make_known(sources_[index].number);
        }
    }
}

void frame_decoder::decode(host::package_reader& reader, const host::recording_batch& batch) {
    reader_ = &reader;
    decode_all(batch);
}

void frame_decoder::decode(const host::recording_batch& batch, host::recording_place counts) {
    counts_ = counts;
    decode_all(batch);
}

void frame_decoder::decode_all(const host::recording_batch& batch) {
    std::size_t next = 0;
    for (const host::recording_fault& fault : batch.faults) {
        for (; next < fault.package && !is_ended_; ++next) {
            decode(batch.packages[next]);
        }
        if (is_ended_ || is_cut(fault.is_unended)) {
            return;
        }
        report_damage(fault);
    }
    for (; next < batch.packages.size() && !is_ended_; ++next) {
        decode(batch.packages[next]);
    }
}

// Most frames of most runs end here: no one selected them.
inline void frame_decoder::decode(const qor_recorded_package_t& package) {
    if (package.source >= sources_.size()) {
        add_reader_sources(package.source);
    }
    reader_source& source = sources_[package.source];
    if ((package.flags & ~QOR_RECORDED_TRANSMITTED) != 0 || source.routes == nullptr) {
        return decode_unusual(package, source);
    }
    const auto id = static_cast<std::uint32_t>(package.address);
    const std::uint32_t number = source.routes->find(id);
    if (number == interface_routes::unknown) {
        return count_unknown(id, 1);
    }
    if (number == interface_routes::not_selected) {
        ++totals_.not_selected;
        return;
    }
    decode_selected(package, *source.routes, (*source.routes)[number]);
}

void frame_decoder::decode_unusual(const qor_recorded_package_t& package, reader_source& source) {
    place_ = package.place;
    is_ended_ = is_cut((package.flags & QOR_RECORDED_UNENDED) != 0);
    if (is_ended_) {
        return;
    }
    if (source.is_refused) {
        return report_refused_source(package);
    }
    if (!source.has_frames) {
        return make_known(source.number).others->decode(package, host::time_text_of(package, time_), counts_);
    }
    if ((package.flags & (QOR_RECORDED_REMOTE | QOR_RECORDED_BUS_ERROR)) != 0) {
        ++((package.flags & QOR_RECORDED_BUS_ERROR) != 0 ? totals_.error_frames : totals_.remote);
        return;
    }
    if (source.routes == nullptr) {
        add_routes(package.source);
    }
    qor_recorded_package_t usual = package;
    usual.flags = 0;
    decode(usual);
}

// Of what an interrupt has cut, the last line is not known.
bool frame_decoder::is_cut(bool is_unended) const noexcept {
    return is_unended && qor::platform::interrupted();
}

void frame_decoder::count_unknown(std::uint32_t id, std::uint64_t frames) {
    totals_.unknown_ids += frames;
    // Of use only as long as nothing else comes.
    if (!totals_.has_known_ids()) {
        unknown_ids_.add(id, static_cast<std::uint32_t>(std::min<std::uint64_t>(frames, id_table::none - 1)));
    }
}

void frame_decoder::count_excluded(const host::package_reader& reader) {
    const auto excluded = reader.excluded();
    counted_excluded_.resize(excluded.size());
    for (std::size_t index = 0; index < excluded.size(); ++index) {
        const qor_excluded_packages_t& passed = excluded[index];
        const std::uint64_t count = passed.count - counted_excluded_[index];
        counted_excluded_[index] = passed.count;
        if (count == 0) {
            continue;
        }
        const auto id = static_cast<std::uint32_t>(passed.address);
        if ((passed.flags & (QOR_RECORDED_REMOTE | QOR_RECORDED_BUS_ERROR)) != 0) {
            ((passed.flags & QOR_RECORDED_BUS_ERROR) != 0 ? totals_.error_frames : totals_.remote) += count;
        } else if (sources_[passed.source].routes->find(id) == interface_routes::unknown) {
            count_unknown(id, count);
        } else {
            totals_.not_selected += count;
        }
    }
}

// Up to that index, in the order of the reader.
void frame_decoder::add_reader_sources(std::size_t index) {
    while (sources_.size() <= index) {
        reader_source& added = sources_.emplace_back();
        if (reader_ == nullptr) {
            added.is_refused = sources_.size() > log_sources::limit;
            added.number = sources_.size() - 1;
        } else {
            const auto number = number_of_(reader_->sources()[sources_.size() - 1]);
            added.is_refused = !number;
            added.number = number.value_or(0);
        }
        added.has_frames = !added.is_refused && all_.at(added.number).has_frames();
    }
}

// All of the recording up to that number, in order: names that differ only in what a source name cannot hold get
// numbers.
frame_decoder::known_source& frame_decoder::make_known(std::size_t number) {
    while (known_.size() <= number) {
        const log_source source = all_.at(known_.size());
        known_source& added = known_.emplace_back();
        const std::string source_name = unique_source_name(source.name);
        if (source.has_frames()) {
            added.routes = make_routes(known_.size() - 1, source.name, source_name);
        } else {
            added.others = std::make_unique<source_decoder>(options_, source, known_.size() - 1, source_name,
                                                            catalogue_, selection_, rows_, messages_, totals_);
        }
    }
    return known_[number];
}

// Frames that no one selected need not come: but in a strict run, which ends within a batch.
void frame_decoder::add_routes(std::size_t index) {
    sources_[index].routes = make_known(sources_[index].number).routes.get();
    if (reader_ == nullptr || !options_.filters || options_.catalogue.strict) {
        return;
    }
    if (const auto expression = sources_[index].routes->reader_filter()) {
        reader_->set_filter(index, *expression);
    }
}

void frame_decoder::report_damage(const host::recording_fault& fault) {
    place_ = fault.place;
    if (!messages_.shows(topic::damaged_line)) {
        messages_.add(topic::damaged_line);
        return;
    }
    messages_.report({topic::damaged_line, log_, fault.place, static_cast<std::size_t>(fault.column), fault.cause,
                      fault.text, fault.hint, fault.counts});
    if (options_.catalogue.strict) {
        throw command_error(fault.counts == host::recording_place::line
                                ? "tavi: error: stopped at the first damaged line (--strict)"
                                : "tavi: error: stopped at the first damaged place (--strict)");
    }
}

// In a text at the name of the source, as a word.
void frame_decoder::report_refused_source(const qor_recorded_package_t& package) {
    const std::string_view text =
        package.text != nullptr ? std::string_view(package.text, package.text_size) : std::string_view();
    const std::string name = reader_ != nullptr ? std::string(reader_->sources()[package.source].name) : "";
    const std::size_t at = text.find(' ' + name + ' ');
    const std::string cause = "the log has more than " + std::to_string(log_sources::limit) + " interfaces";
    report_damage({0, counts_, package.place, at != text.npos && !name.empty() ? at + 2 : 0, text, cause,
                   all_.limit_hint(), false});
}

void frame_decoder::decode_selected(const qor_recorded_package_t& package, interface_routes& interface, route& found) {
    place_ = package.place;
    if (!found.ready) {
        prepare(interface, found);
        report_shared_groups(package, found);
    }
    rows_.set_time(host::time_text_of(package, time_));
    bool has_values = false;
    const std::uint64_t short_before = totals_.short_frames;
    for (const std::size_t layer : found.layers) {
        package_.set_source(catalogue::interface_source_id, catalogue::instance_of(interface.number(), layer));
        catalogue_.extractor().process(
            package_.build({package.payload, static_cast<std::size_t>(package.payload_size)}), host::lenient, records_);
        for (const qor_dynamic_data_t& record : records_) {
            const auto wanted = std::find_if(found.targets.begin(), found.targets.end(), [&](const target* candidate) {
                return candidate->handle == record.subscription_handle;
            });
            if (wanted != found.targets.end()) {
                has_values = write_values(package, **wanted, record) || has_values;
            }
        }
    }
    ++(has_values ? totals_.matched : totals_.without_values);
    if (options_.catalogue.strict && totals_.short_frames != short_before) {
        throw command_error("tavi: error: stopped at the first short frame (--strict)");
    }
}

std::string frame_decoder::unique_source_name(const std::string& name) {
    std::string source_name = sanitized(name);
    for (int number = 2; !source_names_.insert(source_name).second; ++number) {
        source_name = sanitized(name) + '_' + std::to_string(number);
    }
    return source_name;
}

std::unique_ptr<interface_routes> frame_decoder::make_routes(std::size_t number, const std::string& name,
                                                             const std::string& source_name) {
    auto added = std::make_unique<interface_routes>(number, source_name, options_.j1939);
    messages_.set_subject(subject_of(number, 0));
    catalogue_.register_interface(number, name, source_name);
    for (message& known : selection_.messages()) {
        if (catalogue_.serves(known.description, name)) {
            added->add(known);
        }
    }
    messages_.set_subject(0);
    added->close();
    // Where all is selected, a filter excludes nothing that is known, and messages that never come need no
    // subscription.
    if (options_.filters && !options_.patterns.empty()) {
        apply_filter(*added);
    }
    return added;
}

// Only the first of like interfaces subscribes to all: on the others a message may never come.
void frame_decoder::apply_filter(interface_routes& interface) {
    const auto like = std::find_if(known_.begin(), known_.end(), [&](const known_source& other) {
        return other.routes != nullptr && other.routes->is_like(interface);
    });
    if (like != known_.end()) {
        interface.exclude_as(*like->routes);
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
void frame_decoder::report_shared_groups(const qor_recorded_package_t& package, const route& frames) {
    for (const target* const used : frames.by_group) {
        const message& first = *used->wanted;
        if (!told_shared_.insert(first.number).second) {
            continue;
        }
        const std::uint32_t group = qor::parameter_group(static_cast<std::uint32_t>(package.address));
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
        std::snprintf(id, sizeof id, "%08X", static_cast<unsigned>(package.address & qor::can_id_mask));
        const std::string cause = std::string("no message has the id ") + id + "; it is decoded as " + first.path +
                                  ", the first of parameter group " + std::to_string(group) + " in " +
                                  catalogue_.descriptions()[first.description].path + " (others: " + others + ")";
        messages_.set_subject(shared_group_subject | first.number);
        messages_.report({topic::note, log_, package.place, 0, cause, {}, {}, counts_});
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

bool frame_decoder::write_values(const qor_recorded_package_t& package, const target& wanted,
                                 const qor_dynamic_data_t& record) {
    const auto bytes = host::bytes_of(record);
    const std::uint64_t written = write_record(rows_, *wanted.plan, wanted.rows, bytes, readings_);
    totals_.values += written;
    if (const std::size_t lost = lost_values(*wanted.plan, bytes); lost != 0) {
        report_short(package, wanted, lost);
    }
    return written != 0;
}

void frame_decoder::report_short(const qor_recorded_package_t& package, const target& wanted, std::size_t lost) {
    ++totals_.short_frames;
    if (!messages_.shows(topic::short_frame)) {
        messages_.add(topic::short_frame);
        return;
    }
    const std::uint64_t length = package.payload_size - qor::can_header_size;
    const std::string cause = "a frame of " + std::to_string(length) + (length == 1 ? " byte, " : " bytes, ") +
                              wanted.wanted->path + " has " + std::to_string(wanted.plan->plan.record_size()) + ": " +
                              std::to_string(lost) + (lost == 1 ? " signal is" : " signals are") + " not in it";
    const std::string_view text =
        package.text != nullptr ? std::string_view(package.text, package.text_size) : std::string_view();
    messages_.report({topic::short_frame, log_, package.place, 0, cause, text, std::string_view{}, counts_});
}

void rethrow_with_place(const std::exception_ptr& failure, const std::string& log, std::uint64_t place,
                        host::recording_place counts) {
    try {
        std::rethrow_exception(failure);
    } catch (const host::error& error) {
        throw library_failure(place_text(log, place, 0, counts), error);
    }
}

void rethrow_reading_failure(const std::exception_ptr& failure, const std::string& log, std::uint64_t place,
                             host::recording_place counts) {
    // Nothing was read yet.
    counts = place == 0 ? host::recording_place::line : counts;
    try {
        std::rethrow_exception(failure);
    } catch (const host::error& error) {
        if (error.status() == QOR_STATUS_OUT_OF_MEMORY) {
            throw std::bad_alloc();
        }
        const std::string text = error.what();
        const std::size_t end = std::min(text.find('\n'), text.size());
        throw command_error(place_text(log, place, 0, counts) + ": error: " + printable(text.substr(0, end)),
                            exit_code::failed, text.substr(std::min(end + 1, text.size())));
    } catch (const std::system_error& error) {
        throw command_error(place_text(log, place, 0, counts) +
                            ": error: cannot be read further: " + error.code().message());
    }
}

} // namespace tavi::tool
