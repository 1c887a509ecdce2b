// Flattens the type of a subscription into the rows of a record_plan.
#ifndef HOST_SRC_PLAN_PLAN_COMPILER_HPP
#define HOST_SRC_PLAN_PLAN_COMPILER_HPP

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/src/plan/plan_code.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/signal/signal_type_base.hpp"
#include "introspection/xtypes/struct_type.hpp"
#include "tavi/record_plan.hpp"

namespace tavi::host {

// Used once: compile, then take rows() and code().
class plan_compiler {
public:
    // As the constructor of record_plan.
    plan_compiler(const qor::introspection::xtypes::dynamic_type& type, const node_tree* tree, std::uint64_t offset);

    // Throws: as the constructor of record_plan.
    void compile();

    std::vector<plan_row>& rows() noexcept { return rows_; }
    plan_code& code() noexcept { return code_; }
    bool names_subscribed_level() const noexcept { return names_subscribed_level_; }

private:
    void add_type(const qor::introspection::xtypes::dynamic_type& type, const std::string& name, std::uint64_t offset,
                  const node_tree* tree);
    void add_structure(const qor::introspection::xtypes::struct_type& type, const std::string& name,
                       std::uint64_t offset, const node_tree* tree);
    void add_array(const qor::introspection::xtypes::array_type& type, const std::string& name, std::uint64_t offset,
                   const node_tree* tree);
    void add_signal(const qor::introspection::xtypes::signal_type_base& type, const std::string& name,
                    std::uint64_t offset, const node_tree* tree);
    const node_tree* tree_of_member(const node_tree* tree, const qor::introspection::xtypes::member_record& member);
    void describe(plan_row& row, const qor_type_node_t& node) const;
    std::uint32_t segment_for(const node_tree* tree);
    std::uint32_t add_condition_set(const char* text);
    std::uint32_t selector_index(const qor::presence_selector& selector);
    void place_windows();
    void count_step();

    const qor::introspection::xtypes::dynamic_type& type_;
    const node_tree* tree_;
    std::uint64_t record_offset_;
    std::uint64_t record_size_;
    bool names_subscribed_level_ = false;
    std::size_t steps_ = 0;
    std::vector<plan_row> rows_;
    plan_code code_;
    // Where the lowest bit of each fast row lies: byte in the record, bit in the byte.
    struct bit_place {
        std::uint64_t first;
        std::uint64_t last;
        unsigned shift;
        unsigned length;
        bool is_unsigned;
    };
    std::vector<bit_place> places_;
    // What lies below a level, by name, of levels that were looked into.
    std::unordered_map<const node_tree*, std::unordered_map<std::string_view, const node_tree*>> trees_by_name_;
    // By presence text: first and end condition.
    std::map<std::string, std::pair<std::uint32_t, std::uint32_t>, std::less<>> condition_sets_;
};

} // namespace tavi::host

#endif
