// One opened catalogue, which the tables of the plug-in lead to.
#ifndef PLUGINS_SIGNAL_STORAGE_STORAGE_HPP
#define PLUGINS_SIGNAL_STORAGE_STORAGE_HPP

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "plugins/signal_storage/catalogue.hpp"

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
    std::uint64_t commit(const description_identity& identity,
                         const std::shared_ptr<const pending_description>& content);

    template<typename Result, typename... Parameters, typename... Arguments>
    Result ask(Result (catalogue::*question)(Parameters...), Arguments&&... arguments) {
        const std::lock_guard lock(mutex_);
        return (catalogue_.get()->*question)(arguments...);
    }

private:
    struct open_number {
        std::uint32_t number;
        std::uint32_t contexts;
    };

    // 0 when no context is open.
    std::uint64_t highest_open() const noexcept;

    std::mutex mutex_;
    const std::unique_ptr<catalogue> catalogue_;
    std::map<std::string, open_number, std::less<>> open_numbers_; // by signature
};

} // namespace qor::storage

#endif
