// Which messages and signals of the descriptions a run was asked for.
#ifndef TOOLS_TAVI_DECODE_SELECTION_HPP
#define TOOLS_TAVI_DECODE_SELECTION_HPP

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "tavi/nodes.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/url_pattern_set.hpp"
#include "tools/tavi/decode/catalogue.hpp"

namespace tavi::tool {

// How the records of a message are read; made when its first frame comes.
struct message_plan {
    host::node_tree tree;
    // Reads what was asked for.
    host::record_plan plan;
    // Those rows, ascending.
    std::vector<std::uint32_t> rows;
};

// The view that descriptions of frames have: addresses below it are frame ids.
inline constexpr std::string_view view_of_frames = "CAN";

// A message of a description, asked for or not.
struct message {
    std::size_t description = 0;
    // From 1, in the order of the selection.
    std::size_t number = 0;
    // Below the source, as a URL expression has it: "CAN.EngineData", with the name of catalogue::names.
    std::string path;
    // The same with the name that it has in its description.
    std::string own_path;
    // The level above: "CAN".
    std::string view;
    // Frame id with bit 31 set for 29-bit ids; QOR_OBJECT_ bits.
    std::uint64_t address = 0;
    std::uint32_t flags = 0;
    // See message_names.
    std::size_t layer = 0;
    bool selected = false;
    // The record of the catalogue, which belongs to the selection.
    const qor_type_node_t* node = nullptr;
    std::unique_ptr<message_plan> plan;
    std::once_flag plan_once;
};

// Thread: plan_of any, all else one at a time.
class selection {
public:
    // Reads from the catalogue what the patterns need, everything for none.
    // Throws: command_error for a pattern that is none or that nothing fits.
    selection(catalogue& catalogue, const std::vector<std::string>& patterns);

    // In the order of the descriptions. Each stays where it is.
    std::deque<message>& messages() noexcept { return messages_; }

    // The plan of a selected message, made by the first that asks from a subscription to it: of an extractor on the
    // catalogue that was read from. Throws: host::error, std::exception for a layout that has no reading.
    const message_plan& plan_of(message& selected, host::extractor& extractor, std::uint64_t handle);

private:
    // Elements of each level of a path, as host::url_pattern takes them.
    using level_counts = std::vector<std::uint64_t>;

    bool is_wanted(std::string_view path, const level_counts& counts) const;
    void add_view(std::size_t description, const qor_type_node_t& view, std::vector<bool>& used);
    bool mark_used(std::string_view path, const level_counts& counts, std::vector<bool>& used) const;
    bool wants_part_of(message& candidate, level_counts& counts, std::vector<bool>& used);
    bool find_wanted(const std::string& path, level_counts& counts, const host::node_tree& tree,
                     std::vector<bool>& used) const;
    std::unique_ptr<message_plan> make_plan(const message& selected, host::extractor& extractor,
                                            std::uint64_t handle) const;
    std::vector<std::uint32_t> wanted_rows(const message& selected, const host::record_plan& plan) const;

    catalogue& catalogue_;
    host::url_pattern_set patterns_;
    // Of the description that is being added.
    std::unordered_set<std::string> own_paths_;
    // Nodes that `messages_` points into.
    std::deque<host::nodes> nodes_;
    std::deque<message> messages_;
};

// The whole path of a row, below the source: "CAN.EngineData.EngineSpeed".
std::string row_path(const message& read, const host::record_plan& plan, std::size_t row);

} // namespace tavi::tool

#endif
