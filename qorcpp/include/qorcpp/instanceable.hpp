// The base of every run-time type: what can be asked about the value in a block of bytes.
#ifndef QORCPP_INSTANCEABLE_HPP
#define QORCPP_INSTANCEABLE_HPP

#include <cstdint>

#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

// The values stand in introspection/xtypes/type_kind.hpp, one floor up; here only the width is needed.
enum class type_kind : std::uint32_t;

// Thread: const operations may run on one object in many threads.
class QORCPP_API instanceable {
public:
    instanceable(const instanceable& other);
    virtual ~instanceable();

    // Reads the value at `source` as the primitive `kind` into `destination`.
    // Throws: runtime::not_implemented_error "decoding is not implemented for this type" unless a type overrides it.
    virtual void decode(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) const;

    // Writes the value of the primitive `kind` at `source` into the instance at `destination`.
    // Throws: runtime::not_implemented_error "encoding is not implemented for this type" unless a type overrides it.
    virtual void encode(type_kind kind, const std::uint8_t* source, std::uint8_t* destination) const;

    // Equal values have equal hashes, in every run and on every machine. A type that does not override it knows
    // nothing of its values, so that all of them share one hash.
    virtual std::uint64_t hash(const std::uint8_t* instance) const;

protected:
    instanceable();
    instanceable& operator=(const instanceable& other);

    // Mixes `value` into `seed`; the order of the calls counts.
    static void hash_combine(std::uint64_t& seed, const std::uint64_t& value);
};

} // namespace qor::introspection::xtypes

#endif
