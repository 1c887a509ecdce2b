#include "tavi/stored_descriptions.hpp"

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorc/extensibility/signal_storage.h"
#include "qorcpp/library_search.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/plugin_handle.hpp"
#include "tavi/error.hpp"

namespace tavi::host {

namespace {

// Longer than any signature of the storage; it says when one is longer still.
constexpr std::size_t signature_room = 512;

void check(std::uint32_t status, qor_error_details_t* details) {
    if (details != nullptr) {
        const char* const text = qor_error_details_get_description(details);
        const error failure(status, text != nullptr ? text : "the signal storage reported no reason");
        qor_error_details_destroy(details);
        throw failure;
    }
    if (status != QOR_STATUS_OK) {
        throw error(status, "the signal storage reported no reason");
    }
}

// Opens a catalogue for reading, with failures as host::error.
qor::plugin_steps steps_for(const std::string& uri) {
    const auto find_entry = [](const qor::platform::shared_library& library, const std::string& name) {
        void* const found = library.get_symbol(name);
        if (found == nullptr) {
            throw error(QOR_STATUS_FAILURE, library.get_library_path() + ": " + qor::platform::get_last_error());
        }
        return found;
    };
    const auto open = [uri](void* entry, void** instance) {
        qor_error_details_t* details = nullptr;
        const std::uint32_t status = reinterpret_cast<qor_signal_storage_open_t>(entry)(
            uri.c_str(), QOR_SIGNAL_STORAGE_MODE_READ_ONLY,
            QOR_SIGNAL_STORAGE_READ_ONLY | QOR_SIGNAL_STORAGE_MUST_EXIST, nullptr, instance, &details);
        check(status, details);
    };
    const auto get_service_locator = [](void* entry, void* instance) {
        qor_service_locator_t* locator = nullptr;
        qor_error_details_t* details = nullptr;
        const std::uint32_t status =
            reinterpret_cast<qor_signal_storage_get_service_locator_t>(entry)(instance, &locator, &details);
        check(status, details);
        return locator;
    };
    return {find_entry, open, get_service_locator};
}

class opened_storage {
public:
    opened_storage(const std::string& library_path, const std::string& uri)
        : storage_(qor::platform::shared_library(library_path), qor::plugin_entries_of("signal-storage"),
                   steps_for(uri)),
          access_(storage_.table<qor_signal_storage_access_t>()) {}

    // Empty when there is no description of that id.
    std::string signature(std::uint64_t description_id) const {
        std::string text(signature_room, '\0');
        for (;;) {
            std::size_t size = text.size();
            qor_error_details_t* details = nullptr;
            const std::uint32_t status =
                access_.get_signature(access_.context, description_id, text.data(), &size, &details);
            if (status == QOR_STATUS_BUFFER_TOO_SMALL && details == nullptr && size > text.size()) {
                text.resize(size);
                continue;
            }
            if (status == QOR_STATUS_INVALID_ARGUMENT) {
                qor_error_details_destroy(details);
                return {};
            }
            check(status, details);
            return text.c_str();
        }
    }

private:
    qor::plugin_handle storage_;
    const qor_signal_storage_access_t& access_;
};

opened_storage open_storage(const std::string& library_path, const std::string& uri) {
    try {
        return {library_path, uri};
    } catch (const error&) {
        throw;
    } catch (const std::runtime_error& failure) {
        throw error(QOR_STATUS_FAILURE, library_path + ": " + failure.what());
    }
}

} // namespace

std::vector<std::string> stored_signatures(const std::string& uri) {
    const std::string directory =
        qor::platform::module_directory_of(reinterpret_cast<const void*>(&qor_tavi_extractor_create));
    const auto libraries = qor::runtime::search_local_libraries(directory, "signal-storage");
    if (libraries.empty()) {
        throw error(QOR_STATUS_FAILURE, "there is no signal storage in '" + directory + "'");
    }
    const opened_storage storage = open_storage(libraries.front(), uri);
    std::vector<std::string> signatures;
    // Ids count from 1, and descriptions are never removed. One that was begun and never committed may leave a gap.
    constexpr std::uint64_t longest_gap = 16;
    for (std::uint64_t id = 1, missing = 0; missing < longest_gap; ++id) {
        std::string signature = storage.signature(id);
        missing = signature.empty() ? missing + 1 : 0;
        if (!signature.empty()) {
            signatures.push_back(std::move(signature));
        }
    }
    return signatures;
}

} // namespace tavi::host
