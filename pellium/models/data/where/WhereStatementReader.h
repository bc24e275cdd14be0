#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/models/data/where/WhereClauseStatement.h"

namespace pellium {

/// Reads the text form of a WhereClauseStatement (the grammar is documented there): splits the
/// text into tokens, then reads clauses and joiners in turn. Internal to the library; used by
/// WhereClauseStatement::create(text). The reader is linear in the text and never recurses.
class WhereStatementReader {
public:
    /// The clauses and joiners of `text`; false when the text does not follow the grammar.
    static bool read(std::string_view text, WhereClauseStatement::Expressions& expressions,
                     WhereClauseStatement::Operators& operators);

private:
    enum class Kind { WORD, SYMBOL, TEXT, NAME };
    struct Lexeme {
        Kind kind;
        std::string text;
    };

    static bool split(std::string_view text, std::vector<Lexeme>& lexemes);
    static bool readQuoted(std::string_view text, std::size_t& position, char close, bool doubledCloses,
                           std::string& content);

    explicit WhereStatementReader(const std::vector<Lexeme>& lexemes) : lexemes_(lexemes) {}

    const Lexeme* next();
    const Lexeme* peek() const;
    bool isWord(const Lexeme* lexeme, std::string_view upperCaseWord) const;
    WhereClauseStatement::Clause readClause();
    std::shared_ptr<DataValue> readValue();
    bool readJoiner(WhereClauseOperators::type& op);

    const std::vector<Lexeme>& lexemes_;
    std::size_t position_ = 0;
};

}  // namespace pellium
