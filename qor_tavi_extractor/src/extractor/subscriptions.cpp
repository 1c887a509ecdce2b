// From a URL expression to a handle that the per-package operations need nothing else for.
#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qor_tavi_extractor/src/url/driver.hpp"
#include "qor_tavi_extractor/src/url/url.hpp"
#include "qor_tavi_extractor/src/url/url_context.hpp"
#include "qorcpp/node_layout.hpp"
#include "qorcpp/source_key.hpp"

namespace qor::tavi::detail {

namespace {

// One counter for the whole process, so that no two extractors share a handle. The first handle is 2.
std::atomic<uint64_t> last_handle{1};

uint64_t new_handle() noexcept {
    return last_handle.fetch_add(1) + 1;
}

} // namespace

// A source named by number is recorded here when nobody registered it.
source_record extractor::source_of_subscription(const url_context& context) {
    const source_token& token = context.source();
    if (token.source_id() != 0 && !sources.contains(source_key(token.source_id(), token.instance()))) {
        store_source(token.source_id(), token.instance(), token.name(), {});
    }
    return find_source(context);
}

// 0 when no description has the path. A failed look-up in one description is no failure as long as another may have it.
uint64_t extractor::find_subscribed_node(const std::vector<uint64_t>& description_ids, const std::string& path) const {
    if (description_ids.empty()) {
        const auto node = signal_storage->find_node(0, path);
        return node ? node->id : 0;
    }
    for (size_t place = 0; place < description_ids.size(); ++place) {
        place = signal_storage->find_candidate(description_ids, place, path);
        try {
            if (const auto node = signal_storage->find_node(description_ids[place], path)) {
                return node->id;
            }
        } catch (const std::invalid_argument&) {
            continue;
        }
    }
    return 0;
}

extractor::place extractor::place_of(const url& url, const qor_type_node_sequence_t& hierarchy) {
    place result;
    for (uint64_t level = 0; level < hierarchy.count; ++level) {
        const qor_type_node_t& node = hierarchy.nodes[level];
        const auto layout = layout_of_node(node);
        if (!layout) {
            continue;
        }
        if (kind_of(node) == node_kind::object) {
            // Objects have absolute addresses, on every level.
            result.address = layout->address;
            result.position = layout->address;
        }
        const url_token& token = url.token(level + 1);
        result.position += layout->offset;
        if (token.has_index()) {
            result.position += token.index() * layout->element_size;
            result.extent = layout->element_size;
        } else {
            result.extent = uint64_t{layout->element_count} * layout->element_size;
        }
    }
    return result;
}

// Processors come first and are told places relative to the object; the rest goes to all matchers in absolute places.
void extractor::announce(const subscription_record& record, const qor_type_node_sequence_t& hierarchy,
                         const place& place) const {
    const char* const schema = record.schema->c_str();
    bool taken = false;
    if (const auto found = processors.find(record.source_key); found != processors.end()) {
        const std::vector<bound_processor>& bound = found->second;
        for (size_t index = 0; index < bound.size(); ++index) {
            taken |= bound[index].proxy->register_type(record.handle, schema, hierarchy, place.position - place.address,
                                                       place.extent);
        }
    }
    if (taken) {
        return;
    }
    for (const auto& [format, matcher] : matchers) {
        matcher->register_type(record.handle, schema, hierarchy, place.position, place.extent);
        matcher->set_source(record.handle, record.source_id, record.instance);
    }
}

void extractor::make_room_for_subscription(uint64_t source_key) {
    make_room(subscriptions);
    subscriptions_by_source.make_room(source_key);
}

// Succeeds where room was made. Throws: std::bad_alloc, and both tables are as they were.
void extractor::store_subscription(table<uint64_t, subscription_record>::node_type&& node) {
    const uint64_t handle = node.key();
    const uint64_t key = node.mapped().source_key;
    make_room_for_subscription(key);
    subscriptions_by_source.insert(key, handle);
    subscriptions.insert(std::move(node));
}

uint64_t extractor::subscribe(const std::string& url_expression, bool lenient) {
    const std::lock_guard lock(mutex);
    const auto context = driver().parse(url_expression);
    const source_record source = source_of_subscription(*context);
    const uint64_t node_id = find_subscribed_node(source.description_ids, context->location_path());
    if (node_id == 0) {
        throw std::runtime_error("requested type URL expression '" + url_expression +
                                 "' not found in the signal storage");
    }
    std::string schema = get_type_schema_by_url(url_expression, lenient, false, false);
    const auto hierarchy = signal_storage->get_node_hierarchy(node_id);
    const auto url = context->resolve(*hierarchy);
    if (url->size() != hierarchy->count + 1) {
        throw std::runtime_error("the URL '" + url_expression + "' token count " + std::to_string(url->size() - 1) +
                                 " does not match the signal storage hierarchy level count " +
                                 std::to_string(hierarchy->count));
    }
    const place place = place_of(*url, *hierarchy);
    // All that takes memory comes before the plug-ins are told, so that they do not keep what failed.
    make_room_for_subscription(source.key);
    table<uint64_t, subscription_record> made;
    const uint64_t handle = new_handle();
    made.try_emplace(handle,
                     subscription_record{handle, source.key, place.extent, node_id, source.source_id, source.instance,
                                         url_expression, schema_texts.share(std::move(schema))});
    announce(made.begin()->second, *hierarchy, place);
    if (!sources.contains(source.key)) {
        throw std::invalid_argument("the data source identified with name '" + source.name + "' was not found");
    }
    store_subscription(made.extract(made.begin()));
    return handle;
}

// Every plug-in is told, whether it took the subscription or not.
void extractor::withdraw(uint64_t handle) const {
    for (const auto& [format, matcher] : matchers) {
        matcher->unregister_type(handle);
    }
    for (const auto& [key, bound] : processors) {
        for (size_t index = 0; index < bound.size(); ++index) {
            bound[index].proxy->unregister_type(handle);
        }
    }
}

// The source keeps the handle in its list: packages go on offering it to plug-ins until all subscriptions end.
void extractor::unsubscribe(uint64_t handle) {
    const std::lock_guard lock(mutex);
    if (subscriptions.erase(handle) != 0 && subscriptions.empty()) {
        reset_table(subscriptions);
    }
    withdraw(handle);
}

// Ends those that are there when it begins. A call-back may end some of them first and begin others, which stay.
void extractor::unsubscribe_all() {
    const std::lock_guard lock(mutex);
    std::vector<uint64_t> ended;
    ended.reserve(subscriptions.size());
    for (const auto& [handle, record] : subscriptions) {
        ended.push_back(handle);
    }
    for (const uint64_t handle : ended) {
        if (subscriptions.contains(handle)) {
            withdraw(handle);
        }
    }
    std::sort(ended.begin(), ended.end());
    table<uint64_t, subscription_lists::list> remaining(initial_bucket_count);
    for (const auto& [handle, record] : subscriptions) {
        if (!std::binary_search(ended.begin(), ended.end(), handle)) {
            remaining[record.source_key].push_back(handle);
        }
    }
    for (auto& [key, handles] : remaining) {
        std::sort(handles.begin(), handles.end());
    }
    subscriptions_by_source.reset(std::move(remaining));
    forget_routes();
    for (const uint64_t handle : ended) {
        subscriptions.erase(handle);
    }
    if (subscriptions.empty()) {
        reset_table(subscriptions);
    }
}

size_t extractor::get_subscription_count() {
    const std::lock_guard lock(mutex);
    return subscriptions.size();
}

std::string extractor::get_url(uint64_t handle) const {
    const auto found = subscriptions.find(handle);
    if (found == subscriptions.end()) {
        throw std::invalid_argument("invalid subscription handle");
    }
    return found->second.url;
}

std::string extractor::get_type_schema_by_subscription(uint64_t handle) {
    const std::lock_guard lock(mutex);
    const auto found = subscriptions.find(handle);
    if (found == subscriptions.end()) {
        throw std::runtime_error("subscription handle '" + std::to_string(handle) +
                                 "' was not found by Tavi extractor");
    }
    return *found->second.schema;
}

} // namespace qor::tavi::detail
