#include "tools/tavi/decode/selection.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

#include "tavi/nodes.hpp"
#include "tavi/schema_reader.hpp"
#include "tools/tavi/decode/message_names.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

std::vector<host::url_pattern> parse_patterns(const std::vector<std::string>& texts) {
    std::vector<host::url_pattern> patterns;
    for (const std::string& text : texts) {
        try {
            patterns.emplace_back(text);
        } catch (const std::invalid_argument& error) {
            throw command_error(std::string("tavi: error: ") + printable(error.what()), exit_code::usage,
                                "expected View.Message.Signal, for example 'CAN.Engine*.*Speed'");
        }
    }
    return patterns;
}

// Whether the pattern, which has no wildcards, names something below `path`.
bool leads_below(const host::url_pattern& pattern, std::string_view path) {
    const std::string_view text = pattern.text();
    return text.size() > path.size() && text.starts_with(path) && text[path.size()] == '.';
}

// How many elements each array has in the rows of a plan, by path without indices.
class array_sizes {
public:
    void add(std::string_view path) {
        walk(path, [&](const std::string& array, std::optional<std::uint64_t> index) {
            if (index) {
                auto& count = counts_[array];
                count = std::max(count, *index + 1);
            }
        });
    }

    std::vector<std::uint64_t> of(std::string_view path) const {
        std::vector<std::uint64_t> counts;
        walk(path, [&](const std::string& array, std::optional<std::uint64_t> index) {
            counts.push_back(index ? counts_.at(array) : 1);
        });
        return counts;
    }

private:
    template<typename Visit>
    static void walk(std::string_view path, const Visit& visit) {
        std::string array;
        for (;;) {
            const std::size_t dot = path.find('.');
            const auto element = host::url_pattern::split_element(path.substr(0, dot));
            array.append(".").append(element.name);
            visit(array, element.index);
            if (dot == std::string_view::npos) {
                return;
            }
            path.remove_prefix(dot + 1);
        }
    }

    std::map<std::string, std::uint64_t> counts_;
};

} // namespace

std::string row_path(const message& read, const host::record_plan& plan, std::size_t row) {
    const std::string& name = plan.rows()[row].name;
    if (!plan.names_subscribed_level()) {
        return read.path + '.' + name;
    }
    return read.path == read.own_path ? read.view + '.' + name
                                      : read.path + name.substr(std::min(name.find_first_of("[."), name.size()));
}

selection::selection(catalogue& catalogue, const std::vector<std::string>& patterns)
    : catalogue_(catalogue), patterns_(parse_patterns(patterns)) {
    std::vector<bool> used(patterns_.patterns().size());
    for (std::size_t description = 0; description < catalogue_.descriptions().size(); ++description) {
        const auto& views = nodes_.emplace_back(catalogue_.views(description));
        own_paths_.clear();
        for (const qor_type_node_t& view : views) {
            add_view(description, view, used);
        }
    }
    const auto unused = std::find(used.begin(), used.end(), false);
    if (unused != used.end()) {
        const std::string& text = patterns_.patterns()[static_cast<std::size_t>(unused - used.begin())].text();
        throw command_error("tavi: error: no signal matches '" + printable(text) + "'", exit_code::failed,
                            "tavi tree -d FILE lists messages and signals; a pattern does not begin with the source");
    }
}

void selection::add_view(std::size_t description, const qor_type_node_t& view, std::vector<bool>& used) {
    const auto& objects = nodes_.emplace_back(catalogue_.extractor().children(view));
    if (objects.empty()) {
        return; // a pattern that fits nothing but this selects nothing
    }
    const bool whole = mark_used(host::text_of(view.name), level_counts{1}, used) || patterns_.empty();
    for (const qor_type_node_t& object : objects) {
        std::string own_path = std::string(host::text_of(view.name)).append(1, '.').append(host::text_of(object.name));
        if (!own_paths_.insert(own_path).second) {
            catalogue_.report_left_out(description, "'" + own_path + "' is left out: an earlier one has the same path");
            continue;
        }
        message& added = messages_.emplace_back();
        added.description = description;
        added.number = messages_.size();
        added.view = host::text_of(view.name);
        (added.path = added.view + '.') += catalogue_.names().name_of(object);
        added.own_path = std::move(own_path);
        added.layer = catalogue_.names().layer_of(description);
        added.address = object.object.address;
        added.flags = object.object.flags;
        added.node = &object;
        level_counts counts{1, host::element_count(object)};
        const bool named = mark_used(added.path, counts, used);
        added.selected = wants_part_of(added, counts, used) || named || whole;
    }
}

// Notes all patterns that fit the path.
bool selection::mark_used(std::string_view path, const level_counts& counts, std::vector<bool>& used) const {
    bool found = false;
    patterns_.each_match(path, counts, [&](std::size_t pattern) { found = used[pattern] = true; });
    return found;
}

bool selection::wants_part_of(message& candidate, level_counts& counts, std::vector<bool>& used) {
    const auto& patterns = patterns_.patterns();
    const bool possible = std::any_of(patterns.begin(), patterns.end(), [&](const host::url_pattern& pattern) {
        return pattern.has_wildcard() || leads_below(pattern, candidate.path);
    });
    return possible && find_wanted(candidate.path, counts, catalogue_.extractor().tree(*candidate.node), used);
}

bool selection::find_wanted(const std::string& path, level_counts& counts, const host::node_tree& tree,
                            std::vector<bool>& used) const {
    bool found = false;
    for (const host::node_tree& below : tree.trees) {
        const std::string inner = (path + '.') += host::text_of(below.node->name);
        counts.push_back(host::element_count(*below.node));
        found = mark_used(inner, counts, used) || found;
        found = find_wanted(inner, counts, below, used) || found;
        counts.pop_back();
    }
    return found;
}

bool selection::is_wanted(std::string_view path, const level_counts& counts) const {
    return patterns_.empty() || patterns_.matches_below(path, counts);
}

std::vector<std::uint32_t> selection::wanted_rows(const message& selected, const host::record_plan& plan) const {
    const auto& patterns = patterns_.patterns();
    const bool counted = std::any_of(patterns.begin(), patterns.end(),
                                     [](const host::url_pattern& pattern) { return pattern.has_filter(); });
    array_sizes sizes;
    for (std::size_t row = 0; counted && row < plan.rows().size(); ++row) {
        sizes.add(row_path(selected, plan, row));
    }
    std::vector<std::uint32_t> rows;
    for (std::size_t row = 0; row < plan.rows().size(); ++row) {
        const std::string path = row_path(selected, plan, row);
        if (is_wanted(path, counted ? sizes.of(path) : level_counts())) {
            rows.push_back(static_cast<std::uint32_t>(row));
        }
    }
    return rows;
}

const message_plan& selection::plan_of(message& selected, host::extractor& extractor, std::uint64_t handle) {
    std::call_once(selected.plan_once, [&] { selected.plan = make_plan(selected, extractor, handle); });
    return *selected.plan;
}

std::unique_ptr<message_plan> selection::make_plan(const message& selected, host::extractor& extractor,
                                                   std::uint64_t handle) const {
    const auto type = host::read_schema(extractor.subscription_schema(handle));
    host::node_tree tree = extractor.tree(*selected.node);
    host::record_plan plan(*type, &tree);
    std::vector<std::uint32_t> rows = wanted_rows(selected, plan);
    plan.keep_rows(rows);
    return std::make_unique<message_plan>(message_plan{std::move(tree), std::move(plan), std::move(rows)});
}

} // namespace tavi::tool
