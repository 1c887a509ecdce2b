// What the library has to say, on its way to the host's log sink. A place that logs reads
//
//     if (const log::statement say{logger, QOR_LOG_LEVEL_WARNING, L"qor::tavi::detail::extractor::register_source"}) {
//         say("Truncating structure '%s' from size %lld to %lld bytes", name.c_str(), from, to);
//     }
//
// so that without a logger nothing of the message is evaluated.
#ifndef RUNTIME_LOGGER_HPP
#define RUNTIME_LOGGER_HPP

#include <cstdint>
#include <memory>

#include "qorc/extensibility/log.h"

// Lets compilers that can hold arguments against the format.
#if defined(__GNUC__)
#define QOR_PRINTF_LIKE(format_index, first_index) __attribute__((format(printf, format_index, first_index)))
#else
#define QOR_PRINTF_LIKE(format_index, first_index)
#endif

namespace qor::extensibility::log {

// Thread: any number at once, as far as the sink allows it.
class logger : public std::enable_shared_from_this<logger> {
public:
    // The sink is not owned and must outlive the object.
    // Throws: std::runtime_error "invalid logger interface passed to logger constructor" when it or a field is null.
    explicit logger(qor_log_t* table);

    // Formats as printf does; of a longer message the first 1023 bytes reach the sink. The wide texts may be null.
    // Throws what the sink reports.
    void log(std::uint32_t level, const wchar_t* module, const wchar_t* file, const wchar_t* function,
             std::uint32_t line, const char* format, ...) QOR_PRINTF_LIKE(7, 8);
    // The same with a message that is ready, at most 1023 bytes.
    void send(std::uint32_t level, const wchar_t* module, const wchar_t* file, const wchar_t* function,
              std::uint32_t line, const char* message);

    qor_log_t* const table;
};

// One place that logs, false when there is no logger. `function` is the qualified name of the function, as a literal.
class statement {
public:
    statement(const std::shared_ptr<logger>& target, std::uint32_t level, const wchar_t* function,
              const char* file = __builtin_FILE(), std::uint32_t line = __builtin_LINE()) noexcept
        : target_(target.get()), level_(level), function_(function), file_(file), line_(line) {}

    explicit operator bool() const noexcept { return target_ != nullptr; }

    // Throws what the sink reports.
    void operator()(const char* format, ...) const QOR_PRINTF_LIKE(2, 3);

private:
    logger* target_;
    std::uint32_t level_;
    const wchar_t* function_;
    const char* file_;
    std::uint32_t line_;
};

} // namespace qor::extensibility::log

#endif
