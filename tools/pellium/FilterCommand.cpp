#include <iostream>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/where/WhereClauseStatement.h"
#include "tools/pellium/Command.h"
#include "tools/pellium/RowFilter.h"
#include "tools/pellium/TextTable.h"

namespace pellium::cli {

namespace {

std::vector<std::shared_ptr<Column>> chosenColumns(const DataSet& dataSet, const Arguments& arguments) {
    std::vector<std::shared_ptr<Column>> columns;
    if (arguments.has("columns")) {
        for (const std::string& name : arguments.values("columns")) {
            columns.push_back(requireColumn(dataSet, name));
        }
    } else {
        for (const auto& column : *dataSet.getColumns()) {
            if (column) {
                columns.push_back(column);
            }
        }
    }
    return columns;
}

void writeText(const std::vector<std::shared_ptr<Column>>& columns, const std::vector<std::uint32_t>& rows,
               std::size_t selected, std::int32_t total) {
    TextTable table;
    for (const auto& column : columns) {
        bool numeric = column->getDataType() == DataType::NUMERIC;
        table.addColumn(column->getName() ? *column->getName() : std::string(),
                        numeric ? TextTable::Alignment::RIGHT : TextTable::Alignment::LEFT);
    }
    for (std::uint32_t row : rows) {
        std::vector<std::string> cells;
        for (const auto& column : columns) {
            cells.push_back(cellText(*column, static_cast<std::int32_t>(row)));
        }
        table.addRow(std::move(cells));
    }
    table.write(std::cout);
    std::cout << '\n' << selected << " of " << total << " rows selected";
    if (rows.size() < selected) {
        std::cout << ", the first " << rows.size() << " shown";
    }
    std::cout << '\n';
}

void writeJson(const std::vector<std::shared_ptr<Column>>& columns, const std::vector<std::uint32_t>& rows,
               std::size_t selected, std::int32_t total) {
    JsonOutput output;
    JsonWriter& json = output.writer();
    json.StartObject();
    json.Key("selected");
    json.Uint64(selected);
    json.Key("total");
    json.Int(total);
    json.Key("rows");
    json.StartArray();
    for (std::uint32_t row : rows) {
        json.StartObject();
        json.Key("row");
        json.Uint(row + 1);
        for (const auto& column : columns) {
            writeJsonString(json, column->getName());
            writeJsonString(json, cellText(*column, static_cast<std::int32_t>(row)));
        }
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    output.finish();
}

int run(const Arguments& arguments) {
    applyLocalization(arguments);
    if (!arguments.has("where")) {
        throw UsageError("--where is required");
    }
    std::shared_ptr<DataSet> dataSet = loadDataArgument(arguments);
    std::shared_ptr<RowIndexSet> selected = selectRows(*dataSet, arguments.value("where"));
    std::vector<std::shared_ptr<Column>> columns = chosenColumns(*dataSet, arguments);
    auto limit = static_cast<std::size_t>(arguments.count("limit", 20));
    std::vector<std::uint32_t> shown;
    for (auto it = selected->begin(); it != selected->end() && shown.size() < limit; ++it) {
        shown.push_back(*it);
    }
    if (arguments.has("json")) {
        writeJson(columns, shown, selected->size(), dataSet->getNumberOfRows());
    } else {
        writeText(columns, shown, selected->size(), dataSet->getNumberOfRows());
    }
    return 0;
}

}  // namespace

const Command& filterCommand() {
    static const Command command{
        "filter",
        "the rows a filter selects, formatted",
        "usage: pellium filter DATA --where TEXT [--columns A,B...] [--limit N] [--format COL=NAME]...\n"
        "                      [--locale xx_YY] [--tz ZONE] [--json]\n\n"
        "Prints the rows of DATA that the filter TEXT selects, every cell through its column's\n"
        "format, and how many rows it selects. TEXT joins clauses with AND and OR (AND binds\n"
        "first); a clause compares a column with a value or tests it for missing values:\n\n"
        "  Region = 'Western Europe' AND Revenue > 5000\n"
        "  \"Order Date\" IS MISSING OR Quantity >= 50\n\n"
        "Operators: = != < <= > >= (also EQ NE LT LE GT GE), LIKE, IS [NOT] MISSING. Texts go in\n"
        "single quotes, names with blanks in double quotes or brackets.\n\n"
        "  --where TEXT       the filter (required)\n"
        "  --columns A,B...   show only these columns, in this order\n"
        "  --limit N          show at most N rows (default 20; 0 shows only the count)\n"
        "  --format COL=NAME  give column COL the format NAME (repeatable)\n"
        "  --locale xx_YY     write numbers and dates for this locale\n"
        "  --tz ZONE          the time zone of date-time formats\n"
        "  --json             print {\"selected\", \"total\", \"rows\": [...]}\n",
        {JSON_OPTION, LOCALE_OPTION, TZ_OPTION, FORMAT_OPTION, {"where", true}, {"columns", true, true},
         {"limit", true}},
        run,
    };
    return command;
}

}  // namespace pellium::cli
