// The family of signal types: Converted is the C type of the physical value, Raw that of the bits. Hosts make them with
// make_signal_type and use them as signal_type_base; this header is for the eleven sources that instantiate the rows of
// the family.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_TYPE_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_TYPE_HPP

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "introspection/xtypes/signal/bit_writer.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "introspection/xtypes/signal/signal_decoder.hpp"
#include "introspection/xtypes/signal/signal_encoder.hpp"
#include "introspection/xtypes/signal/signal_operations.hpp"
#include "introspection/xtypes/signal/signal_type_base.hpp"

namespace qor::introspection::xtypes {

// Immutable. Not exported: the symbols of 121 classes would be bound one by one in every process that loads the
// library.
template<typename Converted, typename Raw, int Dimensions>
class signal_type final : public signal_type_base {
    static_assert(Dimensions == 1, "a signal is one value");

public:
    // Requires: `kind` is that of Converted with the signal flag.
    // Throws: what checked_signal throws.
    signal_type(type_kind kind, type_kind raw_kind, std::string name, signal_byte_order byte_order,
                std::uint32_t bit_offset, std::uint32_t bit_length, double numerator_x2, double numerator_x1,
                double numerator_x0, double denominator_x2, double denominator_x1, double denominator_x0,
                std::string signal_suffix, signal_encoding encoding)
        : signal_type_base(kind, std::move(name)),
          parameters_(checked_signal(
              {raw_kind,
               byte_order,
               bit_offset,
               bit_length,
               {numerator_x2, numerator_x1, numerator_x0, denominator_x2, denominator_x1, denominator_x0},
               signal_conversion::rational,
               std::move(signal_suffix),
               encoding})),
          decoder_(parameters_, sizeof(Raw), is_signed_integer<Raw>, std::is_floating_point_v<Raw>,
                   scalar_of<Converted>().kind) {}

    std::uint64_t instance_size() const override { return signal_instance_size(parameters_); }

    // Zero in as many bytes as Raw has, however many bits there are.
    void construct(std::uint8_t* instance) const override { std::memset(instance, 0, sizeof(Raw)); }

    // Whole bytes at bit 0 are copied as one Raw, however many bits there are.
    void copy(std::uint8_t* destination, const std::uint8_t* source) const override {
        if (parameters_.bit_offset == 0 && parameters_.bit_length % 8 == 0) {
            store(destination, load<Raw>(source));
        } else {
            copy_signal_bits(parameters_, destination, source);
        }
    }

    void copy_from(std::uint8_t*, const std::uint8_t*, const dynamic_type&) const override {
        throw std::runtime_error("copy operation from other type for signal primitives is not supported");
    }

    void move(std::uint8_t* destination, std::uint8_t* source, bool) const override { copy(destination, source); }

    void destroy(std::uint8_t*) const override {}

    bool compare(const std::uint8_t*, const std::uint8_t*) const override {
        throw std::runtime_error("compare operation for signal primitives is not supported");
    }

    void decode(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) const override {
        decoder_.decode(kind, destination, source);
    }

    void encode(type_kind kind, const std::uint8_t* source, std::uint8_t* destination) const override {
        signal_encoder<Raw>::encode(parameters_, kind, scalar_of<Converted>().kind, source, destination);
    }

    void walk_instance_named(const instance_node& node, const std::string& path,
                             named_instance_visitor visitor) const override {
        visitor(path, node);
    }
    void walk_instance(const instance_node& node, instance_visitor visitor) const override { visitor(node); }
    void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const override {
        visitor(path, node);
    }
    void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const override {
        visitor(node, path);
    }
    void walk_type(const type_node& node, type_visitor visitor) const override { visitor(node); }

    std::uint32_t compatibility(const dynamic_type& other) const override { return signal_compatibility(*this, other); }

    std::shared_ptr<dynamic_type> clone() const override { return std::make_shared<signal_type>(*this); }

    std::uint32_t bit_offset() const override { return parameters_.bit_offset; }
    bool starts_at_zero() const override { return parameters_.bit_offset == 0; }
    std::uint32_t bit_length() const override { return parameters_.bit_length; }
    bool fills_kind() const override { return parameters_.bit_length == 8 * primitive_size(kind()); }
    signal_byte_order byte_order() const override { return parameters_.byte_order; }
    signal_conversion conversion() const override { return parameters_.conversion; }
    double numerator_x2() const override { return parameters_.coefficients.numerator_x2; }
    double numerator_x1() const override { return parameters_.coefficients.numerator_x1; }
    double numerator_x0() const override { return parameters_.coefficients.numerator_x0; }
    double denominator_x2() const override { return parameters_.coefficients.denominator_x2; }
    double denominator_x1() const override { return parameters_.coefficients.denominator_x1; }
    double denominator_x0() const override { return parameters_.coefficients.denominator_x0; }
    const std::string& signal_suffix() const override { return parameters_.signal_suffix; }

    void read_bits(std::uint8_t* destination, const std::uint8_t* source) const override {
        store_signal_bits(decoder_.reader().read(source), parameters_.bit_length, sizeof(Raw), destination);
    }

    void write_bits(std::uint8_t* destination, const std::uint8_t* source) const override {
        write_signal_bits(parameters_, destination, source, sizeof(Raw));
    }

    type_kind raw_kind() const override { return parameters_.raw_kind; }
    signal_encoding encoding() const override { return parameters_.encoding; }
    bool is_plain() const override { return is_plain_signal(kind(), parameters_); }

private:
    signal_parameters parameters_;
    signal_decoder decoder_;
};

} // namespace qor::introspection::xtypes

#endif
