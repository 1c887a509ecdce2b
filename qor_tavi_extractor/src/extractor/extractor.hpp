// The object behind the exported handle: owns the connection to the catalogue, the plug-ins, and all tables of sources
// and subscriptions. Its operations stand in one source for each theme:
//   start_up.cpp, sources.cpp, source_names.cpp, processors.cpp, browsing.cpp, subscriptions.cpp, packages.cpp,
//   reader_filter.cpp
#ifndef QOR_TAVI_EXTRACTOR_EXTRACTOR_HPP
#define QOR_TAVI_EXTRACTOR_EXTRACTOR_HPP

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qor_tavi_extractor/src/extractor/package_routes.hpp"
#include "qor_tavi_extractor/src/extractor/shared_texts.hpp"
#include "qor_tavi_extractor/src/extractor/spare_lists.hpp"
#include "qor_tavi_extractor/src/extractor/subscription_lists.hpp"
#include "qor_tavi_extractor/src/extractor/tables.hpp"
#include "qorc/extensibility/data_source_provider.h"
#include "runtime/data_source_provider.hpp"
#include "runtime/enable_service_locator.hpp"
#include "runtime/holders.hpp"
#include "runtime/logger.hpp"
#include "runtime/tavi/data_description_parser_proxy.hpp"
#include "runtime/tavi/data_matcher_proxy.hpp"
#include "runtime/tavi/data_processor_proxy.hpp"
#include "runtime/tavi/signal_storage_proxy.hpp"

namespace qor::tavi::detail {

class url;
class url_context;

// Thread: operations lock `mutex` and hold it during plug-in calls, so that calls on one extractor wait for one
// another. Exceptions, which a host must not overlap with changes: get_url, get_reader_filter_expression, the node
// queries; the second half of unregister_sources, which must not overlap anything; checkpoint_signal_storage, which may
// overlap anything.
//
// Call-backs: whatever is called from here - plug-ins, the host's allocator, log sink and locator - may call any
// operation on the same thread, which is why the mutex is recursive. So no reference into a table that can change, and
// no iterator, is used again after such a call; a loop over what can change goes by index, or over a copy.
//
// Failures: an operation that throws leaves the tables as they were, except for what its comment says.
class extractor : public extensibility::enable_service_locator, public std::enable_shared_from_this<extractor> {
public:
    // Loads the storage, takes the host's logger, finds matchers and parsers. `service_locator` is never null, its
    // table may be. Throws the failure of the first step that fails.
    extractor(const std::string& signal_storage_uri, uint32_t signal_storage_flags,
              std::shared_ptr<runtime::service_locator> service_locator);
    ~extractor() override;

    // Sources. `receive` gets the signatures of the descriptions, in order of registration, before the source is
    // stored: what it throws fails the registration. Descriptions that were committed and processors that were bound by
    // then stay.
    using signature_receiver = std::function<void(const std::vector<std::string>&)>;
    void register_source(const extensibility::data_source& source, const qor_data_source_provider_t* provider,
                         bool sanitize_name, const signature_receiver& receive);
    void register_source_from_signal_storage(uint16_t source_id, uint32_t instance, const std::string& name,
                                             const std::vector<std::string>& signatures);
    void
    register_source_with_data_descriptions(uint16_t source_id, uint32_t instance, const std::string& name,
                                           const std::vector<extensibility::data_description_content>& descriptions,
                                           const signature_receiver& receive);
    void unregister_sources();
    void checkpoint_signal_storage();

    // Browsing.
    runtime::type_node_sequence_holder get_root_nodes(const extensibility::data_source& source) const;
    runtime::type_node_sequence_holder get_root_nodes(const std::string& source_name) const;
    runtime::type_node_sequence_holder get_node_children(const qor_type_node_t* node) const;
    std::string get_type_schema_by_url(const std::string& url_expression, bool lenient, bool annotate,
                                       bool print_option);

    // Subscriptions. A source that is subscribed to by number and registered by nobody is recorded, also when there is
    // no such path. Of what fails in a plug-in: a subscription is not there, but the plug-ins that took it keep its
    // handle; `unsubscribe` has ended the subscription all the same; `unsubscribe_all` has ended none.
    uint64_t subscribe(const std::string& url_expression, bool lenient);
    void unsubscribe(uint64_t handle);
    void unsubscribe_all();
    size_t get_subscription_count();
    std::string get_url(uint64_t handle) const;
    std::string get_type_schema_by_subscription(uint64_t handle);
    std::string get_reader_filter_expression() const;

