#include "pellium/models/data/hierarchy/HierarchyTreeBuilder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/PendingRowIndices.h"
#include "pellium/resources/logging/Logger.h"

namespace pellium {

namespace {

constexpr std::uint32_t NO_CODE = std::numeric_limits<std::uint32_t>::max();

// A map from 64-bit keys to 32-bit codes with open addressing, for the per-row look-ups of the
// build (distinct numbers, node pairs), which must not allocate per row.
class CodeMap {
public:
    explicit CodeMap(std::size_t expected = 64) { resize(std::bit_ceil(std::max<std::size_t>(expected * 2, 64))); }

    /// The code slot of `key`; a new key gets a slot holding NO_CODE.
    std::uint32_t& find(std::uint64_t key) {
        if ((size_ + 1) * 2 > keys_.size()) {
            resize(keys_.size() * 2);
        }
        std::size_t position = hash(key) & mask_;
        while (codes_[position] != NO_CODE || used_[position]) {
            if (keys_[position] == key) {
                return codes_[position];
            }
            position = (position + 1) & mask_;
        }
        used_[position] = 1;
        keys_[position] = key;
        ++size_;
        return codes_[position];
    }

private:
    static std::uint64_t hash(std::uint64_t key) {
        key ^= key >> 33;
        key *= 0xFF51AFD7ED558CCDULL;
        key ^= key >> 33;
        return key;
    }

    void resize(std::size_t capacity) {
        std::vector<std::uint64_t> keys(capacity);
        std::vector<std::uint32_t> codes(capacity, NO_CODE);
        std::vector<std::uint8_t> used(capacity, 0);
        mask_ = capacity - 1;
        for (std::size_t index = 0; index < keys_.size(); ++index) {
            if (used_[index]) {
                std::size_t position = hash(keys_[index]) & mask_;
                while (used[position]) {
                    position = (position + 1) & mask_;
                }
                used[position] = 1;
                keys[position] = keys_[index];
                codes[position] = codes_[index];
            }
        }
        keys_ = std::move(keys);
        codes_ = std::move(codes);
        used_ = std::move(used);
    }

    std::vector<std::uint64_t> keys_;
    std::vector<std::uint32_t> codes_;
    std::vector<std::uint8_t> used_;
    std::size_t size_ = 0;
    std::size_t mask_ = 0;
};

// The rows a build visits: a list, or all rows below a count.
class RowSource {
public:
    RowSource(const std::vector<std::int32_t>* rows, std::int32_t limit) {
        if (rows) {
            for (const std::int32_t row : *rows) {
                if (row >= 0 && row < limit) {
                    selected_.push_back(row);
                }
            }
            isList_ = true;
            size_ = selected_.size();
        } else {
            size_ = static_cast<std::size_t>(std::max(limit, 0));
        }
    }

