// All that a catalogue answers, so that two states of it can be compared.
#ifndef TESTS_SIGNAL_STORAGE_CATALOGUE_ANSWERS_HPP
#define TESTS_SIGNAL_STORAGE_CATALOGUE_ANSWERS_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/signal_storage/opened_storage.hpp"

namespace tavi::test {

// All fields of a node, texts by content.
std::string bytes_of(qor_type_node_t node);

class catalogue_answers {
public:
    // Takes the questions from what is there: signature and roots of each description, for each node its children,
    // hierarchy, subtree and path, a walk over all, and what is not there. Takes the answers too.
    catalogue_answers(opened_storage& storage, std::uint64_t description_count);

    // Compares the answers: each is the same, or an error whose text holds `name`. Empty, or the first that is neither;
    // a walk without end comes before all others.
    std::string difference(opened_storage& storage, const std::string& name) const;

    // In the text of a difference: a walk went over more nodes than there are.
    static constexpr const char* endless_walk = "the walk does not end";

    // How many answers were errors in the last comparison.
    std::size_t failures() const noexcept { return failures_; }

private:
    struct question {
        std::string text;
        std::function<std::string(opened_storage&)> ask;
        std::string answer;
    };

    void add(std::string text, std::function<std::string(opened_storage&)> ask);
    void add_description(opened_storage& storage, std::uint64_t id);
    void add_node(opened_storage& storage, const qor_type_node_t& node, const std::string& path);

    std::vector<question> questions_;
    std::size_t node_count_ = 0;
    mutable std::size_t failures_ = 0;
};

} // namespace tavi::test

#endif
