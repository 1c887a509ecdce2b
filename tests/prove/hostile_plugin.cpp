// One library that plays every kind of plug-in and does harm where the environment says so:
//
//     TAVI_HOSTILE=FUNCTION:DEED      for example match:crash or get_supported_format_count:wild
//
// Without it the plug-in is well-behaved: it serves the format TAVI_HOSTILE_FORMAT, which is "hostile" by itself, and
// never matches. Tests write the kind into a copy of the library, over the last line of its metadata.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/data_processor.h"
#include "qorc/extensibility/recording_reader.h"
#include "qorc/extensibility/signal_storage.h"
#include "qorc/metadata.h"

QOR_LIBRARY_METADATA("hostile-plug-in-of-any-kind")

namespace {

using details = qor_error_details_t**;

struct failure_of_its_own {};

// No smaller than what a host has to allow, so that the host's limit ends it.
void take_all_memory() {
    constexpr std::size_t step = std::size_t{16} << 20;
    for (;;) {
        auto* const block = static_cast<volatile char*>(std::malloc(step));
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        for (std::size_t i = 0; i < step; i += 4096) {
            block[i] = 1;
        }
    }
}

int recurse(int depth) {
    volatile char frame[4096];
    frame[depth % 4096] = 1;
    return recurse(depth + 1) + frame[0];
}

void leave_process(bool in_own_session) {
    if (fork() == 0) {
        if (in_own_session) {
            setsid();
        }
        for (;;) {
            pause();
        }
    }
}

void flood() {
    for (;;) {
        std::puts("noise");
    }
}

[[noreturn]] void loop() {
    for (;;) {
        asm volatile("");
    }
}

// What a deed does to the process. Deeds that spoil a result only are not among them.
void act(std::string_view deed) {
    if (deed == "crash") {
        *static_cast<volatile int*>(nullptr) = 1;
    } else if (deed == "abort") {
        std::abort();
    } else if (deed == "exit") {
        _exit(0);
    } else if (deed == "exit_with_handlers") {
        std::exit(0);
    } else if (deed == "kill") {
        raise(SIGKILL);
    } else if (deed == "stop") {
        raise(SIGSTOP);
    } else if (deed == "loop") {
        loop();
    } else if (deed == "flood") {
        flood();
    } else if (deed == "throw") {
        throw failure_of_its_own();
    } else if (deed == "throw_standard") {
        throw std::runtime_error("an exception out of a C function");
    } else if (deed == "memory") {
        take_all_memory();
    } else if (deed == "recurse") {
        recurse(0);
    } else if (deed == "fork") {
        leave_process(false);
    } else if (deed == "daemon") {
        leave_process(true);
    } else if (deed == "thread") {
        std::thread(loop).detach();
    } else if (deed == "close") {
        for (int descriptor = 0; descriptor < 64; ++descriptor) {
            close(descriptor);
        }
    }
}

// The deed for this function, already done when it is one to the process; "" for none.
std::string_view deed_in(std::string_view function) {
    const char* const order = std::getenv("TAVI_HOSTILE");
    const std::string_view text = order != nullptr ? order : "";
    const auto colon = text.find(':');
    if (colon == std::string_view::npos || text.substr(0, colon) != function) {
        return "";
    }
    const std::string_view deed = text.substr(colon + 1);
    act(deed);
    return deed;
}

// A status, with or without details, for the deeds that are failures; 0 for the others.
std::uint32_t status_of(std::string_view deed, details error) {
    if (deed == "fail") {
        return qor_error_details_create(error, QOR_STATUS_TIMED_OUT, "no licence");
    }
    if (deed == "fail_without_text") {
        return qor_error_details_create(error, QOR_STATUS_FAILURE, nullptr);
    }
    return deed == "fail_without_details" ? QOR_STATUS_FAILURE : QOR_STATUS_OK;
}

// A place that is no object, for the deed "wild".
template<typename Pointer>
Pointer spoiled(std::string_view deed, Pointer good) {
    return deed == "wild" ? reinterpret_cast<Pointer>(std::uintptr_t{8}) : deed == "null" ? nullptr : good;
}

std::size_t spoiled_count(std::string_view deed, std::size_t good) {
    return deed == "wild" ? ~std::size_t{0} / 2 : deed == "many" ? 100'000'000 : deed == "none" ? 0 : good;
}

const char* served_format() {
    const char* const chosen = std::getenv("TAVI_HOSTILE_FORMAT");
    return chosen != nullptr ? chosen : "hostile";
}

// ---- tables ---------------------------------------------------------------------------------------------------------

std::uint32_t register_type(void*, std::uint64_t, const char*, const qor_type_node_sequence_t*, std::uint64_t,
                            std::uint64_t, details error) {
    return status_of(deed_in("register_type"), error);
}

std::uint32_t unregister_type(void*, std::uint64_t, details error) {
    return status_of(deed_in("unregister_type"), error);
}

std::uint32_t match(void*, std::uint64_t, const qor_package_t*, bool, bool* matched, std::uint64_t* offset,
                    std::uint64_t* size, std::uint64_t* expected_size, details error) {
    const std::string_view deed = deed_in("match");
    if (deed == "wild") {
        *matched = true;
        *offset = *size = *expected_size = ~std::uint64_t{0} - 8;
    }
    return status_of(deed, error);
}

std::uint32_t match_batch(void*, const qor_package_t*, const std::uint64_t*, std::size_t, bool, qor_match_outcome_t*,
                          std::size_t* outcome_count, details error) {
    const std::string_view deed = deed_in("match_batch");
    *outcome_count = spoiled_count(deed, 0);
    return status_of(deed, error);
}

std::size_t get_format_count(void*) {
    return spoiled_count(deed_in("get_supported_format_count"), 1);
}

std::uint32_t get_format(void*, std::size_t, const char** format, details error) {
    const std::string_view deed = deed_in("get_supported_format");
    *format = spoiled(deed, served_format());
    return status_of(deed, error);
}

std::uint32_t get_processor_format_count(void*, std::size_t* count, details error) {
    const std::string_view deed = deed_in("get_supported_format_count");
    *count = spoiled_count(deed, 1);
    return status_of(deed, error);
}

std::uint32_t get_processor_format(void*, std::size_t, qor_data_processor_format_t* format, details error) {
    const std::string_view deed = deed_in("get_supported_format");
    format->format = spoiled(deed, served_format());
    return status_of(deed, error);
}

std::uint32_t get_file_format(void*, std::size_t, qor_data_description_file_format_t* format, details error) {
    const std::string_view deed = deed_in("get_supported_format");
    format->description_type = spoiled(deed, served_format());
    return status_of(deed, error);
}

std::uint8_t get_context_type(void*) {
    deed_in("get_context_type");
    return 0;
}

std::uint32_t parse_buffer(void*, qor_signal_storage_context_t* context, std::uint8_t, const void*, std::size_t,
                           const char*, qor_parse_progress_t, void*, details error) {
    const std::string_view deed = deed_in("parse_buffer");
    if (deed == "wild") {
        context->add_nodes(context->context, nullptr, 0, nullptr, error);
    }
    return status_of(deed, error);
}

std::uint32_t process(void*, std::uint64_t, const qor_package_t*, qor_dynamic_data_t***, std::uint64_t* count,
                      qor_memory_allocator_t*, details error) {
    const std::string_view deed = deed_in("process");
    *count = spoiled_count(deed, 0);
    return status_of(deed, error);
}

std::uint32_t get_data_descriptions(void*, qor_memory_allocator_t* allocator,
                                    qor_runtime_c_string_sequence_t** descriptions, details error) {
    const std::string_view deed = deed_in("get_data_descriptions");
    const std::uint32_t status = status_of(deed, error);
    return status != QOR_STATUS_OK ? status : qor_runtime_c_string_sequence_create(allocator, 0, descriptions, error);
}

std::uint32_t find_node(void*, std::uint64_t, const char*, qor_type_node_t** node, details error) {
    const std::string_view deed = deed_in("find_node");
    if (deed.empty() || deed == "null") {
        *node = nullptr;
        return deed.empty() ? qor_error_details_create(error, QOR_STATUS_INVALID_ARGUMENT, "not found") : QOR_STATUS_OK;
    }
    *node = spoiled(deed, *node);
    return status_of(deed, error);
}

std::uint32_t get_recording_format(void*, std::size_t, qor_recording_format_t* format, details error) {
    const std::string_view deed = deed_in("get_format");
    *format = {deed == "wild" ? "No Word" : spoiled(deed, served_format()), "", ""};
    return status_of(deed, error);
}

std::uint32_t recognise(void*, std::size_t, const std::uint8_t*, std::size_t, bool, std::int32_t* certainty,
                        details error) {
    const std::string_view deed = deed_in("recognise");
    *certainty = deed == "wild" ? 101 : deed == "many" ? QOR_RECORDING_IS_CERTAIN : QOR_RECORDING_IS_OTHER;
    return status_of(deed, error);
}

char recording;

// Refuses options, and what the stream refuses.
std::uint32_t open_recording(void*, std::size_t, const qor_recording_stream_t* stream, const char* options,
                             void** opened, details error) {
    const std::string_view deed = deed_in("open");
    *opened = spoiled(deed, static_cast<void*>(&recording));
    if (options != nullptr && deed != "none") {
        return qor_error_details_create(error, QOR_STATUS_INVALID_ARGUMENT, "no options");
    }
    char buffer[16];
    std::size_t count = 0;
    const std::uint32_t status =
        deed == "many" ? QOR_STATUS_OK : stream->read(stream->context, buffer, 16, &count, error);
    return status != QOR_STATUS_OK ? status : status_of(deed, error);
}

void close_recording(void*, void*) {
    deed_in("close");
}

// Packages of a source that there is not, faults after the packages, more packages than the host takes, an end that is
// not one: one spoiled batch a deed.
std::uint32_t next_batch(void*, void*, std::size_t most, qor_recording_batch_t* batch, details error) {
    static qor_recorded_package_t packages[2000];
    static qor_recording_fault_t fault{};
    const std::string_view deed = deed_in("next_batch");
    const std::size_t count = deed == "wild" ? 1 : deed == "many" ? most + 1 : 0;
    fault.package = deed == "none" ? 1 : 0;
    fault.cause = deed == "null" ? nullptr : "x";
    fault.hint = "";
    *batch = {packages, count < 2000 ? count : 2000, &fault, deed == "none" || deed == "null" ? std::size_t{1} : 0,
              true};
    return status_of(deed, error);
}

std::uint32_t get_sources(void*, void*, const qor_recorded_source_t** sources, std::size_t* count, details error) {
    const std::string_view deed = deed_in("get_sources");
    static const qor_recorded_source_t unnamed{};
    *sources = &unnamed;
    *count = deed == "null" ? 1 : 0;
    return status_of(deed, error);
}

std::uint32_t get_properties(void*, void*, qor_recording_properties_t* properties, details error) {
    const std::string_view deed = deed_in("get_properties");
    *properties = qor_recording_properties_t{};
    properties->version = "";
    properties->producer = spoiled(deed, "");
    properties->times = deed == "many" ? 7 : 0;
    return status_of(deed, error);
}

std::uint32_t get_other_records(void*, void*, const qor_other_records_t** records, std::size_t* count, details error) {
    const std::string_view deed = deed_in("get_other_records");
    *records = nullptr;
    *count = deed == "null" ? 1 : 0;
    return status_of(deed, error);
}

template<typename Table>
const Table* table();

template<>
const qor_data_matcher_support_t* table() {
    static const qor_data_matcher_support_t made{register_type, unregister_type, match};
    return &made;
}
template<>
const qor_data_matcher_format_support_t* table() {
    static const qor_data_matcher_format_support_t made{get_format_count, get_format};
    return &made;
}
template<>
const qor_data_matcher_batch_support_t* table() {
    static const qor_data_matcher_batch_support_t made{match_batch};
    return &made;
}
template<>
const qor_data_processor_support_t* table() {
    static const qor_data_processor_support_t made{register_type, unregister_type, process};
    return &made;
}
template<>
const qor_data_processor_format_support_t* table() {
    static const qor_data_processor_format_support_t made{get_processor_format_count, get_processor_format};
    return &made;
}
template<>
const qor_data_processor_port_support_t* table() {
    static const qor_data_processor_port_support_t made{};
    return &made;
}
template<>
const qor_data_processor_data_description_support_t* table() {
    static const qor_data_processor_data_description_support_t made{get_data_descriptions};
    return &made;
}
template<>
const qor_data_description_parser_support_t* table() {
    static const qor_data_description_parser_support_t made{nullptr, parse_buffer};
    return &made;
}
template<>
const qor_data_description_parser_format_support_t* table() {
    static const qor_data_description_parser_format_support_t made{get_format_count, get_file_format, get_context_type};
    return &made;
}

template<>
const qor_recording_format_support_t* table() {
    static const qor_recording_format_support_t made{get_format_count, get_recording_format, recognise};
    return &made;
}
template<>
const qor_recording_reader_support_t* table() {
    static const qor_recording_reader_support_t made{open_recording, close_recording, next_batch,
                                                     get_sources,    get_properties,  get_other_records};
    return &made;
}

char instance;

template<>
const qor_signal_storage_t* table() {
    static const auto made = [] {
        qor_signal_storage_t storage{};
        storage.create_context = [](auto...) -> std::uint32_t { return QOR_STATUS_FAILURE; };
        storage.checkpoint = [](auto...) -> std::uint32_t { return QOR_STATUS_OK; };
        storage.context = &instance;
        return storage;
    }();
    return &made;
}
template<>
const qor_signal_storage_access_t* table() {
    static const auto made = [] {
        const auto nothing = [](auto...) -> std::uint32_t { return QOR_STATUS_FAILURE; };
        qor_signal_storage_access_t access{};
        access.find_node = find_node;
        access.get_root_nodes = nothing;
        access.get_node_children = nothing;
        access.get_node_hierarchy = nothing;
        access.get_node_subtree = nothing;
        access.get_signature = nothing;
        access.get_description_id = nothing;
        access.context = &instance;
        return access;
    }();
    return &made;
}
template<>
const qor_signal_storage_maintenance_t* table() {
    static const qor_signal_storage_maintenance_t made{};
    return &made;
}

// ---- locator and entries --------------------------------------------------------------------------------------------

struct service {
    const char* name;
    const void* table;
};

#define TAVI_HOSTILE_SERVICE(type)                                                                                     \
    { #type, table < type>() }

const void* find_service(std::string_view name) {
    static const service services[] = {TAVI_HOSTILE_SERVICE(qor_data_matcher_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_matcher_format_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_matcher_batch_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_processor_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_processor_format_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_processor_port_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_processor_data_description_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_description_parser_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_data_description_parser_format_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_recording_format_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_recording_reader_support_t),
                                       TAVI_HOSTILE_SERVICE(qor_signal_storage_t),
                                       TAVI_HOSTILE_SERVICE(qor_signal_storage_access_t),
                                       TAVI_HOSTILE_SERVICE(qor_signal_storage_maintenance_t)};
    for (const auto& [known, table] : services) {
        if (name == known) {
            return table;
        }
    }
    return nullptr;
}

std::uint32_t resolve(void*, const char* name, void* target, details error) {
    const std::string_view deed = deed_in("resolve");
    static const char empty_table[256] = {};
    const void* const found = deed == "empty" ? empty_table : spoiled(deed, find_service(name));
    std::memcpy(target, &found, sizeof(found));
    return status_of(deed, error);
}

std::uint32_t can_resolve(void*, const char* name, bool* result, details error) {
    const std::string_view deed = deed_in("can_resolve");
    *result = deed != "none" && find_service(name) != nullptr;
    return status_of(deed, error);
}

qor_service_locator_t locator{resolve, can_resolve, &instance};

std::uint32_t create(const char* function, void** handle, details error) {
    const std::string_view deed = deed_in(function);
    const std::uint32_t status = status_of(deed, error);
    *handle = status == QOR_STATUS_OK ? spoiled(deed, static_cast<void*>(&instance)) : nullptr;
    return status;
}

std::uint32_t give_locator(qor_service_locator_t** result, details error) {
    const std::string_view deed = deed_in("get_service_locator");
    static qor_service_locator_t empty{};
    *result = deed == "empty" ? &empty : spoiled(deed, &locator);
    return status_of(deed, error);
}

const struct presence {
    presence() { deed_in("load"); }
    ~presence() { deed_in("unload"); }
} while_loaded;

} // namespace

#define TAVI_HOSTILE_ENTRIES(kind)                                                                                     \
    QOR_EXPORT void kind##_destroy(void*) {                                                                            \
        deed_in("destroy");                                                                                            \
    }                                                                                                                  \
    QOR_EXPORT std::uint32_t kind##_get_service_locator(void*, qor_service_locator_t** result, details error) {        \
        return give_locator(result, error);                                                                            \
    }
#define TAVI_HOSTILE_CREATE(kind)                                                                                      \
    QOR_EXPORT std::uint32_t kind##_create(void** handle, qor_service_locator_t*, details error) {                     \
        return create("create", handle, error);                                                                        \
    }                                                                                                                  \
    TAVI_HOSTILE_ENTRIES(kind)

extern "C" {

QOR_EXPORT std::uint32_t qor_signal_storage_open(const char*, std::uint8_t, std::uint32_t, qor_service_locator_t*,
                                                 void** handle, details error) {
    return create("create", handle, error);
}
TAVI_HOSTILE_ENTRIES(qor_signal_storage)
TAVI_HOSTILE_CREATE(qor_data_matcher)
TAVI_HOSTILE_CREATE(qor_data_description_parser)
TAVI_HOSTILE_CREATE(qor_data_processor)
TAVI_HOSTILE_CREATE(qor_recording_reader)
}
