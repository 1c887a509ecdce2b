// Gives the verdicts on a plug-in. A step is announced before it is tried, because a bad plug-in may not survive it.
#ifndef TOOLS_TAVI_CHECK_CHECKER_HPP
#define TOOLS_TAVI_CHECK_CHECKER_HPP

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "qorcpp/plugin_handle.hpp"

namespace tavi::tool {

struct verdict {
    enum class kind {
        trying, // a step begins, whose verdict follows; the plug-in is at fault if none does
        good,
        note,
        bad
    } kind;
    std::string text;
};

using verdict_sink = std::function<void(const verdict&)>;

// Names of a table's slots, and whether each is set.
using slot_list = std::vector<std::pair<const char*, bool>>;

class checker {
public:
    explicit checker(const verdict_sink& tell) : tell_(tell) {}

    // Whether there was no fault by now.
    bool sound() const noexcept { return sound_; }

    void add(bool good, const std::string& text);
    // `why` is added to the text of a fault.
    void require(bool good, const std::string& text, const std::string& why);
    // A fault is what `step` throws.
    void attempt(const std::string& text, const std::function<void()>& step);

    // The table when the plug-in offers it and each of `slots(table)` is set; else null.
    template<typename Table, typename Slots>
    const Table* find_table(const qor::plugin_handle& plugin, bool mandatory, Slots slots) {
        const std::string name = "table " + qor::service_name<Table>();
        const Table* table = nullptr;
        const bool asked = attempted(name, [&] { table = plugin.find_table<Table>(); });
        if (asked && table == nullptr) {
            mandatory ? add(false, name + " is missing") : tell_({verdict::kind::note, name + " is not offered"});
        }
        return table != nullptr && is_complete(name, slots(*table)) ? table : nullptr;
    }

private:
    // Announces and tries; a verdict is given for a fault only, whose absence is returned.
    bool attempted(const std::string& text, const std::function<void()>& step);
    bool is_complete(const std::string& name, const slot_list& slots);

    const verdict_sink& tell_;
    bool sound_ = true;
};

} // namespace tavi::tool

#endif
