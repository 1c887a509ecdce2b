#include "plugins/signal_storage/blake2b.hpp"

#include <algorithm>
#include <bit>
#include <utility>

namespace qor::storage {

namespace {

constexpr std::array<std::uint64_t, 8> initial_state = {
    0x6a09e667f3bcc908u, 0xbb67ae8584caa73bu, 0x3c6ef372fe94f82bu, 0xa54ff53a5f1d36f1u,
    0x510e527fade682d1u, 0x9b05688c2b3e6c1fu, 0x1f83d9abfb41bd6bu, 0x5be0cd19137e2179u,
};

// Which word of the block each step takes; the twelve rounds use the rows in turn.
using words_of_round = std::array<std::uint8_t, 16>;
constexpr std::array<words_of_round, 10> schedule{{
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
    {14, 10, 4, 8, 9, 15, 13, 6, 1, 12, 0, 2, 11, 7, 5, 3},
    {11, 8, 12, 0, 5, 2, 15, 13, 10, 14, 3, 6, 7, 1, 9, 4},
    {7, 9, 3, 1, 13, 12, 11, 14, 2, 6, 5, 10, 4, 0, 15, 8},
    {9, 0, 5, 7, 2, 4, 10, 15, 14, 1, 11, 12, 6, 8, 3, 13},
    {2, 12, 6, 10, 0, 11, 8, 3, 4, 13, 7, 5, 15, 14, 1, 9},
    {12, 5, 1, 15, 14, 13, 4, 10, 0, 7, 6, 3, 9, 2, 8, 11},
    {13, 11, 7, 14, 12, 1, 3, 9, 5, 0, 15, 4, 8, 6, 2, 10},
    {6, 15, 14, 9, 11, 3, 0, 8, 12, 2, 13, 7, 1, 4, 10, 5},
    {10, 2, 8, 4, 7, 6, 1, 5, 15, 11, 9, 14, 3, 12, 13, 0},
}};

// Spelled out, since compilers then see a single load.
std::uint64_t load_word(const std::uint8_t* bytes) noexcept {
    const auto byte = [bytes](unsigned i) { return std::uint64_t{bytes[i]} << (8 * i); };
    return byte(0) | byte(1) | byte(2) | byte(3) | byte(4) | byte(5) | byte(6) | byte(7);
}

void mix(std::uint64_t& a, std::uint64_t& b, std::uint64_t& c, std::uint64_t& d, std::uint64_t x,
         std::uint64_t y) noexcept {
    a += b + x;
    d = std::rotr(d ^ a, 32);
    c += d;
    b = std::rotr(b ^ c, 24);
    a += b + y;
    d = std::rotr(d ^ a, 16);
    c += d;
    b = std::rotr(b ^ c, 63);
}

// The words are known when it is compiled: half the time of a loop that looks them up.
template<words_of_round s>
void mix_round(std::array<std::uint64_t, 16>& v, const std::array<std::uint64_t, 16>& m) noexcept {
    mix(v[0], v[4], v[8], v[12], m[s[0]], m[s[1]]);
    mix(v[1], v[5], v[9], v[13], m[s[2]], m[s[3]]);
    mix(v[2], v[6], v[10], v[14], m[s[4]], m[s[5]]);
    mix(v[3], v[7], v[11], v[15], m[s[6]], m[s[7]]);
    mix(v[0], v[5], v[10], v[15], m[s[8]], m[s[9]]);
    mix(v[1], v[6], v[11], v[12], m[s[10]], m[s[11]]);
    mix(v[2], v[7], v[8], v[13], m[s[12]], m[s[13]]);
    mix(v[3], v[4], v[9], v[14], m[s[14]], m[s[15]]);
}

} // namespace

blake2b::blake2b() noexcept : state_(initial_state) {
    // Parameter block: digest length, no key, fan-out and depth 1.
    state_[0] ^= 0x01010000u ^ std::tuple_size_v<digest>;
}

void blake2b::compress(const std::uint8_t* block, bool last) noexcept {
    std::array<std::uint64_t, 16> m;
    for (unsigned i = 0; i < 16; ++i) {
        m[i] = load_word(block + std::size_t{8} * i);
    }
    std::array<std::uint64_t, 16> v;
    std::copy(state_.begin(), state_.end(), v.begin());
    std::copy(initial_state.begin(), initial_state.end(), v.begin() + 8);
    v[12] ^= counter_;
    if (last) {
        v[14] = ~v[14];
    }
    [&]<std::size_t... Rounds>(std::index_sequence<Rounds...>) {
        (mix_round<schedule[Rounds % std::size(schedule)]>(v, m), ...);
    }
    (std::make_index_sequence<12>());
    for (unsigned i = 0; i < 8; ++i) {
        state_[i] ^= v[i] ^ v[i + 8];
    }
}

void blake2b::update(std::span<const std::uint8_t> bytes) noexcept {
    while (!bytes.empty()) {
        // A full block waits until more comes: the last block of a message is compressed differently.
        if (buffered_ == block_size) {
            counter_ += block_size;
            compress(buffer_.data(), false);
            buffered_ = 0;
        }
        while (buffered_ == 0 && bytes.size() > block_size) {
            counter_ += block_size;
            compress(bytes.data(), false);
            bytes = bytes.subspan(block_size);
        }
        const std::size_t count = std::min(bytes.size(), block_size - buffered_);
        std::copy_n(bytes.begin(), count, buffer_.begin() + static_cast<std::ptrdiff_t>(buffered_));
        buffered_ += count;
        bytes = bytes.subspan(count);
    }
}

digest blake2b::finish() noexcept {
    counter_ += buffered_;
    std::fill(buffer_.begin() + static_cast<std::ptrdiff_t>(buffered_), buffer_.end(), std::uint8_t{0});
    compress(buffer_.data(), true);
    digest result;
    for (unsigned i = 0; i < result.size(); ++i) {
        result[i] = static_cast<std::uint8_t>(state_[i / 8] >> (8 * (i % 8)));
    }
    return result;
}

} // namespace qor::storage