    std::size_t size() const { return size_; }
    bool isList() const { return isList_; }
    std::int32_t operator[](std::size_t position) const {
        return isList_ ? selected_[position] : static_cast<std::int32_t>(position);
    }

private:
    std::vector<std::int32_t> selected_;
    std::size_t size_ = 0;
    bool isList_ = false;
};

// Member codes by formatted text: two cells whose values format alike are one member.
class MemberDictionary {
public:
    std::uint32_t codeFor(const SharedString& formattedValue) {
        const std::string_view key = formattedValue ? std::string_view(*formattedValue) : std::string_view();
        const auto [position, inserted] = codes_.try_emplace(key, static_cast<std::uint32_t>(texts_.size()));
        if (inserted) {
            // The key views the text this vector keeps alive.
            texts_.push_back(formattedValue ? formattedValue : StringUtilities::internString(std::string_view()));
        }
        return position->second;
    }
    const std::vector<SharedString>& texts() const { return texts_; }

private:
    std::unordered_map<std::string_view, std::uint32_t> codes_;
    std::vector<SharedString> texts_;
};

// One member code per visited row for one level column, and the formatted text of each code.
struct LevelCodes {
    std::vector<std::uint32_t> codes;
    std::vector<SharedString> texts;
};

std::shared_ptr<Formatter> formatterFor(const Column& column) {
    auto& factory = *FormatterFactory::instance();
    const SharedString& formatName = column.getFormatName();
    auto formatter = formatName ? factory.getFormatterForFormatName(formatName) : nullptr;
    return formatter ? formatter : factory.getDefaultNumericFormatter();
}

SharedString formattedStringCell(const Column& column, std::int32_t row) {
    return DataValue::formatStringValue(column.getStringAtIndex(row), column.getStringIndexAtIndex(row));
}

void encodeStringLevel(const Column& column, const RowSource& rows, MemberDictionary& dictionary,
                       std::vector<std::uint32_t>& codes) {
    const auto& indices = column.getStringIndices();
    const auto& table = column.getResolvedStringTable();
    if (!indices || !table) {
        for (std::size_t position = 0; position < rows.size(); ++position) {
            codes[position] = dictionary.codeFor(formattedStringCell(column, rows[position]));
        }
        return;
    }
    // Each distinct index is resolved once; token codes (-100 to -1) once each too. Only rows whose
    // text is not in the table (explicit texts) are looked up by text.
    const std::size_t tableSize = table->size();
    std::vector<std::uint32_t> codeOfIndex(tableSize, NO_CODE);
    std::array<std::uint32_t, 101> codeOfToken;
    codeOfToken.fill(NO_CODE);
    const std::int32_t* indexOfRow = indices->data();
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const std::int32_t index = indexOfRow[row];
        std::uint32_t code;
        if (static_cast<std::uint32_t>(index) < tableSize) {
            code = codeOfIndex[static_cast<std::size_t>(index)];
            if (code == NO_CODE) [[unlikely]] {
                code =
                    dictionary.codeFor(DataValue::formatStringValue((*table)[static_cast<std::size_t>(index)], index));
                codeOfIndex[static_cast<std::size_t>(index)] = code;
            }
        } else if (index < 0 && index >= -100) {
            std::uint32_t& cached = codeOfToken[static_cast<std::size_t>(-index)];
            if (cached == NO_CODE) {
                cached = dictionary.codeFor(formattedStringCell(column, row));
            }
            code = cached;
        } else {
            code = dictionary.codeFor(formattedStringCell(column, row));
        }
        codes[position] = code;
    }
}

void encodeNumericLevel(const Column& column, const RowSource& rows, MemberDictionary& dictionary,
                        std::vector<std::uint32_t>& codes) {
    const auto& numbers = column.getNumbers();
    const auto formatter = formatterFor(column);
    // Each distinct number is formatted once; runs of one number skip the look-up.
    CodeMap codeOfNumber;
    std::uint64_t lastBits = 0;
    std::uint32_t lastCode = NO_CODE;
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const double number = (*numbers)[static_cast<std::size_t>(rows[position])];
        const auto bits = std::bit_cast<std::uint64_t>(number);
        if (bits != lastBits || lastCode == NO_CODE) {
            std::uint32_t& code = codeOfNumber.find(bits);
            if (code == NO_CODE) {
                code = dictionary.codeFor(
                    StringUtilities::internString(DataValue::formatNumericValue(number, *formatter)));
            }
            lastBits = bits;
            lastCode = code;
        }
        codes[position] = lastCode;
    }
}

LevelCodes encodeLevel(const Column& column, const RowSource& rows) {
    LevelCodes level;
    level.codes.resize(rows.size());
    MemberDictionary dictionary;
    if (column.getDataType() == DataType::STRING) {
        encodeStringLevel(column, rows, dictionary, level.codes);
    } else if (column.getNumbers()) {
        encodeNumericLevel(column, rows, dictionary, level.codes);
    } else {
        std::fill(level.codes.begin(), level.codes.end(),
                  dictionary.codeFor(DataTokens::getMissingNumericDisplayString()));
    }
    level.texts = dictionary.texts();
    return level;
}

// The nodes of one tree level, numbered in the order rows first reach them.
struct LevelNodes {
    std::vector<std::uint32_t> parent;
    std::vector<std::uint32_t> code;
    std::vector<std::int32_t> firstRow;

    std::uint32_t add(std::uint32_t parentNode, std::uint32_t memberCode, std::int32_t row) {
        parent.push_back(parentNode);
        code.push_back(memberCode);
        firstRow.push_back(row);
        return static_cast<std::uint32_t>(parent.size() - 1);
    }
};

// The members of one level column: a code per distinct formatted text. A column with a string table
// is keyed by string index, each index resolved to its member once; any other column gets its codes
// per row up front (a numeric column formats each distinct number once).
class MemberCodes {
public:
    MemberCodes(const Column& column, const RowSource& rows) : column_(column) {
        const auto& indices = column.getStringIndices();
        const auto& table = column.getResolvedStringTable();
        if (column.getDataType() == DataType::STRING && indices && table) {
            indices_ = indices->data();
            table_ = table.get();
            codeOfIndex_.assign(table->size(), NO_CODE);
            codeOfToken_.fill(NO_CODE);
            return;
        }
        LevelCodes level = encodeLevel(column, rows);
        codes_ = std::move(level.codes);
        precomputedTexts_ = std::move(level.texts);
    }

    bool isKeyedByIndex() const { return indices_ != nullptr; }
    /// The number of keys: table entries, or member codes.
    std::size_t keyCount() const { return indices_ ? table_->size() : precomputedTexts_.size(); }
    const std::int32_t* indices() const { return indices_; }
    const std::uint32_t* codes() const { return codes_.data(); }

