#include "runtime/logger.hpp"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "qorcpp/platform/module.hpp"
#include "runtime/details_owner.hpp"
#include "runtime/wide_text.hpp"

namespace qor::extensibility::log {

namespace {

// Room for the longest message and its terminator.
using message_text = std::array<char, 1024>;

message_text formatted(const char* format, std::va_list arguments) noexcept QOR_PRINTF_LIKE(1, 0);

message_text formatted(const char* format, std::va_list arguments) noexcept {
    message_text message = {};
    std::vsnprintf(message.data(), message.size(), format, arguments);
    return message;
}

// The part behind the last separator of the platform.
std::wstring file_name_of(const std::string& path) {
    constexpr auto separator = static_cast<char>(std::filesystem::path::preferred_separator);
    const std::size_t last = path.rfind(separator);
    return runtime::widen(std::string_view(path).substr(last == std::string::npos ? 0 : last + 1));
}

// Resolved once: the file of a loaded library keeps its name.
const std::wstring& module_name() {
    static const std::wstring name = file_name_of(platform::get_current_module_path());
    return name;
}

// A converted text that a record can point to; null stays null.
class narrowed {
public:
    explicit narrowed(const wchar_t* text) : given_(text != nullptr), text_(given_ ? runtime::narrow(text) : "") {}
    const char* get() const noexcept { return given_ ? text_.c_str() : nullptr; }

private:
    bool given_;
    std::string text_;
};

} // namespace

logger::logger(qor_log_t* table) : table(table) {
    if (table == nullptr || table->context == nullptr || table->log == nullptr) {
        throw std::runtime_error("invalid logger interface passed to logger constructor");
    }
}

void logger::send(std::uint32_t level, const wchar_t* module, const wchar_t* file, const wchar_t* function,
                  std::uint32_t line, const char* message) {
    const narrowed module_text(module);
    const narrowed file_text(file);
    const narrowed function_text(function);
    qor_log_info_t info = {};
    info.level = level;
    info.message = message;
    info.module = module_text.get();
    info.file = file_text.get();
    info.function = function_text.get();
    info.line = line;
    runtime::details_owner details;
    table->log(table->context, &info, details.place());
    details.rethrow();
}

void logger::log(std::uint32_t level, const wchar_t* module, const wchar_t* file, const wchar_t* function,
                 std::uint32_t line, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const message_text message = formatted(format, arguments);
    va_end(arguments);
    send(level, module, file, function, line, message.data());
}

void statement::operator()(const char* format, ...) const {
    std::va_list arguments;
    va_start(arguments, format);
    const message_text message = formatted(format, arguments);
    va_end(arguments);
    target_->send(level_, module_name().c_str(), file_name_of(file_).c_str(), function_, line_, message.data());
}

} // namespace qor::extensibility::log
