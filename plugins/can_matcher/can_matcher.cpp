// The plug-in: packages of the formats "can" and "j1939" (qorcpp/can_frame.hpp) against subscriptions.
//
// A frame is of a message when its id is the message's address, 29-bit flag included. A 29-bit id that no message of
// the description has may lead to a message of the same parameter group: in the format "j1939" to the first one of the
// description, in the format "can" to the first one that is marked as a parameter group. Which that is, and which ids
// the others have, is in the node of the message (qor_object_node_t), since only messages that are subscribed to get
// here. Remote frames, error frames and payloads that are no frame match no subscription.
//
// Example: a description has A with the id 0x18FEF100 and B with 0x18FEF121, both of the group 0xFEF1. A frame
// 0x18FEF121 is of B, and of nothing where B is not subscribed to; a frame 0x0CFEF142 is of A.
#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "plugins/can_matcher/frame_index.hpp"
#include "plugins/can_matcher/subscription.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_matcher.h"

namespace qor::can_matcher {

namespace {

constexpr const char* formats[] = {can_format, j1939_format};

struct arrived_frame {
    can_frame_view frame;
    bool is_j1939;
};

// Nothing for a package that no message can be in.
std::optional<arrived_frame> frame_of(const qor_package_t& package) noexcept {
    arrived_frame result{};
    const std::span payload(qor_package_payload(&package), package.payload_size);
    if (!read_can_frame(payload, result.frame) || (result.frame.id & (can_remote_bit | can_error_bit)) != 0) {
        return std::nullopt;
    }
    result.is_j1939 = package.format_type[0] == j1939_format[0] &&
                      std::strncmp(package.format_type, j1939_format, sizeof(package.format_type)) == 0;
    return result;
}

// The entries for a frame by its id and by its group as one list, ascending by handle.
class merged_entries {
public:
    merged_entries(std::uint32_t frame_id, std::span<const index_entry> by_id, std::span<const index_entry> by_group)
        : frame_id_(frame_id), by_id_(by_id), by_group_(by_group) {
        skip_refused();
    }

    bool empty() const noexcept { return by_id_.empty() && by_group_.empty(); }

    const index_entry& take() noexcept {
        if (by_group_.empty() || (!by_id_.empty() && by_id_.front().handle < by_group_.front().handle)) {
            return take_front(by_id_);
        }
        const index_entry& entry = take_front(by_group_);
        skip_refused();
        return entry;
    }

private:
    static const index_entry& take_front(std::span<const index_entry>& list) noexcept {
        const index_entry& entry = list.front();
        list = list.subspan(1);
        return entry;
    }

    void skip_refused() noexcept {
        while (!by_group_.empty() &&
               (by_group_.front().id == frame_id_ || !by_group_.front().target->takes_by_group(frame_id_))) {
            by_group_ = by_group_.subspan(1);
        }
    }

    std::uint32_t frame_id_;
    std::span<const index_entry> by_id_;
    std::span<const index_entry> by_group_;
};

class matcher {
public:
    explicit matcher(qor_service_locator_t*) {
        services_.offer(qor_data_matcher_support_t{sdk::slot<&matcher::register_type>,
                                                   sdk::slot<&matcher::unregister_type>, sdk::slot<&matcher::match>});
        services_.offer(qor_data_matcher_format_support_t{[](void*) { return std::size(formats); },
                                                          sdk::slot<&matcher::get_supported_format>});
        services_.offer(qor_data_matcher_batch_support_t{sdk::slot<&matcher::match_batch>});
    }

    sdk::service_table& services() noexcept { return services_; }

    void register_type(std::uint64_t handle, const char*, const qor_type_node_sequence_t* hierarchy,
                       std::uint64_t position, std::uint64_t size) {
        check_argument(hierarchy, "hierarchy");
        auto made = subscription::make(*hierarchy, position, size);
        // A matcher is told of every subscription, also of those to descriptions of other buses.
        if (!made) {
            return;
        }
        forget(handle);
        const subscription& kept = subscriptions_.emplace(handle, std::move(*made)).first->second;
        ids_.insert(kept.id(), handle, kept);
        if (kept.is_parameter_group()) {
            marked_groups_.insert(parameter_group(kept.id()), handle, kept);
        }
        if (kept.is_j1939_group()) {
            j1939_groups_.insert(parameter_group(kept.id()), handle, kept);
        }
    }

