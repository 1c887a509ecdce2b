// The host's log sink for plug-ins. A plug-in keeps one logger, made in its constructor:
//
//     explicit my_parser(qor_service_locator_t* host_locator) : logger_(host_locator) {}
//     ...
//     logger_.warning([&] { return "line " + std::to_string(line) + ": unknown section"; });
//
// so that without a sink no text is made. A host that offers no sink, or no locator, is answered by doing nothing.
#ifndef QOR_PLUGIN_SDK_LOGGER_HPP
#define QOR_PLUGIN_SDK_LOGGER_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "qorc/extensibility/log.h"
#include "qorc/service_locator.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/service_name.hpp"

namespace qor::sdk {

// The part of a path behind its last separator, of whichever platform.
inline std::string_view file_name_of(std::string_view path) noexcept {
    return path.substr(path.find_last_of("/\\") + 1);
}

// Where a message comes from. The defaults stand for the place of the call.
struct log_place {
    const char* function;
    const char* file;
    std::uint32_t line;

    static constexpr log_place here(const char* function = __builtin_FUNCTION(), const char* file = __builtin_FILE(),
                                    std::uint32_t line = __builtin_LINE()) noexcept {
        return {function, file, line};
    }
};

// A text is anything that makes a std::string, or a callable that gives such; it is called only when there is a sink.
// Thread: any, as far as the sink allows it. Throws: what the sink reports, see qor::rethrow_details.
class logger {
public:
    // host_locator  as `create` received it: may be null, else valid as long as the object
    // module        the plug-in's file name in the messages; by default that of the calling library
    // Throws: what the locator reports.
    explicit logger(qor_service_locator_t* host_locator, std::string module = calling_module())
        : module_(std::move(module)) {
        if (host_locator == nullptr || host_locator->resolve == nullptr || host_locator->can_resolve == nullptr) {
            return;
        }
        const std::string name = service_name<qor_log_t>();
        qor_error_details_t* details = nullptr;
        bool known = false;
        host_locator->can_resolve(host_locator->context, name.c_str(), &known, &details);
        rethrow_details(details);
        if (!known) {
            return;
        }
        qor_log_t* table = nullptr;
        host_locator->resolve(host_locator->context, name.c_str(), &table, &details);
        rethrow_details(details);
        if (table != nullptr && table->log != nullptr && table->context != nullptr) {
            table_ = table;
        }
    }

    // Whether there is a sink.
    explicit operator bool() const noexcept { return table_ != nullptr; }

    template<typename Text>
    void error(Text&& text, log_place place = log_place::here()) const {
        write(QOR_LOG_LEVEL_ERROR, std::forward<Text>(text), place);
    }

    template<typename Text>
    void warning(Text&& text, log_place place = log_place::here()) const {
        write(QOR_LOG_LEVEL_WARNING, std::forward<Text>(text), place);
    }

    template<typename Text>
    void progress(Text&& text, log_place place = log_place::here()) const {
        write(QOR_LOG_LEVEL_PROGRESS, std::forward<Text>(text), place);
    }

    // `level` is a QOR_LOG_LEVEL_ value.
    template<typename Text>
    void write(std::uint32_t level, Text&& text, log_place place = log_place::here()) const {
        if (table_ == nullptr) {
            return;
        }
        if constexpr (std::is_invocable_v<Text>) {
            send(level, std::string(text()), place);
        } else {
            send(level, std::string(std::forward<Text>(text)), place);
        }
    }

private:
    static std::string calling_module() {
        return std::string(file_name_of(platform::module_path_of(&platform::module_anchor)));
    }

    void send(std::uint32_t level, const std::string& message, const log_place& place) const {
        qor_log_info_t info = {};
        info.level = level;
        info.message = message.c_str();
        info.module = module_.c_str();
        // The end of a file name is the end of its path, so that no copy is needed.
        info.file = file_name_of(place.file).data();
        info.function = place.function;
        info.line = place.line;
        qor_error_details_t* details = nullptr;
        table_->log(table_->context, &info, &details);
        rethrow_details(details);
    }

    std::string module_;
    qor_log_t* table_ = nullptr;
};

} // namespace qor::sdk

#endif
