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
    RowSource(const std::vector<std::int32_t>* rows, std::int32_t limit)
        : rowLimit_(static_cast<std::size_t>(std::max(limit, 0))) {
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
    /// One past the greatest row that can be visited.
    std::size_t rowLimit() const { return rowLimit_; }
    std::int32_t operator[](std::size_t position) const {
        return isList_ ? selected_[position] : static_cast<std::int32_t>(position);
    }

private:
    std::vector<std::int32_t> selected_;
    std::size_t size_ = 0;
    std::size_t rowLimit_ = 0;
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

std::shared_ptr<Formatter> formatterFor(const Column& column) {
    auto& factory = *FormatterFactory::instance();
    const SharedString& formatName = column.getFormatName();
    auto formatter = formatName ? factory.getFormatterForFormatName(formatName) : nullptr;
    return formatter ? formatter : factory.getDefaultNumericFormatter();
}

SharedString formattedStringCell(const Column& column, std::int32_t row) {
    return DataValue::formatStringValue(column.getStringAtIndex(row), column.getStringIndexAtIndex(row));
}

// The member of every visited row at one level: a key per row and a member code per key, so that
// the code of a row is codeOfKey[keys[row]]. A string column read through its string table is keyed
// by the string index itself, and each index that occurs (token codes included) is resolved to its
// member once. Any other column gets a member code per row up front, its keys being those codes: a
// numeric column formats each distinct number once, a column of explicit texts looks each row's text
// up. Member codes number the distinct formatted texts: two cells that format alike are one member.
class LevelMembers {
public:
    LevelMembers(const Column& column, const RowSource& rows) {
        if (!encodeByStringIndex(column, rows)) {
            encodeByRow(column, rows);
        }
    }

    /// The keys, indexed by row (valid for the visited rows).
    const std::int32_t* keys() const { return keys_; }
    /// The member code of each key, offset so that it can be indexed by any key that occurs.
    const std::uint32_t* codeOfKey() const { return codeOfKey_.data() + keyOffset_; }
    std::int32_t firstKey() const { return -static_cast<std::int32_t>(keyOffset_); }
    std::size_t keyCount() const { return codeOfKey_.size(); }
    std::uint32_t memberOfRow(std::int32_t row) const { return codeOfKey()[keys_[row]]; }
    std::size_t memberCount() const { return texts_.size(); }
    const std::vector<SharedString>& texts() const { return texts_; }

private:
    // Token codes run from -100 (matches all) to -1 (missing).
    static constexpr std::size_t TOKEN_KEYS = 100;

    bool encodeByStringIndex(const Column& column, const RowSource& rows) {
        const auto& table = column.getResolvedStringTable();
        indices_ = column.getStringIndices();
        if (column.getDataType() != DataType::STRING || !indices_ || !table || column.hasExplicitStrings()) {
            indices_.reset();
            return false;
        }
        // A row of each key that occurs (any row: a key's text does not depend on the row). An index
        // that is neither a token nor in the table lands in the last slot, and makes the column fall
        // back to codes per row. The loop stores without testing, so that it runs at memory speed.
        const std::size_t keyCount = table->size() + TOKEN_KEYS;
        std::vector<std::int32_t> rowOfKey(keyCount + 1, -1);
        const std::int32_t* indexOfRow = indices_->data();
        const auto recordRow = [&](std::int32_t row) {
            const auto key = static_cast<std::uint32_t>(indexOfRow[row] + static_cast<std::int32_t>(TOKEN_KEYS));
            rowOfKey[std::min<std::size_t>(key, keyCount)] = row;
        };
        if (rows.isList()) {
            for (std::size_t position = 0; position < rows.size(); ++position) {
                recordRow(rows[position]);
            }
        } else {
            for (std::int32_t row = 0; row < static_cast<std::int32_t>(rows.size()); ++row) {
                recordRow(row);
            }
        }
        if (rowOfKey[keyCount] >= 0) {
            indices_.reset();
            return false;
        }
        rowOfKey.pop_back();
        MemberDictionary dictionary;
        codeOfKey_.assign(rowOfKey.size(), NO_CODE);
        for (std::size_t key = 0; key < rowOfKey.size(); ++key) {
            if (rowOfKey[key] >= 0) {
                codeOfKey_[key] = dictionary.codeFor(formattedStringCell(column, rowOfKey[key]));
            }
        }
        keyOffset_ = TOKEN_KEYS;
        keys_ = indexOfRow;
        texts_ = dictionary.texts();
        return true;
    }

    void encodeByRow(const Column& column, const RowSource& rows) {
        MemberDictionary dictionary;
        codeOfRow_.assign(rows.rowLimit(), 0);
        if (column.getDataType() == DataType::STRING) {
            for (std::size_t position = 0; position < rows.size(); ++position) {
                const std::int32_t row = rows[position];
                codeOfRow_[static_cast<std::size_t>(row)] =
                    static_cast<std::int32_t>(dictionary.codeFor(formattedStringCell(column, row)));
            }
        } else if (column.getNumbers()) {
            encodeNumbers(column, rows, dictionary);
        } else {
            dictionary.codeFor(DataTokens::getMissingNumericDisplayString());
        }
        texts_ = dictionary.texts();
        codeOfKey_.resize(texts_.size());
        for (std::size_t code = 0; code < codeOfKey_.size(); ++code) {
            codeOfKey_[code] = static_cast<std::uint32_t>(code);
        }
        keyOffset_ = 0;
        keys_ = codeOfRow_.data();
    }

    // Each distinct number is formatted once. A small direct-mapped cache of recent numbers keeps
    // the hash map out of the loop for the few distinct numbers a level usually has.
    void encodeNumbers(const Column& column, const RowSource& rows, MemberDictionary& dictionary) {
        const double* numbers = column.getNumbers()->data();
        const auto formatter = formatterFor(column);
        CodeMap codeOfNumber;
        struct CachedNumber {
            std::uint64_t bits = 0;
            std::uint32_t code = NO_CODE;
        };
        std::array<CachedNumber, 256> cache{};
        for (std::size_t position = 0; position < rows.size(); ++position) {
            const std::int32_t row = rows[position];
            const auto bits = std::bit_cast<std::uint64_t>(numbers[row]);
            CachedNumber& cached = cache[(bits * 0x9E3779B97F4A7C15ULL) >> 56];
            if (cached.bits != bits || cached.code == NO_CODE) [[unlikely]] {
                std::uint32_t& code = codeOfNumber.find(bits);
                if (code == NO_CODE) {
                    code = dictionary.codeFor(
                        StringUtilities::internString(DataValue::formatNumericValue(numbers[row], *formatter)));
                }
                cached = {bits, code};
            }
            codeOfRow_[static_cast<std::size_t>(row)] = static_cast<std::int32_t>(cached.code);
        }
    }

    std::shared_ptr<Column::IndexVector> indices_;  // keeps the keys alive
    std::vector<std::int32_t> codeOfRow_;
    const std::int32_t* keys_ = nullptr;
    std::size_t keyOffset_ = 0;
    std::vector<std::uint32_t> codeOfKey_;
    std::vector<SharedString> texts_;
};

// The crossing of every visited row: one number per distinct combination of its members at all
// levels. When the product of the levels' member counts is small, the number is computed per row
// from the keys through tables of premultiplied member codes (no array per row is written); past
// that the crossings are numbered once per row, level by level, renumbering through a hash map
// whenever the product would outgrow the limit.
class RowCrossings {
public:
    RowCrossings(const std::vector<std::unique_ptr<LevelMembers>>& levels, const RowSource& rows) : rows_(rows) {
        std::uint64_t product = 1;
        bool fits = true;
        for (const auto& level : levels) {
            product *= std::max<std::size_t>(level->memberCount(), 1);
            fits = fits && product <= denseLimit(rows.size());
        }
        if (fits) {
            makeStrideTables(levels);
        } else {
            numberPerRow(levels);
        }
    }

    /// The number of crossing numbers (some may not occur).
    std::size_t crossingCount() const { return crossingCount_; }

    /// Calls visit(position, row, crossing) for every visited row in order.
    template <typename Visit>
    void forEachRow(const Visit& visit) const {
        if (!crossingOfPosition_.empty()) {
            forEachRowOf(visit, [this](std::size_t position, std::int32_t) { return crossingOfPosition_[position]; });
            return;
        }
        const auto key = [this](std::size_t level) { return keys_[level]; };
        const auto table = [this](std::size_t level) { return tables_[level]; };
        switch (keys_.size()) {
            case 0:
                forEachRowOf(visit, [](std::size_t, std::int32_t) { return std::uint32_t{0}; });
                break;
            case 1:
                forEachRowOf(visit,
                             [k0 = key(0), t0 = table(0)](std::size_t, std::int32_t row) { return t0[k0[row]]; });
                break;
            case 2:
                forEachRowOf(visit, [k0 = key(0), t0 = table(0), k1 = key(1), t1 = table(1)](
                                        std::size_t, std::int32_t row) { return t0[k0[row]] + t1[k1[row]]; });
                break;
            case 3:
                forEachRowOf(visit,
                             [k0 = key(0), t0 = table(0), k1 = key(1), t1 = table(1), k2 = key(2), t2 = table(2)](
                                 std::size_t, std::int32_t row) { return t0[k0[row]] + t1[k1[row]] + t2[k2[row]]; });
                break;
            default:
                forEachRowOf(visit, [this](std::size_t, std::int32_t row) {
                    std::uint32_t crossing = 0;
                    for (std::size_t level = 0; level < keys_.size(); ++level) {
                        crossing += tables_[level][keys_[level][row]];
                    }
                    return crossing;
                });
                break;
        }
    }

private:
    // Dense numbers address flat per-crossing arrays; their size is held to the data's.
    static std::uint64_t denseLimit(std::size_t rowCount) {
        return std::clamp<std::uint64_t>(rowCount, std::uint64_t{1} << 16, std::uint64_t{1} << 22);
    }

    template <typename Visit, typename CrossingOf>
    void forEachRowOf(const Visit& visit, CrossingOf crossingOf) const {
        if (rows_.isList()) {
            for (std::size_t position = 0; position < rows_.size(); ++position) {
                const std::int32_t row = rows_[position];
                visit(position, row, crossingOf(position, row));
            }
        } else {
            const auto count = static_cast<std::int32_t>(rows_.size());
            for (std::int32_t row = 0; row < count; ++row) {
                visit(static_cast<std::size_t>(row), row, crossingOf(static_cast<std::size_t>(row), row));
            }
        }
    }

    // Row-major numbering: the last level varies fastest.
    void makeStrideTables(const std::vector<std::unique_ptr<LevelMembers>>& levels) {
        std::uint32_t stride = 1;
        storage_.resize(levels.size());
        for (std::size_t level = levels.size(); level-- > 0;) {
            const LevelMembers& members = *levels[level];
            std::vector<std::uint32_t>& table = storage_[level];
            table.resize(members.keyCount());
            const std::uint32_t* codes = members.codeOfKey() + members.firstKey();
            for (std::size_t key = 0; key < table.size(); ++key) {
                // Keys that never occur keep an out-of-range code; they are never read.
                table[key] = codes[key] == NO_CODE ? 0 : codes[key] * stride;
            }
            stride *= static_cast<std::uint32_t>(std::max<std::size_t>(members.memberCount(), 1));
        }
        for (std::size_t level = 0; level < levels.size(); ++level) {
            keys_.push_back(levels[level]->keys());
            tables_.push_back(storage_[level].data() - levels[level]->firstKey());
        }
        crossingCount_ = stride;
    }

    void numberPerRow(const std::vector<std::unique_ptr<LevelMembers>>& levels) {
        crossingOfPosition_.assign(rows_.size(), 0);
        std::uint64_t count = 1;
        for (const auto& level : levels) {
            const std::uint64_t width = std::max<std::size_t>(level->memberCount(), 1);
            if (count * width <= denseLimit(rows_.size())) {
                for (std::size_t position = 0; position < rows_.size(); ++position) {
                    std::uint32_t& crossing = crossingOfPosition_[position];
                    crossing = crossing * static_cast<std::uint32_t>(width) + level->memberOfRow(rows_[position]);
                }
                count *= width;
                continue;
            }
            CodeMap renumbered(1024);
            std::uint32_t next = 0;
            for (std::size_t position = 0; position < rows_.size(); ++position) {
                std::uint32_t& crossing = crossingOfPosition_[position];
                std::uint32_t& number =
                    renumbered.find((std::uint64_t{crossing} << 32) | level->memberOfRow(rows_[position]));
                if (number == NO_CODE) {
                    number = next++;
                }
                crossing = number;
            }
            count = next;
        }
        crossingCount_ = static_cast<std::size_t>(count);
    }

    const RowSource& rows_;
    std::vector<const std::int32_t*> keys_;
    std::vector<const std::uint32_t*> tables_;
    std::vector<std::vector<std::uint32_t>> storage_;
    std::vector<std::uint32_t> crossingOfPosition_;
    std::size_t crossingCount_ = 1;
};

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

// Classifies the crossings that occur, in the order of their first rows, by levels [first, first +
// count): each crossing walks down the levels, making the children it reaches first. A node's first
// row is the least first row of its crossings, so this makes the nodes in the order a walk over all
// rows would, and gives each crossing its node at the last of the levels.
std::vector<LevelNodes> classifyCrossings(const std::vector<std::uint32_t>& crossingsInOrder,
                                          const std::vector<std::int32_t>& firstRowOfCrossing,
                                          const std::vector<std::unique_ptr<LevelMembers>>& levels, std::size_t first,
                                          std::size_t count, std::vector<std::uint32_t>* nodeOfCrossing) {
    std::vector<LevelNodes> nodes(count);
    std::vector<CodeMap> childOf(count);
    for (const std::uint32_t crossing : crossingsInOrder) {
        const std::int32_t row = firstRowOfCrossing[crossing];
        std::uint32_t node = 0;
        for (std::size_t level = 0; level < count; ++level) {
            const std::uint32_t code = levels[first + level]->memberOfRow(row);
            std::uint32_t& child = childOf[level].find((std::uint64_t{node} << 32) | code);
            if (child == NO_CODE) {
                child = nodes[level].add(node, code, row);
            }
            node = child;
        }
        if (nodeOfCrossing) {
            (*nodeOfCrossing)[crossing] = node;
        }
    }
    return nodes;
}

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

// The running values of one measure in one crossing, before they become an Aggregator. The sum
// starts at 0 rather than NaN so that adding needs no test; a crossing that got no number (its
// extremes are still apart the wrong way) has its sum made NaN on hand-over.
struct LeafSummary {
    Aggregator::RunningValues values{.sum = 0.0};
    std::int32_t firstRow = -1;

    bool hasNumber() const { return values.min <= values.max; }
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

// The numeric aggregation of Aggregator::aggregate(double, count, missing), for one row into its
// leaf's flat summary.
template <typename Weights>
[[gnu::always_inline]] inline void addNumber(LeafSummary& leaf, std::int32_t row, double value,
                                             const Weights& weights) {
    if (value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) [[unlikely]] {
        return;
    }
    if (leaf.firstRow < 0) [[unlikely]] {
        leaf.firstRow = row;
    }
    Aggregator::RunningValues& running = leaf.values;
    if (std::isnan(value)) [[unlikely]] {
        const std::uint32_t missing = weights.missing(row);
        running.missingCount += missing == 0 ? 1.0 : static_cast<double>(missing);
        running.missingSeen = true;
        return;
    }
    running.count += weights.count(row);
    running.missingCount += weights.missing(row);
    running.sum += value;
    running.min = std::min(running.min, value);
    running.max = std::max(running.max, value);
}

// addNumber for a row weighing one value, with one test for the common case of a finite number
// (not a sentinel: both sentinels lie at the ends of the finite range).
[[gnu::always_inline]] inline void addUnweightedNumber(LeafSummary& leaf, std::int32_t row, double value) {
    if (!(std::fabs(value) < DataTokens::SUPPRESSED_NUMERIC)) [[unlikely]] {
        addNumber(leaf, row, value, UnitWeights{});
        return;
    }
    if (leaf.firstRow < 0) [[unlikely]] {
        leaf.firstRow = row;
    }
    Aggregator::RunningValues& running = leaf.values;
    running.count += 1;
    running.sum += value;
    running.min = std::min(running.min, value);
    running.max = std::max(running.max, value);
}

template <typename Values, typename Weights>
void aggregateNumbers(const RowSource& rows, const std::vector<std::uint32_t>& crossingOfPosition, Values values,
                      Weights weights, std::vector<LeafSummary>& leaves) {
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        addNumber(leaves[crossingOfPosition[position]], row, values(row), weights);
    }
}

// The distinct numbers of a measure per crossing, for COUNT_DISTINCT: either bits per crossing over
// the measure's sorted distinct numbers (a row of `words` words per crossing), or a list per
// crossing.
struct DistinctNumbers {
    std::shared_ptr<const std::vector<double>> sorted;
    bool asBits = false;
    std::size_t words = 0;
    std::vector<std::uint64_t> bits;
    std::vector<std::vector<double>> lists;
};

struct MeasureSummaries {
    std::vector<LeafSummary> leaves;
    DistinctNumbers distinctNumbers;
    std::vector<std::vector<SharedString>> distinctStrings;
    bool isString = false;
    // The column and row that give a leaf's first value.
    std::shared_ptr<Column> valueColumn;
};

// The rank of each row's number among the distinct numbers (NO_CODE for what is not counted), and
// the distinct numbers in ascending order.
template <typename Values>
std::vector<std::uint32_t> rankNumbers(const RowSource& rows, Values values, std::vector<double>& sorted) {
    std::vector<std::uint32_t> codeOfPosition(rows.size(), NO_CODE);
    CodeMap codeOfNumber;
    for (std::size_t position = 0; position < rows.size(); ++position) {
        double value = values(rows[position]);
        if (std::isnan(value) || value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) {
            continue;
        }
        value = value == 0 ? 0.0 : value;  // -0 and 0 are one value
        std::uint32_t& code = codeOfNumber.find(std::bit_cast<std::uint64_t>(value));
        if (code == NO_CODE) {
            code = static_cast<std::uint32_t>(sorted.size());
            sorted.push_back(value);
        }
        codeOfPosition[position] = code;
    }
    std::vector<std::uint32_t> order(sorted.size());
    for (std::size_t code = 0; code < order.size(); ++code) {
        order[code] = static_cast<std::uint32_t>(code);
    }
    std::sort(order.begin(), order.end(),
              [&](std::uint32_t left, std::uint32_t right) { return sorted[left] < sorted[right]; });
    std::vector<std::uint32_t> rankOfCode(order.size());
    std::vector<double> ranked(order.size());
    for (std::size_t rank = 0; rank < order.size(); ++rank) {
        rankOfCode[order[rank]] = static_cast<std::uint32_t>(rank);
        ranked[rank] = sorted[order[rank]];
    }
    sorted = std::move(ranked);
    for (std::uint32_t& code : codeOfPosition) {
        code = code == NO_CODE ? NO_CODE : rankOfCode[code];
    }
    return codeOfPosition;
}

// The distinct numbers of each crossing. The (crossing, rank) pairs are ticked off in a bitmap while
// it stays small; the bitmap is handed over as is when it takes no more memory than the rows' ranks
// did, and turned into sorted lists otherwise. Past that, pairs are found through a hash map.
template <typename Values>
DistinctNumbers collectDistinctNumbers(const RowSource& rows, const std::vector<std::uint32_t>& crossingOfPosition,
                                       Values values, std::size_t crossingCount) {
    DistinctNumbers distinct;
    auto sorted = std::make_shared<std::vector<double>>();
    const std::vector<std::uint32_t> rankOfPosition = rankNumbers(rows, values, *sorted);
    distinct.sorted = sorted;
    const std::size_t words = (sorted->size() + 63) / 64;
    const std::uint64_t bitmapWords = std::uint64_t{words} * crossingCount;
    if (bitmapWords > (std::uint64_t{1} << 24)) {
        distinct.lists.resize(crossingCount);
        CodeMap seenPairs;
        for (std::size_t position = 0; position < rows.size(); ++position) {
            const std::uint32_t rank = rankOfPosition[position];
            if (rank == NO_CODE) {
                continue;
            }
            const std::uint32_t crossing = crossingOfPosition[position];
            std::uint32_t& seen = seenPairs.find((std::uint64_t{crossing} << 32) | rank);
            if (seen == NO_CODE) {
                seen = 1;
                distinct.lists[crossing].push_back((*sorted)[rank]);
            }
        }
        return distinct;
    }
    std::vector<std::uint64_t> bits(static_cast<std::size_t>(bitmapWords), 0);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::uint32_t rank = rankOfPosition[position];
        if (rank != NO_CODE) {
            const std::size_t bit = crossingOfPosition[position] * words * 64 + rank;
            bits[bit / 64] |= std::uint64_t{1} << (bit % 64);
        }
    }
    if (bitmapWords <= rows.size()) {
        distinct.asBits = true;
        distinct.words = words;
        distinct.bits = std::move(bits);
        return distinct;
    }
    distinct.lists.resize(crossingCount);
    for (std::size_t crossing = 0; crossing < crossingCount; ++crossing) {
        const std::vector<std::uint64_t> row(bits.begin() + static_cast<std::ptrdiff_t>(crossing * words),
                                             bits.begin() + static_cast<std::ptrdiff_t>((crossing + 1) * words));
        for (std::size_t word = 0; word < words; ++word) {
            for (std::uint64_t rest = row[word]; rest != 0; rest &= rest - 1) {
                distinct.lists[crossing].push_back(
                    (*sorted)[word * 64 + static_cast<std::size_t>(std::countr_zero(rest))]);
            }
        }
    }
    return distinct;
}

