// Another name for a type. Every operation is the target's.
#ifndef INTROSPECTION_XTYPES_ALIAS_TYPE_HPP
#define INTROSPECTION_XTYPES_ALIAS_TYPE_HPP

#include <cstdint>
#include <string>

#include "introspection/xtypes/dynamic_type.hpp"

namespace qor::introspection::xtypes {

class QORCPP_API alias_type final : public dynamic_type {
public:
    alias_type(std::string name, const dynamic_type& target);
    alias_type(const alias_type& other);
    ~alias_type() override;

    // May be an alias again.
    const dynamic_type& target() const noexcept { return *target_; }

    std::uint64_t instance_size() const override;
    void construct(std::uint8_t* instance) const override;
    void copy(std::uint8_t* destination, const std::uint8_t* source) const override;
    void copy_from(std::uint8_t* destination, const std::uint8_t* source,
                   const dynamic_type& source_type) const override;
    void move(std::uint8_t* destination, std::uint8_t* source, bool flag) const override;
    void destroy(std::uint8_t* instance) const override;
    bool compare(const std::uint8_t* left, const std::uint8_t* right) const override;
    void decode(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) const override;
    void encode(type_kind kind, const std::uint8_t* source, std::uint8_t* destination) const override;
    // The visitor sees the alias's node once, in the place of its target's.
    void walk_instance_named(const instance_node& node, const std::string& path,
                             named_instance_visitor visitor) const override;
    void walk_instance(const instance_node& node, instance_visitor visitor) const override;
    std::uint64_t hash(const std::uint8_t* instance) const override;
    std::uint32_t compatibility(const dynamic_type& other) const override;
    void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const override;
    void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const override;
    void walk_type(const type_node& node, type_visitor visitor) const override;
    std::shared_ptr<dynamic_type> clone() const override;

private:
    type_reference target_;
};

} // namespace qor::introspection::xtypes

#endif
