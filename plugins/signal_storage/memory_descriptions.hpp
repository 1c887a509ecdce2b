// The descriptions of catalogues in memory.
#ifndef PLUGINS_SIGNAL_STORAGE_MEMORY_DESCRIPTIONS_HPP
#define PLUGINS_SIGNAL_STORAGE_MEMORY_DESCRIPTIONS_HPP

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plugins/signal_storage/description_identity.hpp"
#include "plugins/signal_storage/path_index.hpp"
#include "plugins/signal_storage/pending_description.hpp"

namespace qor::storage {

struct memory_description {
    std::uint64_t id;
    description_identity identity;
    std::shared_ptr<const pending_description> content;
    // Path hash and number of each node, ascending.
    std::vector<std::pair<std::uint64_t, std::uint32_t>> paths;
};

// What was inserted neither changes nor goes before all of it does, so that it is read without a lock.
// Thread: any.
class memory_descriptions {
public:
    // Those that go by that name in this process: the same for all that hold them at a time. `must_exist`: null instead
    // of new ones.
    static std::shared_ptr<memory_descriptions> of_name(const std::string& name, bool must_exist);

    // Null when there is none.
    const memory_description* find(std::uint64_t id) const;
    const memory_description* find(std::string_view signature) const;
    // The one of the lowest id above `id`.
    const memory_description* after(std::uint64_t id) const;
    std::uint64_t highest_id() const;
    // As path_index::candidates, of all descriptions.
    std::vector<std::uint32_t> candidates(std::uint64_t path_hash);

    // Gives the id under which a description of that signature then is there; empty when another one has `id`.
    std::optional<std::uint64_t> insert(std::uint64_t id, const description_identity& identity,
                                        std::shared_ptr<const pending_description> content);

private:
    mutable std::shared_mutex mutex_;
    std::map<std::uint64_t, memory_description> by_id_;
    std::map<std::string, const memory_description*, std::less<>> by_signature_;
    // In the order of inserting. The index has the first of them, and gets the rest when it is asked: a catalogue that
    // is only asked about single descriptions goes without it.
    std::vector<const memory_description*> in_order_;
    std::size_t indexed_ = 0;
    path_index index_;
};

} // namespace qor::storage

#endif