// Gives an aggregator the distinct numbers of its crossing.
void addDistinctNumbers(Aggregator& aggregator, const DistinctNumbers& distinct, std::size_t crossing) {
    if (distinct.asBits) {
        const auto first = distinct.bits.begin() + static_cast<std::ptrdiff_t>(crossing * distinct.words);
        const auto last = first + static_cast<std::ptrdiff_t>(distinct.words);
        if (std::any_of(first, last, [](std::uint64_t word) { return word != 0; })) {
            aggregator.addDistinctNumberBits(distinct.sorted, std::vector<std::uint64_t>(first, last));
        } else {
            aggregator.addDistinctNumbers({});  // the set exists, empty, as for any counted crossing
        }
    } else if (crossing < distinct.lists.size()) {
        aggregator.addDistinctNumbers(distinct.lists[crossing]);
    }
}

// Counts a leaf's text row in its summary.
template <typename Weights>
void countTextRow(LeafSummary& leaf, std::int32_t row, Weights weights) {
    if (leaf.firstRow < 0) {
        leaf.firstRow = row;
    }
    leaf.values.count += weights.count(row);
    leaf.values.missingCount += weights.missing(row);
}

// The texts of a column that holds indices into its resolved table, read by index. Each index, the
// token codes included, names one slot: its text when the row counts (a non-empty text; sparse
// cells never count), null otherwise. A bit per (crossing, slot) marks the texts a crossing has
// seen, so that no row copies or hashes its text. False, having done nothing, for a column with
// explicit texts, or when that bitmap would outgrow the rows.
template <typename Weights>
bool summarizeIndexedStrings(const Column& column, bool countDistinct, const RowSource& rows,
                             const std::vector<std::uint32_t>& crossingOfPosition, Weights weights,
                             MeasureSummaries& summaries) {
    const auto& indices = column.getStringIndices();
    const auto& table = column.getResolvedStringTable();
    if (column.hasExplicitStrings() || !indices || !table ||
        indices->size() < static_cast<std::size_t>(column.getNumberOfRows())) {
        return false;
    }
    constexpr std::int32_t LOWEST_TOKEN = DataTokens::TOKEN_MATCHES_ALL;
    const std::size_t textCount = table->size();
    const std::size_t slotCount = textCount - LOWEST_TOKEN;  // the table's texts, then the codes -1, -2...
    const std::uint64_t seenBits = countDistinct ? std::uint64_t{slotCount} * summaries.leaves.size() : 0;
    // No more words than rows: clearing the bitmap costs no more than the pass over the rows.
    if (seenBits > std::max<std::uint64_t>(64 * std::uint64_t{rows.size()}, 1 << 16)) {
        return false;
    }
    std::vector<const SharedString*> textOfSlot(slotCount, nullptr);
    const auto countedText = [](const SharedString& text) { return text && !text->empty() ? &text : nullptr; };
    for (std::size_t index = 0; index < textCount; ++index) {
        textOfSlot[index] = countedText((*table)[index]);
    }
    for (std::int32_t code = -1; code >= LOWEST_TOKEN; --code) {
        if (code != DataTokens::TOKEN_SPARSE) {
            textOfSlot[textCount + static_cast<std::size_t>(-code - 1)] =
                countedText(DataTokens::getStringConstant(code));
        }
    }
    const auto slotOf = [textCount](std::int32_t index) {
        if (index >= 0) {
            return static_cast<std::size_t>(index) < textCount ? static_cast<std::size_t>(index) : SIZE_MAX;
        }
        return index >= LOWEST_TOKEN ? textCount + static_cast<std::size_t>(-index - 1) : SIZE_MAX;
    };
    std::vector<std::uint64_t> seen(static_cast<std::size_t>((seenBits + 63) / 64), 0);
    if (countDistinct) {
        summaries.distinctStrings.resize(summaries.leaves.size());
    }
    const std::int32_t* indexOfRow = indices->data();
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const std::size_t slot = slotOf(indexOfRow[row]);
        if (slot == SIZE_MAX || !textOfSlot[slot]) {
            continue;
        }
        const std::uint32_t leafNumber = crossingOfPosition[position];
        countTextRow(summaries.leaves[leafNumber], row, weights);
        if (countDistinct) {
            const std::size_t bit = leafNumber * slotCount + slot;
            const std::uint64_t mask = std::uint64_t{1} << (bit % 64);
            if ((seen[bit / 64] & mask) == 0) {
                seen[bit / 64] |= mask;
                summaries.distinctStrings[leafNumber].push_back(*textOfSlot[slot]);
            }
        }
    }
    return true;
}

