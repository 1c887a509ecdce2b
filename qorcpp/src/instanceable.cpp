#include "qorcpp/instanceable.hpp"

#include "qorcpp/errors.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::introspection::xtypes {

instanceable::instanceable() = default;
instanceable::instanceable(const instanceable& other) = default;
instanceable& instanceable::operator=(const instanceable&) = default;
instanceable::~instanceable() = default;

void instanceable::decode(type_kind, std::uint8_t*, const std::uint8_t*) const {
    throw runtime::not_implemented_error("decoding is not implemented for this type");
}

void instanceable::encode(type_kind, const std::uint8_t*, std::uint8_t*) const {
    throw runtime::not_implemented_error("encoding is not implemented for this type");
}

std::uint64_t instanceable::hash(const std::uint8_t*) const {
    return fnv_offset_basis;
}

void instanceable::hash_combine(std::uint64_t& seed, const std::uint64_t& value) {
    // 2^64 over the golden ratio, so that runs of zeros and small numbers spread over all bits.
    seed ^= value + 0x9e3779b97f4a7c15u + (seed << 6) + (seed >> 2);
}

} // namespace qor::introspection::xtypes
