// The child runs in a job, which limits its memory and ends with all of its processes. Reports come through a pipe
// whose handle the child finds in its environment.
#include "qorcpp/platform/child_process.hpp"

#include <windows.h>

#include <array>
#include <cstdlib>
#include <system_error>

#include "qorcpp/platform/stream.hpp"
#include "text.hpp"

namespace qor::platform {

namespace {

using clock = std::chrono::steady_clock;

constexpr const wchar_t* report_variable = L"QORCPP_REPORT_HANDLE";
constexpr DWORD tick_milliseconds = 5;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

class handle {
public:
    explicit handle(HANDLE value) noexcept : value_(value) {}
    ~handle() { close(); }
    handle(const handle&) = delete;
    handle& operator=(const handle&) = delete;

    HANDLE get() const noexcept { return value_; }
    void close() noexcept {
        if (value_ != nullptr && value_ != INVALID_HANDLE_VALUE) {
            CloseHandle(value_);
        }
        value_ = nullptr;
    }

private:
    HANDLE value_;
};

// An argument as the C runtime of the child reads it: backslashes count before quotation marks only.
std::string quoted(const std::string& argument) {
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char character : argument) {
        if (character == '"') {
            text.append(backslashes + 1, '\\');
        }
        backslashes = character == '\\' ? backslashes + 1 : 0;
        text += character;
    }
    return text.append(backslashes, '\\') + '"';
}

HANDLE make_job(std::uint64_t memory) {
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    if (job == nullptr) {
        fail("cannot make a job");
    }
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags =
        JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_JOB_MEMORY | JOB_OBJECT_LIMIT_DIE_ON_UNHANDLED_EXCEPTION;
    limits.JobMemoryLimit = static_cast<SIZE_T>(memory);
    if (SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits)) == 0) {
        fail("cannot limit a job");
    }
    return job;
}

DWORD process_count(HANDLE job) {
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION information{};
    return QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &information, sizeof(information),
                                     nullptr) != 0
               ? information.ActiveProcesses
               : 0;
}

void pass_on(HANDLE pipe, const std::function<void(std::string_view)>& report) {
    std::array<char, 4096> bytes;
    DWORD there = 0;
    DWORD count = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &there, nullptr) != 0 && there != 0 &&
           ReadFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) != 0 && count != 0) {
        report({bytes.data(), count});
    }
}

// Failures that no handler took end a process with their code, from 0xC0000000 on.
void set_end(child_end& result, DWORD code) {
    constexpr DWORD first_failure = 0xC0000000;
    if (code >= first_failure || code == 3) { // 3: abort
        result.how = child_end::kind::crashed;
        result.cause = code == 3 ? "Aborted" : "exception " + std::to_string(code);
    }
    result.exit_code = static_cast<int>(code);
}

} // namespace

child_end run_limited(const std::string& program, const std::vector<std::string>& arguments, const child_limits& limits,
                      const std::function<void(std::string_view)>& report) {
    std::string line = quoted(program);
    for (const std::string& argument : arguments) {
        line += ' ' + quoted(argument);
    }
    std::wstring wide_line = widen(line);

    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE read_end = nullptr;
    HANDLE write_end = nullptr;
    if (CreatePipe(&read_end, &write_end, &inherited, 0) == 0) {
        fail("cannot make a pipe");
    }
    const handle reading(read_end);
    handle writing(write_end);
    SetHandleInformation(read_end, HANDLE_FLAG_INHERIT, 0);
    const handle nothing(CreateFileW(L"NUL", GENERIC_READ, 0, &inherited, OPEN_EXISTING, 0, nullptr));
    const handle job(make_job(limits.memory));

    STARTUPINFOW start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = nothing.get();
    start.hStdOutput = GetStdHandle(STD_ERROR_HANDLE);
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION started{};
    SetEnvironmentVariableW(report_variable, std::to_wstring(reinterpret_cast<std::uintptr_t>(write_end)).c_str());
    const BOOL made = CreateProcessW(widen(program).c_str(), wide_line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                                     nullptr, nullptr, &start, &started);
    SetEnvironmentVariableW(report_variable, nullptr);
    if (made == 0) {
        fail("cannot start a process");
    }
    const handle process(started.hProcess);
    const handle thread(started.hThread);
    if (AssignProcessToJobObject(job.get(), process.get()) == 0) {
        TerminateProcess(process.get(), 1);
        fail("cannot start a process in a job");
    }
    writing.close();
    ResumeThread(thread.get());

    child_end result{child_end::kind::exited, 0, {}, false};
    const auto deadline = clock::now() + limits.time;
    while (WaitForSingleObject(process.get(), tick_milliseconds) == WAIT_TIMEOUT) {
        pass_on(reading.get(), report);
        if (interrupted() || clock::now() >= deadline) {
            result.how = interrupted() ? child_end::kind::interrupted : child_end::kind::timed_out;
            break;
        }
    }
    const bool by_itself = result.how == child_end::kind::exited;
    result.left_processes = by_itself && process_count(job.get()) != 0;
    TerminateJobObject(job.get(), 1);
    pass_on(reading.get(), report);
    DWORD code = 0;
    if (by_itself && GetExitCodeProcess(process.get(), &code) != 0) {
        set_end(result, code);
    }
    return result;
}

void report_to_parent(std::string_view bytes) {
    static const HANDLE pipe = [] {
        std::array<wchar_t, 32> text{};
        GetEnvironmentVariableW(report_variable, text.data(), static_cast<DWORD>(text.size()));
        return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(std::wcstoull(text.data(), nullptr, 10)));
    }();
    while (!bytes.empty()) {
        DWORD written = 0;
        if (WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) == 0) {
            fail("cannot report");
        }
        bytes.remove_prefix(written);
    }
}

} // namespace qor::platform