template <typename Weights>
void summarizeStringMeasure(const Column& column, bool countDistinct, const RowSource& rows,
                            const std::vector<std::uint32_t>& crossingOfPosition, Weights weights,
                            MeasureSummaries& summaries) {
    if (summarizeIndexedStrings(column, countDistinct, rows, crossingOfPosition, weights, summaries)) {
        return;
    }
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
        const std::uint32_t leafNumber = crossingOfPosition[position];
        countTextRow(summaries.leaves[leafNumber], row, weights);
        if (countDistinct && seen[leafNumber].insert(text.get()).second) {
            summaries.distinctStrings[leafNumber].push_back(text);
        }
    }
}

template <typename Weights>
MeasureSummaries summarizeMeasure(const HierarchyTreeBuilder::Measure& measure, const RowSource& rows,
                                  const std::vector<std::uint32_t>& crossingOfPosition, std::size_t crossingCount,
                                  Weights weights) {
    MeasureSummaries summaries;
    summaries.leaves.resize(crossingCount);
    const bool countDistinct = measure.statistic == StatisticType::COUNT_DISTINCT;
    if (!measure.column) {
        return summaries;  // a measure the data set lacks keeps fresh aggregators
    }
    const Column& column = *measure.column;
    if (column.getDataType() == DataType::STRING) {
        summaries.isString = true;
        summaries.valueColumn = measure.column;
        summarizeStringMeasure(column, countDistinct, rows, crossingOfPosition, weights, summaries);
        return summaries;
    }
    summaries.valueColumn = measure.column;
    if (const auto& numbers = column.getNumbers()) {
        const ArrayValues values{numbers->data()};
        aggregateNumbers(rows, crossingOfPosition, values, weights, summaries.leaves);
        if (countDistinct) {
            summaries.distinctNumbers = collectDistinctNumbers(rows, crossingOfPosition, values, crossingCount);
        }
    } else {
        aggregateNumbers(rows, crossingOfPosition, MissingValues{}, weights, summaries.leaves);
    }
    return summaries;
}

