#include "host/src/plan/plan_compiler.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>

#include "introspection/xtypes/alias_type.hpp"
#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "qorcpp/signal_layout.hpp"
#include "tavi/value_text.hpp"

namespace tavi::host {

namespace xtypes = qor::introspection::xtypes;

namespace {

constexpr std::uint64_t far = std::numeric_limits<std::uint64_t>::max();

// Offsets that do not fit 64 bits lie behind every record.
std::uint64_t add(std::uint64_t left, std::uint64_t right) noexcept {
    return right > far - left ? far : left + right;
}

std::uint64_t multiply(std::uint64_t left, std::uint64_t right) noexcept {
    return left != 0 && right > far / left ? far : left * right;
}

bool is_real(xtypes::type_kind kind) noexcept {
    return kind == xtypes::type_kind::float32 || kind == xtypes::type_kind::float64;
}

bool is_unsigned(xtypes::type_kind kind) noexcept {
    return xtypes::has_flag(kind, xtypes::unsigned_flag);
}

// How the value of a signal can be made without asking its type; nothing when only the type can.
std::optional<plan_method> method_of(const xtypes::signal_type_base& type, const qor::signal_layout& layout) {
    using kind = xtypes::type_kind;
    const kind raw = type.raw_kind();
    const kind converted = xtypes::without_signal(type.kind());
    const bool identity = type.conversion() == xtypes::signal_conversion::identity;
    const bool fits_window = layout.byte_count != 0 && layout.byte_count <= 8 && layout.is_complete();
    if (!fits_window || type.conversion() == xtypes::signal_conversion::rational) {
        return std::nullopt;
    }
    if (is_real(raw)) {
        const bool fills = type.bit_length() == 8 * xtypes::primitive_size(raw);
        // A float that is presented as a double needs no second rounding, a double that is presented as a float does.
        const bool widens = converted == kind::float64 || (converted == kind::float32 && raw == kind::float32);
        if (!fills || !widens) {
            return std::nullopt;
        }
        return raw == kind::float32 ? plan_method::stored_float : plan_method::stored_double;
    }
    const bool is_signed = !is_unsigned(raw);
    if ((is_signed && !qor::is_twos_complement(type.encoding())) || (!is_signed && type.bit_length() == 64)) {
        return std::nullopt;
    }
    if (converted == kind::float64) {
        return plan_method::real;
    }
    if (converted == kind::float32) {
        // Beyond 53 bits the way over a double would round twice.
        return identity && type.bit_length() > 53 ? std::nullopt : std::optional(plan_method::narrow_real);
    }
    const std::uint64_t room = 8 * xtypes::primitive_size(converted);
    const bool holds = is_signed ? !is_unsigned(converted) && type.bit_length() <= room
                                 : type.bit_length() + (is_unsigned(converted) ? 0 : 1) <= room;
    if (!identity || !holds) {
        return std::nullopt;
    }
    return is_unsigned(converted) ? plan_method::unsigned_integer : plan_method::signed_integer;
}

// The integer in the bits of a signal, as a type of its own.
std::shared_ptr<const xtypes::dynamic_type> stored_type_of(const xtypes::signal_type_base& type) {
    if (is_real(type.raw_kind())) {
        return nullptr;
    }
    const auto kind = is_unsigned(type.raw_kind()) ? xtypes::type_kind::uint64 : xtypes::type_kind::int64;
    std::shared_ptr<xtypes::dynamic_type> result;
    xtypes::make_signal_type(kind, type.raw_kind(), result, type.byte_order(), type.bit_offset(), type.bit_length(),
                             0.0, 1.0, 0.0, 0.0, 0.0, 1.0, {}, type.encoding());
    return result;
}

value_kind value_kind_of(xtypes::type_kind converted) noexcept {
    if (is_real(converted)) {
        return value_kind::floating;
    }
    return is_unsigned(converted) ? value_kind::unsigned_integer : value_kind::signed_integer;
}

std::vector<value_table_entry> read_value_table(std::string_view text) {
    std::vector<value_table_entry> entries;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        value_table_entry entry{};
        const auto [end, code] = std::from_chars(line.data(), line.data() + line.size(), entry.stored_value);
        const auto length = static_cast<std::size_t>(end - line.data());
        if (code != std::errc() || length == line.size() || *end != '=') {
            continue;
        }
        for (std::size_t i = length + 1; i < line.size(); ++i) {
            const bool escaped = line[i] == '\\' && i + 1 < line.size();
            i += escaped ? 1 : 0;
            entry.text += escaped && line[i] == 'n' ? '\n' : line[i];
        }
        entries.push_back(std::move(entry));
    }
    std::stable_sort(entries.begin(), entries.end(), [](const value_table_entry& left, const value_table_entry& right) {
        return left.stored_value < right.stored_value;
    });
    return entries;
}

// Whether the structure is not the subscribed level itself but holds it as its only member.
bool holds_subscribed_level(const xtypes::struct_type& type, const node_tree* tree) {
    if (type.members().size() != 1) {
        return false;
    }
    const xtypes::member_record& member = type.members().front();
    if (tree == nullptr) {
        return member.name == type.name();
    }
    if (tree->node->kind == QOR_TYPE_NODE_SIGNAL) {
        return true;
    }
    return member.name == text_of(tree->node->name) && member.type->kind() == xtypes::type_kind::array &&
           static_cast<const xtypes::array_type&>(*member.type).dimension() == element_count(*tree->node);
}

} // namespace

