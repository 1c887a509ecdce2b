// What a catalogue answers and takes, in a file or in memory.
#ifndef PLUGINS_SIGNAL_STORAGE_CATALOGUE_HPP
#define PLUGINS_SIGNAL_STORAGE_CATALOGUE_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "plugins/signal_storage/description_identity.hpp"
#include "plugins/signal_storage/node_sequence.hpp"
#include "plugins/signal_storage/open_options.hpp"
#include "plugins/signal_storage/pending_description.hpp"

namespace qor::storage {

// Throws, all of it: std::invalid_argument that names the path, id or signature that is not there; what fail() throws;
// std::bad_alloc.
// Thread: one at a time. Several objects may be of the same catalogue, each for a thread of its own.
class catalogue {
public:
    // `uri` is a URI as SQLite reads it, or a plain path. The parameter "busy_timeout" gives the milliseconds for which
    // a lock of another process is waited for, 5000 without it. What is refused leaves no file that was not there.
    static std::unique_ptr<catalogue> open(const std::string& uri, const open_options& options);

    virtual ~catalogue() = default;

    // Description 0: the lowest id that has the path. Of equal paths in one description the
    // one that was added first.
    virtual owned_node find_node(std::uint64_t description_id, std::string_view path) = 0;

    // The place of the first of these descriptions that has the path, their count when none has it; one that is not
    // there does not have it.
    virtual std::size_t find_first(std::span<const std::uint64_t> description_ids, std::string_view path) = 0;

    virtual node_sequence roots(std::uint64_t description_id) = 0;
    virtual node_sequence children(std::uint64_t node_id) = 0;
    virtual node_sequence hierarchy(std::uint64_t node_id) = 0;
    virtual node_sequence subtree(std::uint64_t node_id) = 0;

    virtual std::string signature(std::uint64_t description_id) = 0;
    std::uint64_t description_id(std::string_view signature);

    // Empty when there is no such description.
    virtual std::optional<std::uint64_t> find_description(std::string_view signature) = 0;

    // An id above all that are there and above `other`.
    std::uint32_t free_number(std::uint64_t other);

    // Puts a description in, all or nothing, and gives its id: that of one of the same signature which is there, else
    // the content's number, or when that was taken in the meantime a free one above `other`.
    virtual std::uint64_t put(const description_identity& identity,
                              const std::shared_ptr<const pending_description>& content, std::uint64_t other) = 0;

    virtual bool read_only() const noexcept = 0;
    virtual void checkpoint() = 0;
    virtual void compact() = 0;

    // Throws: std::runtime_error "signal storage 'NAME': TEXT".
    [[noreturn]] virtual void fail(const std::string& text) const = 0;

protected:
    virtual std::uint64_t highest_description_id() = 0;
    virtual bool has_description(std::uint64_t description_id) = 0;

    // Throw: std::invalid_argument.
    [[noreturn]] static void fail_node(std::uint64_t node_id);
    [[noreturn]] static void fail_description(std::uint64_t description_id);
    [[noreturn]] void fail_path(std::uint64_t description_id, std::string_view path);
};

} // namespace qor::storage

#endif
