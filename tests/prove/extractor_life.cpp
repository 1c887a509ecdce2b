#include "tests/prove/extractor_life.hpp"

#include <algorithm>
#include <cstring>

#include "tests/prove/trial.hpp"
#include "tests/support/memory_shortage.hpp"
#include "tests/support/paths.hpp"

namespace tavi::prove {

namespace {

constexpr std::uint16_t can_source = 16;
constexpr std::uint16_t memory_source = 32;
constexpr std::uint16_t second_can_source = 48;
constexpr std::uint16_t receiver_source = 0x23F;

std::string example(const char* path) {
    return read_file(std::string(test::source_folder) + "/examples/" + path);
}

std::vector<std::uint8_t> make_package(std::uint16_t source, const char* format, const std::string& payload) {
    std::vector<std::uint8_t> bytes(sizeof(qor_package_t) + payload.size());
    qor_package_t header{};
    header.source_id = source;
    std::strncpy(header.format_type, format, sizeof(header.format_type) - 1);
    header.payload_size = payload.size();
    std::memcpy(bytes.data(), &header, sizeof(header));
    std::copy(payload.begin(), payload.end(), bytes.begin() + sizeof(header));
    return bytes;
}

const qor_package_t* record_of(const std::vector<std::uint8_t>& package) {
    return reinterpret_cast<const qor_package_t*>(package.data());
}

// A frame of id 0x0C0 (192), EngineData, with its eight bytes.
const std::string can_payload("\xC0\0\0\0\x08\0\0\0\x10\x27\x64\x00\x80\x01\x00\x50", 16);
// 288 bytes from address 0x20000000 on.
std::string memory_payload() {
    std::string header(16, '\0');
    header[3] = 0x20;
    return header + example("memory_layout/memory.bin");
}

std::string hex_of(const std::uint8_t* bytes, std::size_t count) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

} // namespace

template<typename Work>
void extractor_life::counted(Work work) {
    const std::size_t before = test::memory_shortage::live_blocks();
    work();
    blocks_ += static_cast<std::ptrdiff_t>(test::memory_shortage::live_blocks() - before);
}

template<typename... Parameters, typename... Arguments>
bool extractor_life::call(std::uint32_t (*function)(Parameters...), Arguments... arguments) {
    qor_error_details_t* details = nullptr;
    counted([&] {
        std::optional<test::memory_shortage> shortage;
        if (plan_.first != 0) {
            shortage.emplace(plan_.first, plan_.for_good ? test::memory_shortage::for_good : plan_.first);
        }
        answer_.status = function(arguments..., &details);
        answer_.struck |= shortage && shortage->struck();
    });
    answer_.has_details = details != nullptr;
    const char* const text = qor_error_details_get_description(details);
    answer_.text = text != nullptr ? text : "";
    counted([&] { qor_error_details_destroy(details); });
    return answer_.good();
}

// Asks for the size, then for the text.
template<typename Function, typename... Arguments>
void extractor_life::call_for_text(Function* function, Arguments... arguments) {
    std::size_t size = 0;
    call(function, extractor_, arguments..., nullptr, &size);
    if (answer_.status != QOR_STATUS_BUFFER_TOO_SMALL || answer_.has_details) {
        return;
    }
    std::string text(size + 1, '\0');
    if (call(function, extractor_, arguments..., text.data(), &size)) {
        answer_.content = text.c_str();
    }
}

extractor_life::extractor_life(const std::string& storage_uri) : uri_(storage_uri) {
    log_.context = this;
    log_.log = [](void*, const qor_log_info_t*, qor_error_details_t**) -> std::uint32_t { return QOR_STATUS_OK; };
    locator_.context = this;
    locator_.can_resolve = [](void*, const char* service, bool* result, qor_error_details_t**) -> std::uint32_t {
        *result = std::strcmp(service, "qor_log_t") == 0;
        return QOR_STATUS_OK;
    };
    locator_.resolve = [](void* context, const char*, void* target, qor_error_details_t**) -> std::uint32_t {
        *static_cast<void**>(target) = &static_cast<extractor_life*>(context)->log_;
        return QOR_STATUS_OK;
    };
    steps_.push_back({"create", [this] { call(qor_tavi_extractor_create, uri_.c_str(), 0u, &locator_, &extractor_); }});
    add_sources();
    add_subscriptions();
    add_packages();
    add_browsing();
    add_end();
}

extractor_life::~extractor_life() {
    qor_tavi_extractor_destroy(extractor_);
}

answer extractor_life::perform(std::size_t step, const shortage_plan& plan) {
    plan_ = plan;
    answer_ = {};
    steps_[step].run();
    return answer_;
}

void extractor_life::add_sources() {
    steps_.push_back({"register DBC", [this, dbc = example("sample_drive/sample.dbc")] {
                          register_descriptions(can_source, "can0", "dbc", dbc);
                      }});
    steps_.push_back({"register SDL", [this, sdl = example("memory_layout/layout.sdl")] {
                          register_descriptions(memory_source, "memory", "sdl", sdl);
                      }});
    steps_.push_back({"register receiver", [this] { register_descriptions(receiver_source, "gps", nullptr, ""); }});
    steps_.push_back({"register stored", [this] {
                          const char* const signature = signature_.c_str();
                          call(qor_tavi_extractor_register_source_from_signal_storage, extractor_, second_can_source,
                               0u, "can1", &signature, std::size_t{1});
                      }});
}

void extractor_life::register_descriptions(std::uint16_t id, const char* name, const char* type,
                                           const std::string& content) {
    qor_data_description_content_t description{};
    std::strcpy(description.description.name, name);
    std::strcpy(description.description.format_type, type != nullptr ? type : "");
    description.content_size = content.size();
    description.content = content.data();
    char** texts = nullptr;
    std::size_t count = 0;
    call(qor_tavi_extractor_register_source_with_data_descriptions, extractor_, id, 0u, name, &description,
         std::size_t{type != nullptr}, &texts, &count, qor_get_default_allocator());
    take_signatures(texts, count);
}

void extractor_life::take_signatures(char** texts, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        answer_.content += texts[i] + std::string(" ");
        signature_ = signature_.empty() ? texts[i] : signature_;
    }
    counted([&] {
        qor_memory_allocator_t* const allocator = qor_get_default_allocator();
        for (std::size_t i = 0; i < count; ++i) {
            allocator->free(texts[i], allocator->context);
        }
        allocator->free(texts, allocator->context);
    });
}

