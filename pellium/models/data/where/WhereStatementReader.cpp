#include "pellium/models/data/where/WhereStatementReader.h"

#include <cmath>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/where/WhereClauseExpression.h"

namespace pellium {

namespace {

constexpr std::string_view symbolCharacters = "=!<>&|";
constexpr std::string_view twoCharacterSymbols[] = {"==", "!=", "<>", "<=", ">=", "&&", "||"};

bool isSymbolCharacter(char character) {
    return symbolCharacters.find(character) != std::string_view::npos;
}

bool endsWord(char character) {
    return StringUtilities::isWhiteSpace(character) || isSymbolCharacter(character) || character == '\'' ||
           character == '"' || character == '[' || character == ']';
}

// The operator symbol at the start of `text` (two characters before one); empty for a lone "!",
// "&" or "|", which are no symbols.
std::string_view readSymbol(std::string_view text) {
    for (const std::string_view symbol : twoCharacterSymbols) {
        if (text.starts_with(symbol)) {
            return symbol;
        }
    }
    const char character = text.front();
    if (character == '!' || character == '&' || character == '|') {
        return {};
    }
    return text.substr(0, 1);
}

}  // namespace

bool WhereStatementReader::readQuoted(std::string_view text, std::size_t& position, char close, bool doubledCloses,
                                      std::string& content) {
    for (++position; position < text.size(); ++position) {
        const char character = text[position];
        if (character != close) {
            content.push_back(character);
            continue;
        }
        if (doubledCloses && position + 1 < text.size() && text[position + 1] == close) {
            content.push_back(close);
            ++position;
            continue;
        }
        ++position;
        return true;
    }
    return false;  // no closing character
}

bool WhereStatementReader::split(std::string_view text, std::vector<Lexeme>& lexemes) {
    std::size_t position = 0;
    while (position < text.size()) {
        const char character = text[position];
        if (StringUtilities::isWhiteSpace(character)) {
            ++position;
            continue;
        }
        Kind kind = Kind::WORD;
        std::string content;
        if (character == '\'' || character == '"' || character == '[') {
            kind = character == '\'' ? Kind::TEXT : Kind::NAME;
            const char close = character == '[' ? ']' : character;
            if (!readQuoted(text, position, close, character != '[', content)) {
                return false;
            }
        } else if (isSymbolCharacter(character)) {
            kind = Kind::SYMBOL;
            const std::string_view symbol = readSymbol(text.substr(position));
            if (symbol.empty()) {
                return false;
            }
            content = std::string(symbol);
            position += symbol.size();
        } else if (character == ']') {
            return false;
        } else {
            const std::size_t start = position;
            while (position < text.size() && !endsWord(text[position])) {
                ++position;
            }
            content = std::string(text.substr(start, position - start));
        }
        Lexeme lexeme{kind, std::move(content)};
        lexemes.push_back(std::move(lexeme));
    }
    return true;
}

const WhereStatementReader::Lexeme* WhereStatementReader::next() {
    return position_ < lexemes_.size() ? &lexemes_[position_++] : nullptr;
}

const WhereStatementReader::Lexeme* WhereStatementReader::peek() const {
    return position_ < lexemes_.size() ? &lexemes_[position_] : nullptr;
}

bool WhereStatementReader::isWord(const Lexeme* lexeme, std::string_view upperCaseWord) const {
    return lexeme && lexeme->kind == Kind::WORD && StringUtilities::equalsIgnoreCase(lexeme->text, upperCaseWord);
}

std::shared_ptr<DataValue> WhereStatementReader::readValue() {
    const Lexeme* lexeme = next();
    if (!lexeme || lexeme->kind == Kind::NAME || lexeme->kind == Kind::SYMBOL) {
        return nullptr;
    }
    if (lexeme->kind == Kind::TEXT) {
        return DataValue::create(StringUtilities::internString(lexeme->text), DataTokens::UNRESOLVABLE_DATA_VALUE);
    }
    if (lexeme->text == "." || isWord(lexeme, "MISSING")) {
        return DataValue::create(DataTokens::MISSING_NUMERIC);
    }
    const double number = StringUtilities::createDoubleFromString(lexeme->text);
    if (std::isnan(number) && !isWord(lexeme, "NAN")) {
        return nullptr;  // not a number
    }
    return DataValue::create(number);
}

WhereClauseStatement::Clause WhereStatementReader::readClause() {
    const Lexeme* column = next();
    if (!column || column->kind == Kind::TEXT || column->kind == Kind::SYMBOL) {
        return nullptr;
    }
    if (isWord(column, "TRUE") || isWord(column, "FALSE")) {
        return WhereClauseExpression::create(isWord(column, "TRUE"));
    }
    const Lexeme* op = next();
    if (!op || op->kind == Kind::TEXT || op->kind == Kind::NAME) {
        return nullptr;
    }
    auto type = WhereClauseOperators::UNKNOWN;
    std::shared_ptr<DataValue> value;
    if (isWord(op, "IS")) {
        type = WhereClauseOperators::IS;
        if (isWord(peek(), "NOT")) {
            next();
            type = WhereClauseOperators::IS_NOT;
        }
        if (isWord(peek(), "MISSING")) {
            next();
            value = DataValue::create(DataTokens::MISSING_NUMERIC);
        }
    } else if (op->text == "=") {
        type = WhereClauseOperators::EQ;
    } else {
        const std::string name = op->kind == Kind::WORD ? StringUtilities::toUpperAscii(op->text) : op->text;
        type = WhereClauseOperators::getValueFromString(name, WhereClauseOperators::UNKNOWN);
        const bool comparesValues = WhereClauseOperators::isComparison(type) || type == WhereClauseOperators::LIKE ||
                                    type == WhereClauseOperators::IS_NOT;
        if (!comparesValues) {
            return nullptr;
        }
    }
    if (!value) {
        value = readValue();
    }
    return WhereClauseExpression::create(StringUtilities::internString(column->text), type, std::move(value));
}

bool WhereStatementReader::readJoiner(WhereClauseOperators::type& op) {
    const Lexeme* lexeme = next();
    if (isWord(lexeme, "AND") || (lexeme && lexeme->kind == Kind::SYMBOL && lexeme->text == "&&")) {
        op = WhereClauseOperators::AND;
        return true;
    }
    if (isWord(lexeme, "OR") || (lexeme && lexeme->kind == Kind::SYMBOL && lexeme->text == "||")) {
        op = WhereClauseOperators::OR;
        return true;
    }
    return false;
}

bool WhereStatementReader::read(std::string_view text, WhereClauseStatement::Expressions& expressions,
                                WhereClauseStatement::Operators& operators) {
    std::vector<Lexeme> lexemes;
    if (!split(text, lexemes)) {
        return false;
    }
    WhereStatementReader reader(lexemes);
    while (reader.peek()) {
        if (!expressions.empty()) {
            auto op = WhereClauseOperators::UNKNOWN;
            if (!reader.readJoiner(op)) {
                return false;
            }
            operators.push_back(op);
        }
        auto clause = reader.readClause();
        if (!clause) {
            return false;
        }
        expressions.push_back(std::move(clause));
    }
    return true;
}

}  // namespace pellium
