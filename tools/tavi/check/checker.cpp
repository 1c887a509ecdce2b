#include "tools/tavi/check/checker.hpp"

#include <exception>

namespace tavi::tool {

void checker::add(bool good, const std::string& text) {
    tell_({good ? verdict::kind::good : verdict::kind::bad, text});
    sound_ &= good;
}

void checker::require(bool good, const std::string& text, const std::string& why) {
    add(good, good ? text : text + ": " + why);
}

void checker::attempt(const std::string& text, const std::function<void()>& step) {
    if (attempted(text, step)) {
        add(true, text);
    }
}

bool checker::attempted(const std::string& text, const std::function<void()>& step) {
    tell_({verdict::kind::trying, text});
    try {
        step();
        return true;
    } catch (const std::bad_alloc&) {
        add(false, text + ": it takes more memory than the check allows");
    } catch (const std::exception& error) {
        add(false, text + ": " + error.what());
    } catch (...) {
        add(false, text + ": an exception that is no std::exception");
    }
    return false;
}

bool checker::is_complete(const std::string& name, const slot_list& slots) {
    bool complete = true;
    for (const auto& [slot, is_set] : slots) {
        if (!is_set) {
            add(false, name + " has no '" + slot + "' function");
            complete = false;
        }
    }
    if (complete) {
        add(true, name);
    }
    return complete;
}

} // namespace tavi::tool
