#include "plugins/signal_storage/description_table.hpp"

#include <algorithm>
#include <vector>

#include "plugins/signal_storage/checked_row.hpp"
#include "plugins/signal_storage/little_endian.hpp"
#include "plugins/signal_storage/node_id.hpp"

namespace qor::storage {

namespace {

constexpr const char* advice = "; register it into a new catalogue";

std::string select_sql(const std::string& condition) {
    return select_sql("description", columns_of<description_row>(), condition);
}

} // namespace

digest digest_of(description_row row, std::span<const row_digest> hashes) {
    row.digest = {};
    digest_builder builder;
    std::array<std::uint8_t, sizeof(row_digest)> bytes;
    const auto add = [&](row_digest hash) {
        store_little_endian(hash, bytes.data());
        builder.update(bytes);
    };
    add(hash_row(row));
    std::for_each(hashes.begin(), hashes.end(), add);
    return builder.finish();
}

row_digest seal_of(const digest& whole) noexcept {
    return load_little_endian<row_digest>(whole.data());
}

void fail_damaged(const database& source, const stored_description& description, const std::string& what) {
    source.fail("description '" + description.name + "' is damaged: " + what + advice);
}

description_table::description_table(database& owner)
    : database_(owner), by_id_(owner, select_sql("WHERE id = ?1")),
      by_signature_(owner, select_sql("WHERE signature = ?1")),
      after_(owner, select_sql("WHERE id > ?1 ORDER BY id LIMIT 1")), all_(owner, select_sql("ORDER BY id")),
      count_(owner, "SELECT description_count FROM catalogue"), highest_id_(owner, "SELECT max(id) FROM description") {}

void description_table::fail_table(const std::string& what) const {
    database_.fail("the file is damaged: " + what + "; register its descriptions into a new catalogue");
}

const stored_description& description_table::read(const execution& source) {
    description_row row;
    const bool matches = read_row(source, row, 0);
    stored_description description{row.id,
                                   row.signature != nullptr ? row.signature : "",
                                   row.name != nullptr ? row.name : "",
                                   row.node_count,
                                   row.view_count,
                                   {},
                                   0};
    if (!matches || description.name.empty() || description.signature.empty() ||
        row.digest.size() != description.digest.size() || row.id > max_description_id) {
        fail_damaged(database_, description, "its row, id '" + std::to_string(row.id) + "', does not match its digest");
    }
    std::copy(row.digest.begin(), row.digest.end(), description.digest.begin());
    description.seal = seal_of(description.digest);
    return read_before_.insert_or_assign(row.id, std::move(description)).first->second;
}

const stored_description* description_table::find(std::uint64_t id) {
    if (const auto found = read_before_.find(id); found != read_before_.end()) {
        return &found->second;
    }
    execution row(by_id_);
    row.bind(1, id);
    if (row.next()) {
        return &read(row);
    }
    check_all();
    return nullptr;
}

// The version changes with each commit of any connection.
void description_table::check_all() {
    const std::uint32_t version = database_.data_version();
    if (checked_version_ != version) {
        scan_for({});
        checked_version_ = version;
    }
}

const stored_description* description_table::find(std::string_view signature) {
    {
        execution row(by_signature_);
        row.bind(1, signature);
        if (row.next()) {
            const stored_description& found = read(row);
            if (found.signature == signature) {
                return &found;
            }
            fail_table("the index of signatures leads to another description");
        }
    }
    if (scan_for(signature)) {
        fail_table("the index of signatures lacks a description");
    }
    return nullptr;
}

const stored_description* description_table::after(std::uint64_t id) {
    execution row(after_);
    row.bind(1, id);
    if (!row.next()) {
        return nullptr;
    }
    const stored_description& found = read(row);
    if (found.id <= id) {
        fail_table("descriptions are out of order");
    }
    return &found;
}

// Whether a description has the signature.
bool description_table::scan_for(std::string_view signature) {
    std::uint64_t count = 0;
    std::uint64_t last_id = 0;
    bool is_there = false;
    execution row(all_);
    for (; row.next(); ++count) {
        const stored_description& description = read(row);
        if (description.id <= last_id) {
            fail_table("descriptions are out of order");
        }
        last_id = description.id;
        is_there = is_there || description.signature == signature;
    }
    execution expected(count_);
    if (!expected.next() || static_cast<std::uint64_t>(expected.integer(0)) != count) {
        fail_table("descriptions are lost");
    }
    return is_there;
}

void description_table::check_digest(const stored_description& description, std::span<const row_digest> hashes) {
    execution row(by_id_);
    row.bind(1, description.id);
    description_row read;
    if (!row.next() || !read_row(row, read, 0) || digest_of(read, hashes) != description.digest) {
        fail_damaged(database_, description, "its rows do not match its digest");
    }
}

std::uint64_t description_table::highest_id() {
    execution row(highest_id_);
    return row.next() ? static_cast<std::uint64_t>(row.integer(0)) : 0;
}

} // namespace qor::storage
