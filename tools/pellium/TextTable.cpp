#include "tools/pellium/TextTable.h"

#include <algorithm>

#include "pellium/util/StringUtilities.h"

namespace pellium::cli {

void TextTable::addColumn(std::string title, Alignment alignment) {
    columns_.push_back({std::move(title), alignment});
}

void TextTable::addRow(std::vector<std::string> cells) {
    cells.resize(columns_.size());
    rows_.push_back(std::move(cells));
}

void TextTable::addRule() { rows_.emplace_back(); }

std::size_t TextTable::displayWidth(const std::string& text) {
    return StringUtilities::countUtf8CodePoints(StringUtilities::removeBidiControls(text));
}

void TextTable::write(std::ostream& out) const {
    std::vector<std::size_t> widths(columns_.size());
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        widths[c] = displayWidth(columns_[c].title);
        for (const auto& row : rows_) {
            if (!row.empty()) {
                widths[c] = std::max(widths[c], displayWidth(row[c]));
            }
        }
    }
    auto writeCells = [&](const std::vector<std::string>& cells, bool header) {
        std::string line;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            std::string padding(widths[c] - displayWidth(cells[c]), ' ');
            bool right = !header && columns_[c].alignment == Alignment::RIGHT;
            line += c == 0 ? "" : "  ";
            line += right ? padding + cells[c] : cells[c] + padding;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    };
    auto writeRule = [&] {
        std::string line;
        for (std::size_t c = 0; c < columns_.size(); ++c) {
            line += (c == 0 ? "" : "  ") + std::string(widths[c], '-');
        }
        out << line << '\n';
    };
    std::vector<std::string> titles;
    for (const Column& column : columns_) {
        titles.push_back(column.title);
    }
    writeCells(titles, true);
    writeRule();
    for (const auto& row : rows_) {
        if (row.empty() && !columns_.empty()) {
            writeRule();
        } else {
            writeCells(row, false);
        }
    }
}

}  // namespace pellium::cli
