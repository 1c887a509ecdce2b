// Each message in turn takes the first of "V.M", "V.M_1", "V.M_2" that no other message has which an interface may have
// too. Messages that decode alike are one message, whatever the number of descriptions that have it, and share a name.
//
// Example: M is 0x100 in a.dbc, 0x200 in b.dbc, and in c.dbc as in a.dbc. It is called M in a.dbc and c.dbc, M_1 in
// b.dbc. The layers are a | b | c: b's own name for it is that of another message in both a and c.
#include "tools/tavi/decode/message_names.hpp"

#include <algorithm>
#include <bit>
#include <deque>
#include <initializer_list>
#include <set>
#include <unordered_set>
#include <utility>

#include "tavi/nodes.hpp"
#include "tools/tavi/decode/catalogue.hpp"

namespace tavi::tool {

namespace {

// All that decides which values a message gives, and how they are called: equal texts for messages that decode alike.
class layout_text {
public:
    std::string of(const qor_type_node_t& view, const host::node_tree& message) && {
        add({view.view.cycle});
        add(message);
        return std::move(text_);
    }

private:
    void add(const host::node_tree& tree) {
        const qor_type_node_t& node = *tree.node;
        add({node.kind, tree.trees.size()});
        if (node.kind == QOR_TYPE_NODE_OBJECT) {
            const qor_object_node_t& object = node.object;
            add({object.address, object.flags, object.element_count, object.element_size});
            add(node.group_ids);
        } else if (node.kind == QOR_TYPE_NODE_GROUP) {
            add({node.group.offset, node.group.element_count, node.group.element_size});
        } else {
            add(node.signal);
        }
        for (const host::node_tree& below : tree.trees) {
            add(below.node->name);
            add(below);
        }
    }

    void add(const qor_signal_node_t& signal) {
        add({signal.offset, signal.bit_offset, signal.bit_length, signal.element_size, signal.element_count,
             signal.raw_kind, signal.converted_kind, signal.encoding, signal.byte_order});
        for (const double value : {signal.numerator_x2, signal.numerator_x1, signal.numerator_x0, signal.denominator_x2,
                                   signal.denominator_x1, signal.denominator_x0}) {
            add({std::bit_cast<std::uint64_t>(value)});
        }
        add(signal.presence);
        add(signal.unit);
        add(signal.value_table);
    }

    void add(std::initializer_list<std::uint64_t> numbers) {
        for (const std::uint64_t number : numbers) {
            text_.append(std::to_string(number)).append(1, ' ');
        }
    }

    void add(const char* text) {
        const std::string_view content = host::text_of(text);
        add({content.size()});
        text_.append(content);
    }

    std::string text_;
};

} // namespace

// Names the messages of all descriptions, one description after the other.
class message_names::writer {
public:
    writer(message_names& names, catalogue& known) : names_(names), known_(known) {}

    void write() {
        const std::size_t count = known_.descriptions().size();
        for (std::size_t description = 0; description < count; ++description) {
            note_sources(description);
        }
        if (!any_may_meet()) {
            return;
        }
        for (std::size_t description = 0; description < count; ++description) {
            if (firsts_[description] == description) {
                read(description);
            }
        }
        for (const entry& each : entries_) {
            own_paths_.insert(each.own_path);
        }
        std::size_t layer = 0;
        for (std::size_t description = 0; description < count; ++description) {
            const std::size_t first = firsts_[description];
            layer = first == description ? place(description, layer) : layer;
            names_.layers_.push_back(first == description ? layer : names_.layers_[first]);
        }
        names_.layer_count_ = layer + 1;
    }

private:
    struct entry {
        std::size_t description;
        const qor_type_node_t* view;
        const qor_type_node_t* message;
        std::string own_path;
        std::string layout; // made when it is compared
    };

    // A description that is given more than once, for several interfaces perhaps, is one.
    void note_sources(std::size_t description) {
        const std::size_t first =
            first_by_signature_.try_emplace(known_.signature(description), description).first->second;
        firsts_.push_back(first);
        sources_.emplace_back();
        sources_[first].insert(known_.descriptions()[description].source);
    }

    bool any_may_meet() const {
        for (std::size_t right = 0; right < firsts_.size(); ++right) {
            for (std::size_t left = 0; left < right; ++left) {
                if (firsts_[left] != firsts_[right] && may_meet(firsts_[left], firsts_[right])) {
                    return true;
                }
            }
        }
        return false;
    }

    // Whether an interface may have both.
    bool may_meet(std::size_t left, std::size_t right) const {
        const std::set<std::string>& ours = sources_[left];
        const std::set<std::string>& others = sources_[right];
        return ours.contains("") || others.contains("") ||
               std::any_of(ours.begin(), ours.end(), [&](const std::string& name) { return others.contains(name); });
    }

