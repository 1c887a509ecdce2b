// The plug-in: packages of the formats "can" and "j1939" (qorcpp/can_frame.hpp) against subscriptions.
//
// A frame is of a message when its id is the message's address, 29-bit flag included. A 29-bit id that no message of
// the description has may lead to a message of the same parameter group: in the format "j1939" to the first one of the
// description, in the format "can" to the first one that is marked as a parameter group. Which that is, and which ids
// the others have, is in the node of the message (qor_object_node_t), since only messages that are subscribed to get
// here. Remote frames, error frames and payloads that are no frame match no subscription.
//
// A host that names the sources of subscriptions has an index of its own for each source, so that a frame costs the
// same however many buses carry its id.
//
// Example: a description has A with the id 0x18FEF100 and B with 0x18FEF121, both of the group 0xFEF1. A frame
// 0x18FEF121 is of B, and of nothing where B is not subscribed to; a frame 0x0CFEF142 is of A.
#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "plugins/can_matcher/frame_index.hpp"
#include "plugins/can_matcher/subscription.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_matcher.h"
#include "qorcpp/source_key.hpp"

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
    merged_entries(std::uint32_t frame_id, std::span<index_entry> by_id, std::span<index_entry> by_group)
        : frame_id_(frame_id), by_id_(by_id), by_group_(by_group) {
        skip_ended();
        skip_refused();
    }

    bool empty() const noexcept { return by_id_.empty() && by_group_.empty(); }

    index_entry& take() noexcept {
        if (by_group_.empty() || (!by_id_.empty() && by_id_.front().handle < by_group_.front().handle)) {
            index_entry& entry = take_front(by_id_);
            skip_ended();
            return entry;
        }
        index_entry& entry = take_front(by_group_);
        skip_refused();
        return entry;
    }

private:
    static index_entry& take_front(std::span<index_entry>& list) noexcept {
        index_entry& entry = list.front();
        list = list.subspan(1);
        return entry;
    }

    void skip_ended() noexcept {
        while (!by_id_.empty() && by_id_.front().target == nullptr) {
            by_id_ = by_id_.subspan(1);
        }
    }

    void skip_refused() noexcept {
        while (!by_group_.empty() && is_refused(by_group_.front())) {
            by_group_ = by_group_.subspan(1);
        }
    }

    bool is_refused(const index_entry& entry) const noexcept {
        return entry.target == nullptr || entry.id == frame_id_ || !entry.target->takes_by_group(frame_id_);
    }

    std::uint32_t frame_id_;
    std::span<index_entry> by_id_;
    std::span<index_entry> by_group_;
};

class matcher {
public:
    explicit matcher(qor_service_locator_t*) {
        services_.offer(qor_data_matcher_support_t{sdk::slot<&matcher::register_type>,
                                                   sdk::slot<&matcher::unregister_type>, sdk::slot<&matcher::match>});
        services_.offer(qor_data_matcher_format_support_t{[](void*) { return std::size(formats); },
                                                          sdk::slot<&matcher::get_supported_format>});
        services_.offer(qor_data_matcher_batch_support_t{sdk::slot<&matcher::match_batch>});
        services_.offer(qor_data_matcher_source_support_t{sdk::slot<&matcher::set_source>});
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
        enter(handle, subscriptions_.try_emplace(handle, announced{std::move(*made), 0}).first->second);
    }

    void set_source(std::uint64_t handle, std::uint16_t source_id, std::uint32_t instance) {
        names_sources_ = true;
        const auto found = subscriptions_.find(handle);
        if (found != subscriptions_.end()) {
            leave(handle, found->second);
            found->second.source = source_key(source_id, instance);
            enter(handle, found->second);
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
        if (found == subscriptions_.end() || !arrived || !found->second.what.fits(arrived->frame, arrived->is_j1939)) {
            return;
        }
        if (const auto place = found->second.what.locate(arrived->frame, lenient)) {
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
        const std::uint64_t source = names_sources_ ? source_key_of(*package) : 0;
        for (auto waiting = waiting_for(source, *arrived); !waiting.empty();) {
            index_entry& entry = waiting.take();
            if (!entry.place.find(list, entry.handle)) {
                continue; // of another source, or not yet in the list
            }
            if (const auto place = entry.target->locate(arrived->frame, lenient)) {
                outcomes[(*outcome_count)++] = {entry.handle, place->offset, place->size, place->expected_size};
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
    struct announced {
        subscription what;
        // The key of its source, 0 as long as it is not named.
        std::uint64_t source;
    };

    merged_entries waiting_for(std::uint64_t source, const arrived_frame& arrived) noexcept {
        const std::uint32_t id = arrived.frame.id;
        if ((id & can_extended_bit) == 0) {
            return {id, ids_.find({source, id}), {}};
        }
        frame_index& groups = arrived.is_j1939 ? j1939_groups_ : marked_groups_;
        return {id, ids_.find({source, id}), groups.find({source, parameter_group(id)})};
    }

    void enter(std::uint64_t handle, const announced& entered) {
        const subscription& what = entered.what;
        ids_.insert({entered.source, what.id()}, handle, what);
        if (what.is_parameter_group()) {
            marked_groups_.insert({entered.source, parameter_group(what.id())}, handle, what);
        }
        if (what.is_j1939_group()) {
            j1939_groups_.insert({entered.source, parameter_group(what.id())}, handle, what);
        }
    }

    void leave(std::uint64_t handle, const announced& left) noexcept {
        const frame_key group{left.source, parameter_group(left.what.id())};
        ids_.erase({left.source, left.what.id()}, handle);
        marked_groups_.erase(group, handle);
        j1939_groups_.erase(group, handle);
    }

    void forget(std::uint64_t handle) {
        const auto found = subscriptions_.find(handle);
        if (found == subscriptions_.end()) {
            return;
        }
        leave(handle, found->second);
        subscriptions_.erase(found);
        if (subscriptions_.empty()) {
            ids_.clear();
            marked_groups_.clear();
            j1939_groups_.clear();
        }
    }

    sdk::service_table services_;
    // The indices point to these.
    std::unordered_map<std::uint64_t, announced> subscriptions_;
    // Whether the host says of which sources they are.
    bool names_sources_ = false;
    // All of them, by id.
    frame_index ids_;
    // By parameter group, those that may be matched so in the format "can" and in "j1939".
    frame_index marked_groups_;
    frame_index j1939_groups_;
};

} // namespace

} // namespace qor::can_matcher

QOR_DATA_MATCHER(qor::can_matcher::matcher)
