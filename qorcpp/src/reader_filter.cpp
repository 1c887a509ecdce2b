#include "qorcpp/reader_filter.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>
#include <string>

namespace qor {

namespace {

// Walks over the words of an expression.
class filter_scanner {
public:
    explicit filter_scanner(std::string_view text) : text_(text) { skip_blanks(); }

    bool at_end() const noexcept { return at_ == text_.size(); }

    bool take(std::string_view word) {
        if (!text_.substr(at_).starts_with(word)) {
            return false;
        }
        at_ += word.size();
        skip_blanks();
        return true;
    }

    void expect(std::string_view word) {
        if (!take(word)) {
            fail('\'' + std::string(word) + '\'');
        }
    }

    std::uint64_t number(std::uint64_t largest) {
        const bool hexadecimal = text_.substr(at_).starts_with("0x");
        const char* const begin = text_.data() + at_ + (hexadecimal ? 2 : 0);
        std::uint64_t value = 0;
        const auto [stop, failure] = std::from_chars(begin, text_.data() + text_.size(), value, hexadecimal ? 16 : 10);
        if (failure != std::errc() || value > largest) {
            fail("a number up to " + std::to_string(largest));
        }
        at_ = static_cast<std::size_t>(stop - text_.data());
        skip_blanks();
        return value;
    }

    [[noreturn]] void fail(const std::string& expected) const {
        throw std::invalid_argument("invalid reader filter: expected " + expected + " at " + std::to_string(at_ + 1));
    }

private:
    void skip_blanks() { at_ = std::min(text_.find_first_not_of(' ', at_), text_.size()); }

    std::string_view text_;
    std::size_t at_ = 0;
};

template<typename Number>
bool read_field(filter_scanner& scanner, std::string_view name, std::optional<Number>& value) {
    if (value || !scanner.take(name)) {
        return false;
    }
    scanner.expect("=");
    value = static_cast<Number>(scanner.number(std::numeric_limits<Number>::max()));
    return true;
}

reader_filter::term read_term(filter_scanner& scanner) {
    reader_filter::term term;
    scanner.expect("(");
    do {
        if (!read_field(scanner, "SourceId", term.source_id) && !read_field(scanner, "Instance", term.instance) &&
            !read_field(scanner, "Cycle", term.cycle) && !read_field(scanner, "Address", term.address)) {
            scanner.fail("SourceId, Instance, Cycle or Address, each once,");
        }
    } while (scanner.take("AND"));
    if (!scanner.take(")")) {
        scanner.fail("'AND' or ')'");
    }
    return term;
}

template<typename Number>
bool fits(const std::optional<Number>& wanted, Number value) noexcept {
    return !wanted || *wanted == value;
}

} // namespace

reader_filter::reader_filter(std::string_view expression) {
    filter_scanner scanner(expression);
    if (scanner.at_end()) {
        return;
    }
    do {
        terms_.push_back(read_term(scanner));
    } while (scanner.take("OR"));
    if (!scanner.at_end()) {
        scanner.fail("'OR' or the end");
    }
}

bool reader_filter::accepts(std::uint16_t source_id, std::uint32_t instance, std::uint32_t cycle,
                            std::uint64_t address) const noexcept {
    return std::any_of(terms_.begin(), terms_.end(), [&](const term& each) {
        return fits(each.source_id, source_id) && fits(each.instance, instance) && fits(each.cycle, cycle) &&
               fits(each.address, address);
    });
}

} // namespace qor
