#include "qor_tavi_extractor/src/url/url_parser.hpp"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "qor_tavi_extractor/src/url/driver.hpp"

namespace qor::tavi::detail {

url_parser::url_parser(url_scanner& scanner, driver& driver) noexcept : scanner_(scanner), driver_(driver) {
    scanner_.set_targets(value_, location_);
}

url_parser::~url_parser() = default;

int url_parser::parse() {
    try {
        advance();
        parse_url_expression();
    } catch (const syntax_error& fault) {
        error(fault.location, fault.what());
        return 1;
    }
    return 0;
}

void url_parser::error(const location& place, const std::string& message) {
    throw std::invalid_argument(place.text() + ": " + message);
}

void url_parser::parse_url_expression() {
    parse_source();
    expect(token_code::dot);
    parse_view();
    expect(token_code::dot);
    parse_location_path();
    if (!looks_at(token_code::end_of_expression)) {
        fail_expecting({token_code::end_of_expression});
    }
    trace("UrlExpression");
}

void url_parser::parse_source() {
    switch (lookahead_) {
    case token_code::name_with_space:
    case token_code::name:
        driver_.add_source_token(value_.text);
        advance();
        break;
    case token_code::integer: {
        const auto source_id = static_cast<std::uint16_t>(static_cast<std::uint32_t>(value_.integer));
        advance();
        expect(token_code::hash);
        if (!looks_at(token_code::integer)) {
            fail_expecting({token_code::integer});
        }
        driver_.add_source_token(source_id, static_cast<std::uint32_t>(value_.integer));
        advance();
        break;
    }
    case token_code::string_literal: {
        std::string name = value_.text;
        std::erase(name, '"');
        std::erase(name, '\'');
        driver_.add_source_token(name);
        advance();
        break;
    }
    default:
        fail_expecting(
            {token_code::integer, token_code::name, token_code::name_with_space, token_code::string_literal});
    }
    trace("Source");
}

void url_parser::parse_view() {
    if (!looks_at(token_code::name) && !looks_at(token_code::name_with_space)) {
        fail_expecting({token_code::name, token_code::name_with_space});
    }
    driver_.add_token(value_.text);
    advance();
    trace("View");
}

void url_parser::parse_location_path() {
    parse_token();
    while (looks_at(token_code::dot)) {
        advance();
        parse_token();
    }
    trace("LocationPath");
}

void url_parser::parse_token() {
    if (!looks_at(token_code::name)) {
        fail_expecting({token_code::name});
    }
    std::string name = std::move(value_.text);
    advance();
    if (looks_at(token_code::left_bracket)) {
        advance();
        auto filter = parse_filter_expression();
        expect(token_code::right_bracket);
        driver_.add_token(name, std::move(filter));
    } else {
        driver_.add_token(name);
    }
    trace("Token");
}

std::shared_ptr<filter_expression> url_parser::parse_filter_expression() {
    if (looks_at(token_code::integer)) {
        const std::int64_t index = value_.integer;
        advance();
        return std::make_shared<filter_expression_constant>(index);
    }
    if (looks_at(token_code::identifier)) {
        return parse_function_call();
    }
    fail_expecting({token_code::integer, token_code::identifier});
}

std::shared_ptr<filter_expression> url_parser::parse_function_call() {
    std::string name = std::move(value_.text);
    advance();
    expect(token_code::left_parenthesis);
    skip_arguments();
    trace("FunctionCall");
    return std::make_shared<filter_expression_function>(std::move(name));
}

// Arguments are checked and dropped. They nest as deep as the text likes, so depth is counted and not recursed into.
void url_parser::skip_arguments() {
    std::size_t open = 1;
    bool list_is_empty = true;
    while (open > 0) {
        if (looks_at(token_code::right_parenthesis)) {
            advance();
            --open;
            list_is_empty = false;
            continue;
        }
        if (!list_is_empty) {
            if (!looks_at(token_code::comma)) {
                fail_expecting({token_code::right_parenthesis, token_code::comma});
            }
            advance();
        }
        if (looks_at(token_code::integer)) {
            advance();
            list_is_empty = false;
        } else if (looks_at(token_code::identifier)) {
            advance();
            expect(token_code::left_parenthesis);
            ++open;
            list_is_empty = true;
        } else if (list_is_empty) {
            fail_expecting({token_code::integer, token_code::identifier, token_code::right_parenthesis});
        } else {
            fail_expecting({token_code::integer, token_code::identifier});
        }
    }
}

void url_parser::advance() {
    lookahead_ = scanner_.yylex();
}

void url_parser::expect(token_code code) {
    if (!looks_at(code)) {
        fail_expecting({code});
    }
    advance();
}

void url_parser::fail_expecting(std::initializer_list<token_code> expected) {
    std::string message = "syntax error, unexpected " + std::string(display_name(lookahead_));
    const char* separator = ", expecting ";
    for (const token_code code : expected) {
        message += separator;
        message += display_name(code);
        separator = " or ";
    }
    throw syntax_error(location_, message);
}

void url_parser::trace(const char* rule) const {
    if (debug_level_ != 0) {
        std::cerr << "url_parser: " << rule << " before " << display_name(lookahead_) << '\n';
    }
}

} // namespace qor::tavi::detail
