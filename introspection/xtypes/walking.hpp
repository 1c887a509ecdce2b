// What a visitor sees of a walk through a type or an instance.
//
// Each walking operation first calls the visitor with its own node and then goes to the children, and gives each child
// a copy of the visitor. An empty visitor throws std::bad_function_call. Nodes live only as long as the call.
#ifndef INTROSPECTION_XTYPES_WALKING_HPP
#define INTROSPECTION_XTYPES_WALKING_HPP

#include <cstdint>
#include <functional>
#include <string>

namespace qor::introspection::xtypes {

class dynamic_type;
struct member_record;

struct instance_node {
    // Null at the start of a walk.
    const instance_node* parent = nullptr;
    const dynamic_type* type = nullptr;
    std::uint8_t* instance = nullptr;
    // The parent's plus one.
    std::uint64_t depth = 0;
    // Position among the siblings.
    std::uint64_t index = 0;
    bool last = false;
    // Null for elements of an array.
    const member_record* member = nullptr;
};

struct type_node {
    const type_node* parent = nullptr;
    const dynamic_type* type = nullptr;
    std::uint64_t depth = 0;
    std::uint64_t index = 0;
    const member_record* member = nullptr;
    bool last = false;
};

using instance_visitor = std::function<void(const instance_node&)>;
using named_instance_visitor = std::function<void(const std::string& path, const instance_node&)>;
using type_visitor = std::function<void(const type_node&)>;
using named_type_visitor = std::function<void(const std::string& path, const type_node&)>;
using path_visitor = std::function<void(const type_node&, const std::string& path)>;

} // namespace qor::introspection::xtypes

#endif