    /// The member code of a table index (REQUIRES: within the table).
    std::uint32_t codeOfIndex(std::int32_t index) {
        std::uint32_t& code = codeOfIndex_[static_cast<std::size_t>(index)];
        if (code == NO_CODE) {
            code = dictionary_.codeFor(DataValue::formatStringValue((*table_)[static_cast<std::size_t>(index)], index));
        }
        return code;
    }
    /// The member code of a row whose index is outside the table (a token code or an explicit text).
    std::uint32_t codeOfOtherRow(std::int32_t row) {
        const std::int32_t index = indices_[row];
        if (index < 0 && index >= -100) {
            std::uint32_t& cached = codeOfToken_[static_cast<std::size_t>(-index)];
            if (cached == NO_CODE) {
                cached = dictionary_.codeFor(formattedStringCell(column_, row));
            }
            return cached;
        }
        return dictionary_.codeFor(formattedStringCell(column_, row));
    }
    const std::vector<SharedString>& texts() const { return indices_ ? dictionary_.texts() : precomputedTexts_; }

private:
    const Column& column_;
    const std::int32_t* indices_ = nullptr;
    const std::vector<SharedString>* table_ = nullptr;
    std::vector<std::uint32_t> codeOfIndex_;
    std::array<std::uint32_t, 101> codeOfToken_{};
    MemberDictionary dictionary_;
    std::vector<std::uint32_t> codes_;
    std::vector<SharedString> precomputedTexts_;
};

// One level's step from a parent node to the child a row falls into, making the child when it is
// new. (parent, key) pairs are looked up in a dense parent-major table while it stays small, else in
// a hash map; a pair seen for the first time is resolved to its member, so that two keys that
// format alike lead to the same child.
class LevelClassifier {
public:
    explicit LevelClassifier(MemberCodes& members)
        : members_(members),
          keyCount_(static_cast<std::uint32_t>(members.keyCount())),
          width_(std::max<std::size_t>(members.keyCount(), 1)) {
        dense_ = width_ <= DENSE_LIMIT;
    }

    [[gnu::always_inline]] std::uint32_t childOf(std::uint32_t parent, std::int32_t row, std::size_t position,
                                                 LevelNodes& nodes) {
        std::uint32_t key;
        if (members_.isKeyedByIndex()) {
            const std::int32_t index = members_.indices()[row];
            if (static_cast<std::uint32_t>(index) >= keyCount_) [[unlikely]] {
                return memberChild(parent, members_.codeOfOtherRow(row), row, nodes);
            }
            key = static_cast<std::uint32_t>(index);
        } else {
            key = members_.codes()[position];
        }
        if (dense_) {
            const std::size_t slot = std::size_t{parent} * width_ + key;
            if (slot < nodeOfPair_.size() || growDenseTable(parent)) [[likely]] {
                std::uint32_t& node = nodeOfPair_[slot];
                if (node == NO_CODE) [[unlikely]] {
                    node = memberChild(parent, codeOfKey(key), row, nodes);
                }
                return node;
            }
        }
        return mappedChild(parent, key, row, nodes);
    }

private:
    static constexpr std::size_t DENSE_LIMIT = std::size_t{1} << 24;

    std::uint32_t codeOfKey(std::uint32_t key) {
        return members_.isKeyedByIndex() ? members_.codeOfIndex(static_cast<std::int32_t>(key)) : key;
    }

    [[gnu::noinline]] std::uint32_t mappedChild(std::uint32_t parent, std::uint32_t key, std::int32_t row,
                                                LevelNodes& nodes) {
        std::uint32_t& node = nodeOfPairMap_.find((std::uint64_t{parent} << 32) | key);
        if (node == NO_CODE) {
            node = memberChild(parent, codeOfKey(key), row, nodes);
        }
        return node;
    }

    [[gnu::noinline]] std::uint32_t memberChild(std::uint32_t parent, std::uint32_t code, std::int32_t row,
                                                LevelNodes& nodes) {
        std::uint32_t& node = nodeOfMember_.find((std::uint64_t{parent} << 32) | code);
        if (node == NO_CODE) {
            node = nodes.add(parent, code, row);
        }
        return node;
    }

    // Grows the dense table to hold `parent`'s row; when it would pass the limit, moves its pairs
    // to the hash map and answers false.
    [[gnu::noinline]] bool growDenseTable(std::uint32_t parent) {
        const std::size_t parents = std::max<std::size_t>(std::size_t{parent} + 1, nodeOfPair_.size() / width_ * 2);
        if (parents * width_ <= DENSE_LIMIT) {
            nodeOfPair_.resize(parents * width_, NO_CODE);
            return true;
        }
        for (std::size_t slot = 0; slot < nodeOfPair_.size(); ++slot) {
            if (nodeOfPair_[slot] != NO_CODE) {
                nodeOfPairMap_.find(((slot / width_) << 32) | (slot % width_)) = nodeOfPair_[slot];
            }
        }
        nodeOfPair_ = {};
        dense_ = false;
        return false;
    }

