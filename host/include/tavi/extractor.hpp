// The extractor as a C++ object over its C interface.
//
//     tavi::host::extractor extractor;
//     extractor.register_source(0x10, 0, "can0", {{{"body", "dbc", text_of_the_file}}});
//     const std::uint64_t handle = extractor.subscribe("can0.CAN.EngineData");
//     tavi::host::record_plan plan(*tavi::host::read_schema(extractor.subscription_schema(handle)));
//     tavi::host::record_list records;
//     extractor.process(package, tavi::host::lenient, records);
//
// Every call throws host::error when the library reports a failure.
//
// Thread: as the C interface: any thread may call, and calls on one extractor wait for one another, except that
//   roots, children, tree   take no lock: they must not overlap a registration, unregister_sources, or a subscribe with
//                           the number of a source that is not registered
//   url, reader_filter      take no lock: they must not overlap subscribe, unsubscribe, unsubscribe_all or
//                           unregister_sources
//   checkpoint              takes no lock and may overlap all but the next two
//   unregister_sources      must not overlap any call
//   moving, destroying      must not overlap any call
#ifndef TAVI_EXTRACTOR_HPP
#define TAVI_EXTRACTOR_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "tavi/error.hpp"
#include "tavi/nodes.hpp"
#include "tavi/record_list.hpp"

namespace tavi::host {

// The catalogue in memory, private to one extractor.
inline constexpr char memory_catalogue[] = "file:signal_storage?mode=memory";

// Receives messages of the library and the plug-ins; the record is valid during the call. It may be called from
// several threads at once; an exception that leaves it fails the operation that logged, with its text.
using log_function = std::function<void(const qor_log_info_t& message)>;

// A description of a source, as text. The views are read during the call only.
struct description {
    // For messages and for telling descriptions of equal content apart: usually the file name. At most 254 bytes.
    std::string_view name;
    // The type word by which a parser is chosen, such as "dbc". At most 15 bytes.
    std::string_view type;
    std::string_view content;
};

// Whether what is cut short is accepted.
enum class tolerance : bool { strict, lenient };
inline constexpr tolerance strict = tolerance::strict;
inline constexpr tolerance lenient = tolerance::lenient;

struct schema_options {
    tolerance layout = tolerance::strict; // lenient: log layout faults instead of failing
    bool annotate = false;                // add view, cycle and address
    bool indent = false;
};

class extractor {
public:
    // uri    which catalogue: memory_catalogue, or "file:" and a path
    // flags  as the storage plug-in reads them
    // log    may be empty
    explicit extractor(const std::string& uri = memory_catalogue, std::uint32_t flags = 0, log_function log = {});
    extractor(extractor&& other) noexcept;
    extractor& operator=(extractor&& other) noexcept;
    ~extractor();

    // ---- sources

    // Registers a source, or adds to it, and returns the signatures of the descriptions.
    std::vector<std::string> register_source(std::uint16_t source_id, std::uint32_t instance, const std::string& name,
                                             std::span<const description> descriptions);
    std::vector<std::string> register_source(std::uint16_t source_id, std::uint32_t instance, const std::string& name,
                                             std::initializer_list<description> descriptions) {
        return register_source(source_id, instance, name, std::span(descriptions.begin(), descriptions.size()));
    }
    // The same with a provider, which may be null.
    std::vector<std::string> register_source(const qor_data_source_t& source,
                                             const qor_data_source_provider_t* provider, bool sanitize_name = false);
    // With descriptions that the catalogue holds already: nothing is parsed.
    void register_source_from_storage(std::uint16_t source_id, std::uint32_t instance, const std::string& name,
                                      std::span<const std::string> signatures);
    // Ends all subscriptions and forgets all sources.
    void unregister_sources();
    // Brings the catalogue's file up to date.
    void checkpoint();

    // ---- browsing

    nodes roots(std::uint16_t source_id, std::uint32_t instance);
    nodes roots(const std::string& source_name);
    nodes children(const qor_type_node_t& node);
    // `node` with all that stands below it; `node` itself must outlive the tree.
    node_tree tree(const qor_type_node_t& node);

    // The schema of what a URL expression names.
    std::string schema(const std::string& url_expression, const schema_options& options = {});

    // ---- subscriptions

    std::uint64_t subscribe(const std::string& url_expression, tolerance layout = tolerance::strict);
    void unsubscribe(std::uint64_t handle);
    void unsubscribe_all();
    std::size_t subscription_count();
    std::string url(std::uint64_t handle);
    std::string subscription_schema(std::uint64_t handle);
    // All subscriptions as a filter for a reader of packages.
    std::string reader_filter();

    // ---- packages

    // The records of a package, in `records`, which are cleared before; they stay empty when the call fails.
    void process(const qor_package_t& package, tolerance cut, record_list& records);
    // The subscriptions that a package serves.
    void match(const qor_package_t& package, tolerance cut, std::vector<std::uint64_t>& handles);
    bool has_data_processor(const qor_package_t& package);

    // ---- the library

    // The handle, for calls that this class does not have.
    qor_tavi_extractor_t* get() const noexcept { return handle_; }

    // The "key=value" lines by which the extractor's library describes itself (qorc/metadata.h); empty when its file
    // cannot be read.
    static std::string library_metadata();

private:
    class log_sink;

    qor_tavi_extractor_t* handle_ = nullptr;
    std::unique_ptr<log_sink> log_;
};

} // namespace tavi::host

#endif
