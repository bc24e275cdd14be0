// The workloads of libPellium, on one thread, as a report viewer runs them: read the data, filter
// it, aggregate it into a crosstab, format dates and convert times between zones.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "Report.h"
#include "SalesData.h"

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/VekCalendarFormat.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyCrossings.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"
#include "pellium/models/data/tree/MemberSortState.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/models/data/where/WhereEvaluator.h"
#include "pellium/parsers/CSVDataSetReader.h"
#include "pellium/util/DateType.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"

namespace compare {

namespace {

constexpr std::string_view ENGINE = "libPellium";

pellium::SharedString text(std::string_view value) {
    return pellium::StringUtilities::internString(value);
}

// --- Load ------------------------------------------------------------------------------------------

std::string firstLines(const std::string& path, int count) {
    std::ifstream file(path, std::ios::binary);
    std::string lines;
    std::string line;
    for (int index = 0; index < count && std::getline(file, line); ++index) {
        lines += line;
        lines += '\n';
    }
    return lines;
}

// Reads the file as a user would: the date column in its ISO form through a date format.
std::shared_ptr<pellium::DataSet> addLoadWorkload(Report& report) {
    const Context& context = report.context();
    pellium::CSVReadOptions options;
    std::string detail = "CSVDataSetReader::readFile";
    options.columnDefinitions.push_back({"date", pellium::DataType::NUMERIC, "YYMMDD10."});
    if (pellium::CSVDataSetReader::readText(firstLines(context.csvPath, 100), options)) {
        detail += ", date as YYMMDD10.";
    } else {
        options.columnDefinitions.clear();
        detail += ", date as text (YYMMDD10. does not read it)";
    }
    std::shared_ptr<pellium::DataSet> dataSet;
    if (!report.wants("load_csv")) {
        // Another workload is profiled alone: it still needs the data.
        return pellium::CSVDataSetReader::readFile(context.csvPath, options).dataSet;
    }
    report.measure("load_csv", ENGINE, detail, context.rowCount, [&] {
        auto result = pellium::CSVDataSetReader::readFile(context.csvPath, options);
        if (!result) {
            throw std::runtime_error(result.message);
        }
        dataSet = std::move(result.dataSet);
        return static_cast<double>(dataSet->getNumberOfRows());
    });
    return dataSet;
}

// An input stream over bytes in memory, so that reading the stream form is timed without a copy.
class MemoryBuffer : public std::streambuf {
public:
    explicit MemoryBuffer(const std::string& bytes) {
        char* begin = const_cast<char*>(bytes.data());
        setg(begin, begin, begin + bytes.size());
    }
};

void addStreamWorkload(Report& report, const std::shared_ptr<const pellium::DataSet>& dataSet) {
    std::ostringstream output;
    if (!pellium::DataSet::serialize(output, dataSet)) {
        report.unavailable("load_stream", ENGINE, "the data set could not be written");
        return;
    }
    const std::string bytes = output.str();
    report.measure("load_stream", ENGINE,
                   "DataSet::createFromSerialData, " + std::to_string(bytes.size() >> 20) + " MiB in memory",
                   report.context().rowCount, [&] {
                       MemoryBuffer buffer(bytes);
                       std::istream input(&buffer);
                       const auto read = pellium::DataSet::createFromSerialData(input);
                       if (!read) {
                           throw std::runtime_error("the stream form did not read back");
                       }
                       return static_cast<double>(read->getNumberOfRows());
                   });
}

// --- Filter ----------------------------------------------------------------------------------------

void addFilterWorkload(Report& report, const std::shared_ptr<const pellium::DataSet>& dataSet) {
    using pellium::WhereClauseOperators;
    const auto where = pellium::CompoundWhereClauseExpression::create(
        WhereClauseOperators::AND,
        {pellium::WhereClauseExpression::create(text("region"), WhereClauseOperators::EQ,
                                                pellium::DataValue::create(text("East"), -1000)),
         pellium::WhereClauseExpression::create(text("sales"), WhereClauseOperators::GT,
                                                pellium::DataValue::create(500.0))});
    const auto rowCount = static_cast<std::uint32_t>(dataSet->getNumberOfRows());
    // The rows are counted a block at a time, as a count needs no list of all selected rows.
    constexpr std::uint32_t BLOCK = 1U << 16;
    std::vector<std::uint32_t> selection(BLOCK);
    report.measure("filter", ENGINE, "WhereEvaluator::create + selectRows", rowCount, [&] {
        const auto evaluator = pellium::WhereEvaluator::create(where, dataSet, true, false);
        std::uint64_t count = 0;
        for (std::uint32_t begin = 0; begin < rowCount; begin += std::min(BLOCK, rowCount - begin)) {
            count += evaluator->selectRows(begin, begin + std::min(BLOCK, rowCount - begin), selection.data());
        }
        return static_cast<double>(count);
    });
}

// --- Crosstabs -------------------------------------------------------------------------------------

std::shared_ptr<pellium::Hierarchy> singleLevelHierarchy(const pellium::DataSet& dataSet, std::string_view column) {
    return pellium::Hierarchy::create(text(column), text(column),
                                      {pellium::Level::createForColumn(*dataSet.getColumnWithName(column))});
}

// The crosstab of sales by region (rows) and year (columns) with two measures, the SUM of sales
// and the FREQUENCY of sales (a second column over the same numbers).
struct Crosstab {
    std::shared_ptr<pellium::Hierarchy> rows;
    std::shared_ptr<pellium::Hierarchy> columns;
    std::shared_ptr<pellium::HierarchyDataSet> hierarchyDataSet;

