#include <iostream>
#include <unordered_set>

#include "pellium/formatters/Formatter.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/dataset/DataUsage.h"
#include "tools/pellium/Command.h"
#include "tools/pellium/TextTable.h"

namespace pellium::cli {

namespace {


/// What describe tells of one column.
struct ColumnFacts {
    std::string name;
    std::string label;
    std::string type;
    std::string usage;
    std::string format;
    std::string aggregation;
    std::size_t missing = 0;
    // Numeric columns: formatted extremes and total. String columns: distinct texts and longest.
    std::string minimum;
    std::string maximum;
    std::string total;
    std::size_t distinct = 0;
    std::string longest;
};

std::string textOf(const SharedString& text) { return text ? *text : std::string(); }

ColumnFacts factsOf(const Column& column) {
    ColumnFacts facts;
    facts.name = textOf(column.getName());
    facts.label = textOf(column.getLabel());
    facts.type = DataType::getStringFromValue(column.getDataType());
    facts.usage = DataUsage::getStringFromValue(column.getDataUsage());
    facts.format = textOf(column.getFormatName());
    facts.aggregation = StatisticType::getStringFromValue(column.getAggregation());
    std::shared_ptr<RowIndexSet> missing = column.getMissingValueIndices();
    facts.missing = missing ? missing->size() : 0;
    if (column.getDataType() == DataType::NUMERIC) {
        std::shared_ptr<Formatter> formatter = formatterOf(column);
        facts.minimum = formatNumber(formatter.get(), column.getMinimumNumber());
        facts.maximum = formatNumber(formatter.get(), column.getMaximumNumber());
        facts.total = formatNumber(formatter.get(), column.getTotal());
    } else if (const auto& indices = column.getStringIndices()) {
        std::unordered_set<std::int32_t> distinct(indices->begin(), indices->end());
        facts.distinct = distinct.size();
        facts.longest = textOf(column.getMaximumString());
    }
    return facts;
}

void writeText(const DataSet& dataSet, const std::string& path, const std::vector<ColumnFacts>& columns,
               const std::vector<DataSet::ValidationProblem>& problems) {
    std::size_t texts = dataSet.getStringTable() ? dataSet.getStringTable()->size() : 0;
    std::cout << path << ": " << dataSet.getNumberOfRows() << " rows, " << dataSet.getNumberOfColumns()
              << " columns, " << texts << " texts in the string table\n\n";
    TextTable table;
    using A = TextTable::Alignment;
    for (auto [title, alignment] : {std::pair{"column", A::LEFT}, {"type", A::LEFT}, {"usage", A::LEFT},
                                    {"format", A::LEFT}, {"aggregation", A::LEFT}, {"missing", A::RIGHT},
                                    {"minimum", A::RIGHT}, {"maximum", A::RIGHT}, {"total", A::RIGHT},
                                    {"distinct", A::RIGHT}}) {
        table.addColumn(title, alignment);
    }
    for (const ColumnFacts& facts : columns) {
        bool numeric = facts.type == DataType::getStringFromValue(DataType::NUMERIC);
        table.addRow({facts.name, facts.type, facts.usage, facts.format, facts.aggregation,
                      std::to_string(facts.missing), facts.minimum, facts.maximum, facts.total,
                      numeric ? std::string() : std::to_string(facts.distinct)});
    }
    table.write(std::cout);
    std::cout << '\n';
    if (problems.empty()) {
        std::cout << "validation: no problems\n";
        return;
    }
    std::cout << "validation: " << problems.size() << (problems.size() == 1 ? " problem\n" : " problems\n");
    for (const auto& problem : problems) {
        std::cout << "  " << problem.code << ' ' << DataSet::getValidationCodeName(problem.code) << ": "
                  << textOf(DataSet::getValidationMessage(problem)) << '\n';
    }
}

void writeJson(const DataSet& dataSet, const std::string& path, const std::vector<ColumnFacts>& columns,
               const std::vector<DataSet::ValidationProblem>& problems) {
    JsonOutput output;
    JsonWriter& json = output.writer();
    json.StartObject();
    json.Key("file");
    writeJsonString(json, path);
    json.Key("name");
    writeJsonString(json, dataSet.getName());
    json.Key("rows");
    json.Int(dataSet.getNumberOfRows());
    json.Key("stringTableSize");
    json.Uint64(dataSet.getStringTable() ? dataSet.getStringTable()->size() : 0);
    json.Key("columns");
    json.StartArray();
    for (const ColumnFacts& facts : columns) {
        json.StartObject();
        for (auto [key, value] : {std::pair{"name", &facts.name}, {"label", &facts.label}, {"type", &facts.type},
                                  {"usage", &facts.usage}, {"format", &facts.format},
                                  {"aggregation", &facts.aggregation}}) {
            json.Key(key);
            writeJsonString(json, *value);
        }
        json.Key("missing");
        json.Uint64(facts.missing);
        if (facts.type == DataType::getStringFromValue(DataType::NUMERIC)) {
            for (auto [key, value] : {std::pair{"minimum", &facts.minimum}, {"maximum", &facts.maximum},
                                      {"total", &facts.total}}) {
                json.Key(key);
                writeJsonString(json, *value);
            }
        } else {
            json.Key("distinct");
            json.Uint64(facts.distinct);
            json.Key("longest");
            writeJsonString(json, facts.longest);
        }
        json.EndObject();
    }
    json.EndArray();
    json.Key("problems");
    json.StartArray();
    for (const auto& problem : problems) {
        json.StartObject();
        json.Key("code");
        json.Int(problem.code);
        json.Key("name");
        writeJsonString(json, DataSet::getValidationCodeName(problem.code));
        json.Key("message");
        writeJsonString(json, DataSet::getValidationMessage(problem));
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    output.finish();
}

int run(const Arguments& arguments) {
    applyLocalization(arguments);
    std::shared_ptr<DataSet> dataSet = loadDataArgument(arguments);
    std::vector<ColumnFacts> columns;
    for (const auto& column : *dataSet->getColumns()) {
        if (column) {
            columns.push_back(factsOf(*column));
        }
    }
    std::vector<DataSet::ValidationProblem> problems = dataSet->validate();
    const std::string& path = arguments.positionals().front();
    if (arguments.has("json")) {
        writeJson(*dataSet, path, columns, problems);
    } else {
        writeText(*dataSet, path, columns, problems);
    }
    return 0;
}

}  // namespace

const Command& describeCommand() {
    static const Command command{
        "describe",
        "columns, types, formats, statistics and validation problems of a data set",
        "usage: pellium describe DATA [--format COL=NAME]... [--locale xx_YY] [--json]\n\n"
        "Lists every column of DATA with its type, usage, format, aggregation, number of missing\n"
        "values, and its minimum, maximum and total (numeric columns, through the column's format)\n"
        "or its number of distinct texts (string columns); then the row count, the size of the\n"
        "string table and every validation problem with its code and message.\n\n"
        "  --format COL=NAME  give column COL the format NAME (repeatable)\n"
        "  --locale xx_YY     write numbers for this locale (default en_US)\n"
        "  --json             print the same as JSON\n",
        {JSON_OPTION, LOCALE_OPTION, TZ_OPTION, FORMAT_OPTION},
        run,
    };
    return command;
}

}  // namespace pellium::cli