void extractor_life::add_subscriptions() {
    for (const char* const url :
         {"16#0.CAN.EngineData.EngineSpeed", "16#0.CAN.EngineData", "can1.CAN.EngineTemperatures.OilTemperature",
          "32#0.Raw.Table.Object[2].speed", "575#0.GPS.Position", "575#0.NMEA.Statistics"}) {
        steps_.push_back({"subscribe", [this, url] { subscribe(url); }});
    }
}

void extractor_life::subscribe(const char* url) {
    std::uint64_t handle = 0;
    if (call(qor_tavi_extractor_subscribe, extractor_, url, false, &handle)) {
        answer_.content = handle != 0 ? "a handle" : "no handle";
        subscriptions_.push_back(handle);
    }
}

std::string extractor_life::number_of(std::uint64_t handle) const {
    const auto found = std::find(subscriptions_.begin(), subscriptions_.end(), handle);
    return found == subscriptions_.end() ? "unknown" : std::to_string(found - subscriptions_.begin());
}

void extractor_life::add_packages() {
    const auto can = make_package(can_source, "can", can_payload);
    const auto memory = make_package(memory_source, "memory", memory_payload());
    const auto sentence = make_package(receiver_source, "nmea",
                                       "$GPGGA,093000.00,4808.0000,N,01134.5000,E,1,05,1.2,519.0,M,47.0,M,,*68\r\n");
    steps_.push_back({"match", [this, can] { match(can); }});
    // The second package of a kind takes a shorter way than the first.
    for (const auto& [name, package] :
         {std::pair("process CAN", can), std::pair("process CAN again", can), std::pair("process memory", memory),
          std::pair("process sentence", sentence), std::pair("process sentence again", sentence)}) {
        steps_.push_back({name, [this, package = package] { process(package); }});
    }
    steps_.push_back({"has processor", [this, sentence] {
                          bool result = false;
                          if (call(qor_tavi_extractor_has_data_processor, extractor_, record_of(sentence), &result)) {
                              answer_.content = result ? "yes" : "no";
                          }
                      }});
}

void extractor_life::match(const std::vector<std::uint8_t>& package) {
    std::uint64_t* handles = nullptr;
    std::size_t count = 0;
    qor_memory_allocator_t* const allocator = qor_get_default_allocator();
    call(qor_tavi_extractor_match, extractor_, record_of(package), false, &handles, &count, allocator);
    for (std::size_t i = 0; handles != nullptr && i < count; ++i) {
        answer_.content += number_of(handles[i]) + ' ';
    }
    counted([&] { allocator->free(handles, allocator->context); });
}

