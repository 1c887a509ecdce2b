#include "plugins/signal_storage/sqlite_catalogue.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/schema.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::storage {

// One consistent view of the file for all statements of a question, and one lock instead of one for each statement. One
// within another is a part of it.
class sqlite_catalogue::snapshot {
public:
    explicit snapshot(sqlite_catalogue& owner) : owner_(owner), is_outermost_(!owner.in_snapshot_) {
        if (is_outermost_) {
            owner_.end_.prepared(); // so that the end needs no memory
            owner_.database_.roll_back();
            execution(owner_.begin_).run();
            owner_.in_snapshot_ = true;
        }
    }
    ~snapshot() {
        if (!is_outermost_) {
            return;
        }
        owner_.in_snapshot_ = false;
        try {
            execution(owner_.end_).run();
        } catch (...) {
            // Nothing was written, so that nothing is lost. SQLite may have ended the transaction by itself.
            owner_.database_.roll_back();
        }
    }
    snapshot(const snapshot&) = delete;
    snapshot& operator=(const snapshot&) = delete;

private:
    sqlite_catalogue& owner_;
    const bool is_outermost_;
};

sqlite_catalogue::sqlite_catalogue(std::unique_ptr<database> connection, bool must_exist)
    : connection_(std::move(connection)), database_(*connection_), begin_(database_, "BEGIN"),
      end_(database_, "COMMIT"), descriptions_(database_), nodes_(database_), writer_(database_) {
    prepare_schema(database_, must_exist);
}

const stored_description& sqlite_catalogue::open(std::uint64_t description_id) {
    const stored_description* const found = descriptions_.find(description_id);
    if (found == nullptr) {
        fail_description(description_id);
    }
    return *found;
}

owned_node sqlite_catalogue::find_node(std::uint64_t description_id, std::string_view path) {
    const snapshot view(*this);
    if (description_id != 0) {
        const stored_description* const description = descriptions_.find(description_id);
        if (owned_node node = description != nullptr ? nodes_.find_path(*description, path) : nullptr) {
            return node;
        }
    } else {
        const stored_description* at = descriptions_.after(0);
        descriptions_.check_all(); // a lost one may have had the path
        for (; at != nullptr; at = descriptions_.after(at->id)) {
            if (owned_node node = nodes_.find_path(*at, path)) {
                return node;
            }
        }
    }
    fail_path(description_id, path);
}

void sqlite_catalogue::index_paths(std::uint64_t description_id) {
    if (indexed_.contains(description_id)) {
        return;
    }
    const stored_description* const description = descriptions_.find(description_id);
    if (description == nullptr) {
        return; // it may come yet
    }
    const auto place = indexed_.insert(description_id).first;
    try {
        index_.add(nodes_.paths(*description));
    } catch (const std::runtime_error&) {
        unreadable_.insert(description_id);
    } catch (...) {
        indexed_.erase(place);
        throw;
    }
}

std::size_t sqlite_catalogue::find_first(std::span<const std::uint64_t> description_ids, std::string_view path) {
    const snapshot view(*this);
    std::for_each(description_ids.begin(), description_ids.end(), [&](std::uint64_t id) { index_paths(id); });
    const std::vector<std::uint32_t> candidates = index_.candidates(fnv1a(path));
    const auto has_it = [&](std::uint64_t id) {
        const bool may_have_it =
            std::binary_search(candidates.begin(), candidates.end(), id) || unreadable_.contains(id);
        return may_have_it && nodes_.find_path(open(id), path) != nullptr;
    };
    const auto found = std::find_if(description_ids.begin(), description_ids.end(), has_it);
    return static_cast<std::size_t>(found - description_ids.begin());
}

node_sequence sqlite_catalogue::roots(std::uint64_t description_id) {
    const snapshot view(*this);
    return nodes_.roots(open(description_id));
}

node_sequence sqlite_catalogue::ask(node_question question, std::uint64_t node_id) {
    const snapshot view(*this);
    if (const stored_description* const description = descriptions_.find(description_of(node_id))) {
        if (std::optional<node_sequence> answer = (nodes_.*question)(*description, node_id)) {
            return *std::move(answer);
        }
    }
    fail_node(node_id);
}

node_sequence sqlite_catalogue::children(std::uint64_t node_id) {
    return ask(&node_table::children, node_id);
}

node_sequence sqlite_catalogue::hierarchy(std::uint64_t node_id) {
    return ask(&node_table::hierarchy, node_id);
}

node_sequence sqlite_catalogue::subtree(std::uint64_t node_id) {
    return ask(&node_table::subtree, node_id);
}

std::string sqlite_catalogue::signature(std::uint64_t description_id) {
    const snapshot view(*this);
    return open(description_id).signature;
}

std::optional<std::uint64_t> sqlite_catalogue::find_description(std::string_view signature) {
    const snapshot view(*this);
    const stored_description* const found = descriptions_.find(signature);
    return found != nullptr ? std::optional(found->id) : std::nullopt;
}

bool sqlite_catalogue::has_description(std::uint64_t description_id) {
    const snapshot view(*this);
    return descriptions_.find(description_id) != nullptr;
}

std::uint64_t sqlite_catalogue::highest_description_id() {
    return descriptions_.highest_id();
}

std::uint64_t sqlite_catalogue::put(const description_identity& identity,
                                    const std::shared_ptr<const pending_description>& content, std::uint64_t other) {
    transaction writing(database_);
    // Only from here on can no other process write.
    if (const stored_description* const present = descriptions_.find(identity.signature)) {
        return present->id;
    }
    const bool is_taken = descriptions_.find(content->number()) != nullptr;
    const std::uint64_t id = is_taken ? free_number(other) : content->number();
    writer_.write(identity, id, *content);
    writing.commit();
    return id;
}

void sqlite_catalogue::checkpoint() {
    if (database_.read_only()) {
        return;
    }
    const int status =
        sqlite3_wal_checkpoint_v2(database_.handle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
    if (status != SQLITE_OK) {
        database_.fail(status);
    }
}

void sqlite_catalogue::compact() {
    {
        const snapshot view(*this);
        statement check(database_, "PRAGMA integrity_check(1)");
        execution row(check);
        const char* const text = row.next() ? row.text(0) : nullptr;
        if (text == nullptr || std::string_view(text) != "ok") {
            database_.fail(std::string("the file is damaged: ") + (text != nullptr ? text : "no answer to the check"));
        }
        const stored_description* at = descriptions_.after(0);
        descriptions_.check_all();
        for (; at != nullptr; at = descriptions_.after(at->id)) {
            descriptions_.check_digest(*at, nodes_.check(*at));
        }
    }
    if (!database_.read_only()) {
        database_.execute("VACUUM");
    }
}

} // namespace qor::storage