    MemberCodes& members_;
    std::uint32_t keyCount_;
    std::size_t width_;
    bool dense_ = true;
    std::vector<std::uint32_t> nodeOfPair_;
    CodeMap nodeOfPairMap_;
    CodeMap nodeOfMember_;
};

std::shared_ptr<DataValue> memberValue(const Column& column, std::int32_t row, const SharedString& formattedValue) {
    if (column.getDataType() == DataType::STRING) {
        auto value = DataValue::create(column.getStringAtIndex(row), column.getStringIndexAtIndex(row));
        if (value->getFormattedValue() != formattedValue) {
            value->setFormattedValue(formattedValue);
        }
        return value;
    }
    const auto& numbers = column.getNumbers();
    auto value = DataValue::create(numbers ? (*numbers)[static_cast<std::size_t>(row)] : DataTokens::MISSING_NUMERIC);
    value->setFormattedValue(formattedValue);
    return value;
}

// --- Measures --------------------------------------------------------------------------------------

// The running values of one measure in one leaf, before they become an Aggregator.
struct LeafSummary {
    Aggregator::RunningValues values;
    std::int32_t firstRow = -1;
};

std::uint32_t toCount(double weight) {
    if (!(weight > 0)) {
        return 0;
    }
    return weight >= 4294967295.0 ? std::numeric_limits<std::uint32_t>::max()
                                  : static_cast<std::uint32_t>(std::llround(weight));
}

constexpr const char* FATAL_FREQUENCY_MESSAGE =
    "FATAL DATA ERROR: partially aggregated frequency columns can never contain NaN.";

// Every row weighs one value and no missing one.
struct UnitWeights {
    std::uint32_t count(std::int32_t) const { return 1; }
    std::uint32_t missing(std::int32_t) const { return 0; }
};

// Row weights from frequency columns; a NaN frequency of partially aggregated data is a data fault.
struct ColumnWeights {
    const double* frequency = nullptr;
    const double* frequencyWithMissing = nullptr;
    bool nanIsFatal = false;
    bool* hadFatalDataError = nullptr;

    std::uint32_t count(std::int32_t row) const {
        if (!frequency) {
            return 1;
        }
        const double weight = frequency[row];
        if (nanIsFatal && std::isnan(weight)) [[unlikely]] {
            reportFatal();
        }
        return toCount(weight);
    }
    std::uint32_t missing(std::int32_t row) const {
        if (!frequency || !frequencyWithMissing) {
            return 0;
        }
        const double difference = frequencyWithMissing[row] - frequency[row];
        return std::isnan(difference) ? 0 : toCount(difference);
    }
    void reportFatal() const {
        if (!*hadFatalDataError) {
            Logger::error(FATAL_FREQUENCY_MESSAGE);
        }
        *hadFatalDataError = true;
    }
};

struct ArrayValues {
    const double* numbers;
    double operator()(std::int32_t row) const { return numbers[row]; }
};

struct MissingValues {
    double operator()(std::int32_t) const { return DataTokens::MISSING_NUMERIC; }
};

// The numeric aggregation of Aggregator::aggregate(double, count, missing), row after row into
// flat per-leaf summaries.
template <typename Values, typename Weights>
void aggregateNumbers(const RowSource& rows, const std::vector<std::uint32_t>& leafOfPosition, Values values,
                      Weights weights, std::vector<LeafSummary>& leaves) {
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const double value = values(row);
        if (value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) [[unlikely]] {
            continue;
        }
        LeafSummary& leaf = leaves[leafOfPosition[position]];
        if (leaf.firstRow < 0) [[unlikely]] {
            leaf.firstRow = row;
        }
        Aggregator::RunningValues& running = leaf.values;
        if (std::isnan(value)) [[unlikely]] {
            const std::uint32_t missing = weights.missing(row);
            running.missingCount += missing == 0 ? 1.0 : static_cast<double>(missing);
            running.missingSeen = true;
            continue;
        }
        running.count += weights.count(row);
        running.missingCount += weights.missing(row);
        running.sum = (std::isnan(running.sum) ? 0.0 : running.sum) + value;
        running.min = std::min(running.min, value);
        running.max = std::max(running.max, value);
    }
}

