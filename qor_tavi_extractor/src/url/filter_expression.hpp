// The bracket behind a level of a URL expression: selects one element of an array. Evaluated against the level's node.
#ifndef QOR_TAVI_EXTRACTOR_URL_FILTER_EXPRESSION_HPP
#define QOR_TAVI_EXTRACTOR_URL_FILTER_EXPRESSION_HPP

#include <cstdint>
#include <string>

#include "qorc/type_node.h"

namespace qor::tavi::detail {

// Immutable.
class filter_expression {
public:
    filter_expression() = default;
    filter_expression(const filter_expression&) = delete;
    filter_expression& operator=(const filter_expression&) = delete;
    virtual ~filter_expression();

    // The index of the element. Throws what validate throws.
    virtual std::uint64_t evaluate(const qor_type_node_t& node) const = 0;

    // Throws: std::runtime_error for a node that is no array, or an index beyond its element count. The index that
    // equals the count passes: one past the end.
    virtual void validate(const qor_type_node_t& node, std::uint64_t index) const;
};

// "[3]"
class filter_expression_constant final : public filter_expression {
public:
    explicit filter_expression_constant(std::int64_t index) noexcept : index_(index) {}

    std::uint64_t evaluate(const qor_type_node_t& node) const override;

private:
    std::int64_t index_;
};

// "[first()]", "[last()]"
class filter_expression_function final : public filter_expression {
public:
    explicit filter_expression_function(std::string name) : name_(std::move(name)) {}

    // Throws besides: std::runtime_error "invalid filter expression, function 'NAME' is not supported".
    std::uint64_t evaluate(const qor_type_node_t& node) const override;

private:
    std::string name_;
};

} // namespace qor::tavi::detail

#endif
