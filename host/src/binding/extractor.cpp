#include "tavi/extractor.hpp"

#include <cstring>
#include <utility>

#include "qorc/extensibility/log.h"
#include "qorc/service_locator.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/metadata_section.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/service_name.hpp"

namespace tavi::host {

namespace {

// Most texts fit, so that they are made once and not a second time for their size.
constexpr std::size_t first_text_room = 8192;

struct details_holder {
    qor_error_details_t* details = nullptr;

    ~details_holder() { qor_error_details_destroy(details); }
};

[[noreturn]] void fail(std::uint32_t status, const qor_error_details_t* details) {
    const char* const text = qor_error_details_get_description(details);
    throw error(status, text != nullptr ? text : "the extractor reported no reason");
}

// Calls a function of the C interface with its last argument, and throws what it reports.
template<typename... Parameters, typename... Arguments>
void call(std::uint32_t (*function)(Parameters...), Arguments... arguments) {
    details_holder holder;
    if (const std::uint32_t status = function(arguments..., &holder.details); status != QOR_STATUS_OK) {
        fail(status, holder.details);
    }
}

// The same for a function that returns a text: it ends with buffer, size and details.
template<typename... Parameters, typename... Arguments>
std::string call_for_text(std::uint32_t (*function)(Parameters...), Arguments... arguments) {
    std::string text;
    std::size_t room = first_text_room;
    for (;;) {
        // One byte more than told: a zero is written behind what the size counts.
        text.resize(room + 1);
        std::size_t size = room;
        details_holder holder;
        const std::uint32_t status = function(arguments..., text.data(), &size, &holder.details);
        if (status == QOR_STATUS_OK) {
            text.resize(size - 1);
            return text;
        }
        if (status != QOR_STATUS_BUFFER_TOO_SMALL || size <= room) {
            fail(status, holder.details);
        }
        room = size;
    }
}

template<std::size_t Size>
void copy_text(char (&field)[Size], std::string_view text, const char* what) {
    if (text.size() >= Size || text.find('\0') != std::string_view::npos) {
        throw error(QOR_STATUS_INVALID_ARGUMENT, std::string("the ") + what + " '" + std::string(text) +
                                                     "' has a zero byte or more than " + std::to_string(Size - 1) +
                                                     " bytes");
    }
    std::memcpy(field, text.data(), text.size());
}

// An array that the extractor made with the default allocator.
template<typename Element>
struct array_holder {
    Element* elements = nullptr;
    std::size_t count = 0;

    array_holder() = default;
    array_holder(const array_holder&) = delete;
    array_holder& operator=(const array_holder&) = delete;
    ~array_holder() {
        qor_memory_allocator_t* const allocator = qor_get_default_allocator();
        if constexpr (std::is_pointer_v<Element>) {
            for (std::size_t i = 0; i < count; ++i) {
                allocator->free(elements[i], allocator->context);
            }
        }
        allocator->free(elements, allocator->context);
    }
};

std::vector<std::string> texts_of(const array_holder<char*>& texts) {
    return {texts.elements, texts.elements + texts.count};
}

} // namespace

// The locator that the extractor asks for the host's services.
class extractor::log_sink {
public:
    explicit log_sink(log_function function)
        : function_(std::move(function)), log_{write, this}, locator_{resolve, can_resolve, this} {}
    log_sink(const log_sink&) = delete;
    log_sink& operator=(const log_sink&) = delete;

    qor_service_locator_t* locator() noexcept { return &locator_; }

private:
    static std::uint32_t write(void* context, const qor_log_info_t* info, qor_error_details_t** details) {
        return qor::guarded_call([&] { static_cast<log_sink*>(context)->function_(*info); }, details);
    }

    static std::uint32_t resolve(void* context, const char* service_type, void* target, qor_error_details_t** details) {
        return qor::guarded_call(
            [&] {
                if (service_type != qor::service_name<qor_log_t>()) {
                    throw std::runtime_error(std::string("requested service '") + service_type + "' not found");
                }
                *static_cast<void**>(target) = &static_cast<log_sink*>(context)->log_;
            },
            details);
    }

    static std::uint32_t can_resolve(void*, const char* service_type, bool* result, qor_error_details_t** details) {
        return qor::guarded_call([&] { *result = service_type == qor::service_name<qor_log_t>(); }, details);
    }

