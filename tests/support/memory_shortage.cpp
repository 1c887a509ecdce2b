#include "tests/support/memory_shortage.hpp"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

// Which heap of the build the functions below hand on to: 0 for none.
#if defined(__has_feature)
#define TAVI_TEST_HAS_FEATURE(feature) __has_feature(feature)
#else
#define TAVI_TEST_HAS_FEATURE(feature) 0
#endif
#if defined(__SANITIZE_THREAD__) || TAVI_TEST_HAS_FEATURE(thread_sanitizer) || !defined(__GLIBC__)
#define TAVI_TEST_HEAP 0
#elif defined(__SANITIZE_ADDRESS__) || TAVI_TEST_HAS_FEATURE(address_sanitizer)
#define TAVI_TEST_HEAP 1
#define TAVI_TEST_REAL(function) __interceptor_##function
#else
#define TAVI_TEST_HEAP 1
#define TAVI_TEST_REAL(function) __libc_##function
#endif

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> first_failing{0};
std::atomic<std::size_t> last_failing{0};
std::atomic<bool> armed{false};
std::atomic<bool> has_struck{false};
std::atomic<std::size_t> blocks{0};

[[maybe_unused]] bool fails() noexcept {
    if (!armed.load(std::memory_order_relaxed)) {
        return false;
    }
    const std::size_t number = ++allocations;
    if (number < first_failing || number > last_failing) {
        return false;
    }
    has_struck = true;
    errno = ENOMEM;
    return true;
}

[[maybe_unused]] void* counted(void* block) noexcept {
    blocks += block != nullptr;
    return block;
}

} // namespace

#if TAVI_TEST_HEAP

// The build hides symbols by default.
#pragma GCC visibility push(default)

extern "C" {

void* TAVI_TEST_REAL(malloc)(std::size_t size);
void* TAVI_TEST_REAL(calloc)(std::size_t count, std::size_t size);
void* TAVI_TEST_REAL(realloc)(void* memory, std::size_t size);
void* TAVI_TEST_REAL(memalign)(std::size_t alignment, std::size_t size);
void TAVI_TEST_REAL(free)(void* memory);

void* malloc(std::size_t size) {
    return fails() ? nullptr : counted(TAVI_TEST_REAL(malloc)(size));
}

void* calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : counted(TAVI_TEST_REAL(calloc)(count, size));
}

void* realloc(void* memory, std::size_t size) {
    if (fails()) {
        return nullptr;
    }
    void* const block = TAVI_TEST_REAL(realloc)(memory, size);
    blocks += memory == nullptr && block != nullptr;
    blocks -= memory != nullptr && block == nullptr && size == 0;
    return block;
}

void* memalign(std::size_t alignment, std::size_t size) {
    return fails() ? nullptr : counted(TAVI_TEST_REAL(memalign)(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

void free(void* memory) {
    blocks -= memory != nullptr;
    TAVI_TEST_REAL(free)(memory);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    void* const block = aligned_alloc(alignment, size);
    if (block == nullptr) {
        return ENOMEM;
    }
    *memory = block;
    return 0;
}
}

// By the functions above also where a sanitizer has operators of its own.
void* operator new(std::size_t size) {
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

#pragma GCC visibility pop

#endif

namespace tavi::test {

bool memory_shortage::is_possible() {
    return TAVI_TEST_HEAP != 0;
}

std::size_t memory_shortage::live_blocks() {
    return blocks;
}

memory_shortage::memory_shortage(std::size_t first, std::size_t last) {
    allocations = 0;
    first_failing = first;
    last_failing = last;
    has_struck = false;
    armed = true;
}

memory_shortage::~memory_shortage() {
    armed = false;
}

bool memory_shortage::struck() const {
    return has_struck;
}

bool memory_shortage::sweep::next() {
    if (!struck_) {
        if (good_ || !is_possible()) {
            return false;
        }
        good_ = true;
        number_ = 0;
    }
    ++number_;
    struck_ = false;
    return true;
}

} // namespace tavi::test
