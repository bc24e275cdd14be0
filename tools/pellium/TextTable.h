#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace pellium::cli {

/// A table of texts written with aligned columns, as a terminal shows it: a header line, a rule,
/// then the rows. Widths count what a terminal shows (code points, without the invisible
/// direction marks that right-to-left locales add).
class TextTable {
public:
    enum class Alignment { LEFT, RIGHT };

    void addColumn(std::string title, Alignment alignment);
    /// A row with one text per column (missing texts are blank, extra ones are dropped).
    void addRow(std::vector<std::string> cells);
    /// A rule under the previous row, to set totals apart.
    void addRule();

    void write(std::ostream& out) const;

    /// The width a terminal gives `text`.
    static std::size_t displayWidth(const std::string& text);

private:
    struct Column {
        std::string title;
        Alignment alignment;
    };
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;  // an empty row is a rule
};

}  // namespace pellium::cli
