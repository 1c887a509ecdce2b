// Where packages of one source and format go: what all tables say of them, so that a stream of packages asks the tables
// once. Points into the tables; forgotten when one of them changes.
#ifndef QOR_TAVI_EXTRACTOR_PACKAGE_ROUTE_HPP
#define QOR_TAVI_EXTRACTOR_PACKAGE_ROUTE_HPP

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "qor_tavi_extractor/src/extractor/subscription_lists.hpp"
#include "qor_tavi_extractor/src/extractor/tables.hpp"
#include "qorc/extensibility/package.h"

namespace qor::tavi::detail {

// A package is of a route when source id, instance and format are the same. The bytes that say nothing, at offsets 2
// and 3 and behind the format's zero, are not looked at:
//
//      0    2    4         8          16                    55
//     +----+----+---------+----------+---------------------+
//     | id | -- | inst.   | c a n 0  - - - - - - - - - - - |
//     +----+----+---------+----------+---------------------+
//      head, masked        beginning,  the rest, only of formats
//                          masked      of eight bytes and more
class package_route {
public:
    // Of no package: each has a format, and so a first byte at offset 8.
    package_route() = default;

    // Requires: the package has a format.
    explicit package_route(const qor_package_t& package) noexcept
        : head_(load(bytes_of(package))), beginning_(load(package.format_type)),
          size_(std::min(strnlen(package.format_type, format_room) + 1, format_room)) {
        std::array<unsigned char, 8> read{};
        std::fill_n(read.begin(), std::min(size_, read.size()), static_cast<unsigned char>(0xFF));
        mask_ = std::bit_cast<uint64_t>(read);
        std::memcpy(format_.data(), package.format_type, size_);
    }

    bool is_of(const qor_package_t& package) const noexcept {
        const uint64_t difference =
            ((load(bytes_of(package)) ^ head_) & head_mask) | ((load(package.format_type) ^ beginning_) & mask_);
        return difference == 0 && (size_ <= sizeof(beginning_) ||
                                   std::memcmp(package.format_type + sizeof(beginning_),
                                               format_.data() + sizeof(beginning_), size_ - sizeof(beginning_)) == 0);
    }

    bool is_empty() const noexcept { return size_ == 0; }

    // Null when nobody registered the source; the rest is null then, too.
    const subscription_lists::list* handles = nullptr;
    // Null when there is none.
    const runtime::tavi::data_matcher_proxy* matcher = nullptr;
    const std::vector<bound_processor>* processors = nullptr;

private:
    static constexpr size_t format_room = sizeof(qor_package_t::format_type);
    static constexpr uint64_t head_mask =
        std::bit_cast<uint64_t>(std::array<unsigned char, 8>{0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF});

    static const void* bytes_of(const qor_package_t& package) noexcept { return &package; }
    static uint64_t load(const void* bytes) noexcept {
        uint64_t value;
        std::memcpy(&value, bytes, sizeof(value));
        return value;
    }

    uint64_t head_ = 0;
    uint64_t beginning_ = 0;
    uint64_t mask_ = ~UINT64_C(0);
    // Of the format with its zero, where it has one.
    size_t size_ = 0;
    std::array<char, format_room> format_{};
};
static_assert(offsetof(qor_package_t, format_type) == sizeof(uint64_t));

} // namespace qor::tavi::detail

#endif