    void unregister_type(std::uint64_t handle) { forget(handle); }

    void match(std::uint64_t handle, const qor_package_t* package, bool lenient, bool* matched, std::uint64_t* offset,
               std::uint64_t* size, std::uint64_t* expected_size) {
        check_argument(package, "package");
        check_argument(matched, "matched");
        check_argument(offset, "offset");
        check_argument(size, "size");
        check_argument(expected_size, "expected_size");
        *matched = false;
        const auto found = subscriptions_.find(handle);
        const auto arrived = frame_of(*package);
        if (found == subscriptions_.end() || !arrived || !found->second.fits(arrived->frame, arrived->is_j1939)) {
            return;
        }
        if (const auto place = found->second.locate(arrived->frame, lenient)) {
            *matched = true;
            *offset = place->offset;
            *size = place->size;
            *expected_size = place->expected_size;
        }
    }

    void match_batch(const qor_package_t* package, const std::uint64_t* handles, std::size_t handle_count, bool lenient,
                     qor_match_outcome_t* outcomes, std::size_t* outcome_count) {
        check_argument(package, "package");
        check_argument(outcome_count, "outcome_count");
        *outcome_count = 0;
        if (handle_count == 0) {
            return;
        }
        check_argument(handles, "handles");
        check_argument(outcomes, "outcomes");
        const auto arrived = frame_of(*package);
        if (!arrived) {
            return;
        }
        const std::span list(handles, handle_count);
        for (auto waiting = waiting_for(*arrived); !waiting.empty();) {
            // Subscriptions of other sources wait for the same frame.
            std::array<const index_entry*, 16> asked;
            std::size_t count = 0;
            while (!waiting.empty() && count != asked.size()) {
                const index_entry& entry = waiting.take();
                asked[count] = &entry;
                count += entry.places.find(list, entry.handle) ? 1 : 0;
            }
            for (const index_entry* entry : std::span(asked).first(count)) {
                if (const auto place = entry->target->locate(arrived->frame, lenient)) {
                    outcomes[(*outcome_count)++] = {entry->handle, place->offset, place->size, place->expected_size};
                }
            }
        }
    }

    void get_supported_format(std::size_t index, const char** format) {
        check_argument(format, "format");
        if (index >= std::size(formats)) {
            throw std::invalid_argument("there is no format " + std::to_string(index));
        }
        *format = formats[index];
    }

private:
    merged_entries waiting_for(const arrived_frame& arrived) const noexcept {
        const std::uint32_t id = arrived.frame.id;
        if ((id & can_extended_bit) == 0) {
            return {id, ids_.find(id), {}};
        }
        const frame_index& groups = arrived.is_j1939 ? j1939_groups_ : marked_groups_;
        return {id, ids_.find(id), groups.find(parameter_group(id))};
    }

    void forget(std::uint64_t handle) {
        const auto found = subscriptions_.find(handle);
        if (found == subscriptions_.end()) {
            return;
        }
        const std::uint32_t id = found->second.id();
        ids_.erase(id, handle);
        marked_groups_.erase(parameter_group(id), handle);
        j1939_groups_.erase(parameter_group(id), handle);
        subscriptions_.erase(found);
        if (subscriptions_.empty()) {
            ids_.clear();
            marked_groups_.clear();
            j1939_groups_.clear();
        }
    }

    sdk::service_table services_;
    // The indices point to these.
    std::unordered_map<std::uint64_t, subscription> subscriptions_;
    // All of them, by id.
    frame_index ids_;
    // By parameter group, those that may be matched so in the format "can" and in "j1939".
    frame_index marked_groups_;
    frame_index j1939_groups_;
};

} // namespace

} // namespace qor::can_matcher

QOR_DATA_MATCHER(qor::can_matcher::matcher)
