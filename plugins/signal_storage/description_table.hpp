// The table `description`: its rows, each checked before anything of the description is read.
#ifndef PLUGINS_SIGNAL_STORAGE_DESCRIPTION_TABLE_HPP
#define PLUGINS_SIGNAL_STORAGE_DESCRIPTION_TABLE_HPP

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "plugins/signal_storage/database.hpp"
#include "plugins/signal_storage/description_row.hpp"
#include "plugins/signal_storage/digest.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

struct stored_description {
    std::uint64_t id;
    std::string signature;
    std::string name;
    std::uint64_t node_count;
    std::uint64_t view_count;
    qor::storage::digest digest;
    row_digest seal; // of the rows that belong to the description
};

// The digest of a whole description. `row` is without it; `hashes` are those of its nodes' rows in order of positions.
digest digest_of(description_row row, std::span<const row_digest> hashes);
row_digest seal_of(const digest& whole) noexcept;

// Throws: std::runtime_error "signal storage 'FILE': description 'NAME' is damaged: WHAT; ...".
[[noreturn]] void fail_damaged(const database& source, const stored_description& description, const std::string& what);

// What a question by id found is remembered: no program changes or removes a description.
//
// Throws: std::runtime_error for a row that does not match its digest and for rows that are lost; what database::fail
// throws. Thread: as the database. Requires: a transaction, the same for calls that belong together.
class description_table {
public:
    explicit description_table(database& owner);

    // Null when there is none, which is certain: no row of the table is lost then.
    const stored_description* find(std::uint64_t id);
    const stored_description* find(std::string_view signature);

    // The one of the lowest id above `id`; null after the last.
    const stored_description* after(std::uint64_t id);

    // Reads all rows. Throws when one of them is damaged or lost.
    void check_all();

    // Holds the digest of the description against what its nodes' rows give, see digest_of.
    void check_digest(const stored_description& description, std::span<const row_digest> hashes);

    std::uint64_t highest_id();

private:
    const stored_description& read(const execution& source);
    bool scan_for(std::string_view signature);
    [[noreturn]] void fail_table(const std::string& what) const;

    database& database_;
    statement by_id_;
    statement by_signature_;
    statement after_;
    statement all_;
    statement count_;
    statement highest_id_;
    std::map<std::uint64_t, stored_description> read_before_; // by id
    std::optional<std::uint32_t> checked_version_;            // of the data for which check_all was content
};

} // namespace qor::storage

#endif
