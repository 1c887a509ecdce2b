// Types whose instances consist of elements of one type.
#ifndef INTROSPECTION_XTYPES_COLLECTION_TYPE_HPP
#define INTROSPECTION_XTYPES_COLLECTION_TYPE_HPP

#include <cstdint>

#include "introspection/xtypes/dynamic_type.hpp"

namespace qor::introspection::xtypes {

class QORCPP_API collection_type : public dynamic_type {
public:
    ~collection_type() override;

    // Owner: the collection. No range test.
    virtual const std::uint8_t* element_at(const std::uint8_t* instance, std::uint64_t index) const = 0;
    virtual std::uint64_t element_count(const std::uint8_t* instance) const = 0;

    const dynamic_type& content_type() const noexcept { return *content_type_; }

protected:
    collection_type(type_kind kind, std::string name, const dynamic_type& content);
    collection_type(const collection_type& other);

private:
    type_reference content_type_;
};

// A collection whose instances know how many elements they have.
class QORCPP_API mutable_collection_type : public collection_type {
public:
    ~mutable_collection_type() override;

    // The most elements that an instance takes, 0 for no limit.
    std::uint64_t bound() const noexcept { return bound_; }

protected:
    mutable_collection_type(type_kind kind, std::string name, const dynamic_type& content, std::uint64_t bound);
    mutable_collection_type(const mutable_collection_type& other);

private:
    std::uint64_t bound_;
};

} // namespace qor::introspection::xtypes

#endif