// The distinct numbers of each leaf, for COUNT_DISTINCT. The numbers get dense codes first, so
// that (leaf, number) pairs can be ticked off in a bitmap while it stays small.
template <typename Values>
std::vector<std::vector<double>> collectDistinctNumbers(const RowSource& rows,
                                                        const std::vector<std::uint32_t>& leafOfPosition, Values values,
                                                        std::size_t leafCount) {
    std::vector<std::vector<double>> distinct(leafCount);
    std::vector<std::uint32_t> codeOfPosition(rows.size(), NO_CODE);
    std::vector<double> numberOfCode;
    CodeMap codeOfNumber;
    for (std::size_t position = 0; position < rows.size(); ++position) {
        double value = values(rows[position]);
        if (std::isnan(value) || value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) {
            continue;
        }
        value = value == 0 ? 0.0 : value;  // -0 and 0 are one value
        std::uint32_t& code = codeOfNumber.find(std::bit_cast<std::uint64_t>(value));
        if (code == NO_CODE) {
            code = static_cast<std::uint32_t>(numberOfCode.size());
            numberOfCode.push_back(value);
        }
        codeOfPosition[position] = code;
    }
    const std::uint64_t width = numberOfCode.size();
    const bool useBitmap = width * leafCount <= (std::uint64_t{1} << 30);
    std::vector<std::uint64_t> seenBits(useBitmap ? (width * leafCount + 63) / 64 : 0, 0);
    CodeMap seenPairs;
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::uint32_t code = codeOfPosition[position];
        if (code == NO_CODE) {
            continue;
        }
        const std::uint32_t leaf = leafOfPosition[position];
        bool isNew;
        if (useBitmap) {
            const std::uint64_t bit = leaf * width + code;
            std::uint64_t& word = seenBits[bit / 64];
            const std::uint64_t mask = std::uint64_t{1} << (bit % 64);
            isNew = (word & mask) == 0;
            word |= mask;
        } else {
            std::uint32_t& seen = seenPairs.find((std::uint64_t{leaf} << 32) | code);
            isNew = seen == NO_CODE;
            seen = 1;
        }
        if (isNew) {
            distinct[leaf].push_back(numberOfCode[code]);
        }
    }
    return distinct;
}

struct MeasureSummaries {
    std::vector<LeafSummary> leaves;
    std::vector<std::vector<double>> distinctNumbers;
    std::vector<std::vector<SharedString>> distinctStrings;
    bool isString = false;
    // The column and row that give a leaf's first value.
    std::shared_ptr<Column> valueColumn;
};

template <typename Weights>
void summarizeStringMeasure(const Column& column, bool countDistinct, const RowSource& rows,
                            const std::vector<std::uint32_t>& leafOfPosition, Weights weights,
                            MeasureSummaries& summaries) {
    std::vector<std::unordered_set<const std::string*>> seen(countDistinct ? summaries.leaves.size() : 0);
    if (countDistinct) {
        summaries.distinctStrings.resize(summaries.leaves.size());
    }
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const SharedString text = column.getStringAtIndex(row);
        if (column.getStringIndexAtIndex(row) == DataTokens::TOKEN_SPARSE || !text || text->empty()) {
            continue;
        }
        const std::uint32_t leafNumber = leafOfPosition[position];
        LeafSummary& leaf = summaries.leaves[leafNumber];
        if (leaf.firstRow < 0) {
            leaf.firstRow = row;
        }
        leaf.values.count += weights.count(row);
        leaf.values.missingCount += weights.missing(row);
        if (countDistinct && seen[leafNumber].insert(text.get()).second) {
            summaries.distinctStrings[leafNumber].push_back(text);
        }
    }
}

template <typename Weights>
MeasureSummaries summarizeMeasure(const HierarchyTreeBuilder::Measure& measure, const RowSource& rows,
                                  const std::vector<std::uint32_t>& leafOfPosition, std::size_t leafCount,
                                  Weights weights) {
    MeasureSummaries summaries;
    summaries.leaves.resize(leafCount);
    const bool countDistinct = measure.statistic == StatisticType::COUNT_DISTINCT;
    if (!measure.column) {
        return summaries;  // a measure the data set lacks keeps fresh aggregators
    }
    const Column& column = *measure.column;
    if (column.getDataType() == DataType::STRING) {
        summaries.isString = true;
        summaries.valueColumn = measure.column;
        summarizeStringMeasure(column, countDistinct, rows, leafOfPosition, weights, summaries);
        return summaries;
    }
    summaries.valueColumn = measure.column;
    if (const auto& numbers = column.getNumbers()) {
        const ArrayValues values{numbers->data()};
        aggregateNumbers(rows, leafOfPosition, values, weights, summaries.leaves);
        if (countDistinct) {
            summaries.distinctNumbers = collectDistinctNumbers(rows, leafOfPosition, values, leafCount);
        }
    } else {
        aggregateNumbers(rows, leafOfPosition, MissingValues{}, weights, summaries.leaves);
    }
    return summaries;
}

