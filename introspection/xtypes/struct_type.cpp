#include "introspection/xtypes/struct_type.hpp"

#include <stdexcept>
#include <utility>

#include "introspection/xtypes/composite_source.hpp"

namespace qor::introspection::xtypes {

struct_type::struct_type(std::string name) : aggregation_type(type_kind::structure, std::move(name)) {}
struct_type::struct_type(const struct_type& other) = default;
struct_type::struct_type(struct_type&& other) noexcept = default;
struct_type& struct_type::operator=(const struct_type& other) = default;
struct_type& struct_type::operator=(struct_type&& other) noexcept = default;
struct_type::~struct_type() = default;

member_record& struct_type::add_member_at(member_record record, std::uint64_t offset, std::uint64_t extra, bool check) {
    const bool overlaps = record.type && !has_flag(record.type->kind(), signal_flag) && offset < memory_size_;
    if (check && overlaps) {
        throw std::invalid_argument("invalid offset specified for structure '" + name() + "' member '" + record.name +
                                    "', offset " + std::to_string(offset) + " is less than current structure size " +
                                    std::to_string(memory_size_));
    }
    member_record& stored = add_member(std::move(record));
    stored.offset = offset;
    memory_size_ = offset + extra + stored.type->instance_size();
    return stored;
}

std::uint64_t struct_type::instance_size() const {
    return memory_size_;
}

void struct_type::construct(std::uint8_t* instance) const {
    for (const member_record& member : members()) {
        member.type->construct(instance + member.offset);
    }
}

void struct_type::copy(std::uint8_t* destination, const std::uint8_t* source) const {
    for (const member_record& member : members()) {
        member.type->copy(destination + member.offset, source + member.offset);
    }
}

void struct_type::copy_from(std::uint8_t* destination, const std::uint8_t* source,
                            const dynamic_type& source_type) const {
    const dynamic_type& type = resolve_alias(source_type);
    const struct_type* const other = as_structure(type);
    if (members().size() == 1 && (has_flag(type.kind(), primitive_flag) || other != nullptr)) {
        members().front().type->copy_from(destination, source, type);
        return;
    }
    if (other == nullptr) {
        throw_different_types(type, *this);
    }
    for (std::size_t i = 0; i < members().size(); ++i) {
        const member_record& own = members()[i];
        if (i < other->members().size()) {
            const member_record& from = other->members()[i];
            own.type->copy_from(destination + own.offset, source + from.offset, *from.type);
        } else {
            own.type->construct(destination + own.offset);
        }
    }
}

void struct_type::move(std::uint8_t* destination, std::uint8_t* source, bool flag) const {
    for (const member_record& member : members()) {
        member.type->move(destination + member.offset, source + member.offset, flag);
    }
}

void struct_type::destroy(std::uint8_t* instance) const {
    for (auto member = members().rbegin(); member != members().rend(); ++member) {
        member->type->destroy(instance + member->offset);
    }
}

bool struct_type::compare(const std::uint8_t* left, const std::uint8_t* right) const {
    for (const member_record& member : members()) {
        if (!member.type->compare(left + member.offset, right + member.offset)) {
            return false;
        }
    }
    return true;
}

std::uint64_t struct_type::hash(const std::uint8_t* instance) const {
    if (members().empty()) {
        return 0;
    }
    const member_record& first = members().front();
    std::uint64_t seed = first.type->hash(instance + first.offset);
    for (std::size_t i = 1; i < members().size(); ++i) {
        hash_combine(seed, members()[i].type->hash(instance + members()[i].offset));
    }
    return seed;
}

std::uint32_t struct_type::compatibility(const dynamic_type& other) const {
    const dynamic_type& type = resolve_alias(other);
    if (members().size() == 1) {
        return type.compatibility(*members().front().type);
    }
    const struct_type* const structure = as_structure(type);
    if (structure == nullptr) {
        return compatibility_flag::incompatible;
    }
    std::uint32_t flags = 0;
    for (std::size_t i = 0; i < members().size(); ++i) {
        if (i == structure->members().size()) {
            return flags | compatibility_flag::member_count;
        }
        const member_record& own = members()[i];
        const member_record& its = structure->members()[i];
        const std::uint32_t result = own.type->compatibility(*its.type);
        if (result == compatibility_flag::incompatible) {
            return result;
        }
        if (own.name != its.name) {
            flags |= compatibility_flag::member_name;
        } else if (own.offset != its.offset) {
            flags |= compatibility_flag::member_offset;
        }
        flags |= result;
    }
    if (structure->members().size() > members().size()) {
        flags |= compatibility_flag::member_count;
    }
    return memory_size_ != structure->memory_size_ ? flags | compatibility_flag::structure_size : flags;
}

std::shared_ptr<dynamic_type> struct_type::clone() const {
    return std::make_shared<struct_type>(*this);
}

} // namespace qor::introspection::xtypes
