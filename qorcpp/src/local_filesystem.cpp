#include "local_filesystem.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <vector>

#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/directory.hpp"

namespace qor {

namespace {

namespace fs = std::filesystem;

struct local_filesystem {
    qor_filesystem_t table = {};
    fs::path root;
};

fs::path path_of(const char* text) {
    return fs::path(reinterpret_cast<const char8_t*>(text));
}

std::string text_of(const fs::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

[[noreturn]] void fail(int number, const char* what, const fs::path& path) {
    throw std::system_error(number, std::generic_category(), std::string(what) + " '" + text_of(path) + "'");
}

// Numbers of the system are reported as the errno value that they mean.
void check(const std::error_code& code, const char* what, const fs::path& path) {
    if (code) {
        const std::error_condition condition = code.default_error_condition();
        fail(condition.category() == std::generic_category() ? condition.value() : EIO, what, path);
    }
}

// Streams do not say why they fail, but leave the number behind where the platform's C library does.
[[noreturn]] void fail_stream(const char* what, const fs::path& path) {
    fail(errno != 0 ? errno : EIO, what, path);
}

// Runs body(path) for the full path of `path`.
template<typename Body>
uint32_t with_path(void* context, const char* path, qor_error_details_t** error, Body&& body) noexcept {
    return guarded_call(
        [&] {
            check_argument(context, "handle");
            check_argument(path, "path");
            body(static_cast<const local_filesystem*>(context)->root / path_of(path));
        },
        error);
}

uint32_t exists(void* context, const char* path, bool* result, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        check_argument(result, "exists");
        std::error_code code;
        const fs::file_status status = fs::status(full, code);
        if (status.type() == fs::file_type::none) {
            check(code, "cannot look for", full);
        }
        *result = fs::exists(status);
    });
}

uint32_t is_directory(void* context, const char* path, bool* result, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        check_argument(result, "is_directory");
        std::error_code code;
        const fs::file_status status = fs::status(full, code);
        if (status.type() == fs::file_type::none) {
            check(code, "cannot look for", full);
        }
        *result = fs::is_directory(status);
    });
}

uint32_t get_size(void* context, const char* path, uint64_t* size, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        check_argument(size, "size");
        std::error_code code;
        const std::uintmax_t bytes = fs::file_size(full, code);
        check(code, "cannot tell the size of", full);
        *size = bytes;
    });
}

uint32_t read(void* context, const char* path, uint64_t offset, void* buffer, uint64_t* size,
              qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        check_argument(size, "size");
        if (*size != 0) {
            check_argument(buffer, "buffer");
        }
        std::error_code code;
        if (fs::is_directory(full, code)) {
            fail(EISDIR, "cannot read", full);
        }
        errno = 0;
        std::ifstream file(full, std::ios::binary);
        if (!file) {
            fail_stream("cannot open", full);
        }
        constexpr auto farthest = static_cast<uint64_t>(std::numeric_limits<std::streamoff>::max());
        if (offset > farthest) {
            *size = 0;
            return;
        }
        if (offset != 0 && !file.seekg(static_cast<std::streamoff>(offset))) {
            fail_stream("cannot read", full);
        }
        file.read(static_cast<char*>(buffer), static_cast<std::streamsize>(std::min(*size, farthest)));
        if (file.bad()) {
            fail_stream("cannot read", full);
        }
        *size = static_cast<uint64_t>(file.gcount());
    });
}

void put_bytes(const fs::path& full, const void* buffer, uint64_t size, std::ios::openmode mode) {
    if (size != 0) {
        check_argument(buffer, "buffer");
    }
    if (size > static_cast<uint64_t>(std::numeric_limits<std::streamsize>::max())) {
        fail(EFBIG, "cannot write", full);
    }
    errno = 0;
    std::ofstream file(full, std::ios::binary | mode);
    if (!file) {
        fail_stream("cannot open", full);
    }
    file.write(static_cast<const char*>(buffer), static_cast<std::streamsize>(size));
    file.close();
    if (!file) {
        fail_stream("cannot write", full);
    }
}

uint32_t write(void* context, const char* path, const void* buffer, uint64_t size, qor_error_details_t** error) {
    return with_path(context, path, error,
                     [&](const fs::path& full) { put_bytes(full, buffer, size, std::ios::trunc); });
}

uint32_t append(void* context, const char* path, const void* buffer, uint64_t size, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) { put_bytes(full, buffer, size, std::ios::app); });
}

uint32_t remove(void* context, const char* path, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        std::error_code code;
        const bool removed = fs::remove(full, code);
        check(code, "cannot remove", full);
        if (!removed) {
            fail(ENOENT, "cannot remove", full);
        }
    });
}

uint32_t rename(void* context, const char* path, const char* new_path, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        check_argument(new_path, "new_path");
        std::error_code code;
        fs::rename(full, static_cast<const local_filesystem*>(context)->root / path_of(new_path), code);
        check(code, "cannot rename", full);
    });
}

uint32_t create_directory(void* context, const char* path, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        std::error_code code;
        fs::create_directories(full, code);
        check(code, "cannot create directory", full);
    });
}

uint32_t list(void* context, const char* path, qor_memory_allocator_t* allocator,
              qor_runtime_c_string_sequence_t** names, qor_error_details_t** error) {
    return with_path(context, path, error, [&](const fs::path& full) {
        check_argument(allocator, "allocator");
        check_argument(names, "names");
        *names = nullptr;
        const std::vector<std::string> found = platform::names_in_directory(text_of(full));
        if (qor_runtime_c_string_sequence_create(allocator, found.size(), names, nullptr) != QOR_STATUS_OK) {
            throw std::bad_alloc();
        }
        for (std::size_t i = 0; i < found.size(); ++i) {
            if (qor_runtime_c_string_sequence_put(allocator, *names, i, found[i].c_str(), nullptr) != QOR_STATUS_OK) {
                qor_runtime_c_string_sequence_destroy(allocator, *names, nullptr);
                *names = nullptr;
                throw std::bad_alloc();
            }
        }
    });
}

uint32_t close(void* context, qor_error_details_t** error) {
    return guarded_call(
        [&] {
            check_argument(context, "handle");
            delete static_cast<local_filesystem*>(context);
        },
        error);
}

} // namespace

qor_filesystem_t* open_local_filesystem(const char* root) {
    auto opened = std::make_unique<local_filesystem>();
    opened->root = path_of(root);
    if (!opened->root.empty()) {
        std::error_code code;
        const bool directory = fs::is_directory(opened->root, code);
        check(code, "cannot open", opened->root);
        if (!directory) {
            fail(ENOTDIR, "cannot open", opened->root);
        }
    }
    qor_filesystem_t& table = opened->table;
    table.exists = exists;
    table.is_directory = is_directory;
    table.get_size = get_size;
    table.read = read;
    table.write = write;
    table.append = append;
    table.remove = remove;
    table.rename = rename;
    table.create_directory = create_directory;
    table.list = list;
    table.close = close;
    table.context = opened.get();
    return &opened.release()->table;
}

} // namespace qor
