#pragma once

#include <optional>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/rules/expressions/ExpressionKeywords.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"

namespace pellium {

/// The words of expression text: the word each function and keyword is written with ("UpCase",
/// "NUMBER"), read once from the "vek_expression_tokens" bundle (en_US; the bundle is not
/// translated), and the reverse look-ups the parser needs. The printer writes the words; the
/// parser reads a function by its word or either of its names and a keyword by its word or its
/// `KW_` name, all without regard to ASCII case. A word the bundle lacks falls back to the name.
/// All operations are thread-safe and never throw.
class PELLIUM_EXPORT ExpressionTokens {
public:
    ExpressionTokens() = delete;

    /// The prefix of every token key; a node's token name follows it.
    static constexpr std::string_view TOKEN_KEY_PREFIX = "expression.token.";
    static constexpr std::string_view BUNDLE_NAME = "vek_expression_tokens";

    /// The word of a function; empty for a value that is no function.
    static std::string_view getWord(FunctionExpressionType::type function);
    /// The word of a keyword; empty for a value that is no keyword.
    static std::string_view getWord(ExpressionKeywords::type keyword);
    /// The token name of a keyword: "kw." and its lower-camel name; empty for no keyword.
    static std::string_view getTokenName(ExpressionKeywords::type keyword);
    /// The word of a token name as nodes answer it ("between", "kw.true"); empty when unknown.
    static std::string_view getWordForTokenName(std::string_view tokenName);

    /// The function `text` names; empty when none.
    static std::optional<FunctionExpressionType::type> findFunction(std::string_view text);
    /// The keyword `text` names; empty when none.
    static std::optional<ExpressionKeywords::type> findKeyword(std::string_view text);
    /// Whether a bare name would not read back as a data item: the logical operators AND, OR and
    /// NOT, a keyword, or a number word ("Infinity", "NaN").
    static bool isReservedWord(std::string_view text);
};

}  // namespace pellium
