// Flattens the type of a subscription into the rows of a record_plan.
//
// The type is walked once, depth first: structures and arrays give names and offsets, each signal gives a row. A row is
// compiled in three steps:
//      1. Where the bits are (qorcpp/signal_layout.hpp): first and last byte of the record, the shift of the lowest
//      bit.
//      2. Which method makes the value of them (plan_method). All integers of up to 64 bits that touch at most eight
//         bytes, with an identity or linear conversion, are read without asking their type. What is left, such as
//         rational conversions, keeps its signal type and is decoded by it.
//      3. At the end, when the size of the record is known, the window: eight bytes of the record that hold the bits,
//         moved down so that it does not pass the last byte that any row reads. The bits are then found in the loaded
//         word by a shift to the left, that drops what is above them, and one to the right, that drops what is below
//         and extends the sign.
// Rows under the same conditions of presence follow each other in a segment, so that a condition is checked once.
//
// Example: 12 bits without sign at bit 19 of a record of 3 bytes, in the inconsistent big endian order. The lowest bit
// is bit 3 of byte 2, the others continue in byte 1: bytes 1 and 2, shift 3. The only window is at byte 0, and a whole
// word is loaded from a copy with zeros after the record. With the high byte first, byte 2 is bits 40 to 47 of the
// word, the lowest bit 43 and the highest 54: left is 64 - 55 = 9, right is 64 - 12 = 52, and `clear` is 52, since the
// bits have no sign.
//
//      record  00 AB C8      word  00ABC80000000000  << 9  5790000000000000  >> 52, cleared  0000000000000579
//
// 0x579 is the 7 low bits of 0xAB before the 5 high bits of 0xC8.
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
