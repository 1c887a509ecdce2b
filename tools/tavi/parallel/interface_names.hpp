// The interfaces of a log, numbered in the order in which they come first.
#ifndef TOOLS_TAVI_PARALLEL_INTERFACE_NAMES_HPP
#define TOOLS_TAVI_PARALLEL_INTERFACE_NAMES_HPP

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavi::tool {

// Thread: any.
class interface_names {
public:
    std::optional<std::size_t> find(std::string_view name) const {
        const std::lock_guard lock(mutex_);
        const auto found = std::find(names_.begin(), names_.end(), name);
        return found == names_.end() ? std::nullopt : std::optional<std::size_t>(found - names_.begin());
    }

    std::size_t add(std::string_view name) {
        const std::lock_guard lock(mutex_);
        names_.emplace_back(name);
        return names_.size() - 1;
    }

    std::size_t size() const {
        const std::lock_guard lock(mutex_);
        return names_.size();
    }

    // Requires: number < size().
    std::string name(std::size_t number) const {
        const std::lock_guard lock(mutex_);
        return names_[number];
    }

    // All of them, in order.
    std::vector<std::string> names() const {
        const std::lock_guard lock(mutex_);
        return names_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> names_;
};

} // namespace tavi::tool

#endif
