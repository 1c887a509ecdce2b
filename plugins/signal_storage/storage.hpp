// One opened catalogue: what stands behind the tables of the plug-in.
#ifndef PLUGINS_SIGNAL_STORAGE_STORAGE_HPP
#define PLUGINS_SIGNAL_STORAGE_STORAGE_HPP

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "plugins/signal_storage/catalogue_reader.hpp"
#include "plugins/signal_storage/catalogue_writer.hpp"
#include "plugins/signal_storage/database.hpp"

namespace qor::storage {

// Thread: any, calls wait for one another. A checkpoint thus runs beside another call as one before or after it.
class storage {
public:
    storage(const std::string& uri, const open_options& options);

    // What a context starts with: the id that its description has, or is to get, and whether it is there already.
    struct reservation {
        std::uint32_t number;
        bool present;
    };

    // A number that no other open context has, unless it brings the same description. Ends with release().
    // Throws: std::runtime_error when the description is new and the storage is read-only or full.
    reservation reserve(const description_identity& identity);
    void release(const std::string& signature) noexcept;

    // Writes what a context has gathered, all or nothing, and gives the description's id: the reserved one, unless
    // another process took that in the meantime. On an error the same call may be made again.
    std::uint64_t commit(const description_identity& identity, const pending_description& content);

    // See catalogue_reader.
    template<typename Result, typename... Parameters, typename... Arguments>
    Result ask(Result (catalogue_reader::*question)(Parameters...), Arguments&&... arguments) {
        const std::lock_guard lock(mutex_);
        return (reader_.*question)(arguments...);
    }

    // Moves what stands in a write-ahead log into the file; the journal that new files use leaves nothing behind.
    void checkpoint();

    // Throws: std::runtime_error that tells the first damage that was found.
    void compact();

private:
    struct open_number {
        std::uint32_t number;
        std::uint32_t contexts;
    };

    std::uint32_t free_number();

    std::mutex mutex_;
    database database_;
    catalogue_reader reader_;
    catalogue_writer writer_;
    std::map<std::string, open_number, std::less<>> open_numbers_; // by signature
};

} // namespace qor::storage

#endif
