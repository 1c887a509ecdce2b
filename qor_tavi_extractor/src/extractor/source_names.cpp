// Finding a source by its name, with a suggestion for a name that is nearly right.
#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"

namespace qor::tavi::detail {

namespace {

// Names at this distance or beyond are not suggested.
constexpr size_t suggestion_limit = 4;

// Levenshtein distance on bytes, every edit at cost 1; stops with `limit` once it cannot be less.
size_t edit_distance(std::string_view left, std::string_view right, size_t limit) {
    const size_t difference = left.size() > right.size() ? left.size() - right.size() : right.size() - left.size();
    if (difference >= limit) {
        return limit;
    }
    std::vector<size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < left.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < right.size(); ++j) {
            const size_t substituted = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({substituted, row[j] + 1, row[j + 1] + 1});
        }
    }
    return std::min(row.back(), limit);
}

} // namespace

uint64_t extractor::resolve_source_name(const std::string& name) const {
    if (const auto found = source_keys_by_name.find(name); found != source_keys_by_name.end()) {
        return found->second;
    }
    size_t best_distance = suggestion_limit;
    const std::string* best = nullptr;
    for (const auto& [known, key] : source_keys_by_name) {
        const size_t distance = edit_distance(name, known, suggestion_limit);
        if (distance < best_distance) {
            best_distance = distance;
            best = &known;
        }
    }
    std::string text = "the data source identified with name '" + name + "' was not found";
    if (best != nullptr) {
        text += ", did you mean '" + *best + "'?";
    }
    throw std::runtime_error(text);
}

} // namespace qor::tavi::detail