// A partially aggregated measure reads the sub-column of its statistic (MEAN the SUM sub-column,
// PERCENT the FREQUENCY_WITH_MISSING one), weighted by the FREQUENCY and FREQUENCY_WITH_MISSING
// sub-columns.
MeasureSummaries summarizePartiallyAggregatedMeasure(const HierarchyTreeBuilder::Measure& measure,
                                                     const PartiallyAggregatedColumn& column, const RowSource& rows,
                                                     const std::vector<std::uint32_t>& crossingOfPosition,
                                                     std::size_t crossingCount, bool& hadFatalDataError) {
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
        summaries.leaves.resize(crossingCount);
        aggregateNumbers(rows, crossingOfPosition, MissingValues{}, UnitWeights{}, summaries.leaves);
        return summaries;
    }
    HierarchyTreeBuilder::Measure plain{valueColumn, measure.statistic};
    return summarizeMeasure(plain, rows, crossingOfPosition, crossingCount, weights);
}

std::shared_ptr<Aggregator> makeAggregator(const MeasureSummaries& summaries, std::size_t leaf, bool countDistinct) {
    auto aggregator = Aggregator::create(countDistinct);
    const LeafSummary& summary = summaries.leaves[leaf];
    Aggregator::RunningValues values = summary.values;
    if (!summary.hasNumber()) {
        values.sum = DataTokens::MISSING_NUMERIC;
    }
    if (!countDistinct) {
        // Only COUNT_DISTINCT asks whether a missing number was seen.
        values.missingSeen = false;
    }
    aggregator->setRunningValues(values);
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
    addDistinctNumbers(*aggregator, summaries.distinctNumbers, leaf);
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

// The crossing of every classified row, expanded into the leaves' row vectors on first request: one
// counting pass and one scattered write per row, paid only by whoever needs the rows.
class RecordedLeafRows : public PendingRowIndices {
public:
    RecordedLeafRows(const RowSource& rows, std::vector<std::uint32_t> crossingOfPosition,
                     std::vector<std::uint32_t> leafOfCrossing,
                     const std::vector<std::shared_ptr<DataTreeNode>>& leaves)
        : crossingOfPosition_(std::move(crossingOfPosition)), leafOfCrossing_(std::move(leafOfCrossing)) {
        if (rows.isList()) {
            rows_.reserve(rows.size());
            for (std::size_t position = 0; position < rows.size(); ++position) {
                rows_.push_back(rows[position]);
            }
        }
        leaves_.assign(leaves.begin(), leaves.end());
    }

    void materialize() override {
        std::call_once(once_, [this] {
            std::vector<std::size_t> rowsPerLeaf(leaves_.size(), 0);
            for (const std::uint32_t crossing : crossingOfPosition_) {
                ++rowsPerLeaf[leafOfCrossing_[crossing]];
            }
            std::vector<std::shared_ptr<DataTreeNode::RowIndexVector>> vectors(leaves_.size());
            for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
                vectors[leaf] = std::make_shared<DataTreeNode::RowIndexVector>();
                vectors[leaf]->reserve(rowsPerLeaf[leaf]);
            }
            for (std::size_t position = 0; position < crossingOfPosition_.size(); ++position) {
                const auto row = rows_.empty() ? static_cast<std::int32_t>(position) : rows_[position];
                vectors[leafOfCrossing_[crossingOfPosition_[position]]]->push_back(row);
            }
            for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
                if (const auto node = leaves_[leaf].lock()) {
                    node->setRowIndexVector(std::move(vectors[leaf]));
                }
            }
            crossingOfPosition_ = {};
            leafOfCrossing_ = {};
            rows_ = {};
        });
    }

