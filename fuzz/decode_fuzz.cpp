// Any signal and any payload: the fast decoder and the plain one have to agree, and neither may read a byte behind the
// last that the signal's bits touch.
//
// Input: raw kind, converted kind, wanted kind (a byte each, modulo what there is; the last wanted kind is none), byte
// order, encoding, bit offset (2 bytes), bit length (2 bytes), six doubles, payload.
#include <cstdio>
#include <cstdlib>

#include "tests/introspection/decode_comparison.hpp"

namespace {

using namespace tavi::test;

class input {
public:
    input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    template<typename T>
    T take() {
        T value{};
        const std::size_t count = std::min(sizeof(T), size_);
        std::memcpy(&value, data_, count);
        data_ += count;
        size_ -= count;
        return value;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

type_kind kind_at(std::size_t place) {
    type_kind kind{};
    any_scalar([&](const auto& scalar) {
        kind = scalar.kind;
        return place-- == 0;
    });
    return kind;
}

void require(const std::string& difference) {
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
}

template<typename Raw>
void compare(const signal_parameters& signal, type_kind converted, type_kind wanted, input& rest) {
    std::shared_ptr<dynamic_type> type;
    try {
        type = make_type(converted, signal);
    } catch (const std::invalid_argument&) {
        return; // too long for its raw kind
    }
    std::vector<std::uint8_t> payload(touched_size(signal));
    for (std::uint8_t& byte : payload) {
        byte = rest.take<std::uint8_t>();
    }
    const std::uint8_t* const source = payload.data();
    require(compare_decoding<Raw>(*type, signal, wanted, source));
    require(compare_read_bits<Raw>(dynamic_cast<const signal_type_base&>(*type), signal, source));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input bytes(data, size);
    const type_kind raw = kind_at(bytes.take<std::uint8_t>() % scalar_count);
    const type_kind converted = kind_at(bytes.take<std::uint8_t>() % scalar_count);
    const std::size_t wanted = bytes.take<std::uint8_t>() % (scalar_count + 1);
    signal_parameters signal{};
    signal.raw_kind = raw;
    signal.byte_order = static_cast<signal_byte_order>(bytes.take<std::uint8_t>() % 4);
    signal.encoding = static_cast<signal_encoding>(bytes.take<std::uint8_t>() % 5);
    signal.bit_offset = bytes.take<std::uint16_t>() % 300;
    signal.bit_length = bytes.take<std::uint16_t>() % 600;
    for (double* coefficient : {&signal.coefficients.numerator_x2, &signal.coefficients.numerator_x1,
                                &signal.coefficients.numerator_x0, &signal.coefficients.denominator_x2,
                                &signal.coefficients.denominator_x1, &signal.coefficients.denominator_x0}) {
        *coefficient = bytes.take<double>();
    }
    signal.conversion = conversion_of(signal.coefficients);
    any_scalar([&](const auto& scalar) {
        using type = typename std::remove_cvref_t<decltype(scalar)>::type;
        if (scalar.kind != raw) {
            return false;
        }
        compare<type>(signal, converted, wanted == scalar_count ? type_kind::boolean : kind_at(wanted), bytes);
        return true;
    });
    return 0;
}
