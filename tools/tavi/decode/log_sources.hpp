// The sources of a recording, numbered in the order in which they come first.
#ifndef TOOLS_TAVI_DECODE_LOG_SOURCES_HPP
#define TOOLS_TAVI_DECODE_LOG_SOURCES_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qorc/extensibility/recording_reader.h"
#include "qorcpp/can_frame.hpp"

namespace tavi::tool {

// A qor_recorded_source_t that stays.
struct log_source {
    std::string name;
    std::string package_format;
    std::uint32_t kind = QOR_RECORDED_OTHER;
    std::uint16_t source_id = 0;

    explicit log_source(const qor_recorded_source_t& source)
        : name(source.name), package_format(source.package_format), kind(source.kind), source_id(source.source_id) {}

    // Whether its packages are CAN frames.
    bool has_frames() const { return package_format == qor::can_format || package_format == qor::j1939_format; }
};

// Thread: any.
class log_sources {
public:
    // Sources that one recording may have; packages of further ones count as damaged.
    static constexpr std::size_t limit = 256;

    std::optional<std::size_t> find(std::string_view name) const {
        const std::lock_guard lock(mutex_);
        const auto found = std::find_if(sources_.begin(), sources_.end(),
                                        [&](const log_source& source) { return source.name == name; });
        return found == sources_.end() ? std::nullopt : std::optional<std::size_t>(found - sources_.begin());
    }

    // What the message about further sources says in addition. To be set before any thread reads.
    void set_limit_hint(std::string hint) { limit_hint_ = std::move(hint); }
    const std::string& limit_hint() const noexcept { return limit_hint_; }

    // Requires: size() < limit.
    std::size_t add(const qor_recorded_source_t& source) {
        const std::lock_guard lock(mutex_);
        sources_.emplace_back(source);
        return sources_.size() - 1;
    }

    std::size_t size() const {
        const std::lock_guard lock(mutex_);
        return sources_.size();
    }

    // Requires: number < size().
    log_source at(std::size_t number) const {
        const std::lock_guard lock(mutex_);
        return sources_[number];
    }

    // In order.
    std::vector<std::string> names() const {
        const std::lock_guard lock(mutex_);
        std::vector<std::string> names;
        for (const log_source& source : sources_) {
            names.push_back(source.name);
        }
        return names;
    }

    // What the packages are called in messages: "frame", or "sentence" or "memory block" when there are no others,
    // else "package".
    std::string unit() const {
        const std::lock_guard lock(mutex_);
        const auto all_are = [&](const auto& test) { return std::all_of(sources_.begin(), sources_.end(), test); };
        if (all_are([](const log_source& source) { return source.has_frames(); })) {
            return "frame";
        }
        if (all_are([](const log_source& source) { return source.kind == QOR_RECORDED_RECEIVER; })) {
            return "sentence";
        }
        return all_are([](const log_source& source) { return source.kind == QOR_RECORDED_MEMORY; }) ? "memory block"
                                                                                                    : "package";
    }

private:
    mutable std::mutex mutex_;
    std::vector<log_source> sources_;
    std::string limit_hint_;
};

} // namespace tavi::tool

#endif