private:
    std::once_flag once_;
    std::vector<std::uint32_t> crossingOfPosition_;
    std::vector<std::uint32_t> leafOfCrossing_;
    std::vector<std::int32_t> rows_;
    std::vector<std::weak_ptr<DataTreeNode>> leaves_;
};

// Makes the nodes of levels [0, levelNodes.size()) below a new root, each parent's children in the
// order rows reach them; answers the nodes of the last level.
std::vector<std::shared_ptr<DataTreeNode>> makeNodes(const std::shared_ptr<DataTreeNode>& root,
                                                     const std::vector<LevelNodes>& levelNodes,
                                                     const std::vector<const Column*>& columns,
                                                     const std::vector<const LevelMembers*>& members,
                                                     const std::vector<const Column*>& sortOnRawColumns) {
    std::vector<std::shared_ptr<DataTreeNode>> parents{root};
    for (std::size_t level = 0; level < levelNodes.size(); ++level) {
        const LevelNodes& nodes = levelNodes[level];
        const auto& texts = members[level]->texts();
        const Column* sortOnRaw = sortOnRawColumns[level];
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

// The plain numeric measures of unweighted rows, aggregated in the classifying pass itself.
struct FusedMeasures {
    std::vector<std::size_t> measures;
    std::vector<const double*> values;
    std::vector<LeafSummary*> summaries;
};

FusedMeasures chooseFusedMeasures(const HierarchyTreeBuilder::Request& request) {
    FusedMeasures fused;
    if (request.frequencyColumn) {
        return fused;
    }
    for (std::size_t index = 0; index < request.measures.size(); ++index) {
        const auto& column = request.measures[index].column;
        if (column && column->getDataType() != DataType::STRING && column->getNumbers() &&
            !dynamic_cast<const PartiallyAggregatedColumn*>(column.get())) {
            fused.measures.push_back(index);
            fused.values.push_back(column->getNumbers()->data());
        }
    }
    return fused;
}

bool isFused(const FusedMeasures& fused, std::size_t measure) {
    return std::find(fused.measures.begin(), fused.measures.end(), measure) != fused.measures.end();
}

// The one pass over the rows: each row's crossing, its first row, and the fused measures; the
// crossing per row is kept only when asked for. A measure count known at compile time unrolls the
// measures.
template <std::size_t FusedCount>
struct RowClassifier {
    std::int32_t* firstRowOfCrossing;
    std::uint32_t* crossingOfPosition;
    const double* const* values;
    LeafSummary* const* summaries;
    std::size_t fusedCount;

    [[gnu::always_inline]] void operator()(std::size_t position, std::int32_t row, std::uint32_t crossing) const {
        if (firstRowOfCrossing[crossing] < 0) [[unlikely]] {
            firstRowOfCrossing[crossing] = row;
        }
        const std::size_t count = FusedCount > 0 ? FusedCount : fusedCount;
        for (std::size_t measure = 0; measure < count; ++measure) {
            addUnweightedNumber(summaries[measure][crossing], row, values[measure][row]);
        }
        if (crossingOfPosition) {
            crossingOfPosition[position] = crossing;
        }
    }
};

template <std::size_t FusedCount>
void classifyRows(const RowCrossings& crossings, const FusedMeasures& fused, std::int32_t* firstRowOfCrossing,
                  std::uint32_t* crossingOfPosition) {
    crossings.forEachRow(RowClassifier<FusedCount>{firstRowOfCrossing, crossingOfPosition, fused.values.data(),
                                                   fused.summaries.data(), fused.measures.size()});
}

void classifyRows(const RowCrossings& crossings, const FusedMeasures& fused, std::int32_t* firstRowOfCrossing,
                  std::uint32_t* crossingOfPosition) {
    switch (fused.measures.size()) {
        case 1:
            classifyRows<1>(crossings, fused, firstRowOfCrossing, crossingOfPosition);
            break;
        case 2:
            classifyRows<2>(crossings, fused, firstRowOfCrossing, crossingOfPosition);
            break;
        default:
            classifyRows<0>(crossings, fused, firstRowOfCrossing, crossingOfPosition);
            break;
    }
}

// The crossings that occur, in the order of their first rows.
std::vector<std::uint32_t> crossingsInRowOrder(const std::vector<std::int32_t>& firstRowOfCrossing) {
    std::vector<std::uint32_t> crossings;
    for (std::size_t crossing = 0; crossing < firstRowOfCrossing.size(); ++crossing) {
        if (firstRowOfCrossing[crossing] >= 0) {
            crossings.push_back(static_cast<std::uint32_t>(crossing));
        }
    }
    std::sort(crossings.begin(), crossings.end(), [&](std::uint32_t left, std::uint32_t right) {
        return firstRowOfCrossing[left] < firstRowOfCrossing[right];
    });
    return crossings;
}

template <typename Element>
std::vector<Element> sliceOf(const std::vector<Element>& all, std::size_t first, std::size_t count) {
    return std::vector<Element>(all.begin() + static_cast<std::ptrdiff_t>(first),
                                all.begin() + static_cast<std::ptrdiff_t>(first + count));
}

}  // namespace

HierarchyTreeBuilder::Result HierarchyTreeBuilder::build(const Request& request) {
    Result result;
    const RowSource rows(request.rows, usableRowCount(request));
    const std::size_t levelCount = request.levelColumns.size();

    std::vector<std::unique_ptr<LevelMembers>> levels;
    std::vector<const LevelMembers*> members;
    std::vector<const Column*> columns;
    std::vector<const Column*> sortOnRawColumns;
    for (std::size_t level = 0; level < levelCount; ++level) {
        levels.push_back(std::make_unique<LevelMembers>(*request.levelColumns[level], rows));
        members.push_back(levels.back().get());
        columns.push_back(request.levelColumns[level].get());
        sortOnRawColumns.push_back(level < request.sortOnRawColumns.size() ? request.sortOnRawColumns[level].get()
                                                                           : nullptr);
    }
    const RowCrossings crossings(levels, rows);
    const std::size_t crossingCount = crossings.crossingCount();

    FusedMeasures fused = chooseFusedMeasures(request);
    std::vector<MeasureSummaries> summaries(request.measures.size());
    for (const std::size_t index : fused.measures) {
        summaries[index].valueColumn = request.measures[index].column;
        summaries[index].leaves.resize(crossingCount);
        fused.summaries.push_back(summaries[index].leaves.data());
    }
    // The other measures, COUNT_DISTINCT and the leaves' rows read the crossing of each row.
    bool needsCrossingOfPosition = request.keepRowIndices;
    for (std::size_t index = 0; index < request.measures.size(); ++index) {
        needsCrossingOfPosition = needsCrossingOfPosition || !isFused(fused, index) ||
                                  request.measures[index].statistic == StatisticType::COUNT_DISTINCT;
    }
    std::vector<std::uint32_t> crossingOfPosition(needsCrossingOfPosition ? rows.size() : 0);
    std::vector<std::int32_t> firstRowOfCrossing(crossingCount, -1);
    classifyRows(crossings, fused, firstRowOfCrossing.data(),
                 needsCrossingOfPosition ? crossingOfPosition.data() : nullptr);

    // Nodes are made per crossing that occurs, never per row.
    const std::vector<std::uint32_t> inRowOrder = crossingsInRowOrder(firstRowOfCrossing);
    std::vector<std::uint32_t> leafOfCrossing(crossingCount, NO_CODE);
    const std::vector<LevelNodes> levelNodes =
        classifyCrossings(inRowOrder, firstRowOfCrossing, levels, 0, levelCount, &leafOfCrossing);
    result.root = DataTreeNode::createRoot();
    const std::vector<std::shared_ptr<DataTreeNode>> leaves =
        makeNodes(result.root, levelNodes, columns, members, sortOnRawColumns);

    // Display trees: a range from the first level is the top of the tree; one further down
    // classifies the same crossings by its own levels.
    for (const auto& [firstLevel, count] : request.displayRanges) {
        auto displayRoot = DataTreeNode::createRoot();
        if (count > 0 && firstLevel + count <= levelCount) {
            const std::vector<LevelNodes> displayNodes =
                firstLevel == 0 ? sliceOf(levelNodes, 0, count)
                                : classifyCrossings(inRowOrder, firstRowOfCrossing, levels, firstLevel, count, nullptr);
            makeNodes(displayRoot, displayNodes, sliceOf(columns, firstLevel, count),
                      sliceOf(members, firstLevel, count), sliceOf(sortOnRawColumns, firstLevel, count));
        }
        result.displayTrees.push_back(std::move(displayRoot));
    }

    // Without rows a tree with levels has no leaf to give aggregators to.
    if (levelCount > 0 && rows.size() == 0) {
        return result;
    }
    // A tree without levels is its root, the one crossing.
    std::vector<std::uint32_t> crossingOfLeaf = levelCount == 0 ? std::vector<std::uint32_t>{0} : inRowOrder;
    if (levelCount == 0) {
        leafOfCrossing[0] = 0;
    }

    // Aggregate the other measures into flat per-crossing summaries, then hand them to the leaves.
    ColumnWeights weights;
    weights.frequency = numbersOf(request.frequencyColumn);
    weights.frequencyWithMissing = numbersOf(request.frequencyWithMissingColumn);
    weights.hadFatalDataError = &result.hadFatalDataError;
    for (std::size_t index = 0; index < request.measures.size(); ++index) {
        const auto& measure = request.measures[index];
        if (isFused(fused, index)) {
            if (measure.statistic == StatisticType::COUNT_DISTINCT) {
                summaries[index].distinctNumbers = collectDistinctNumbers(
                    rows, crossingOfPosition, ArrayValues{measure.column->getNumbers()->data()}, crossingCount);
            }
        } else if (const auto* partial = dynamic_cast<const PartiallyAggregatedColumn*>(measure.column.get())) {
            summaries[index] = summarizePartiallyAggregatedMeasure(measure, *partial, rows, crossingOfPosition,
                                                                   crossingCount, result.hadFatalDataError);
        } else if (weights.frequency) {
            summaries[index] = summarizeMeasure(measure, rows, crossingOfPosition, crossingCount, weights);
        } else {
            summaries[index] = summarizeMeasure(measure, rows, crossingOfPosition, crossingCount, UnitWeights{});
        }
    }
    for (std::size_t leaf = 0; leaf < leaves.size(); ++leaf) {
        auto aggregators = std::make_shared<Aggregator::AggregatorList>();
        aggregators->reserve(request.measures.size());
        for (std::size_t measure = 0; measure < request.measures.size(); ++measure) {
            aggregators->push_back(
                makeAggregator(summaries[measure], crossingOfLeaf[leaf],
                               request.measures[measure].statistic == StatisticType::COUNT_DISTINCT));
        }
        leaves[leaf]->setMeasureAggregators(std::move(aggregators));
    }
    if (request.keepRowIndices) {
        auto recorded =
            std::make_shared<RecordedLeafRows>(rows, std::move(crossingOfPosition), std::move(leafOfCrossing), leaves);
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
    const LevelMembers members(column, source);
    std::vector<std::int32_t> selected;
    const auto& texts = members.texts();
    const auto found =
        std::find_if(texts.begin(), texts.end(), [&](const SharedString& text) { return *text == formattedValue; });
    if (found == texts.end()) {
        return selected;
    }
    const auto code = static_cast<std::uint32_t>(found - texts.begin());
    for (std::size_t position = 0; position < source.size(); ++position) {
        if (members.memberOfRow(source[position]) == code) {
            selected.push_back(source[position]);
        }
    }
    return selected;
}

}  // namespace pellium
