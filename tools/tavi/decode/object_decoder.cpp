#include "tools/tavi/decode/object_decoder.hpp"

#include <algorithm>
#include <unordered_set>

namespace tavi::tool {

namespace {

// The record of an array without the elements at its end whose bytes are all zero.
std::span<const std::uint8_t> without_zero_elements(std::span<const std::uint8_t> record,
                                                    const qor_type_node_t& object) noexcept {
    const std::size_t size = object.object.element_size;
    if (object.object.element_count < 2 || size == 0) {
        return record;
    }
    const auto last = std::find_if(record.rbegin(), record.rend(), [](std::uint8_t byte) { return byte != 0; });
    const auto used = static_cast<std::size_t>(record.rend() - last);
    return record.first(std::min(record.size(), (used + size - 1) / size * size));
}

} // namespace

object_decoder::object_decoder(std::uint16_t source_id, std::uint32_t instance, const std::string& name,
                               const std::string& source_name, catalogue& catalogue, selection& selection,
                               row_writer& rows, message_sink& messages, zero_elements zeros)
    : source_id_(source_id), instance_(instance), catalogue_(catalogue), writer_(rows), zeros_(zeros) {
    records_[0];
    // Messages of one path in two descriptions are the same.
    std::unordered_set<std::string_view> paths;
    for (message& candidate : selection.messages()) {
        if (candidate.selected && catalogue.serves(candidate.description, name) &&
            paths.insert(candidate.path).second) {
            const std::string source = std::to_string(source_id) + '#' +
                                       std::to_string(catalogue::instance_of(instance, candidate.layer)) + '.';
            const std::uint64_t handle = catalogue_.extractor().subscribe(source + candidate.own_path, host::lenient);
            records_[candidate.layer];
            const message_plan& plan = selection.plan_of(candidate, catalogue_.extractor(), handle);
            report_unreadable(candidate, plan, catalogue, messages);
            objects_.push_back({handle, &candidate, &plan, make_rows(rows, source_name, candidate, plan)});
        }
    }
    std::sort(objects_.begin(), objects_.end(),
              [](const object& left, const object& right) { return left.handle < right.handle; });
}

const object_decoder::object* object_decoder::find(std::uint64_t handle) const {
    const auto found =
        std::lower_bound(objects_.begin(), objects_.end(), handle,
                         [](const object& candidate, std::uint64_t value) { return candidate.handle < value; });
    return found != objects_.end() && found->handle == handle ? &*found : nullptr;
}

std::uint64_t object_decoder::decode(host::package_builder& package, std::string_view time,
                                     const short_record& report) {
    writer_.set_time(time);
    found_count_ = 0;
    written_ = 0;
    for (auto& [layer, records] : records_) {
        package.set_source(source_id_, catalogue::instance_of(instance_, layer));
        catalogue_.extractor().process(package.package(), host::lenient, records);
        write(records, report);
    }
    return written_;
}

void object_decoder::write(const host::record_list& records, const short_record& report) {
    for (const qor_dynamic_data_t& record : records) {
        const object* const served = find(record.subscription_handle);
        if (served == nullptr) {
            continue;
        }
        ++found_count_;
        auto bytes = host::bytes_of(record);
        if (zeros_ == zero_elements::left_out) {
            bytes = without_zero_elements(bytes, *served->subscribed->node);
        }
        written_ += write_record(writer_, *served->plan, served->rows, bytes, readings_);
        if (const std::size_t lost = report ? lost_values(*served->plan, bytes) : 0; lost != 0) {
            report(*served->subscribed, bytes.size(), served->plan->plan.record_size(), lost);
        }
    }
}

bool object_decoder::served(std::uint64_t handle) const noexcept {
    return std::any_of(records_.begin(), records_.end(), [&](const auto& of_layer) {
        const host::record_list& records = of_layer.second;
        return std::any_of(records.begin(), records.end(),
                           [&](const qor_dynamic_data_t& record) { return record.subscription_handle == handle; });
    });
}

} // namespace tavi::tool