    log_function function_;
    qor_log_t log_;
    qor_service_locator_t locator_;
};

extractor::extractor(const std::string& uri, std::uint32_t flags, log_function log)
    : log_(log ? std::make_unique<log_sink>(std::move(log)) : nullptr) {
    call(qor_tavi_extractor_create, uri.c_str(), flags, log_ ? log_->locator() : nullptr, &handle_);
}

extractor::extractor(extractor&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), log_(std::move(other.log_)) {}

extractor& extractor::operator=(extractor&& other) noexcept {
    std::swap(handle_, other.handle_);
    std::swap(log_, other.log_);
    return *this;
}

extractor::~extractor() {
    qor_tavi_extractor_destroy(handle_);
}

std::vector<std::string> extractor::register_source(std::uint16_t source_id, std::uint32_t instance,
                                                    const std::string& name,
                                                    std::span<const description> descriptions) {
    std::vector<qor_data_description_content_t> records(descriptions.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        copy_text(records[i].description.name, descriptions[i].name, "description name");
        copy_text(records[i].description.format_type, descriptions[i].type, "description type");
        records[i].content = descriptions[i].content.data();
        records[i].content_size = descriptions[i].content.size();
    }
    array_holder<char*> signatures;
    call(qor_tavi_extractor_register_source_with_data_descriptions, handle_, source_id, instance, name.c_str(),
         records.data(), records.size(), &signatures.elements, &signatures.count, qor_get_default_allocator());
    return texts_of(signatures);
}

std::vector<std::string> extractor::register_source(const qor_data_source_t& source,
                                                    const qor_data_source_provider_t* provider, bool sanitize_name) {
    array_holder<char*> signatures;
    call(qor_tavi_extractor_register_source, handle_, &source, provider, sanitize_name, &signatures.elements,
         &signatures.count, qor_get_default_allocator());
    return texts_of(signatures);
}

void extractor::register_source_from_storage(std::uint16_t source_id, std::uint32_t instance, const std::string& name,
                                             std::span<const std::string> signatures) {
    std::vector<const char*> texts;
    texts.reserve(signatures.size());
    for (const std::string& signature : signatures) {
        texts.push_back(signature.c_str());
    }
    // An array of none is still an array.
    texts.push_back(nullptr);
    call(qor_tavi_extractor_register_source_from_signal_storage, handle_, source_id, instance, name.c_str(),
         static_cast<const char* const*>(texts.data()), signatures.size());
}

void extractor::unregister_sources() {
    call(qor_tavi_extractor_unregister_sources, handle_);
}

void extractor::checkpoint() {
    call(qor_tavi_extractor_checkpoint_signal_storage, handle_);
}

nodes extractor::roots(std::uint16_t source_id, std::uint32_t instance) {
    qor_data_source_t source{};
    source.source_id = source_id;
    source.instance = instance;
    qor_type_node_sequence_t* sequence = nullptr;
    call(qor_tavi_extractor_get_root_nodes, handle_, &source, &sequence);
    return nodes(sequence);
}

nodes extractor::roots(const std::string& source_name) {
    qor_type_node_sequence_t* sequence = nullptr;
    call(qor_tavi_extractor_get_root_nodes_by_source_name, handle_, source_name.c_str(), &sequence);
    return nodes(sequence);
}

nodes extractor::children(const qor_type_node_t& node) {
    qor_type_node_sequence_t* sequence = nullptr;
    call(qor_tavi_extractor_get_node_children, handle_, &node, &sequence);
    return nodes(sequence);
}

node_tree extractor::tree(const qor_type_node_t& node) {
    node_tree result;
    result.node = &node;
    // Nothing stands below a signal, and most nodes are signals.
    if (node.kind == QOR_TYPE_NODE_SIGNAL) {
        return result;
    }
    result.children = children(node);
    result.trees.reserve(result.children.size());
    for (const qor_type_node_t& child : result.children) {
        result.trees.push_back(tree(child));
    }
    return result;
}

std::string extractor::schema(const std::string& url_expression, const schema_options& options) {
    return call_for_text(qor_tavi_extractor_get_type_schema_by_url, handle_, url_expression.c_str(),
                         options.layout == tolerance::lenient, options.annotate, options.indent);
}

std::uint64_t extractor::subscribe(const std::string& url_expression, tolerance layout) {
    std::uint64_t handle = 0;
    call(qor_tavi_extractor_subscribe, handle_, url_expression.c_str(), layout == tolerance::lenient, &handle);
    return handle;
}

void extractor::unsubscribe(std::uint64_t handle) {
    call(qor_tavi_extractor_unsubscribe, handle_, handle);
}

void extractor::unsubscribe_all() {
    call(qor_tavi_extractor_unsubscribe_all, handle_);
}

std::size_t extractor::subscription_count() {
    std::size_t count = 0;
    call(qor_tavi_extractor_get_subscription_count, handle_, &count);
    return count;
}

std::string extractor::url(std::uint64_t handle) {
    return call_for_text(qor_tavi_extractor_get_url, handle_, handle);
}

std::string extractor::subscription_schema(std::uint64_t handle) {
    return call_for_text(qor_tavi_extractor_get_type_schema_by_subscription, handle_, handle);
}

std::string extractor::reader_filter() {
    return call_for_text(qor_tavi_extractor_get_reader_filter_expression, handle_);
}

void extractor::process(const qor_package_t& package, tolerance cut, record_list& records) {
    records.clear();
    qor_dynamic_data_t** made = nullptr;
    std::size_t count = 0;
    call(qor_tavi_extractor_process, handle_, &package, cut == tolerance::strict, &made, &count,
         records.memory_.allocator());
    records.records_ = made;
    records.count_ = count;
}

void extractor::match(const qor_package_t& package, tolerance cut, std::vector<std::uint64_t>& handles) {
    handles.clear();
    array_holder<std::uint64_t> matched;
    call(qor_tavi_extractor_match, handle_, &package, cut == tolerance::strict, &matched.elements, &matched.count,
         qor_get_default_allocator());
    handles.assign(matched.elements, matched.elements + matched.count);
}

bool extractor::has_data_processor(const qor_package_t& package) {
    bool result = false;
    call(qor_tavi_extractor_has_data_processor, handle_, &package, &result);
    return result;
}

std::string extractor::library_metadata() {
    const auto path = qor::platform::module_path_of(reinterpret_cast<const void*>(&qor_tavi_extractor_create));
    std::string section = qor::runtime::read_metadata_section(path).value_or(std::string());
    section.resize(std::strlen(section.c_str()));
    return section;
}

} // namespace tavi::host
