#include "plugins/signal_storage/path_index.hpp"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace qor::storage {

void path_index::add(std::vector<entry> paths) {
    std::sort(paths.begin(), paths.end());
    runs_.push_back(std::move(paths));
    try {
        join_runs();
    } catch (const std::bad_alloc&) {
        return; // they stay apart until the next one comes
    }
}

void path_index::join_runs() {
    while (runs_.size() > 1 && runs_[runs_.size() - 2].size() / 2 <= runs_.back().size()) {
        std::vector<entry>& before = runs_[runs_.size() - 2];
        std::vector<entry> joined;
        joined.reserve(before.size() + runs_.back().size());
        std::merge(before.begin(), before.end(), runs_.back().begin(), runs_.back().end(), std::back_inserter(joined));
        before = std::move(joined);
        runs_.pop_back();
    }
}

std::vector<std::uint32_t> path_index::candidates(std::uint64_t path_hash) const {
    const auto hash = static_cast<std::uint32_t>(path_hash >> 32);
    std::vector<std::uint32_t> found;
    for (const std::vector<entry>& run : runs_) {
        for (auto at = std::lower_bound(run.begin(), run.end(), entry{hash, 0}); at != run.end() && at->hash == hash;
             ++at) {
            found.push_back(at->description_id);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace qor::storage
