#include "tests/signal_storage/sqlite_faults.hpp"

#include <new>
#include <stdexcept>

#include <sqlite3.h>

namespace tavi::test {

namespace {

struct fault_state {
    fault_kind kind;
    unsigned remaining; // calls until one fails; 0: none does
    bool for_good;
    bool failed;
} state{};

bool fails(fault_kind kind) {
    if (state.kind != kind || state.remaining == 0 || --state.remaining != 0) {
        return false;
    }
    state.failed = true;
    state.remaining = state.for_good ? 1 : 0;
    return true;
}

bool input_fails() {
    return fails(fault_kind::input);
}

// The status of a call that changes a file; `status` without a fault.
template<typename Call>
int output_call(int failure, Call call) {
    if (fails(fault_kind::disk_full)) {
        return SQLITE_FULL;
    }
    return fails(fault_kind::output) ? failure : call();
}

// Memory.

sqlite3_mem_methods real_memory{};

const sqlite3_mem_methods faulty_memory = {
    [](int size) { return fails(fault_kind::memory) ? nullptr : real_memory.xMalloc(size); },
    [](void* block) { real_memory.xFree(block); },
    [](void* block, int size) { return fails(fault_kind::memory) ? nullptr : real_memory.xRealloc(block, size); },
    [](void* block) { return real_memory.xSize(block); },
    [](int size) { return real_memory.xRoundup(size); },
    [](void* data) { return real_memory.xInit(data); },
    [](void* data) { real_memory.xShutdown(data); },
    nullptr,
};

// Files: a record of ours in front of the real one.

struct faulty_file {
    sqlite3_file base;
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* real_of(sqlite3_file* file) {
    return reinterpret_cast<faulty_file*>(file)->real();
}

sqlite3_vfs* real_files = nullptr;

const sqlite3_io_methods faulty_file_calls = {
    1,
    [](sqlite3_file* file) { return real_of(file)->pMethods->xClose(real_of(file)); },
    [](sqlite3_file* file, void* buffer, int size, sqlite3_int64 offset) {
        return input_fails() ? SQLITE_IOERR_READ : real_of(file)->pMethods->xRead(real_of(file), buffer, size, offset);
    },
    [](sqlite3_file* file, const void* buffer, int size, sqlite3_int64 offset) {
        return output_call(SQLITE_IOERR_WRITE,
                           [=] { return real_of(file)->pMethods->xWrite(real_of(file), buffer, size, offset); });
    },
    [](sqlite3_file* file, sqlite3_int64 size) {
        return output_call(SQLITE_IOERR_TRUNCATE,
                           [=] { return real_of(file)->pMethods->xTruncate(real_of(file), size); });
    },
    [](sqlite3_file*, int) { return output_call(SQLITE_IOERR_FSYNC, [] { return SQLITE_OK; }); },
    [](sqlite3_file* file, sqlite3_int64* size) {
        return input_fails() ? SQLITE_IOERR_FSTAT : real_of(file)->pMethods->xFileSize(real_of(file), size);
    },
    [](sqlite3_file* file, int level) {
        return input_fails() ? SQLITE_IOERR_LOCK : real_of(file)->pMethods->xLock(real_of(file), level);
    },
    [](sqlite3_file* file, int level) { return real_of(file)->pMethods->xUnlock(real_of(file), level); },
    [](sqlite3_file* file, int* result) {
        return input_fails() ? SQLITE_IOERR_CHECKRESERVEDLOCK
                             : real_of(file)->pMethods->xCheckReservedLock(real_of(file), result);
    },
    [](sqlite3_file* file, int operation, void* argument) {
        return real_of(file)->pMethods->xFileControl(real_of(file), operation, argument);
    },
    [](sqlite3_file* file) { return real_of(file)->pMethods->xSectorSize(real_of(file)); },
    [](sqlite3_file* file) { return real_of(file)->pMethods->xDeviceCharacteristics(real_of(file)); },
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

sqlite3_vfs faulty_files{};

int open_file(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* result) {
    file->pMethods = nullptr;
    if (input_fails()) {
        return SQLITE_CANTOPEN;
    }
    const int status = real_files->xOpen(real_files, name, real_of(file), flags, result);
    file->pMethods = real_of(file)->pMethods != nullptr ? &faulty_file_calls : nullptr;
    return status;
}

int remove_file(sqlite3_vfs*, const char* name, int synchronise) {
    return output_call(SQLITE_IOERR_DELETE, [=] { return real_files->xDelete(real_files, name, synchronise); });
}

int access_file(sqlite3_vfs*, const char* name, int flags, int* result) {
    return input_fails() ? SQLITE_IOERR_ACCESS : real_files->xAccess(real_files, name, flags, result);
}

void require(int status) {
    if (status != SQLITE_OK) {
        throw std::runtime_error("SQLite does not take the faults");
    }
}

} // namespace

sqlite_faults::sqlite_faults(fault_kind kind) {
    state = {kind, 0, false, false};
    if (kind == fault_kind::memory) {
        require(sqlite3_shutdown());
        require(sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real_memory));
        require(sqlite3_config(SQLITE_CONFIG_MALLOC, &faulty_memory));
        require(sqlite3_initialize());
    }
    real_files = sqlite3_vfs_find(nullptr);
    faulty_files = *real_files;
    faulty_files.pNext = nullptr;
    faulty_files.zName = "faulty";
    faulty_files.szOsFile = static_cast<int>(sizeof(faulty_file)) + real_files->szOsFile;
    faulty_files.xOpen = open_file;
    faulty_files.xDelete = remove_file;
    faulty_files.xAccess = access_file;
    require(sqlite3_vfs_register(&faulty_files, 1));
}

sqlite_faults::~sqlite_faults() {
    sqlite3_vfs_unregister(&faulty_files);
    sqlite3_vfs_register(real_files, 1);
    if (state.kind == fault_kind::memory) {
        sqlite3_shutdown();
        sqlite3_config(SQLITE_CONFIG_MALLOC, &real_memory);
    }
}

void sqlite_faults::arm(unsigned count, bool for_good) {
    state.remaining = count;
    state.for_good = for_good;
    state.failed = false;
}

bool sqlite_faults::disarm() {
    state.remaining = 0;
    return state.failed;
}

} // namespace tavi::test
