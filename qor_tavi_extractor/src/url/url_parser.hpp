// The grammar of URL expressions:
//
//     UrlExpression : Source '.' View '.' LocationPath
//     Source        : name with space | name | integer '#' integer | string literal
//     View          : name with space | name
//     LocationPath  : LocationPath '.' Token | Token
//     Token         : name | name '[' FilterExpr ']'
//     FilterExpr    : PrimaryExpr
//     PrimaryExpr   : integer | FunctionCall
//     FunctionCall  : FunctionName '(' ArgumentList ')' | FunctionName '(' ')'
//     FunctionName  : identifier
//     ArgumentList  : Argument | ArgumentList ',' Argument
//     Argument      : PrimaryExpr
//
// One method a rule; each looks one token ahead. There is no recovery: the first fault ends the parse.
#ifndef QOR_TAVI_EXTRACTOR_URL_URL_PARSER_HPP
#define QOR_TAVI_EXTRACTOR_URL_URL_PARSER_HPP

#include <initializer_list>
#include <memory>
#include <string>

#include "qor_tavi_extractor/src/url/filter_expression.hpp"
#include "qor_tavi_extractor/src/url/location.hpp"
#include "qor_tavi_extractor/src/url/syntax_error.hpp"
#include "qor_tavi_extractor/src/url/url_scanner.hpp"

namespace qor::tavi::detail {

class driver;

// For one expression; scanner and driver must outlive it.
class url_parser {
public:
    using syntax_error = url_syntax_error;

    url_parser(url_scanner& scanner, driver& driver) noexcept;
    url_parser(const url_parser&) = delete;
    url_parser& operator=(const url_parser&) = delete;
    virtual ~url_parser();

    // Feeds the driver with tokens in the order of the expression. 0 on success.
    // Throws: what error throws; std::out_of_range from the scanner.
    virtual int parse();

    // Throws: std::invalid_argument "PLACE: MESSAGE".
    virtual void error(const location& place, const std::string& message);

    // Non-zero traces the rules to standard error.
    void set_debug_level(int level) noexcept { debug_level_ = level; }

private:
    void parse_url_expression();
    void parse_source();
    void parse_view();
    void parse_location_path();
    void parse_token();
    std::shared_ptr<filter_expression> parse_filter_expression();
    std::shared_ptr<filter_expression> parse_function_call();
    void skip_arguments();

    void advance();
    bool looks_at(token_code code) const noexcept { return lookahead_ == code; }
    void expect(token_code code);
    [[noreturn]] void fail_expecting(std::initializer_list<token_code> expected);
    void trace(const char* rule) const;

    url_scanner& scanner_;
    driver& driver_;
    int debug_level_ = 0;
    token_code lookahead_ = token_code::end_of_expression;
    semantic_value value_;
    location location_;
};

} // namespace qor::tavi::detail

#endif
