// What becomes of the frames of one interface: from frame id to the messages that may read it.
//
// Each description says by itself which message has a frame: all that have its id; where none has, and the id has 29
// bits, the first message of its parameter group, where groups count.
#ifndef TOOLS_TAVI_DECODE_INTERFACE_ROUTES_HPP
#define TOOLS_TAVI_DECODE_INTERFACE_ROUTES_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qorcpp/can_frame.hpp"
#include "tavi/reader_filter.hpp"
#include "tools/tavi/decode/id_table.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/output/row_writer.hpp"

namespace tavi::tool {

// A message asked for, on one interface.
struct target {
    message* wanted = nullptr;
    // 0 until the first frame came and it was subscribed to.
    std::uint64_t handle = 0;
    const message_plan* plan = nullptr;
    // By row of the plan; rows that were not selected are left empty.
    row_texts rows;
};

// The messages that a frame id belongs to.
struct route {
    // In the order of the descriptions.
    std::vector<target*> targets;
    // Those of the targets, ascending: a package goes to the source of each.
    std::vector<std::size_t> layers;
    // Those whose description has the parameter group of the id, not the id.
    std::vector<const target*> by_group;
    // Whether all targets are subscribed to.
    bool ready = false;
};

// Thread: one at a time.
class interface_routes {
public:
    // source_name  as in URLs
    // j1939        the parameter group counts for all messages with 29-bit ids, not only for those marked as groups
    interface_routes(std::size_t number, std::string source_name, bool j1939)
        : number_(number), source_name_(std::move(source_name)), j1939_(j1939), routes_(1) {}

    std::size_t number() const noexcept { return number_; }
    const std::string& source_name() const noexcept { return source_name_; }

    // Adds a message of a description that is meant for the interface, in order. One of the path of another is the same
    // and is not decoded a second time.
    void add(message& added);
    // Requires: all messages are added. To be called once, before anything below.
    void close();

    // Numbers of routes.
    static constexpr std::uint32_t unknown = id_table::none;
    static constexpr std::uint32_t not_selected = 0; // its messages are known, none was asked for

    // What to do with a frame of that id (flag bits of qorcpp/can_frame.hpp).
    std::uint32_t find(std::uint32_t id) const noexcept {
        const std::uint32_t found = by_id_.find(id);
        return found == unknown && (id & qor::can_extended_bit) != 0 ? by_group_.find(qor::parameter_group(id)) : found;
    }

    // Takes the ids that the filter excludes for those of messages that were not selected. A filter cannot say which
    // ids a parameter group has, nor does it know of messages that are not subscribed to: these stay.
    void exclude(const host::reader_filter& filter, std::uint16_t source_id);

    // Whether the same messages were added in the same order.
    bool is_like(const interface_routes& other) const noexcept { return messages_ == other.messages_; }

    // Takes over what a filter excluded there: told by the same messages it says the same of every interface.
    // Requires: is_like(other).
    void exclude_as(const interface_routes& other) { by_id_ = other.by_id_; }

    // What a reader of the interface may pass over: an expression that accepts the ids of routes alone. Nothing when a
    // parameter group has a route, since an expression cannot say which ids that has.
    std::optional<std::string> reader_filter();

    // Messages asked for.
    const std::vector<std::unique_ptr<target>>& targets() const noexcept { return targets_; }

    // Requires: a number that find gave, not `unknown`.
    route& operator[](std::uint32_t number) noexcept { return routes_[number]; }

private:
    // A message that frames can be of.
    struct member {
        std::uint32_t id;
        const message* known;
        target* wanted; // null when it was not selected
    };

    bool is_group(const member& candidate) const noexcept;
    void add_description(std::span<const member> members, std::span<const std::uint32_t> ids);
    void append(id_table& table, std::uint32_t key, target* wanted, bool by_group);

    std::size_t number_;
    std::string source_name_;
    bool j1939_;
    // All that were added, asked for or not.
    std::vector<const message*> messages_;
    std::vector<std::unique_ptr<target>> targets_;
    std::unordered_map<std::string_view, target*> paths_;
    // In the order in which they were added; empty once the tables are made.
    std::vector<member> members_;
    // The first is that of all ids that were not selected.
    std::vector<route> routes_;
    id_table by_id_;
    id_table by_group_;
};

} // namespace tavi::tool

#endif