plan_compiler::plan_compiler(const xtypes::dynamic_type& type, const node_tree* tree, std::uint64_t offset)
    : type_(type), tree_(tree), record_offset_(offset), record_size_(type.instance_size()) {}

void plan_compiler::compile() {
    if (type_.kind() == xtypes::type_kind::structure) {
        const auto& structure = static_cast<const xtypes::struct_type&>(type_);
        if (holds_subscribed_level(structure, tree_)) {
            const xtypes::member_record& level = structure.members().front();
            names_subscribed_level_ = true;
            add_type(*level.type, level.name, level.offset, tree_);
            place_windows();
            return;
        }
    }
    add_type(type_, std::string(), 0, tree_);
    place_windows();
}

void plan_compiler::count_step() {
    if (++steps_ > record_plan::row_limit) {
        throw std::invalid_argument("the type '" + type_.name() + "' has more than " +
                                    std::to_string(record_plan::row_limit) + " values");
    }
}

void plan_compiler::add_type(const xtypes::dynamic_type& type, const std::string& name, std::uint64_t offset,
                             const node_tree* tree) {
    count_step();
    if (type.kind() == xtypes::type_kind::alias) {
        add_type(static_cast<const xtypes::alias_type&>(type).target(), name, offset, tree);
    } else if (type.kind() == xtypes::type_kind::structure) {
        add_structure(static_cast<const xtypes::struct_type&>(type), name, offset, tree);
    } else if (type.kind() == xtypes::type_kind::array) {
        add_array(static_cast<const xtypes::array_type&>(type), name, offset, tree);
    } else if (xtypes::has_flag(type.kind(), xtypes::signal_flag)) {
        add_signal(static_cast<const xtypes::signal_type_base&>(type), name, offset, tree);
    } else {
        throw std::invalid_argument("'" + name + "' of type '" + type.name() + "' is not a structure, array or signal");
    }
}

// The tree of the node that a member was made from. A second member of a name was renamed to "name_1" and so on.
const node_tree* plan_compiler::tree_of_member(const node_tree* tree, const xtypes::member_record& member) {
    if (tree == nullptr) {
        return nullptr;
    }
    const auto [place, is_new] = trees_by_name_.try_emplace(tree);
    auto& by_name = place->second;
    if (is_new) {
        for (const node_tree& below : tree->trees) {
            by_name.try_emplace(text_of(below.node->name), &below); // the first of a name
        }
    }
    if (const auto found = by_name.find(member.name); found != by_name.end()) {
        return found->second;
    }
    const std::size_t end = member.name.find_last_not_of("0123456789");
    if (end == std::string::npos || member.name[end] != '_') {
        return nullptr;
    }
    const std::string_view first_name(member.name.data(), end);
    for (const node_tree& below : tree->trees) {
        if (text_of(below.node->name) == first_name && offset_in_parent(*below.node) == member.offset) {
            return &below;
        }
    }
    return nullptr;
}

void plan_compiler::add_structure(const xtypes::struct_type& type, const std::string& name, std::uint64_t offset,
                                  const node_tree* tree) {
    for (const xtypes::member_record& member : type.members()) {
        add_type(*member.type, name.empty() ? member.name : name + '.' + member.name, add(offset, member.offset),
                 tree_of_member(tree, member));
    }
}

void plan_compiler::add_array(const xtypes::array_type& type, const std::string& name, std::uint64_t offset,
                              const node_tree* tree) {
    const std::uint64_t size = type.content_type().instance_size();
    for (std::uint64_t i = 0; i < type.dimension(); ++i) {
        add_type(type.content_type(), name + '[' + std::to_string(i) + ']', add(offset, multiply(i, size)), tree);
    }
}

