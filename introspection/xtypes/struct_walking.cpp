// The walks through a structure and its members.
#include <stdexcept>

#include "introspection/xtypes/struct_type.hpp"

namespace qor::introspection::xtypes {

namespace {

// The node of the structure's member at `index`.
instance_node member_node(const struct_type& structure, const instance_node& parent, std::size_t index) {
    const member_record& member = structure.members()[index];
    return {&parent,
            member.type.get(),
            parent.instance + member.offset,
            parent.depth + 1,
            index,
            index + 1 == structure.members().size(),
            &member};
}

type_node member_node(const struct_type& structure, const type_node& parent, std::size_t index) {
    const member_record& member = structure.members()[index];
    return {&parent, member.type.get(), parent.depth + 1, index, &member, index + 1 == structure.members().size()};
}

} // namespace

void struct_type::walk_instance_named(const instance_node& node, const std::string& path,
                                      named_instance_visitor visitor) const {
    visitor(path, node);
    for (std::size_t i = 0; i < members().size(); ++i) {
        const member_record& member = members()[i];
        member.type->walk_instance_named(member_node(*this, node, i), path + "." + member.name, visitor);
    }
}

void struct_type::walk_instance(const instance_node& node, instance_visitor visitor) const {
    visitor(node);
    for (std::size_t i = 0; i < members().size(); ++i) {
        members()[i].type->walk_instance(member_node(*this, node, i), visitor);
    }
}

void struct_type::walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const {
    visitor(path, node);
    for (std::size_t i = 0; i < members().size(); ++i) {
        const member_record& member = members()[i];
        member.type->walk_type_named(member_node(*this, node, i), path + "." + member.name, visitor);
    }
}

void struct_type::walk_path(const type_node& node, const std::string& path, path_visitor visitor) const {
    visitor(node, path);
    if (path.empty()) {
        return;
    }
    const std::size_t dot = path.find('.');
    const std::string fragment = path.substr(0, dot);
    if (!has_member(fragment)) {
        throw std::runtime_error("invalid path fragment, '" + fragment + "' is not member of type '" + name() + "'");
    }
    const auto index = static_cast<std::size_t>(&member(fragment) - members().data());
    const std::string rest = dot == std::string::npos ? std::string() : path.substr(dot + 1);
    members()[index].type->walk_path(member_node(*this, node, index), rest, visitor);
}

void struct_type::walk_type(const type_node& node, type_visitor visitor) const {
    visitor(node);
    for (std::size_t i = 0; i < members().size(); ++i) {
        members()[i].type->walk_type(member_node(*this, node, i), visitor);
    }
}

} // namespace qor::introspection::xtypes