// A partially aggregated measure reads the sub-column of its statistic (MEAN the SUM sub-column,
// PERCENT the FREQUENCY_WITH_MISSING one), weighted by the FREQUENCY and FREQUENCY_WITH_MISSING
// sub-columns.
MeasureSummaries summarizePartiallyAggregatedMeasure(const HierarchyTreeBuilder::Measure& measure,
                                                     const PartiallyAggregatedColumn& column, const RowSource& rows,
                                                     const std::vector<std::uint32_t>& leafOfPosition,
                                                     std::size_t leafCount, bool& hadFatalDataError) {
    StatisticType::type valueStatistic = measure.statistic;
    if (valueStatistic == StatisticType::MEAN) {
        valueStatistic = StatisticType::SUM;
    } else if (valueStatistic == StatisticType::PERCENT) {
        valueStatistic = StatisticType::FREQUENCY_WITH_MISSING;
    }
    const auto frequency = column.getColumnForAggregation(StatisticType::FREQUENCY);
    const auto frequencyWithMissing = column.getColumnForAggregation(StatisticType::FREQUENCY_WITH_MISSING);
    const auto valueColumn = column.getColumnForAggregation(valueStatistic);
    ColumnWeights weights;
    weights.frequency = frequency && frequency->getNumbers() ? frequency->getNumbers()->data() : nullptr;
    weights.frequencyWithMissing = frequencyWithMissing && frequencyWithMissing->getNumbers()
                                       ? frequencyWithMissing->getNumbers()->data()
                                       : nullptr;
    weights.nanIsFatal = true;
    weights.hadFatalDataError = &hadFatalDataError;
    if (!valueColumn || !valueColumn->getNumbers()) {
        MeasureSummaries summaries;
        summaries.leaves.resize(leafCount);
        aggregateNumbers(rows, leafOfPosition, MissingValues{}, UnitWeights{}, summaries.leaves);
        return summaries;
    }
    HierarchyTreeBuilder::Measure plain{valueColumn, measure.statistic};
    return summarizeMeasure(plain, rows, leafOfPosition, leafCount, weights);
}

std::shared_ptr<Aggregator> makeAggregator(const MeasureSummaries& summaries, std::size_t leaf, bool countDistinct) {
    auto aggregator = Aggregator::create(countDistinct);
    const LeafSummary& summary = summaries.leaves[leaf];
    aggregator->setRunningValues(summary.values);
    if (summary.firstRow >= 0) {
        if (summaries.isString) {
            const Column& column = *summaries.valueColumn;
            aggregator->setFirst(DataValue::create(column.getStringAtIndex(summary.firstRow),
                                                   column.getStringIndexAtIndex(summary.firstRow)));
        } else {
            const auto& numbers = summaries.valueColumn ? summaries.valueColumn->getNumbers() : nullptr;
            aggregator->setFirst(DataValue::create(numbers ? (*numbers)[static_cast<std::size_t>(summary.firstRow)]
                                                           : DataTokens::MISSING_NUMERIC));
            aggregator->createDistinctNumberSet();
        }
    }
    if (!countDistinct) {
        // Only COUNT_DISTINCT asks whether a missing number was seen.
        Aggregator::RunningValues values = summary.values;
        values.missingSeen = false;
        aggregator->setRunningValues(values);
    }
    if (leaf < summaries.distinctNumbers.size()) {
        aggregator->addDistinctNumbers(summaries.distinctNumbers[leaf]);
    }
    if (leaf < summaries.distinctStrings.size()) {
        for (const SharedString& text : summaries.distinctStrings[leaf]) {
            aggregator->addDistinctString(text);
        }
    }
    return aggregator;
}

const double* numbersOf(const std::shared_ptr<Column>& column) {
    return column && column->getNumbers() ? column->getNumbers()->data() : nullptr;
}

// Limits the rows to what every column of the build holds.
std::int32_t usableRowCount(const HierarchyTreeBuilder::Request& request) {
    std::int32_t count = request.numberOfRows;
    const auto limit = [&count](const std::shared_ptr<Column>& column) {
        if (column) {
            count = std::min(count, column->getNumberOfRows());
        }
    };
    for (const auto& column : request.levelColumns) {
        limit(column);
    }
    for (const auto& column : request.sortOnRawColumns) {
        limit(column);
    }
    for (const auto& measure : request.measures) {
        limit(measure.column);
        if (const auto* partial = dynamic_cast<const PartiallyAggregatedColumn*>(measure.column.get())) {
            if (const auto subColumns = partial->getSubColumns()) {
                for (const auto& subColumn : *subColumns) {
                    limit(subColumn);
                }
            }
        }
    }
    limit(request.frequencyColumn);
    limit(request.frequencyWithMissingColumn);
    return std::max(count, 0);
}

}  // namespace

namespace {

// The leaf of every classified row, expanded into the leaves' row vectors on first request: one
// counting pass and one scattered write per row, paid only by whoever needs the rows.
class RecordedLeafRows : public PendingRowIndices {
public:
    RecordedLeafRows(const RowSource& rows, std::vector<std::uint32_t> leafOfPosition,
                     const std::vector<std::shared_ptr<DataTreeNode>>& leaves)
        : leafOfPosition_(std::move(leafOfPosition)) {
        rows_.reserve(rows.isList() ? rows.size() : 0);
        if (rows.isList()) {
            for (std::size_t position = 0; position < rows.size(); ++position) {
                rows_.push_back(rows[position]);
            }
        }
        leaves_.assign(leaves.begin(), leaves.end());
    }

