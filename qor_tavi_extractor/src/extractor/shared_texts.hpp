// Texts that many have in common, each in memory once for all that hold it: sources of one description have the same
// schemas.
#ifndef QOR_TAVI_EXTRACTOR_SHARED_TEXTS_HPP
#define QOR_TAVI_EXTRACTOR_SHARED_TEXTS_HPP

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

namespace qor::tavi::detail {

// Thread: used under the extractor's lock; the texts may go on any thread.
class shared_texts {
public:
    // The one that another holder of an equal text has, or this one.
    std::shared_ptr<const std::string> share(std::string&& text) {
        std::weak_ptr<const std::string>& known = texts_[std::hash<std::string>()(text)];
        auto shared = known.lock();
        if (shared == nullptr || *shared != text) { // of two texts with one hash the last is shared
            text.shrink_to_fit();
            shared = std::make_shared<const std::string>(std::move(text));
            known = shared;
        }
        if (texts_.size() > most_) {
            std::erase_if(texts_, [](const auto& entry) { return entry.second.expired(); });
            most_ = std::max(least, 2 * texts_.size());
        }
        return shared;
    }

private:
    static constexpr std::size_t least = 64;

    // By hash.
    std::unordered_map<std::size_t, std::weak_ptr<const std::string>> texts_;
    // Beyond this number those that nobody holds any more are taken out.
    std::size_t most_ = least;
};

} // namespace qor::tavi::detail

#endif
