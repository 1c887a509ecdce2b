// The records of an extractor's tables.
#ifndef QOR_TAVI_EXTRACTOR_TABLES_HPP
#define QOR_TAVI_EXTRACTOR_TABLES_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qor_tavi_extractor/src/extractor/table.hpp"
#include "runtime/tavi/data_matcher_proxy.hpp"
#include "runtime/tavi/data_processor_proxy.hpp"

namespace qor::tavi::detail {

struct source_record {
    uint64_t key;
    uint16_t source_id;
    uint32_t instance;
    std::string name;
    // Without duplicates, in order of first registration.
    std::vector<uint64_t> description_ids;
};

struct subscription_record {
    uint64_t handle;
    uint64_t source_key;
    // Extent of the last level in bytes.
    uint64_t size;
    // The catalogue node that the URL resolved to.
    uint64_t node;
    uint16_t source_id;
    uint32_t instance;
    // As the host gave it.
    std::string url;
    // Shared by subscriptions of one schema.
    std::shared_ptr<const std::string> schema;
};

struct bound_processor {
    std::string format;
    std::unique_ptr<runtime::tavi::data_processor_proxy> proxy;
};

} // namespace qor::tavi::detail

#endif