    void materialize() override {
        std::call_once(once_, [this] {
            std::vector<std::size_t> rowsPerLeaf(leaves_.size(), 0);
            for (const std::uint32_t leaf : leafOfPosition_) {
                ++rowsPerLeaf[leaf];
            }
            std::vector<std::shared_ptr<DataTreeNode::RowIndexVector>> vectors(leaves_.size());
            for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
                vectors[leaf] = std::make_shared<DataTreeNode::RowIndexVector>();
                vectors[leaf]->reserve(rowsPerLeaf[leaf]);
            }
            for (std::size_t position = 0; position < leafOfPosition_.size(); ++position) {
                const auto row = rows_.empty() ? static_cast<std::int32_t>(position) : rows_[position];
                vectors[leafOfPosition_[position]]->push_back(row);
            }
            for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
                if (const auto node = leaves_[leaf].lock()) {
                    node->setRowIndexVector(std::move(vectors[leaf]));
                }
            }
            leafOfPosition_ = {};
            rows_ = {};
        });
    }

private:
    std::once_flag once_;
    std::vector<std::uint32_t> leafOfPosition_;
    std::vector<std::int32_t> rows_;
    std::vector<std::weak_ptr<DataTreeNode>> leaves_;
};

}  // namespace

namespace {

// Makes the nodes of levels [0, levelNodes.size()) below a new root, each parent's children in the
// order rows reach them; answers the nodes of the last level.
std::vector<std::shared_ptr<DataTreeNode>> makeNodes(const std::shared_ptr<DataTreeNode>& root,
                                                     const std::vector<const LevelNodes*>& levelNodes,
                                                     const std::vector<const Column*>& columns,
                                                     const std::vector<const MemberCodes*>& members,
                                                     const std::vector<const Column*>& sortOnRawColumns) {
    std::vector<std::shared_ptr<DataTreeNode>> parents{root};
    for (std::size_t level = 0; level < levelNodes.size(); ++level) {
        const LevelNodes& nodes = *levelNodes[level];
        const auto& texts = members[level]->texts();
        const Column* sortOnRaw = level < sortOnRawColumns.size() ? sortOnRawColumns[level] : nullptr;
        std::vector<std::shared_ptr<DataTreeNode>> made(nodes.parent.size());
        for (std::size_t number = 0; number < made.size(); ++number) {
            const SharedString& text = texts[nodes.code[number]];
            auto node = DataTreeNode::create(text, memberValue(*columns[level], nodes.firstRow[number], text));
            if (sortOnRaw) {
                node->setSortOnRawValue(sortOnRaw->getDataValueAtIndex(nodes.firstRow[number], false));
            }
            parents[nodes.parent[number]]->addChild(node);
            made[number] = std::move(node);
        }
        parents = std::move(made);
    }
    return parents;
}

}  // namespace

