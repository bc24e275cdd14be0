#include <algorithm>
#include <iostream>

#include "tools/pellium/Command.h"
#include "tools/pellium/RowFilter.h"
#include "tools/pellium/TextTable.h"

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"
#include "pellium/models/data/tree/MemberSortState.h"
#include "pellium/models/data/where/WhereClauseStatement.h"
#include "pellium/util/StringUtilities.h"

namespace pellium::cli {

namespace {

constexpr std::string_view TOTAL_LABEL = "Total";
constexpr std::string_view COUNT_FORMAT = "COMMA12.";

/// One --measure: the column aggregated, its statistic and the name of the measure column.
struct Measure {
    std::string column;
    StatisticType::type statistic;
    std::string name;
};

bool countsRows(StatisticType::type statistic) {
    return statistic == StatisticType::FREQUENCY || statistic == StatisticType::FREQUENCY_WITH_MISSING ||
           statistic == StatisticType::COUNT_DISTINCT || statistic == StatisticType::COUNT_MISSING;
}

/// Reads "COL[:STATISTIC]" and gives the data set a measure column for it: the column itself
/// when it takes its own statistic, else a copy named "COL STATISTIC" with that aggregation.
Measure addMeasure(DataSet& dataSet, const std::string& text) {
    std::size_t colon = text.rfind(':');
    Measure measure{text.substr(0, colon), StatisticType::SUM, text.substr(0, colon)};
    std::shared_ptr<Column> column = requireColumn(dataSet, measure.column);
    if (colon == std::string::npos) {
        measure.statistic = column->getAggregation();
        return measure;
    }
    std::string name = text.substr(colon + 1);
    measure.statistic = StatisticType::getValueFromString(name, StatisticType::NONE);
    if (measure.statistic == StatisticType::NONE) {
        throw UsageError("unknown statistic \"" + text.substr(colon + 1) + "\" in --measure " + text +
                         " (SUM, MEAN, MIN, MAX, FREQUENCY, COUNT_DISTINCT, FIRST...)");
    }
    measure.name = measure.column + " " + std::string(StatisticType::getStringFromValue(measure.statistic));
    if (dataSet.getColumnWithName(measure.name)) {
        return measure;
    }
    std::shared_ptr<Column> copy = Column::create(column, column->getNumberOfRows());
    copy->setName(StringUtilities::internString(measure.name));
    copy->setLabel(StringUtilities::internString(measure.name));
    copy->setAggregation(measure.statistic);
    if (countsRows(measure.statistic)) {
        copy->setFormatName(StringUtilities::internString(COUNT_FORMAT));
    }
    dataSet.addColumn(copy);
    return measure;
}

std::shared_ptr<Hierarchy> makeHierarchy(const DataSet& dataSet, std::string_view name,
                                         const std::vector<std::string>& columns) {
    if (columns.empty()) {
        return nullptr;
    }
    Hierarchy::LevelList levels;
    for (const std::string& column : columns) {
        levels.push_back(Level::createForColumn(*requireColumn(dataSet, column)));
    }
    return Hierarchy::create(StringUtilities::internString(name), nullptr, std::move(levels));
}

void expandEverything(const std::shared_ptr<Hierarchy>& hierarchy) {
    if (!hierarchy) {
        return;
    }
    // Depth 0 is the display root; the members of level i are at depth i + 1.
    for (std::uint32_t depth = 0; depth <= hierarchy->getNumberOfLevels(); ++depth) {
        if (hierarchy->canExpandAll(depth)) {
            hierarchy->expandAll(depth);
        }
    }
}

/// The crosstab as texts: row labels per row level, one header per value column, one text per cell.
struct CrosstabTable {
    std::vector<std::string> rowLevelNames;
    std::vector<std::string> columnTitles;
    struct Row {
        std::vector<std::string> labels;
        std::vector<std::string> cells;
        bool grandTotal = false;
    };
    std::vector<Row> rows;
};

/// "measure|member|path" names a measure at a column member; the measure alone, its total.
std::string columnTitle(const std::string& name, std::size_t columnLevels, std::size_t measures) {
    std::size_t bar = name.find('|');
    std::string measure = name.substr(0, bar);
    if (columnLevels == 0) {
        return measure;
    }
    std::string member = bar == std::string::npos ? std::string(TOTAL_LABEL) : name.substr(bar + 1);
    std::replace(member.begin(), member.end(), '|', '/');
    if (StringUtilities::isStringMissing(member)) {
        member = *DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_MISSING);
    }
    return measures > 1 ? member + " " + measure : member;
}

/// How members are ordered among their siblings: rows by --sort, columns by their values unless
/// --sort is data. Null keeps the data order.
std::shared_ptr<DataTreeSortContext> sortContextFor(const std::shared_ptr<HierarchyDataSet>& crosstab,
                                                    const std::string& order, const SharedString& firstMeasure) {
    std::shared_ptr<MemberSortState> rowState;
    if (order == "label" || order == "-label") {
        // Numbers by value, texts by their bytes.
        rowState = MemberSortState::createByRawValue(
            order == "label" ? SortDirection::ASCENDING : SortDirection::DESCENDING, false);
    } else if (order == "value" || order == "-value") {
        rowState = MemberSortState::createByMeasure(
            order == "value" ? SortDirection::ASCENDING : SortDirection::DESCENDING, firstMeasure);
    } else if (order == "data") {
        return nullptr;
    } else {
        throw UsageError("--sort needs label, -label, value, -value or data, not \"" + order + "\"");
    }
    auto context = DataTreeSortContext::create(crosstab);
    const auto& hierarchies = crosstab->getHierarchies();
    for (std::size_t axis = 0; axis < hierarchies.size(); ++axis) {
        const auto state = axis == 0 ? rowState : MemberSortState::createByRawValue(SortDirection::ASCENDING, false);
        for (std::uint32_t level = 0; level < hierarchies[axis]->getNumberOfLevels(); ++level) {
            context->setSortStateForLevelIndex(level, state, *hierarchies[axis]->getName());
        }
    }
    return context;
}

CrosstabTable tableOf(const DataSet& normalized, std::size_t rowLevels, std::size_t columnLevels,
                      std::size_t measures) {
    CrosstabTable table;
    const auto& columns = *normalized.getColumns();
    for (std::size_t c = 0; c < rowLevels; ++c) {
        table.rowLevelNames.push_back(*columns[c]->getName());
    }
    // The totals come first in the crossings; a report shows them last.
    std::vector<std::size_t> valueColumns;
    for (std::size_t c = rowLevels + columnLevels; c < columns.size(); ++c) {
        valueColumns.push_back(c);
    }
    std::stable_partition(valueColumns.begin(), valueColumns.end(),
                          [&](std::size_t c) { return columns[c]->getName()->find('|') != std::string::npos; });
    for (std::size_t c : valueColumns) {
        table.columnTitles.push_back(columnTitle(*columns[c]->getName(), columnLevels, measures));
    }
    for (std::int32_t row = 0; row < normalized.getNumberOfRows(); ++row) {
        CrosstabTable::Row line;
        for (std::size_t c = 0; c < rowLevels; ++c) {
            line.labels.push_back(cellText(*columns[c], row));
        }
        line.grandTotal = rowLevels == 0 || columns[0]->valueIsMatchesAll(row);
        if (line.grandTotal && !line.labels.empty()) {
            line.labels[0] = TOTAL_LABEL;
        }
        for (std::size_t c : valueColumns) {
            line.cells.push_back(cellText(*columns[c], row));
        }
        table.rows.push_back(std::move(line));
    }
    // The grand total comes first in the crossings; a report shows it last.
    std::stable_partition(table.rows.begin(), table.rows.end(), [](const auto& line) { return !line.grandTotal; });
    return table;
}

void writeText(const CrosstabTable& crosstab) {
    TextTable table;
    for (const std::string& name : crosstab.rowLevelNames) {
        table.addColumn(name, TextTable::Alignment::LEFT);
    }
    for (const std::string& title : crosstab.columnTitles) {
        table.addColumn(title, TextTable::Alignment::RIGHT);
    }
    for (const auto& row : crosstab.rows) {
        if (row.grandTotal) {
            table.addRule();
        }
        std::vector<std::string> cells = row.labels;
        cells.insert(cells.end(), row.cells.begin(), row.cells.end());
        table.addRow(std::move(cells));
    }
    table.write(std::cout);
}

void writeJson(const CrosstabTable& crosstab) {
    JsonOutput output;
    JsonWriter& json = output.writer();
    json.StartObject();
    json.Key("rowLevels");
    json.StartArray();
    for (const std::string& name : crosstab.rowLevelNames) {
        writeJsonString(json, name);
    }
    json.EndArray();
    json.Key("columns");
    json.StartArray();
    for (const std::string& title : crosstab.columnTitles) {
        writeJsonString(json, title);
    }
    json.EndArray();
    json.Key("rows");
    json.StartArray();
    for (const auto& row : crosstab.rows) {
        json.StartObject();
        json.Key("member");
        json.StartArray();
        for (const std::string& label : row.labels) {
            writeJsonString(json, label);
        }
        json.EndArray();
        json.Key("total");
        json.Bool(row.grandTotal);
        json.Key("cells");
        json.StartArray();
        for (const std::string& cell : row.cells) {
            writeJsonString(json, cell);
        }
        json.EndArray();
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    output.finish();
}

int run(const Arguments& arguments) {
    applyLocalization(arguments);
    if (!arguments.has("rows") || !arguments.has("measure")) {
        throw UsageError("--rows and at least one --measure are required");
    }
    std::shared_ptr<DataSet> dataSet = loadDataArgument(arguments);
    if (arguments.has("where")) {
        dataSet = DataSet::getSubsetDefinedBySpecifiedIndices(dataSet, *selectRows(*dataSet, arguments.value("where")));
    }
    std::vector<std::string> rowNames = arguments.values("rows");
    std::vector<std::string> columnNames = arguments.values("columns");
    HierarchyDataSet::NameList measureNames;
    for (const std::string& text : arguments.values("measure")) {
        measureNames.push_back(StringUtilities::internString(addMeasure(*dataSet, text).name));
    }
    std::shared_ptr<Hierarchy> rows = makeHierarchy(*dataSet, "Rows", rowNames);
    std::shared_ptr<Hierarchy> columns = makeHierarchy(*dataSet, "Columns", columnNames);
    HierarchyDataSet::HierarchyList hierarchies{rows};
    if (columns) {
        hierarchies.push_back(columns);
    }
    std::shared_ptr<HierarchyDataSet> crosstab = HierarchyDataSet::create(hierarchies, measureNames);
    crosstab->setDataSet(dataSet);
    bool expandAll = arguments.has("expand-all");
    if (expandAll) {
        expandEverything(rows);
        expandEverything(columns);
    }
    // Every member down to the expanded ones, each with its total; collapsed members are leaves.
    const auto sortContext = sortContextFor(crosstab, arguments.value("sort", "label"), measureNames.front());
    std::shared_ptr<DataSet> normalized = crosstab->getNormalizedCrossings(rows, columns, true, true, true, true, true,
                                                                           true, true, true, sortContext.get());
    if (!normalized) {
        throw DataError("the crosstab could not be built");
    }
    CrosstabTable table = tableOf(*normalized, rowNames.size(), columnNames.size(), measureNames.size());
    if (arguments.has("json")) {
        writeJson(table);
    } else {
        writeText(table);
    }
    return 0;
}

}  // namespace

const Command& crosstabCommand() {
    static const Command command{
        "crosstab",
        "aggregate data into a crosstab with totals, every cell formatted",
        "usage: pellium crosstab DATA --rows A[,B...] [--columns C[,D...]] --measure COL[:STATISTIC]...\n"
        "                        [--where TEXT] [--sort ORDER] [--expand-all] [--format COL=NAME]... [--locale xx_YY]\n"
        "                        [--tz ZONE] [--json]\n\n"
        "Aggregates DATA into a crosstab: one row per member of the row levels, one column per\n"
        "member of the column levels and measure, with row, column and grand totals. Every cell is\n"
        "written through its measure's format in the locale; all-others members come last.\n\n"
        "  --rows A,B          the row levels, outermost first (Region,Country)\n"
        "  --columns C         the column levels\n"
        "  --measure COL:STAT  a measure and its statistic (SUM, MEAN, MIN, MAX, FREQUENCY,\n"
        "                      COUNT_DISTINCT, FIRST, ...; default the column's own); repeatable\n"
        "  --where TEXT        aggregate only the rows this filter selects (see pellium filter)\n"
        "  --sort ORDER        order members among their siblings: label (default; numbers by\n"
        "                      value), -label, value or -value (the first measure's total), data\n"
        "  --expand-all        show every level; without it the outermost row and column\n"
        "                      levels show, each member with the total of what is below it\n"
        "  --format COL=NAME   give column COL the format NAME (repeatable)\n"
        "  --locale xx_YY      write numbers and dates for this locale (default en_US)\n"
        "  --tz ZONE           the time zone of date-time formats\n"
        "  --json              print {\"rowLevels\", \"columns\", \"rows\": [{\"member\", \"cells\"}]}\n",
        {JSON_OPTION,
         LOCALE_OPTION,
         TZ_OPTION,
         FORMAT_OPTION,
         {"rows", true, true},
         {"columns", true, true},
         {"measure", true, true},
         {"where", true},
         {"expand-all", false},
         {"sort", true}},
        run,
    };
    return command;
}

}  // namespace pellium::cli