void plan_compiler::add_signal(const xtypes::signal_type_base& type, const std::string& name, std::uint64_t offset,
                               const node_tree* tree) {
    const qor::signal_layout layout = qor::layout_of_signal(type.byte_order(), type.bit_offset(), type.bit_length(),
                                                            8 * xtypes::primitive_size(type.raw_kind()));
    plan_row row;
    row.name = name;
    row.unit = type.signal_suffix();
    row.kind = value_kind_of(xtypes::without_signal(type.kind()));
    // A signal without bits is in every record.
    if (layout.byte_count != 0) {
        row.begin = add(offset, layout.first_byte);
        row.end = add(offset, layout.end_byte());
    }
    row.unreadable = qor::refusal_text(layout.refusal, type.bit_offset());
    if (row.kind == value_kind::floating && !is_real(type.raw_kind()) &&
        type.conversion() != xtypes::signal_conversion::rational) {
        row.decimals = decimals_of(type.numerator_x1(), type.numerator_x0());
    }
    if (tree != nullptr) {
        describe(row, *tree->node);
    }
    const auto index = static_cast<std::uint32_t>(rows_.size());
    const auto code_index = static_cast<std::uint32_t>(code_.rows.size());
    code_.segment_of_row.push_back(segment_for(tree));
    code_.code_of_row.push_back(row.unreadable.empty() ? code_index : plan_code::no_row);
    rows_.push_back(std::move(row));
    if (layout.refusal != qor::layout_refusal::none) {
        return;
    }
    ++code_.segments.back().end_row;
    const plan_row& added = rows_.back();
    fast_row fast{};
    fast.row = index;
    fast.factor = type.numerator_x1();
    fast.offset = type.numerator_x0();
    fast.high_first = layout.reversed;
    const auto method = method_of(type, layout);
    if (method && added.end <= std::numeric_limits<std::uint32_t>::max()) {
        fast.method = *method;
        fast.end = static_cast<std::uint32_t>(added.end);
        code_.fast_size = std::max(code_.fast_size, added.end);
        places_.push_back({added.begin, added.end - 1, layout.shift, type.bit_length(), is_unsigned(type.raw_kind())});
    } else {
        fast.method = plan_method::decode;
        fast.window = static_cast<std::uint32_t>(code_.slow_rows.size());
        auto kept = std::static_pointer_cast<const xtypes::signal_type_base>(type.clone());
        code_.slow_rows.push_back({std::move(kept), offset, added.end, stored_type_of(type)});
        places_.push_back({});
    }
    code_.rows.push_back(fast);
}

void plan_compiler::describe(plan_row& row, const qor_type_node_t& node) const {
    row.node = &node;
    if (node.kind != QOR_TYPE_NODE_SIGNAL) {
        return;
    }
    if (node.signal.unit != nullptr) {
        row.unit = node.signal.unit;
    }
    row.value_table = read_value_table(text_of(node.signal.value_table));
}

std::uint32_t plan_compiler::segment_for(const node_tree* tree) {
    std::pair<std::uint32_t, std::uint32_t> conditions{0, 0};
    if (tree != nullptr && tree->node->kind == QOR_TYPE_NODE_SIGNAL && tree->node->signal.presence != nullptr) {
        const char* const text = tree->node->signal.presence;
        auto known = condition_sets_.find(std::string_view(text));
        if (known == condition_sets_.end()) {
            const auto first = static_cast<std::uint32_t>(code_.conditions.size());
            known = condition_sets_.emplace(text, std::pair(first, add_condition_set(text))).first;
        }
        conditions = known->second;
    }
    auto& segments = code_.segments;
    if (segments.empty() || segments.back().first_condition != conditions.first ||
        segments.back().end_condition != conditions.second) {
        const auto next = static_cast<std::uint32_t>(code_.rows.size());
        segments.push_back({next, next, conditions.first, conditions.second});
    }
    return static_cast<std::uint32_t>(segments.size() - 1);
}

// Returns the end of the conditions after those of `text` were added.
std::uint32_t plan_compiler::add_condition_set(const char* text) {
    const qor::presence presence(text);
    for (const qor::presence_condition& condition : presence.conditions()) {
        const qor::presence_selector& selector = condition.selector;
        // What lies outside the record cannot be asked of it.
        if (selector.begin() < record_offset_ || selector.end() - record_offset_ > record_size_) {
            continue;
        }
        const auto first = static_cast<std::uint32_t>(code_.ranges.size());
        code_.ranges.insert(code_.ranges.end(), condition.ranges.begin(), condition.ranges.end());
        code_.conditions.push_back(
            {selector_index(selector.behind(record_offset_)), first, static_cast<std::uint32_t>(code_.ranges.size())});
    }
    return static_cast<std::uint32_t>(code_.conditions.size());
}

std::uint32_t plan_compiler::selector_index(const qor::presence_selector& selector) {
    const auto known = std::find(code_.selectors.begin(), code_.selectors.end(), selector);
    const auto index = static_cast<std::uint32_t>(known - code_.selectors.begin());
    if (known == code_.selectors.end()) {
        code_.selectors.push_back(selector);
    }
    return index;
}

// All windows lie inside the first `fast_size` bytes, eight at least.
void plan_compiler::place_windows() {
    code_.is_conditional = !code_.conditions.empty();
    const std::uint64_t last_window = std::max<std::uint64_t>(code_.fast_size, 8) - 8;
    for (std::size_t i = 0; i < code_.rows.size(); ++i) {
        fast_row& row = code_.rows[i];
        if (row.method == plan_method::decode) {
            continue;
        }
        const bit_place& place = places_[i];
        const std::uint64_t window = std::min(place.first, last_window);
        const std::uint64_t lowest_byte = row.high_first ? 7 - (place.last - window) : place.first - window;
        row.window = static_cast<std::uint32_t>(window);
        row.left = static_cast<std::uint8_t>(64 - place.length - 8 * lowest_byte - place.shift);
        row.right = static_cast<std::uint8_t>(64 - place.length);
        row.clear = place.is_unsigned ? (64 - place.length) & 0x7F : 0;
    }
}

} // namespace tavi::host
