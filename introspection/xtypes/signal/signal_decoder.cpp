#include "introspection/xtypes/signal/signal_decoder.hpp"

#include <bit>
#include <cmath>
#include <limits>
#include <utility>

#include "introspection/xtypes/signal/conversion.hpp"
#include "introspection/xtypes/signal/sign_encoding.hpp"

namespace qor::introspection::xtypes {

namespace {

using decode_row = signal_decoder::decode_row;

// The conversion of x, already a real.
template<signal_conversion Conversion, typename T>
T convert_value(const signal_coefficients& coefficients, double x) noexcept {
    if constexpr (Conversion == signal_conversion::linear) {
        return convert_real<T>(linear_value(coefficients, x));
    } else {
        double y;
        return rational_value(coefficients, x, y) ? convert_real<T>(y) : zero_denominator_value<T>();
    }
}

template<bit_load Load, bool Reversed, signal_conversion Conversion>
struct word_strategy {
    template<typename T>
    static void run(const signal_decoder& decoder, std::uint8_t* destination, const std::uint8_t* source) {
        const std::uint64_t bits = decoder.reader().template fetch<Load, Reversed>(source);
        const std::int64_t r = extend_sign(bits, decoder.sign_bit());
        if constexpr (Conversion == signal_conversion::identity) {
            store(destination, static_cast<T>(r));
        } else {
            store(destination, convert_value<Conversion, T>(decoder.coefficients(), static_cast<double>(r)));
        }
    }
};

struct any_integer_strategy {
    template<typename T>
    static void run(const signal_decoder& decoder, std::uint8_t* destination, const std::uint8_t* source) {
        const std::uint64_t bits = decoder.reader().read(source);
        const std::int64_t r = decode_sign(bits, decoder.sign_bit(), decoder.encoding());
        if (decoder.conversion() == signal_conversion::identity) {
            store(destination, decoder.raw_signed() ? static_cast<T>(r) : static_cast<T>(bits));
            return;
        }
        const double x = decoder.raw_signed() ? static_cast<double>(r) : unsigned_to_real<double>(bits);
        store(destination, decoder.conversion() == signal_conversion::linear
                               ? convert_value<signal_conversion::linear, T>(decoder.coefficients(), x)
                               : convert_value<signal_conversion::rational, T>(decoder.coefficients(), x));
    }
};

template<typename Raw>
struct floating_strategy {
    using bits_type = std::conditional_t<sizeof(Raw) == 4, std::uint32_t, std::uint64_t>;

    // The value in Raw's own precision, which is rounded to before anything is cut from it.
    static Raw value(const signal_decoder& decoder, Raw r) noexcept {
        if (!std::isfinite(r)) {
            return std::numeric_limits<Raw>::quiet_NaN();
        }
        switch (decoder.conversion()) {
        case signal_conversion::linear:
            return convert_value<signal_conversion::linear, Raw>(decoder.coefficients(), static_cast<double>(r));
        case signal_conversion::rational:
            return convert_value<signal_conversion::rational, Raw>(decoder.coefficients(), static_cast<double>(r));
        default:
            return r;
        }
    }

    template<typename T>
    static void run(const signal_decoder& decoder, std::uint8_t* destination, const std::uint8_t* source) {
        const auto bits = static_cast<bits_type>(decoder.reader().read(source));
        store(destination, convert_real<T>(static_cast<double>(value(decoder, std::bit_cast<Raw>(bits)))));
    }
};

// char reads like int8_t; one function serves both.
template<typename T>
using output_type = std::conditional_t<std::is_same_v<T, char>, std::int8_t, T>;

template<typename Strategy>
constexpr decode_row row_of() {
    decode_row row{};
    any_scalar([&row](const auto& scalar) {
        using type = typename std::remove_cvref_t<decltype(scalar)>::type;
        row[row_place(scalar.kind)] = &Strategy::template run<output_type<type>>;
        return false;
    });
    return row;
}

constexpr std::size_t word_load_count = static_cast<std::size_t>(bit_load::bytes_8) + 1;
constexpr std::size_t conversion_count = 3;

template<bit_load Load, bool Reversed>
constexpr std::array<decode_row, conversion_count> conversion_rows = {
    row_of<word_strategy<Load, Reversed, signal_conversion::identity>>(),
    row_of<word_strategy<Load, Reversed, signal_conversion::linear>>(),
    row_of<word_strategy<Load, Reversed, signal_conversion::rational>>(),
};

using word_rows = std::array<const std::array<decode_row, conversion_count>*, word_load_count>;

template<bool Reversed, std::size_t... Load>
constexpr word_rows make_word_rows(std::index_sequence<Load...>) {
    return {&conversion_rows<static_cast<bit_load>(Load), Reversed>...};
}

constexpr word_rows little_rows = make_word_rows<false>(std::make_index_sequence<word_load_count>());
constexpr word_rows big_rows = make_word_rows<true>(std::make_index_sequence<word_load_count>());
constexpr decode_row any_integer_row = row_of<any_integer_strategy>();
constexpr decode_row float_row = row_of<floating_strategy<float>>();
constexpr decode_row double_row = row_of<floating_strategy<double>>();

} // namespace

signal_decoder::signal_decoder(const signal_parameters& signal, std::size_t raw_size, bool raw_signed,
                               bool raw_floating, type_kind converted_kind)
    : reader_(signal.byte_order, signal.bit_offset, signal.bit_length, 8 * primitive_size(signal.raw_kind),
              static_cast<std::uint32_t>(8 * raw_size)),
      sign_bit_(raw_signed && reader_.length() != 0 ? std::uint64_t{1} << (reader_.length() - 1) : 0),
      coefficients_(signal.coefficients), conversion_(signal.conversion), encoding_(signal.encoding),
      converted_place_(static_cast<std::uint8_t>(row_place(converted_kind))), raw_signed_(raw_signed) {
    row_ = &choose_row(raw_size, raw_floating);
}

const decode_row& signal_decoder::choose_row(std::size_t raw_size, bool raw_floating) const noexcept {
    if (raw_floating) {
        return raw_size == sizeof(float) ? float_row : double_row;
    }
    const bool other_encoding = raw_signed_ && !is_twos_complement(encoding_);
    const bool all_64_bits = !raw_signed_ && reader_.length() == 64;
    if (other_encoding || all_64_bits || reader_.load() > bit_load::bytes_8) {
        return any_integer_row;
    }
    const word_rows& rows = reader_.reversed() ? big_rows : little_rows;
    return (*rows[static_cast<std::size_t>(reader_.load())])[static_cast<std::size_t>(conversion_)];
}

} // namespace qor::introspection::xtypes
