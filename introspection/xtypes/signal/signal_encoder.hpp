// Writing a value into the bits of a signal. Far weaker than reading: factors are not inverted, and only whole bytes at
// bit offset 0 come out right.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_ENCODER_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_ENCODER_HPP

#include <cstdint>
#include <stdexcept>
#include <type_traits>

#include "introspection/xtypes/bytes.hpp"
#include "introspection/xtypes/numeric.hpp"
#include "introspection/xtypes/signal/bit_writer.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "introspection/xtypes/signal/sign_encoding.hpp"

namespace qor::introspection::xtypes {

template<typename Raw>
class signal_encoder {
public:
    // A value of `kind` at `source`; a kind outside the eleven stands for `converted_kind`.
    // Throws: std::runtime_error "specificed encoding not supported", "conversion type not supported", and what
    // write_signal_bits throws.
    static void encode(const signal_parameters& signal, type_kind kind, type_kind converted_kind,
                       const std::uint8_t* source, std::uint8_t* destination) {
        if (kind == type_kind::float32 || kind == type_kind::float64) {
            encode_real(signal, kind, source, destination);
        } else if (!encode_as(signal, kind, source, destination)) {
            encode_as(signal, converted_kind, source, destination);
        }
    }

private:
    // False for a kind outside the eleven.
    static bool encode_as(const signal_parameters& signal, type_kind kind, const std::uint8_t* source,
                          std::uint8_t* destination) {
        return any_scalar([&](const auto& scalar) {
            using type = typename std::remove_cvref_t<decltype(scalar)>::type;
            if (scalar.kind != kind) {
                return false;
            }
            encode_value(signal, load<type>(source), destination);
            return true;
        });
    }

    static void encode_real(const signal_parameters& signal, type_kind kind, const std::uint8_t* source,
                            std::uint8_t* destination) {
        // A double is taken by its first four bytes, as a float: settled, however odd.
        if constexpr (std::is_same_v<Raw, double>) {
            write(signal, static_cast<double>(load<float>(source)), destination);
            return;
        } else if constexpr (std::is_same_v<Raw, float>) {
            if (kind == type_kind::float32) {
                write(signal, load<float>(source), destination);
                return;
            }
        }
        throw std::runtime_error("specificed encoding not supported");
    }

    template<typename Input>
    static void encode_value(const signal_parameters& signal, Input input, std::uint8_t* destination) {
        if constexpr (!std::is_floating_point_v<Raw>) {
            if (signal.conversion != signal_conversion::identity) {
                throw std::runtime_error("conversion type not supported");
            }
        }
        Raw r = assign(input);
        if constexpr (is_signed_integer<Raw>) {
            if (static_cast<signed_raw>(r) < 0) {
                r = static_cast<Raw>(encode_sign(static_cast<signed_raw>(r), signal.bit_length, signal.encoding));
            }
        }
        write(signal, r, destination);
    }

    template<typename Input>
    static Raw assign(Input input) noexcept {
        if constexpr (std::is_floating_point_v<Raw> && std::is_same_v<Input, std::uint64_t>) {
            return unsigned_to_real<Raw>(input);
        } else if constexpr (std::is_floating_point_v<Input>) {
            return convert_real<Raw>(static_cast<double>(input));
        } else if constexpr (std::is_same_v<Input, char>) {
            return static_cast<Raw>(static_cast<std::int8_t>(input));
        } else {
            return static_cast<Raw>(input);
        }
    }

    static void write(const signal_parameters& signal, Raw r, std::uint8_t* destination) {
        std::uint8_t bytes[sizeof(Raw)];
        store(bytes, r);
        write_signal_bits(signal, destination, bytes, sizeof(Raw));
    }

    // char without its doubtful sign.
    using signed_raw = std::conditional_t<std::is_same_v<Raw, char>, std::int8_t, Raw>;
};

} // namespace qor::introspection::xtypes

#endif
