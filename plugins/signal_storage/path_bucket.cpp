#include "plugins/signal_storage/path_bucket.hpp"

#include <algorithm>
#include <array>
#include <tuple>

#include "plugins/signal_storage/little_endian.hpp"

namespace qor::storage {

namespace {

constexpr std::uint64_t nodes_per_bucket = 16;

std::uint32_t high_half(std::uint64_t hash) noexcept {
    return static_cast<std::uint32_t>(hash >> 32);
}

} // namespace

std::uint64_t path_bucket_count(std::uint64_t node_count) noexcept {
    return node_count / nodes_per_bucket + 1;
}

std::uint64_t path_bucket_of(std::uint64_t path_hash, std::uint64_t node_count) noexcept {
    return path_hash % path_bucket_count(node_count);
}

std::uint32_t path_entries::hash(std::size_t index) const noexcept {
    return load_little_endian<std::uint32_t>(bytes_.data() + index * size);
}

bool path_entries::has_hash(std::size_t index, std::uint64_t path_hash) const noexcept {
    return hash(index) == high_half(path_hash);
}

std::uint32_t path_entries::position(std::size_t index) const noexcept {
    return load_little_endian<std::uint32_t>(bytes_.data() + index * size + sizeof(std::uint32_t));
}

std::vector<std::vector<std::uint8_t>> make_path_buckets(const pending_nodes& nodes,
                                                         std::span<const std::uint32_t> positions) {
    const std::uint64_t node_count = nodes.size() - 1;
    std::vector<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>> entries; // bucket, hash, number of the node
    entries.reserve(node_count);
    for (std::uint32_t number = 1; number < nodes.size(); ++number) {
        const std::uint64_t hash = nodes[number].path_hash;
        entries.emplace_back(static_cast<std::uint32_t>(path_bucket_of(hash, node_count)), high_half(hash), number);
    }
    std::sort(entries.begin(), entries.end());
    std::vector<std::vector<std::uint8_t>> buckets(path_bucket_count(node_count));
    for (const auto& [bucket, hash, number] : entries) {
        std::array<std::uint8_t, path_entries::size> entry;
        store_little_endian(hash, entry.data());
        store_little_endian(positions[number], entry.data() + sizeof hash);
        buckets[bucket].insert(buckets[bucket].end(), entry.begin(), entry.end());
    }
    return buckets;
}

} // namespace qor::storage
