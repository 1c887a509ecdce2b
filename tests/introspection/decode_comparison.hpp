// One read by the type and by the plain decoder, and whether they agree.
#ifndef TESTS_INTROSPECTION_DECODE_COMPARISON_HPP
#define TESTS_INTROSPECTION_DECODE_COMPARISON_HPP

#include <algorithm>
#include <memory>
#include <sstream>

#include "introspection/xtypes/conversion.hpp"
#include "introspection/xtypes/make_signal_type.hpp"
#include "tests/introspection/reference_decode.hpp"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVI_TEST_POISONS_MEMORY 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define TAVI_TEST_POISONS_MEMORY 1
#endif
#if defined(TAVI_TEST_POISONS_MEMORY)
#include <sanitizer/asan_interface.h>
#endif

namespace tavi::test {

// A payload of which only the bytes that a signal's bits touch may be read: with the address sanitizer every other read
// stops the program.
class payload {
public:
    static constexpr std::size_t size = 128;

    payload() { unlock(); }
    payload(const payload&) = delete;
    payload& operator=(const payload&) = delete;
    ~payload() { unlock(); }

    // The byte that stands for the start of the instance. The first touched byte lies at a multiple of 8, as only then
    // the sanitizer can forbid the byte before.
    std::uint8_t* lock(const signal_parameters& signal) {
        unlock();
        const std::uint64_t offset = signal.bit_offset;
        const std::uint64_t length = signal.bit_length;
        std::uint64_t first = offset / 8;
        std::uint64_t last = length == 0 ? first : (offset + length - 1) / 8;
        if (signal.byte_order == signal_byte_order::inconsistent_big_endian) {
            const bool forward = offset == 0 && length == 8 * primitive_size(signal.raw_kind);
            last = forward ? length / 8 - 1 : offset / 8;
            const std::uint64_t further = length == 0 || forward ? last : (offset % 8 + length - 1) / 8;
            first = last - std::min(last, further);
        }
        start_ = 8 + (8 - first % 8) % 8;
#if defined(TAVI_TEST_POISONS_MEMORY)
        __asan_poison_memory_region(bytes_, start_ + first);
        const std::size_t end = start_ + (length == 0 ? first : last + 1);
        __asan_poison_memory_region(bytes_ + end, sizeof(bytes_) - end);
#endif
        return bytes_ + start_;
    }

    void unlock() {
#if defined(TAVI_TEST_POISONS_MEMORY)
        __asan_unpoison_memory_region(bytes_, sizeof(bytes_));
#endif
    }

    std::uint8_t* bytes() {
        return bytes_;
    }
    static constexpr std::size_t capacity() {
        return 16 + size;
    }

private:
    alignas(16) std::uint8_t bytes_[16 + size] = {};
    std::size_t start_ = 0;
};

inline bool same_value(const reading& expected, const std::uint8_t* actual) {
    if (!expected.is_real) {
        return std::equal(expected.bytes.begin(), expected.bytes.end(), actual);
    }
    const auto same = [&](auto real) {
        auto other = real;
        std::memcpy(&real, expected.bytes.data(), sizeof(real));
        std::memcpy(&other, actual, sizeof(other));
        // Which NaN comes out of NaN coefficients is the processor's choice.
        return (std::isnan(real) && std::isnan(other)) || std::memcmp(&real, &other, sizeof(real)) == 0;
    };
    return expected.bytes.size() == sizeof(float) ? same(0.0F) : same(0.0);
}

inline std::shared_ptr<dynamic_type> make_type(type_kind converted, const signal_parameters& signal) {
    const signal_coefficients& c = signal.coefficients;
    std::shared_ptr<dynamic_type> type;
    make_signal_type(converted, signal.raw_kind, type, signal.byte_order, signal.bit_offset, signal.bit_length,
                     c.numerator_x2, c.numerator_x1, c.numerator_x0, c.denominator_x2, c.denominator_x1,
                     c.denominator_x0, signal.signal_suffix, signal.encoding);
    return type;
}

// The read of a type made from `signal`, as `kind`; empty if both agree, else what differs.
template<typename Raw>
std::string compare_decoding(const dynamic_type& type, const signal_parameters& signal, type_kind kind,
                             const std::uint8_t* source) {
    constexpr std::uint8_t untouched = 0x5A;
    std::uint8_t actual[16];
    std::memset(actual, untouched, sizeof(actual));
    const reading expected = reference_decode<Raw>(signal, kind, without_signal(type.kind()), source);
    std::string failure;
    try {
        type.decode(kind, actual, source);
    } catch (const std::runtime_error& error) {
        failure = error.what();
    }
    const bool rest_untouched = std::all_of(actual + expected.bytes.size(), actual + sizeof(actual),
                                            [](std::uint8_t byte) { return byte == untouched; });
    if (failure == expected.failure && rest_untouched && same_value(expected, actual)) {
        return "";
    }
    std::ostringstream text;
    text << type.name() << " as " << kind_name(kind) << " of size " << expected.bytes.size() << ": '" << failure
         << "' for '" << expected.failure << "', bytes";
    for (std::uint8_t byte : actual) {
        text << ' ' << std::hex << int{byte};
    }
    text << " for";
    for (std::uint8_t byte : expected.bytes) {
        text << ' ' << std::hex << int{byte};
    }
    return text.str();
}

// The same for read_bits.
template<typename Raw>
std::string compare_read_bits(const signal_type_base& type, const signal_parameters& signal,
                              const std::uint8_t* source) {
    std::uint8_t expected[64 + sizeof(Raw)] = {};
    std::uint8_t actual[64 + sizeof(Raw)] = {};
    std::string failure;
    std::string expected_failure;
    try {
        reference_read_bits(signal, expected, source);
    } catch (const std::runtime_error& error) {
        expected_failure = error.what();
        std::memset(expected, 0, sizeof(expected));
    }
    std::memset(expected + sizeof(Raw), 0, 64);
    try {
        type.read_bits(actual, source);
    } catch (const std::runtime_error& error) {
        failure = error.what();
    }
    const bool same = failure == expected_failure && std::memcmp(expected, actual, sizeof(actual)) == 0;
    return same ? "" : type.name() + ": read_bits differs, '" + failure + "' for '" + expected_failure + "'";
}

} // namespace tavi::test

#endif
