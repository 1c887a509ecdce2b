// Sixteen characters at once: by SSE2, which every 64-bit x86 processor has, elsewhere one by one.
#ifndef PLUGINS_CANDUMP_READER_TEXT_BLOCK_HPP
#define PLUGINS_CANDUMP_READER_TEXT_BLOCK_HPP

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "plugins/candump_reader/hex_text.hpp"

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define TAVI_HAS_SSE2 1
#else
#define TAVI_HAS_SSE2 0
#endif

namespace qor::candump {

inline constexpr std::size_t text_block_size = 16;

using block_bytes = std::array<std::uint8_t, text_block_size>;

// What a block has to be like: where a bit of `mask` is set, it has that of `text`, or the difference of the characters
// in these bits is no more than `limit`. The digits are '0' with a limit of 9: no other character is as near.
struct block_shape {
    block_bytes text{};
    block_bytes mask{};
    block_bytes limit{};
};

#if TAVI_HAS_SSE2

namespace detail {

inline __m128i load_block(const void* bytes) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

inline __m128i at_most(__m128i bytes, char limit) noexcept {
    return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(limit)), bytes);
}

} // namespace detail

// Requires, both: sixteen characters can be read at `text`.
inline bool has_shape(const char* text, const block_shape& shape) noexcept {
    const __m128i difference = _mm_and_si128(_mm_xor_si128(detail::load_block(text), detail::load_block(&shape.text)),
                                             detail::load_block(&shape.mask));
    const __m128i beyond = _mm_subs_epu8(difference, detail::load_block(&shape.limit));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128())) == 0xFFFF;
}

// How many hexadecimal digits the block begins with. Stores eight bytes: those of the pairs of digits, then any.
inline std::size_t decode_hex_block(const char* text, std::uint8_t* bytes) noexcept {
    const __m128i characters = detail::load_block(text);
    const __m128i lower = _mm_or_si128(characters, _mm_set1_epi8(0x20));
    const __m128i digits = detail::at_most(_mm_sub_epi8(characters, _mm_set1_epi8('0')), 9);
    const __m128i letters = detail::at_most(_mm_sub_epi8(lower, _mm_set1_epi8('a')), 5);
    const __m128i values =
        _mm_add_epi8(_mm_and_si128(characters, _mm_set1_epi8(0x0F)), _mm_and_si128(letters, _mm_set1_epi8(9)));
    // In each half of 16 bits the first digit is the low byte.
    const __m128i pairs =
        _mm_and_si128(_mm_or_si128(_mm_slli_epi16(values, 4), _mm_srli_epi16(values, 8)), _mm_set1_epi16(0x00FF));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), _mm_packus_epi16(pairs, pairs));
    const auto good = static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(digits, letters)));
    return static_cast<std::size_t>(std::countr_one(good));
}

#else

inline bool has_shape(const char* text, const block_shape& shape) noexcept {
    for (std::size_t i = 0; i < text_block_size; ++i) {
        const auto character = static_cast<std::uint8_t>(text[i]);
        if (((character ^ shape.text[i]) & shape.mask[i]) > shape.limit[i]) {
            return false;
        }
    }
    return true;
}

inline std::size_t decode_hex_block(const char* text, std::uint8_t* bytes) noexcept {
    std::array<std::uint8_t, text_block_size> values{};
    std::size_t count = 0;
    for (; count < text_block_size && hex_value(text[count]) < 16; ++count) {
        values[count] = hex_value(text[count]);
    }
    for (std::size_t i = 0; i < text_block_size / 2; ++i) {
        bytes[i] = static_cast<std::uint8_t>(values[2 * i] << 4 | values[2 * i + 1]);
    }
    return count;
}

#endif

} // namespace qor::candump

#endif
