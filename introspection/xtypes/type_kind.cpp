#include "introspection/xtypes/type_kind.hpp"

#include <map>
#include <stdexcept>
#include <type_traits>

#include "introspection/xtypes/signal/scalar_kinds.hpp"

namespace qor::introspection::xtypes {

namespace {

struct kind_row {
    type_kind kind;
    std::string_view name;
    // 0 for kinds that are no primitives.
    std::uint64_t size;
};

// The kinds that no signal is made of.
constexpr kind_row other_kinds[] = {
    {type_kind::boolean, "boolean", 1},         {type_kind::float128, "float128", 16},
    {type_kind::char16, "char16", 2},           {type_kind::wide_char, "wide_char", 2},
    {type_kind::enumeration, "enumeration", 0}, {type_kind::alias, "alias", 0},
    {type_kind::structure, "structure", 0},     {type_kind::array, "array", 0},
    {type_kind::string, "string", 0},
};

// Calls visit(kind_row) until a call returns true.
template<typename Visit>
bool any_kind(Visit&& visit) {
    const bool found = any_scalar([&visit](const auto& scalar) {
        using type = typename std::remove_cvref_t<decltype(scalar)>::type;
        return visit(kind_row{scalar.kind, scalar.name, sizeof(type)});
    });
    if (found) {
        return true;
    }
    for (const kind_row& row : other_kinds) {
        if (visit(row)) {
            return true;
        }
    }
    return false;
}

std::map<type_kind, std::uint64_t> make_size_table() {
    std::map<type_kind, std::uint64_t> table;
    any_kind([&table](const kind_row& row) {
        if (row.size != 0) {
            table.emplace(row.kind, row.size);
        }
        return false;
    });
    return table;
}

} // namespace

std::uint64_t primitive_size(type_kind kind) {
    static const std::map<type_kind, std::uint64_t> table = make_size_table();
    const auto entry = table.find(without_signal(kind));
    if (entry == table.end()) {
        throw std::invalid_argument("the specified type kind does not represent a primitive type");
    }
    return entry->second;
}

std::string_view kind_name(type_kind kind) noexcept {
    std::string_view name;
    any_kind([kind, &name](const kind_row& row) {
        if (row.kind != kind) {
            return false;
        }
        name = row.name;
        return true;
    });
    return name;
}

std::optional<type_kind> kind_of_name(std::string_view name) noexcept {
    std::optional<type_kind> kind;
    any_kind([name, &kind](const kind_row& row) {
        if (row.name != name) {
            return false;
        }
        kind = row.kind;
        return true;
    });
    return kind;
}

} // namespace qor::introspection::xtypes
