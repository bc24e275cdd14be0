#include "pellium/rules/expressions/ExpressionTokens.h"

#include <array>
#include <string>
#include <unordered_map>

#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

// The words, read once; look-ups afterwards only read these tables.
class TokenTables {
public:
    static const TokenTables& instance() {
        static const TokenTables tables;
        return tables;
    }

    std::array<std::string, FunctionExpressionType::NUMBER_OF_FUNCTIONS + 1> functionWords;
    std::array<std::string, ExpressionKeywords::NUMBER_OF_KEYWORDS> keywordWords;
    std::array<std::string, ExpressionKeywords::NUMBER_OF_KEYWORDS> keywordTokenNames;
    std::unordered_map<std::string, FunctionExpressionType::type> functionsByLowerCaseText;
    std::unordered_map<std::string, ExpressionKeywords::type> keywordsByLowerCaseText;
    std::unordered_map<std::string, std::string_view> wordsByTokenName;

private:
    TokenTables() {
        for (int value = 1; value <= FunctionExpressionType::NUMBER_OF_FUNCTIONS; ++value) {
            const auto function = static_cast<FunctionExpressionType::type>(value);
            const std::string_view name = FunctionExpressionType::getName(function);
            std::string& word = functionWords[static_cast<std::size_t>(value)];
            word = lookUpWord(name);
            wordsByTokenName.emplace(std::string(name), word);
            // The word is entered last so that it wins should it equal another function's name.
            functionsByLowerCaseText.insert_or_assign(StringUtilities::toLowerAscii(name), function);
            functionsByLowerCaseText.insert_or_assign(
                StringUtilities::toLowerAscii(FunctionExpressionType::getUpperCaseName(function)), function);
        }
        for (int value = 1; value <= FunctionExpressionType::NUMBER_OF_FUNCTIONS; ++value) {
            functionsByLowerCaseText.insert_or_assign(
                StringUtilities::toLowerAscii(functionWords[static_cast<std::size_t>(value)]),
                static_cast<FunctionExpressionType::type>(value));
        }
        for (int value = 0; value < ExpressionKeywords::NUMBER_OF_KEYWORDS; ++value) {
            const auto keyword = static_cast<ExpressionKeywords::type>(value);
            const auto index = static_cast<std::size_t>(value);
            keywordTokenNames[index] = "kw." + std::string(ExpressionKeywords::getName(keyword));
            keywordWords[index] = lookUpWord(keywordTokenNames[index]);
            wordsByTokenName.emplace(keywordTokenNames[index], keywordWords[index]);
            keywordsByLowerCaseText.emplace(StringUtilities::toLowerAscii(keywordWords[index]), keyword);
            keywordsByLowerCaseText.emplace(
                StringUtilities::toLowerAscii(ExpressionKeywords::getUpperCaseName(keyword)), keyword);
        }
    }

    static std::string lookUpWord(std::string_view tokenName) {
        std::string key(ExpressionTokens::TOKEN_KEY_PREFIX);
        key += tokenName;
        const SharedString word = ResourceManager::instance().getString(ExpressionTokens::BUNDLE_NAME, key, "en_US");
        if (word && !word->empty()) {
            return *word;
        }
        const std::size_t dot = tokenName.rfind('.');
        return std::string(dot == std::string_view::npos ? tokenName : tokenName.substr(dot + 1));
    }
};

template <typename Map>
std::optional<typename Map::mapped_type> findIgnoringCase(const Map& map, std::string_view text) {
    const auto found = map.find(StringUtilities::toLowerAscii(text));
    if (found == map.end()) {
        return std::nullopt;
    }
    return found->second;
}

}  // namespace

std::string_view ExpressionTokens::getWord(FunctionExpressionType::type function) {
    if (!FunctionExpressionType::isValid(function)) {
        return {};
    }
    return TokenTables::instance().functionWords[static_cast<std::size_t>(function)];
}

std::string_view ExpressionTokens::getWord(ExpressionKeywords::type keyword) {
    if (!ExpressionKeywords::isValid(keyword)) {
        return {};
    }
    return TokenTables::instance().keywordWords[static_cast<std::size_t>(keyword)];
}

std::string_view ExpressionTokens::getTokenName(ExpressionKeywords::type keyword) {
    if (!ExpressionKeywords::isValid(keyword)) {
        return {};
    }
    return TokenTables::instance().keywordTokenNames[static_cast<std::size_t>(keyword)];
}

std::string_view ExpressionTokens::getWordForTokenName(std::string_view tokenName) {
    const auto& words = TokenTables::instance().wordsByTokenName;
    const auto found = words.find(std::string(tokenName));
    return found == words.end() ? std::string_view() : found->second;
}

std::optional<FunctionExpressionType::type> ExpressionTokens::findFunction(std::string_view text) {
    return findIgnoringCase(TokenTables::instance().functionsByLowerCaseText, text);
}

std::optional<ExpressionKeywords::type> ExpressionTokens::findKeyword(std::string_view text) {
    return findIgnoringCase(TokenTables::instance().keywordsByLowerCaseText, text);
}

bool ExpressionTokens::isReservedWord(std::string_view text) {
    static constexpr std::array<std::string_view, 5> OTHER_WORDS = {"AND", "OR", "NOT", "Infinity", "NaN"};
    for (const std::string_view word : OTHER_WORDS) {
        if (StringUtilities::equalsIgnoreCase(word, text)) {
            return true;
        }
    }
    return findKeyword(text).has_value();
}

}  // namespace pellium
