// Which of many descriptions may have a path, without a look into each.
//
// Runs of entries, each the high half of a path's hash and a description's id, ascending. A description comes as a run
// of its own; the last two runs become one as long as the last is not much shorter than the one before. So n entries
// are in few runs, of which each is searched by bisection, and adding costs log n moves an entry.
//
// Example: descriptions of 300, 40 and 50 entries are runs of 300 and 90, and a fourth one of 60 makes them one of 450.
#ifndef PLUGINS_SIGNAL_STORAGE_PATH_INDEX_HPP
#define PLUGINS_SIGNAL_STORAGE_PATH_INDEX_HPP

#include <compare>
#include <cstdint>
#include <vector>

namespace qor::storage {

class path_index {
public:
    struct entry {
        std::uint32_t hash; // the high half
        std::uint32_t description_id;

        auto operator<=>(const entry&) const = default;
    };

    // All paths of a description, in any order. Throws: std::bad_alloc, and the description is not there.
    void add(std::vector<entry> paths);

    // The ids of all that have a path of this hash, and few others, ascending.
    std::vector<std::uint32_t> candidates(std::uint64_t path_hash) const;

private:
    void join_runs();

    std::vector<std::vector<entry>> runs_;
};

} // namespace qor::storage

#endif
