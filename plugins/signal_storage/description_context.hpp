// The table by which a parser writes one description.
#ifndef PLUGINS_SIGNAL_STORAGE_DESCRIPTION_CONTEXT_HPP
#define PLUGINS_SIGNAL_STORAGE_DESCRIPTION_CONTEXT_HPP

#include <cstdint>
#include <memory>
#include <mutex>

#include "plugins/signal_storage/pending_description.hpp"
#include "plugins/signal_storage/storage.hpp"
#include "qorc/extensibility/signal_storage.h"

namespace qor::storage {

// Made by create, ends itself in destroy(). Keeps the storage alive.
// Thread: one at a time; different contexts of one storage may be used by different threads.
class description_context {
public:
    // The record belongs to the context, which it is the table of.
    static qor_signal_storage_context_t* create(const std::shared_ptr<storage>& owner,
                                                const description_identity& identity);

    // Slots of qor_signal_storage_context_t.
    void add_node(const qor_type_node_t* node, std::uint64_t* node_id);
    void add_nodes(const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* node_ids);
    void commit(std::uint64_t* description_id);
    void add_value_table(std::uint64_t node_id, const char* value_table);
    void add_text(std::uint64_t node_id, const char* key, const char* text);
    void destroy();

private:
    description_context(std::shared_ptr<storage> owner, description_identity identity,
                        const storage::reservation& reservation);
    ~description_context();
    description_context(const description_context&) = delete;
    description_context& operator=(const description_context&) = delete;

    pending_description& open_content();

    const std::shared_ptr<storage> storage_;
    const description_identity identity_;
    const std::shared_ptr<pending_description> content_; // stays with a catalogue in memory
    bool committed_ = false;
    qor_signal_storage_context_t table_{};
};

} // namespace qor::storage

#endif