void extractor_life::process(const std::vector<std::uint8_t>& package) {
    qor_dynamic_data_t** records = nullptr;
    std::size_t count = 0;
    qor_memory_allocator_t* const allocator = qor_get_default_allocator();
    call(qor_tavi_extractor_process, extractor_, record_of(package), false, &records, &count, allocator);
    for (std::size_t i = 0; records != nullptr && i < count; ++i) {
        const qor_dynamic_data_t& data = *records[i];
        answer_.content +=
            number_of(data.subscription_handle) + '=' + hex_of(data.sequence.data, data.sequence.sequence_length) + ' ';
    }
    counted([&] {
        for (std::size_t i = 0; records != nullptr && i < count; ++i) {
            qor_dynamic_data_destroy(allocator, records[i], nullptr);
        }
        allocator->free(records, allocator->context);
    });
}

void extractor_life::add_browsing() {
    steps_.push_back({"roots", [this] {
                          qor_data_source_t source{};
                          source.source_id = can_source;
                          qor_type_node_sequence_t* nodes = nullptr;
                          call(qor_tavi_extractor_get_root_nodes, extractor_, &source, &nodes);
                          take_nodes(nodes);
                      }});
    steps_.push_back({"roots by name", [this] {
                          qor_type_node_sequence_t* nodes = nullptr;
                          call(qor_tavi_extractor_get_root_nodes_by_source_name, extractor_, "gps", &nodes);
                          take_nodes(nodes);
                      }});
    steps_.push_back({"children", [this] {
                          qor_type_node_t first{};
                          first.id = root_;
                          first.kind = QOR_TYPE_NODE_VIEW;
                          qor_type_node_sequence_t* nodes = nullptr;
                          call(qor_tavi_extractor_get_node_children, extractor_, &first, &nodes);
                          take_nodes(nodes);
                      }});
    steps_.push_back({"schema by URL", [this] {
                          call_for_text(qor_tavi_extractor_get_type_schema_by_url, "32#0.Raw.Table.Object[1]", true,
                                        true, true);
                      }});
    steps_.push_back({"schema by subscription", [this] {
                          call_for_text(qor_tavi_extractor_get_type_schema_by_subscription,
                                        subscriptions_.empty() ? 0 : subscriptions_.front());
                      }});
    steps_.push_back(
        {"URL",
         [this] { call_for_text(qor_tavi_extractor_get_url, subscriptions_.empty() ? 0 : subscriptions_.front()); }});
    steps_.push_back({"filter", [this] { call_for_text(qor_tavi_extractor_get_reader_filter_expression); }});
    steps_.push_back({"unknown name", [this] {
                          std::uint64_t handle = 0;
                          call(qor_tavi_extractor_subscribe, extractor_, "cam0.CAN.EngineData", false, &handle);
                      }});
}

void extractor_life::take_nodes(qor_type_node_sequence_t* nodes) {
    if (nodes != nullptr && nodes->count != 0 && nodes->nodes[0].kind == QOR_TYPE_NODE_VIEW) {
        root_ = nodes->nodes[0].id;
    }
    for (std::size_t i = 0; nodes != nullptr && i < nodes->count; ++i) {
        answer_.content += std::to_string(nodes->nodes[i].kind) + ':' + nodes->nodes[i].name + ' ';
    }
    counted([&] { qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr); });
}

void extractor_life::add_end() {
    steps_.push_back({"checkpoint", [this] { call(qor_tavi_extractor_checkpoint_signal_storage, extractor_); }});
    steps_.push_back({"unsubscribe", [this] {
                          call(qor_tavi_extractor_unsubscribe, extractor_,
                               subscriptions_.empty() ? 0 : subscriptions_.front());
                      }});
    steps_.push_back({"count", [this] {
                          std::size_t count = 0;
                          if (call(qor_tavi_extractor_get_subscription_count, extractor_, &count)) {
                              answer_.content = std::to_string(count);
                          }
                      }});
    steps_.push_back({"unsubscribe all", [this] { call(qor_tavi_extractor_unsubscribe_all, extractor_); }});
    steps_.push_back({"unregister", [this] { call(qor_tavi_extractor_unregister_sources, extractor_); }});
    steps_.push_back({"register again", [this, dbc = example("sample_drive/sample.dbc")] {
                          register_descriptions(can_source, "can0", "dbc", dbc);
                      }});
    steps_.push_back({"destroy", [this] {
                          counted([&] {
                              std::optional<test::memory_shortage> shortage;
                              if (plan_.first != 0) {
                                  shortage.emplace(plan_.first,
                                                   plan_.for_good ? test::memory_shortage::for_good : plan_.first);
                              }
                              answer_.status = qor_tavi_extractor_destroy(std::exchange(extractor_, nullptr));
                              answer_.struck = shortage && shortage->struck();
                          });
                      }});
}

} // namespace tavi::prove
