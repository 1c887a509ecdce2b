// One value packed into a payload, as everybody but its maker sees it: see make_signal_type.
//
// An instance begins at the byte that the member's offset leads to; decode(kind, destination, source) reads the
// physical value as any of the eleven scalar kinds, whatever the signal's own is (any other kind reads the signal's
// own), and writes as many bytes as that kind has. A real that is read as an integer is cut toward zero, a value
// outside the integer's range gives the bits that an x86 processor gives (the indefinite integer, cut to the width).
//
// Requires: the payload holds the bytes that the bits touch; no other byte is read.
// Throws (decode, read_bits): std::runtime_error "signal reading for the current byte order is not supported", "invalid
// bit offset N, cannot read the complete signal data".
// Throws (encode, write_bits): std::runtime_error "conversion type not supported", "specificed encoding not supported",
// "big endian signal encoding not supported", "inconsistent big endian signal encoding not supported";
// std::out_of_range "invalid bitset<N> position".
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_TYPE_BASE_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_TYPE_BASE_HPP

#include <cstdint>
#include <string>

#include "introspection/xtypes/dynamic_type.hpp"
#include "introspection/xtypes/signal/signal_parameters.hpp"

namespace qor::introspection::xtypes {

class QORCPP_API signal_type_base : public dynamic_type {
public:
    ~signal_type_base() override;

    virtual std::uint32_t bit_offset() const = 0;
    // True if bit_offset is 0.
    virtual bool starts_at_zero() const = 0;
    virtual std::uint32_t bit_length() const = 0;
    // True if the bits are as many as the presented kind has.
    virtual bool fills_kind() const = 0;
    virtual signal_byte_order byte_order() const = 0;
    virtual signal_conversion conversion() const = 0;
    virtual double numerator_x2() const = 0;
    virtual double numerator_x1() const = 0;
    virtual double numerator_x0() const = 0;
    virtual double denominator_x2() const = 0;
    virtual double denominator_x1() const = 0;
    virtual double denominator_x0() const = 0;
    virtual const std::string& signal_suffix() const = 0;
    // The bits, least significant first, into the first (bit_length + 7) / 8 bytes of a zeroed raw variable, but never
    // beyond it.
    virtual void read_bits(std::uint8_t* destination, const std::uint8_t* source) const = 0;
    // The bits of the raw variable at `source` into the instance; only whole bytes are written, the first one merged
    // with what is there.
    virtual void write_bits(std::uint8_t* destination, const std::uint8_t* source) const = 0;
    virtual type_kind raw_kind() const = 0;
    virtual signal_encoding encoding() const = 0;
    // True when the bytes of an instance already are the value.
    virtual bool is_plain() const = 0;

protected:
    signal_type_base(type_kind kind, std::string name);
    signal_type_base(const signal_type_base& other);
};

} // namespace qor::introspection::xtypes

#endif
