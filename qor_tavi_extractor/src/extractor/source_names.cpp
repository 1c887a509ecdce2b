// Finding a source by its name, with a suggestion for a name that is nearly right.
#include <stdexcept>

#include "qor_tavi_extractor/src/extractor/edit_distance.hpp"
#include "qor_tavi_extractor/src/extractor/extractor.hpp"

namespace qor::tavi::detail {

uint64_t extractor::resolve_source_name(const std::string& name) const {
    if (const auto found = source_keys_by_name.find(name); found != source_keys_by_name.end()) {
        return found->second;
    }
    size_t best_distance = edit_distance_limit;
    const std::string* best = nullptr;
    for (const auto& [known, key] : source_keys_by_name) {
        const size_t distance = edit_distance(name, known);
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