    // Packages. A package is matched against the subscriptions that its source has when the call begins. It costs one
    // short look-up, one call of the matcher's plug-in (or one for each subscription of the source where it has no
    // batch table) and one record for each subscription that matches; nothing else is allocated. `take` gets the
    // result, without the lock.
    template<typename Take>
    void match(const qor_package_t& package, bool strict, Take&& take) {
        check_is_matchable(package);
        std::unique_lock lock(mutex);
        const spare_lists<uint64_t>::loan matched(spare_handles);
        matched.list().clear();
        find_matches(package, strict, matched.list());
        lock.unlock();
        take(matched.list());
    }
    template<typename Take>
    void process(const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict, Take&& take) {
        check_has_format(package);
        std::unique_lock lock(mutex);
        const spare_lists<runtime::dynamic_data_holder>::loan records(spare_records);
        make_records(package, allocator, strict, records.list());
        lock.unlock();
        take(records.list());
    }
    bool has_data_processor(const qor_package_t& package);

private:
    // Where a subscription's bytes lie.
    struct place {
        uint64_t address = 0;
        uint64_t position = 0;
        uint64_t extent = 0;
    };

    void load_signal_storage(const std::string& uri, uint32_t flags);
    void take_logger();
    void find_matchers();
    void find_parsers();

    std::shared_ptr<runtime::tavi::data_description_parser_proxy> find_parser(const std::string& format_type,
                                                                              uint16_t source_id) const;
    uint64_t parse_description(const runtime::tavi::data_description_parser_proxy& parser, const void* content,
                               size_t size, const std::string& name, uint8_t extra_context_type,
                               const std::function<void()>& parsed = nullptr);
    // Requires: the lock. No provider for a source without one.
    void register_source_from(const extensibility::data_source& local,
                              const std::optional<extensibility::data_source_provider>& provider, bool sanitize_name,
                              const signature_receiver& receive);
    bool register_provider_descriptions(const extensibility::data_source& source,
                                        const extensibility::data_source_provider& provider,
                                        std::vector<uint64_t>& description_ids);
    void register_provider_description(const extensibility::data_source& source,
                                       const extensibility::data_source_provider& provider,
                                       const extensibility::data_description& description,
                                       std::vector<uint64_t>& description_ids);
    void register_built_in_description(const extensibility::data_source& source, const char* name,
                                       std::vector<uint64_t>& description_ids);
    void store_source(uint16_t source_id, uint32_t instance, const std::string& name,
                      const std::vector<uint64_t>& description_ids);
    uint64_t resolve_source_name(const std::string& name) const;
    std::vector<uint64_t> bind_processors(const extensibility::data_source& source,
                                          const qor_data_source_provider_t& provider);
    void bind_processor(std::unique_ptr<runtime::tavi::data_processor_proxy> proxy,
                        const extensibility::data_source& source, const qor_data_source_provider_t& provider,
                        std::vector<uint64_t>& description_ids);

    runtime::type_node_sequence_holder get_root_nodes(uint64_t source_key) const;
    const source_record& find_source(const url_context& context) const;
    // The record of the source that a subscription names.
    source_record source_of_subscription(const url_context& context);
    std::string schema_of_description(uint64_t description_id, const url_context& context, const std::string& path,
                                      bool lenient, bool annotate, bool print_option) const;
    uint64_t find_subscribed_node(const std::vector<uint64_t>& description_ids, const std::string& path) const;
    static place place_of(const url& url, const qor_type_node_sequence_t& hierarchy);
    void announce(const subscription_record& record, const qor_type_node_sequence_t& hierarchy,
                  const place& place) const;
    void make_room_for_subscription(uint64_t source_key);
    void store_subscription(table<uint64_t, subscription_record>::node_type&& node);
    void withdraw(uint64_t handle) const;

    const package_route& route_of(const qor_package_t& package);
    void forget_routes() noexcept;
    // Throw for a package without format, each its own type.
    static void check_is_matchable(const qor_package_t& package);
    static void check_has_format(const qor_package_t& package);
    void find_matches(const qor_package_t& package, bool strict, std::vector<uint64_t>& matched);
    void make_records(const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict,
                      std::vector<runtime::dynamic_data_holder>& records);
    void cut_records(const runtime::tavi::data_matcher_proxy& matcher, std::span<const uint64_t> handles,
                     const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict,
                     std::vector<runtime::dynamic_data_holder>& records);

    std::shared_ptr<runtime::service_locator> service_locator;
    std::shared_ptr<extensibility::log::logger> logger;
    std::shared_ptr<runtime::tavi::signal_storage_proxy> signal_storage;
    table<std::string, std::shared_ptr<runtime::tavi::data_matcher_proxy>> matchers;
    table<parser_key, std::shared_ptr<runtime::tavi::data_description_parser_proxy>> parsers;
    table<uint64_t, subscription_record> subscriptions;
    subscription_lists subscriptions_by_source;
    table<uint64_t, source_record> sources;
    table<std::string, uint64_t> source_keys_by_name;
    // Nothing is ever taken out. Ordered, since a walk over it goes on after a call-back that added something.
    std::map<uint64_t, std::vector<bound_processor>> processors;
    package_routes routes;
    shared_texts schema_texts;
    // For a matcher's answers and for what goes to the host; borrowed under `mutex`.
    spare_lists<qor_match_outcome_t> spare_outcomes;
    spare_lists<uint64_t> spare_handles;
    spare_lists<runtime::dynamic_data_holder> spare_records;
    std::recursive_mutex mutex;
};

} // namespace qor::tavi::detail

#endif