    static Crosstab build(const std::shared_ptr<pellium::DataSet>& dataSet) {
        Crosstab crosstab;
        crosstab.rows = singleLevelHierarchy(*dataSet, "region");
        crosstab.columns = singleLevelHierarchy(*dataSet, "year");
        crosstab.hierarchyDataSet = pellium::HierarchyDataSet::create({crosstab.rows, crosstab.columns},
                                                                      {text("sales"), text("sales_frequency")});
        crosstab.hierarchyDataSet->setCrosstabDataSet(true);
        crosstab.hierarchyDataSet->setDataSet(dataSet);
        return crosstab;
    }

    double grandTotal() const {
        const auto values = hierarchyDataSet->getMeasureValuesAtCrossing({{}, {}});
        return values.empty() || !values[0] ? std::nan("") : values[0]->getNumericValue();
    }

    // Every crossing, the totals of both axes included, as one row per region and one column per
    // year and measure, the members in the order of `sortContext` (null: data order). Answers the
    // number of SUM cells.
    double normalizedCellCount(const pellium::DataTreeSortContext* sortContext = nullptr) const {
        const auto table = hierarchyDataSet->getNormalizedCrossings(rows, columns, true, false, true, false, true,
                                                                    false, true, false, sortContext);
        if (!table) {
            throw std::runtime_error("no normalized crossings");
        }
        std::int32_t sumColumns = 0;
        for (std::int32_t index = 0; index < table->getNumberOfColumns(); ++index) {
            // "sales" is the total of the years, "sales|2015" the first year.
            const auto& name = table->getColumnAtIndex(index)->getName();
            sumColumns += name && (*name == "sales" || name->starts_with("sales|")) ? 1 : 0;
        }
        return static_cast<double>(table->getNumberOfRows()) * sumColumns;
    }
};

void addFrequencyColumn(pellium::DataSet& dataSet) {
    const auto sales = dataSet.getColumnWithName("sales");
    auto frequency =
        pellium::Column::create(text("sales_frequency"), pellium::DataType::NUMERIC, nullptr, sales->getFormatName());
    frequency->setNumbers(sales->getNumbers());
    frequency->setAggregation(pellium::StatisticType::FREQUENCY);
    dataSet.addColumn(frequency);
}

void addCrosstabWorkloads(Report& report, const std::shared_ptr<pellium::DataSet>& dataSet) {
    const std::uint64_t rowCount = report.context().rowCount;
    addFrequencyColumn(*dataSet);
    report.measure("group_by", ENGINE, "HierarchyDataSet build (region x year, SUM and FREQUENCY)", rowCount,
                   [&] { return Crosstab::build(dataSet).grandTotal(); });
    report.measure("crosstab", ENGINE, "HierarchyDataSet build + getNormalizedCrossings with all totals", rowCount,
                   [&] { return Crosstab::build(dataSet).normalizedCellCount(); });
    report.measure(
        "crosstab_sorted", ENGINE,
        "the crosstab with the regions sorted by their SUM total descending (DataTreeSortContext)", rowCount, [&] {
            const Crosstab crosstab = Crosstab::build(dataSet);
            const auto sortContext = pellium::DataTreeSortContext::create(crosstab.hierarchyDataSet);
            sortContext->setSortStateForLevel(
                "region", pellium::MemberSortState::createByMeasure(pellium::SortDirection::DESCENDING, text("sales")));
            return crosstab.normalizedCellCount(sortContext.get());
        });

    dataSet->getColumnWithName("product")->setAggregation(pellium::StatisticType::COUNT_DISTINCT);
    report.measure(
        "count_distinct", ENGINE, "HierarchyDataSet by region, COUNT_DISTINCT aggregators of product", rowCount, [&] {
            const auto regions = singleLevelHierarchy(*dataSet, "region");
            const auto byRegion = pellium::HierarchyDataSet::create({regions}, {text("product")});
            byRegion->setDataSet(dataSet);
            double distinctProducts = 0;
            for (const std::string_view name : SalesData::REGIONS) {
                const auto values = byRegion->getMeasureValuesAtCrossing({{pellium::DataTreeNode::create(text(name))}});
                distinctProducts += values.empty() || !values[0] ? 0 : values[0]->getNumericValue();
            }
            return distinctProducts;
        });
}

// --- Dates and time zones --------------------------------------------------------------------------

// Two ways: one shared text per value, as a viewer keeps the texts of its cells, and every text
// written into one reused buffer, as the engines beside it write a column of texts.
void addFormatWorkload(Report& report, std::string_view workload, std::string_view formatName,
                       const std::vector<double>& values) {
    const auto formatter = pellium::FormatterFactory::instance()->getFormatterForFormatName(formatName);
    if (!formatter) {
        report.unavailable(workload, ENGINE, "no formatter for " + std::string(formatName));
        return;
    }
    report.measure(workload, ENGINE, "Formatter::format, " + std::string(formatName) + ", a shared text per value",
                   values.size(), [&] {
                       double length = 0;
                       for (const double value : values) {
                           const auto formatted = formatter->format(value);
                           length += formatted ? static_cast<double>(formatted->size()) : 0;
                       }
                       return length;
                   });
    const auto calendarFormat = std::dynamic_pointer_cast<const pellium::VekCalendarFormat>(formatter);
    if (!calendarFormat) {
        return;
    }
    report.measure(workload, ENGINE, "VekCalendarFormat::formatTo, " + std::string(formatName) + ", into one buffer",
                   values.size(), [&] {
                       std::string text;
                       double length = 0;
                       for (const double value : values) {
                           text.clear();
                           calendarFormat->formatTo(value, text);
                           length += static_cast<double>(text.size());
                       }
                       return length;
                   });
}

void addDateWorkloads(Report& report) {
    const std::uint64_t count = report.context().valueCount;
    const std::vector<std::int64_t> unixDays = SalesData::firstUnixDays(count);
    const std::vector<std::int64_t> unixTimes = SalesData::firstUnixDateTimes(count);
    std::vector<double> days;
    std::vector<double> dateTimes;
    for (std::uint64_t index = 0; index < count; ++index) {
        days.push_back(static_cast<double>(unixDays[index]) + pellium::TimeUtilities::UNIX_EPOCH / 86400);
        dateTimes.push_back(pellium::TimeUtilities::fromUnixTime(static_cast<double>(unixTimes[index])));
    }
    addFormatWorkload(report, "format_date", "DATE9.", days);
    addFormatWorkload(report, "format_datetime", "DATETIME20.", dateTimes);

    std::vector<std::shared_ptr<pellium::TimeZone>> zones;
    for (const std::string_view id : SalesData::TIME_ZONES) {
        zones.push_back(pellium::TimeZone::create(id));
    }
    std::vector<double> times;
    for (const std::int64_t time : unixTimes) {
        times.push_back(pellium::TimeUtilities::fromUnixTime(static_cast<double>(time)));
    }
    report.measure("tz_offsets", ENGINE, "TimeZone::getOffset(time, Universal)", count, [&] {
        double sum = 0;
        for (std::uint64_t index = 0; index < count; ++index) {
            sum += zones[SalesData::zoneOfValue(index, count)]->getOffset(times[index], pellium::DateType::Universal);
        }
        return sum;
    });
}

}  // namespace

void addPelliumWorkloads(Report& report) {
    const auto dataSet = addLoadWorkload(report);
    if (!dataSet) {
        return;
    }
    addStreamWorkload(report, dataSet);
    addFilterWorkload(report, dataSet);
    addCrosstabWorkloads(report, dataSet);
    addDateWorkloads(report);
}

}  // namespace compare