HierarchyTreeBuilder::Result HierarchyTreeBuilder::build(const Request& request) {
    Result result;
    const RowSource rows(request.rows, usableRowCount(request));
    const std::size_t levelCount = request.levelColumns.size();

    std::vector<std::unique_ptr<MemberCodes>> members;
    std::vector<LevelClassifier> classifiers;
    std::vector<LevelNodes> levelNodes(levelCount);
    for (const auto& column : request.levelColumns) {
        members.push_back(std::make_unique<MemberCodes>(*column, rows));
        classifiers.emplace_back(*members.back());
    }
    // Display trees of levels further down are classified separately, over the same members.
    struct SeparateTree {
        std::size_t firstLevel;
        std::vector<LevelClassifier> classifiers;
        std::vector<LevelNodes> levelNodes;
    };
    std::vector<SeparateTree> separateTrees;
    for (const auto& [firstLevel, count] : request.displayRanges) {
        if (firstLevel > 0 && firstLevel + count <= levelCount && count > 0) {
            SeparateTree tree{firstLevel, {}, std::vector<LevelNodes>(count)};
            for (std::size_t level = firstLevel; level < firstLevel + count; ++level) {
                tree.classifiers.emplace_back(*members[level]);
            }
            separateTrees.push_back(std::move(tree));
        }
    }

    // One pass: each row walks its levels through small tables to its leaf.
    std::vector<std::uint32_t> leafOfPosition(rows.size(), 0);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        std::uint32_t node = 0;
        for (std::size_t level = 0; level < levelCount; ++level) {
            node = classifiers[level].childOf(node, row, position, levelNodes[level]);
        }
        leafOfPosition[position] = node;
        for (auto& tree : separateTrees) {
            std::uint32_t displayNode = 0;
            for (std::size_t level = 0; level < tree.classifiers.size(); ++level) {
                displayNode = tree.classifiers[level].childOf(displayNode, row, position, tree.levelNodes[level]);
            }
        }
    }

    std::vector<const Column*> columns;
    std::vector<const MemberCodes*> memberList;
    std::vector<const LevelNodes*> nodeList;
    std::vector<const Column*> sortOnRawColumns;
    for (std::size_t level = 0; level < levelCount; ++level) {
        columns.push_back(request.levelColumns[level].get());
        memberList.push_back(members[level].get());
        nodeList.push_back(&levelNodes[level]);
        sortOnRawColumns.push_back(level < request.sortOnRawColumns.size() ? request.sortOnRawColumns[level].get()
                                                                           : nullptr);
    }
    result.root = DataTreeNode::createRoot();
    const std::vector<std::shared_ptr<DataTreeNode>> leaves =
        makeNodes(result.root, nodeList, columns, memberList, sortOnRawColumns);

    // Display trees: a range from the first level shares the classification above.
    for (const auto& [firstLevel, count] : request.displayRanges) {
        auto displayRoot = DataTreeNode::createRoot();
        const auto slice = [&](const auto& all, std::size_t first) {
            return std::vector<std::remove_cvref_t<decltype(all[0])>>(
                all.begin() + static_cast<std::ptrdiff_t>(first),
                all.begin() + static_cast<std::ptrdiff_t>(first + count));
        };
        if (firstLevel + count > levelCount || count == 0) {
            result.displayTrees.push_back(displayRoot);
            continue;
        }
        if (firstLevel == 0) {
            makeNodes(displayRoot, slice(nodeList, 0), slice(columns, 0), slice(memberList, 0),
                      slice(sortOnRawColumns, 0));
        } else {
            const auto found =
                std::find_if(separateTrees.begin(), separateTrees.end(),
                             [first = firstLevel](const auto& tree) { return tree.firstLevel == first; });
            std::vector<const LevelNodes*> separateNodes;
            for (const auto& nodes : found->levelNodes) {
                separateNodes.push_back(&nodes);
            }
            makeNodes(displayRoot, separateNodes, slice(columns, firstLevel), slice(memberList, firstLevel),
                      slice(sortOnRawColumns, firstLevel));
        }
        result.displayTrees.push_back(displayRoot);
    }

    // Without rows a tree with levels has no leaf to give aggregators to.
    if (levelCount > 0 && rows.size() == 0) {
        return result;
    }

    // Aggregate the measures into flat per-leaf summaries, then hand them to the leaves.
    ColumnWeights weights;
    weights.frequency = numbersOf(request.frequencyColumn);
    weights.frequencyWithMissing = numbersOf(request.frequencyWithMissingColumn);
    weights.hadFatalDataError = &result.hadFatalDataError;
    std::vector<MeasureSummaries> summaries;
    for (const auto& measure : request.measures) {
        if (const auto* partial = dynamic_cast<const PartiallyAggregatedColumn*>(measure.column.get())) {
            summaries.push_back(summarizePartiallyAggregatedMeasure(measure, *partial, rows, leafOfPosition,
                                                                    leaves.size(), result.hadFatalDataError));
        } else if (weights.frequency) {
            summaries.push_back(summarizeMeasure(measure, rows, leafOfPosition, leaves.size(), weights));
        } else {
            summaries.push_back(summarizeMeasure(measure, rows, leafOfPosition, leaves.size(), UnitWeights{}));
        }
    }
    for (std::size_t leaf = 0; leaf < leaves.size(); ++leaf) {
        auto aggregators = std::make_shared<Aggregator::AggregatorList>();
        aggregators->reserve(request.measures.size());
        for (std::size_t measure = 0; measure < request.measures.size(); ++measure) {
            aggregators->push_back(makeAggregator(
                summaries[measure], leaf, request.measures[measure].statistic == StatisticType::COUNT_DISTINCT));
        }
        leaves[leaf]->setMeasureAggregators(std::move(aggregators));
    }
    if (request.keepRowIndices) {
        auto recorded = std::make_shared<RecordedLeafRows>(rows, std::move(leafOfPosition), leaves);
        for (const auto& leaf : leaves) {
            leaf->setPendingRowIndices(recorded);
        }
    }
    return result;
}

std::vector<std::int32_t> HierarchyTreeBuilder::selectRowsWithFormattedValue(const Column& column,
                                                                             std::string_view formattedValue,
                                                                             const std::vector<std::int32_t>* rows,
                                                                             std::int32_t numberOfRows) {
    const RowSource source(rows, std::min(numberOfRows, column.getNumberOfRows()));
    const LevelCodes level = encodeLevel(column, source);
    std::vector<std::int32_t> selected;
    const auto found = std::find_if(level.texts.begin(), level.texts.end(),
                                    [&](const SharedString& text) { return *text == formattedValue; });
    if (found == level.texts.end()) {
        return selected;
    }
    const auto code = static_cast<std::uint32_t>(found - level.texts.begin());
    for (std::size_t position = 0; position < source.size(); ++position) {
        if (level.codes[position] == code) {
            selected.push_back(source[position]);
        }
    }
    return selected;
}

}  // namespace pellium