    void read(std::size_t description) {
        const host::nodes& views = nodes_.emplace_back(known_.views(description));
        for (const qor_type_node_t& view : views) {
            const host::nodes& messages = nodes_.emplace_back(known_.extractor().children(view));
            for (const qor_type_node_t& message : messages) {
                std::string path = std::string(host::text_of(view.name)).append(1, '.').append(message.name);
                entries_.push_back({description, &view, &message, std::move(path), {}});
            }
        }
    }

    // Names the messages of a description, which are next, and gives its layer.
    std::size_t place(std::size_t description, std::size_t layer) {
        const std::size_t first = next_;
        bool fits = true;
        for (; next_ < entries_.size() && entries_[next_].description == description; ++next_) {
            entry& each = entries_[next_];
            name(each);
            const auto found = layer_.find(each.own_path);
            fits = fits && (found == layer_.end() || is_same(*found->second, each));
        }
        if (!fits) {
            layer_.clear();
            ++layer;
        }
        for (std::size_t at = first; at < next_; ++at) {
            layer_.try_emplace(entries_[at].own_path, &entries_[at]);
        }
        return layer;
    }

    void name(entry& named) {
        std::string path = named.own_path;
        if (const entry* const other = find_other(path, named)) {
            std::size_t number = 0;
            do {
                path = named.own_path + '_' + std::to_string(++number);
            } while (own_paths_.contains(path) || find_other(path, named) != nullptr);
            names_.names_.emplace(named.message->id, path.substr(host::text_of(named.view->name).size() + 1));
            names_.renamings_.push_back({named.description, other->description, named.own_path, path});
        }
        by_path_[path].push_back(&named);
    }

    // Another message that has the path, and that an interface may have together with this one; null for none.
    const entry* find_other(const std::string& path, entry& named) {
        const auto found = by_path_.find(path);
        if (found == by_path_.end()) {
            return nullptr;
        }
        const auto other = std::find_if(found->second.begin(), found->second.end(), [&](entry* candidate) {
            return candidate->description != named.description && may_meet(candidate->description, named.description) &&
                   !is_same(*candidate, named);
        });
        return other != found->second.end() ? *other : nullptr;
    }

    bool is_same(entry& left, entry& right) { return layout_of(left) == layout_of(right); }

    const std::string& layout_of(entry& of) {
        if (of.layout.empty()) {
            of.layout = layout_text().of(*of.view, known_.extractor().tree(*of.message));
        }
        return of.layout;
    }

    message_names& names_;
    catalogue& known_;
    // By description: the first one of the same signature. By that: the interfaces it is for, "" for all.
    std::vector<std::size_t> firsts_;
    std::vector<std::set<std::string>> sources_;
    std::unordered_map<std::string, std::size_t> first_by_signature_;
    // Nodes that entries point to.
    std::deque<host::nodes> nodes_;
    // In the order of the descriptions.
    std::vector<entry> entries_;
    std::size_t next_ = 0;
    std::unordered_set<std::string_view> own_paths_;
    std::unordered_map<std::string, std::vector<entry*>> by_path_;
    // Messages of the layer that is being filled, by their own path.
    std::unordered_map<std::string_view, entry*> layer_;
};

message_names::message_names(catalogue& known) {
    writer(*this, known).write();
}

std::string_view message_names::name_of(const qor_type_node_t& message) const {
    const auto found = names_.find(message.id);
    return found != names_.end() ? std::string_view(found->second) : host::text_of(message.name);
}

std::optional<std::string> message_names::own_expression(std::size_t description, std::string_view expression) const {
    const std::size_t dot = expression.find('.');
    const std::size_t end =
        dot == expression.npos ? dot : std::min(expression.find_first_of(".[", dot + 1), expression.size());
    const std::string_view path = expression.substr(0, end);
    for (const renaming& each : renamings_) {
        if (each.description == description && each.path == path) {
            return each.own_path + std::string(expression.substr(end));
        }
        if (each.description == description && each.own_path == path) {
            return std::nullopt;
        }
    }
    return std::string(expression);
}

void message_names::report(const catalogue& known, message_sink& messages) const {
    for (auto first = renamings_.begin(); first != renamings_.end();) {
        const auto last = std::find_if(first, renamings_.end(),
                                       [&](const renaming& each) { return each.description != first->description; });
        std::string cause = first->own_path + " is called " + first->path + ", since " +
                            known.descriptions()[first->other].path + " has another message of that name";
        if (last - first > 1) {
            cause += "; " + std::to_string(last - first - 1) + " more like this";
        }
        messages.report({topic::note, known.descriptions()[first->description].path, 0, 0, cause, {}, {}});
        first = last;
    }
}

} // namespace tavi::tool
