#include "introspection/xtypes/collection_type.hpp"

#include <utility>

namespace qor::introspection::xtypes {

collection_type::collection_type(type_kind kind, std::string name, const dynamic_type& content)
    : dynamic_type(kind, std::move(name)), content_type_(&content) {}

collection_type::collection_type(const collection_type& other) = default;
collection_type::~collection_type() = default;

mutable_collection_type::mutable_collection_type(type_kind kind, std::string name, const dynamic_type& content,
                                                 std::uint64_t bound)
    : collection_type(kind, std::move(name), content), bound_(bound) {}

mutable_collection_type::mutable_collection_type(const mutable_collection_type& other) = default;
mutable_collection_type::~mutable_collection_type() = default;

} // namespace qor::introspection::xtypes
