#include "qorcpp/platform/shared_library.hpp"

#include <dlfcn.h>

#include <utility>

namespace qor::platform {

namespace {

// The loader forgets its text when it was read once or the next call succeeds.
thread_local std::string last_error;

std::string take_loader_error() {
    const char* const text = dlerror();
    return text != nullptr ? text : "unknown loader error";
}

} // namespace

shared_library::shared_library(const std::string& path, load_mode) : path_(path) {
    // The loader would take the empty path for the program itself.
    if (path.empty()) {
        load_error_ = "no library file given";
    } else {
        handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle_ == nullptr) {
            load_error_ = take_loader_error();
        }
    }
    if (handle_ == nullptr) {
        last_error = load_error_;
    }
}

shared_library::shared_library(shared_library&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), path_(std::move(other.path_)),
      load_error_(std::move(other.load_error_)) {}

shared_library::~shared_library() {
    if (handle_ != nullptr) {
        dlclose(handle_);
    }
}

void* shared_library::get_symbol(const std::string& name) const {
    if (handle_ == nullptr) {
        last_error = load_error_.empty() ? "the library is not loaded" : load_error_;
        return nullptr;
    }
    void* const symbol = dlsym(handle_, name.c_str());
    if (symbol == nullptr) {
        last_error = take_loader_error();
    }
    return symbol;
}

std::string get_last_error() {
    return last_error;
}

} // namespace qor::platform
