// How far two names are apart, for the suggestion of a name that is nearly right.
#ifndef QOR_TAVI_EXTRACTOR_EDIT_DISTANCE_HPP
#define QOR_TAVI_EXTRACTOR_EDIT_DISTANCE_HPP

#include <cstddef>
#include <string_view>

namespace qor::tavi::detail {

// Names at this distance or beyond are not suggested.
inline constexpr std::size_t edit_distance_limit = 4;

// Levenshtein distance on bytes, every edit at cost 1; edit_distance_limit when it is that or more.
std::size_t edit_distance(std::string_view left, std::string_view right) noexcept;

} // namespace qor::tavi::detail

#endif
