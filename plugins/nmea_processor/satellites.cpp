#include "plugins/nmea_processor/satellites.hpp"

#include <algorithm>
#include <array>

namespace nmea_processor {

namespace {

// Seven systems with a few signals each; more than this comes from no receiver.
constexpr size_t most_lists = 24;
constexpr size_t longest_list = 64;

bool same_satellite(const satellite& left, const satellite& right) noexcept {
    return left.number == right.number && left.system == right.system;
}

} // namespace

satellite_system system_of_talker(std::string_view talker) noexcept {
    struct row {
        std::string_view talker;
        satellite_system system;
    };
    static constexpr std::array<row, 8> rows = {{{"GP", satellite_system::gps},
                                                 {"GL", satellite_system::glonass},
                                                 {"GA", satellite_system::galileo},
                                                 {"GB", satellite_system::beidou},
                                                 {"BD", satellite_system::beidou},
                                                 {"GQ", satellite_system::qzss},
                                                 {"QZ", satellite_system::qzss},
                                                 {"GI", satellite_system::navic}}};
    const auto found =
        std::find_if(rows.begin(), rows.end(), [&](const row& candidate) { return candidate.talker == talker; });
    return found != rows.end() ? found->system : satellite_system::unknown;
}

satellite_lists::list& satellite_lists::find_or_add(std::string_view talker, uint8_t signal) {
    const auto found = std::find_if(lists_.begin(), lists_.end(), [&](const list& candidate) {
        return candidate.talker == talker && candidate.signal == signal;
    });
    if (found != lists_.end()) {
        return *found;
    }
    if (lists_.size() == most_lists) {
        lists_.erase(lists_.begin());
    }
    list& added = lists_.emplace_back();
    added.talker = talker;
    added.signal = signal;
    added.round = round_;
    return added;
}

bool satellite_lists::add(const satellite_sentence& sentence) {
    list& target = find_or_add(sentence.talker, sentence.signal);
    if (sentence.sentence_number == 1) {
        target.coming.clear();
        target.next_sentence = 1;
    }
    if (sentence.sentence_number != target.next_sentence) {
        target.next_sentence = 0;
        return false;
    }
    const size_t room = longest_list - std::min(longest_list, target.coming.size());
    const size_t taken = std::min(room, sentence.satellites.size());
    target.coming.insert(target.coming.end(), sentence.satellites.begin(),
                         sentence.satellites.begin() + static_cast<std::ptrdiff_t>(taken));
    ++target.next_sentence;
    if (sentence.sentence_number < sentence.sentence_total) {
        return false;
    }
    complete(target);
    return true;
}

void satellite_lists::complete(list& done) {
    done.satellites.swap(done.coming);
    done.coming.clear();
    done.next_sentence = 0;
    if (done.whole && done.round == round_) {
        ++round_;
    }
    done.whole = true;
    done.round = round_;
    std::erase_if(lists_, [&](const list& old) { return old.round + 1 < round_; });
}

std::vector<satellite> satellite_lists::in_view(size_t limit) const {
    std::vector<satellite> all;
    for (const list& list : lists_) {
        for (const satellite& next : list.satellites) {
            const auto known = std::find_if(all.begin(), all.end(),
                                            [&](const satellite& other) { return same_satellite(other, next); });
            if (known == all.end()) {
                if (all.size() < limit) {
                    all.push_back(next);
                }
            } else if (next.signal_strength > known->signal_strength) {
                *known = next;
            }
        }
    }
    return all;
}

} // namespace nmea_processor
