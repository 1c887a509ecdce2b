#include "tests/signal_storage/catalogue_answers.hpp"

#include <cstring>
#include <utility>

namespace tavi::test {

namespace {

std::string text_of(const owned<qor_type_node_sequence_t>& nodes) {
    std::string text = std::to_string(nodes->count) + " nodes:";
    for (std::uint64_t i = 0; i < nodes->count; ++i) {
        text += bytes_of(nodes->nodes[i]);
    }
    return text;
}

std::string signature_of(opened_storage& storage, std::uint64_t id) {
    std::string text(64, '\0');
    std::size_t size = text.size() + 1;
    const outcome result = call(storage.access->get_signature, storage.access->context, id, text.data(), &size);
    return result == succeeded ? text : throw failure(result);
}

// As a host prints a tree. No more than `budget` nodes, so that it ends.
std::string walk(opened_storage& storage, const owned<qor_type_node_sequence_t>& nodes, std::size_t& budget) {
    std::string text;
    for (std::uint64_t i = 0; i < nodes->count; ++i) {
        if (budget-- == 0) {
            throw std::logic_error(catalogue_answers::endless_walk);
        }
        text += bytes_of(nodes->nodes[i]);
        text += walk(storage, storage.ask(storage.access->get_node_children, &nodes->nodes[i]), budget);
    }
    return text;
}

} // namespace

std::string bytes_of(qor_type_node_t node) {
    std::string texts;
    for (const char** text : {&node.name, &node.comment, &node.group_ids, &node.signal.presence, &node.signal.unit,
                              &node.signal.value_table, &node.signal.signal_suffix}) {
        texts += *text != nullptr ? "'" + std::string(std::exchange(*text, nullptr)) + "'" : "-";
    }
    node.texts = nullptr;
    return std::string(reinterpret_cast<const char*>(&node), sizeof node) + texts;
}

catalogue_answers::catalogue_answers(opened_storage& storage, std::uint64_t description_count) {
    for (std::uint64_t id = 1; id <= description_count; ++id) {
        add_description(storage, id);
    }
    for (const char* path : {"", "nothing", "CAN.nothing"}) {
        add(std::string("missing path ") + path, [path](opened_storage& s) { return bytes_of(*s.find(0, path)); });
    }
    add("missing description", [](opened_storage& s) { return signature_of(s, 1000); });
    for (question& question : questions_) {
        try {
            question.answer = question.ask(storage);
        } catch (const failure& error) {
            question.answer = error.what();
        }
    }
}

void catalogue_answers::add(std::string text, std::function<std::string(opened_storage&)> ask) {
    questions_.push_back({std::move(text), std::move(ask), ""});
}

void catalogue_answers::add_description(opened_storage& storage, std::uint64_t id) {
    const std::string name = " of description " + std::to_string(id);
    const std::string signature = signature_of(storage, id);
    add("signature" + name, [=](opened_storage& s) { return signature_of(s, id); });
    add("id" + name, [=](opened_storage& s) {
        return std::to_string(get<std::uint64_t>(s.access->get_description_id, s.access->context, signature.c_str()));
    });
    add("roots" + name, [=](opened_storage& s) { return text_of(s.roots(id)); });
    const auto roots = storage.roots(id);
    for (std::uint64_t i = 0; i < roots->count; ++i) {
        add_node(storage, roots->nodes[i], roots->nodes[i].name);
    }
    add("walk" + name, [this, id](opened_storage& s) {
        std::size_t budget = node_count_;
        return walk(s, s.roots(id), budget);
    });
}

void catalogue_answers::add_node(opened_storage& storage, const qor_type_node_t& node, const std::string& path) {
    ++node_count_;
    const std::uint64_t id = node.id;
    const std::uint64_t description_id = node.description_id;
    const auto children = [id](opened_storage& s) {
        qor_type_node_t asked{};
        asked.id = id;
        return s.ask(s.access->get_node_children, &asked);
    };
    add("children of " + path, [=](opened_storage& s) { return text_of(children(s)); });
    add("hierarchy of " + path, [=](opened_storage& s) { return text_of(s.ask(s.access->get_node_hierarchy, id)); });
    add("subtree of " + path, [=](opened_storage& s) { return text_of(s.subtree(id)); });
    add("path " + path, [=](opened_storage& s) { return bytes_of(*s.find(description_id, path)); });
    add("path anywhere " + path, [=](opened_storage& s) { return bytes_of(*s.find(0, path)); });
    const auto below = children(storage);
    for (std::uint64_t i = 0; i < below->count; ++i) {
        add_node(storage, below->nodes[i], path + '.' + below->nodes[i].name);
    }
}

std::string catalogue_answers::difference(opened_storage& storage, const std::string& name) const {
    failures_ = 0;
    std::string first;
    for (const question& question : questions_) {
        std::string answer;
        try {
            answer = question.ask(storage);
        } catch (const failure& error) {
            answer = error.what();
            if (answer != question.answer && answer.find(name) != std::string::npos) {
                ++failures_;
                continue;
            }
        } catch (const std::logic_error&) {
            return question.text + ": " + endless_walk;
        }
        if (answer != question.answer && first.empty()) {
            first = question.text + ": " + answer;
        }
    }
    return first;
}

} // namespace tavi::test
