// The routes of the packages that came last, as many as sources take turns.
//
// A table with one route at each place: that of the last package whose source and format lead there. Instances that
// follow one another lead to places that do. When as many routes as the table has places were pushed out by others, it
// doubles and begins empty.
// Example: the instances 0 to 63 in turn push each other out of 8 places; after 8, 16 and 32 such packages the table
// has 64 places, and from then on each finds its own route.
#ifndef QOR_TAVI_EXTRACTOR_PACKAGE_ROUTES_HPP
#define QOR_TAVI_EXTRACTOR_PACKAGE_ROUTES_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#include "qor_tavi_extractor/src/extractor/package_route.hpp"

namespace qor::tavi::detail {

// Thread: used under the extractor's lock.
class package_routes {
public:
    // The only place where the package's route can be; another one may be there.
    const package_route& at(const qor_package_t& package) const noexcept { return routes_[place_of(package)]; }

    // Valid until the next call. Never fails: without memory the table stays as large as it is.
    const package_route& remember(const qor_package_t& package, const package_route& route) noexcept {
        if (!routes_[place_of(package)].is_empty() && ++pushed_out_ >= routes_.size() && routes_.size() < most_places) {
            grow();
        }
        is_empty_ = false;
        return routes_[place_of(package)] = route;
    }

    // Costs nothing when no package came since the last time.
    void forget() noexcept {
        if (!is_empty_) {
            std::fill(routes_.begin(), routes_.end(), package_route());
            is_empty_ = true;
        }
    }

private:
    static constexpr std::size_t first_places = 8;
    static constexpr std::size_t most_places = 4096;

    std::size_t place_of(const qor_package_t& package) const noexcept {
        const auto mark = static_cast<unsigned char>(package.format_type[0]);
        const uint32_t instance = package.instance;
        return (package.source_id ^ instance ^ mark) & (routes_.size() - 1);
    }

    void grow() noexcept {
        pushed_out_ = 0;
        try {
            routes_ = std::vector<package_route>(2 * routes_.size());
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    // A power of two.
    std::vector<package_route> routes_ = std::vector<package_route>(first_places);
    std::size_t pushed_out_ = 0;
    bool is_empty_ = true;
};

} // namespace qor::tavi::detail

#endif
