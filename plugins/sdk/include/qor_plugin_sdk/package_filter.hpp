// Passes over packages that a host does not need, and counts them by address: what set_filter and excluded of a
// recording (recording_reader.hpp) are made with. Before a package is added to a batch:
//
//     if (filter_.excludes(source, id)) continue;
//
// An address is found by one multiplication and usually one look at a table. Thread: one at a time.
#ifndef QOR_PLUGIN_SDK_PACKAGE_FILTER_HPP
#define QOR_PLUGIN_SDK_PACKAGE_FILTER_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/can_frame.hpp"
#include "qorcpp/reader_filter.hpp"

namespace qor::sdk {

// Of CAN frames: addresses are ids with their flag bits.
class package_filter {
public:
    // As set_filter of qor_recording_filter_support_t. Throws: std::invalid_argument for an invalid expression.
    void set(std::size_t source, std::optional<std::string_view> expression) {
        if (tables_.size() <= source) {
            tables_.resize(source + 1);
        }
        table& changed = tables_[source];
        changed = {};
        if (!expression) {
            return;
        }
        const reader_filter filter(*expression);
        changed.slots.resize(16);
        for (const reader_filter::term& term : filter.terms()) {
            if (!term.address) {
                changed = {}; // accepts all
                return;
            }
            if (*term.address <= UINT32_MAX) {
                put(changed, static_cast<std::uint32_t>(*term.address), accepted);
            }
        }
    }

    // Whether the filter excludes a package of that source; it is counted then.
    bool excludes(std::size_t source, std::uint32_t address) {
        if (source >= tables_.size() || tables_[source].slots.empty()) {
            return false;
        }
        table& of_source = tables_[source];
        const slot& found = of_source.slots[place_of(of_source, address)];
        if (found.index < accepted) {
            ++excluded_[found.index].count;
            return true;
        }
        return found.index == none && add(of_source, source, address);
    }

    std::span<const qor_excluded_packages_t> excluded() const noexcept { return excluded_; }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    static constexpr std::uint32_t accepted = none - 1;
    // Addresses that are counted; packages of further ones are delivered.
    static constexpr std::size_t most_excluded = 65536;

    struct slot {
        std::uint32_t address = 0;
        std::uint32_t index = none;
    };

    // Open addressing, at most half full. Without slots: no filter.
    struct table {
        std::vector<slot> slots;
        std::size_t count = 0;
    };

    static std::size_t place_of(const table& searched, std::uint32_t address) noexcept {
        const std::size_t mask = searched.slots.size() - 1;
        // Multiplying by the golden ratio spreads neighbouring ids.
        std::size_t place = static_cast<std::size_t>((address * UINT64_C(0x9E3779B97F4A7C15)) >> 32) & mask;
        while (searched.slots[place].index != none && searched.slots[place].address != address) {
            place = (place + 1) & mask;
        }
        return place;
    }

    static void put(table& changed, std::uint32_t address, std::uint32_t index) {
        slot& used = changed.slots[place_of(changed, address)];
        if (used.index != none) {
            return;
        }
        used = {address, index};
        if (++changed.count > changed.slots.size() / 2) {
            table larger;
            larger.slots.resize(changed.slots.size() * 2);
            larger.count = changed.count;
            for (const slot& moved : changed.slots) {
                if (moved.index != none) {
                    larger.slots[place_of(larger, moved.address)] = moved;
                }
            }
            changed = std::move(larger);
        }
    }

    bool add(table& of_source, std::size_t source, std::uint32_t address) {
        if (excluded_.size() == most_excluded) {
            return false;
        }
        const std::uint32_t flags = ((address & can_remote_bit) != 0 ? QOR_RECORDED_REMOTE : 0) |
                                    ((address & can_error_bit) != 0 ? QOR_RECORDED_BUS_ERROR : 0);
        excluded_.push_back({address, 1, static_cast<std::uint32_t>(source), flags});
        put(of_source, address, static_cast<std::uint32_t>(excluded_.size() - 1));
        return true;
    }

    // By source.
    std::vector<table> tables_;
    std::vector<qor_excluded_packages_t> excluded_;
};

} // namespace qor::sdk

#endif
