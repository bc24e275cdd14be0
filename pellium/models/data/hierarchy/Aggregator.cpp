#include "pellium/models/data/hierarchy/Aggregator.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <istream>
#include <iterator>
#include <ostream>
#include <sstream>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

bool textLess(const SharedString& left, const SharedString& right) {
    return *left < *right;
}

// -0 and 0 are one distinct value.
double canonical(double number) {
    return number == 0 ? 0.0 : number;
}

// The numbers whose bits are set, in the order of the bits.
std::vector<double> numbersOfBits(const std::vector<double>& numbers, const std::vector<std::uint64_t>& bits) {
    std::vector<double> decoded;
    for (std::size_t word = 0; word < bits.size(); ++word) {
        for (std::uint64_t rest = bits[word]; rest != 0; rest &= rest - 1) {
            const std::size_t index = word * 64 + static_cast<std::size_t>(std::countr_zero(rest));
            if (index < numbers.size()) {
                decoded.push_back(numbers[index]);
            }
        }
    }
    return decoded;
}

std::size_t countBits(const std::vector<std::uint64_t>& bits) {
    std::size_t count = 0;
    for (const std::uint64_t word : bits) {
        count += static_cast<std::size_t>(std::popcount(word));
    }
    return count;
}

template <typename Set, typename Value, typename Less>
void insertSorted(Set& set, const Value& value, Less less) {
    const auto position = std::lower_bound(set.begin(), set.end(), value, less);
    if (position == set.end() || less(value, *position)) {
        set.insert(position, value);
    }
}

template <typename Set, typename Less>
void unionSorted(Set& target, const Set& source, Less less) {
    if (source.empty()) {
        return;
    }
    if (target.empty()) {
        target = source;
        return;
    }
    Set merged;
    merged.reserve(target.size() + source.size());
    std::set_union(target.begin(), target.end(), source.begin(), source.end(), std::back_inserter(merged), less);
    target.swap(merged);
}

}  // namespace

std::shared_ptr<Aggregator> Aggregator::create(bool countDistinct) {
    return std::make_shared<Aggregator>(Token{}, countDistinct);
}

std::shared_ptr<Aggregator> Aggregator::create(const Aggregator& other) {
    auto copy = create(other.countDistinct_);
    copy->values_ = other.values_;
    copy->first_ = other.first_ ? DataValue::create(*other.first_) : nullptr;
    if (other.distinctNumbers_) {
        copy->distinctNumbers_ = std::make_unique<NumberSet>(*other.distinctNumbers_);
    }
    if (other.numberBits_) {
        copy->numberBits_ = std::make_unique<NumberBits>(*other.numberBits_);
    }
    if (other.distinctStrings_) {
        copy->distinctStrings_ = std::make_unique<TextSet>(*other.distinctStrings_);
    }
    return copy;
}

Aggregator::Aggregator(Token, bool countDistinct) : countDistinct_(countDistinct) {}

Aggregator::~Aggregator() = default;

int Aggregator::getWrapperTypeId() const {
    return WrapperTypeIds::AGGREGATOR;
}

void Aggregator::ensureDistinctNumbers() {
    if (!distinctNumbers_) {
        distinctNumbers_ = std::make_unique<NumberSet>();
    }
}

bool Aggregator::mergeNumberBits(const Aggregator& other) {
    if (!other.numberBits_ || !other.distinctNumbers_->empty() || !distinctNumbers_->empty() ||
        (numberBits_ && numberBits_->numbers != other.numberBits_->numbers)) {
        return false;
    }
    if (!numberBits_) {
        numberBits_ = std::make_unique<NumberBits>(*other.numberBits_);
        return true;
    }
    std::vector<std::uint64_t>& bits = numberBits_->bits;
    const std::vector<std::uint64_t>& otherBits = other.numberBits_->bits;
    bits.resize(std::max(bits.size(), otherBits.size()), 0);
    for (std::size_t word = 0; word < otherBits.size(); ++word) {
        bits[word] |= otherBits[word];
    }
    return true;
}

void Aggregator::decodeNumberBits() {
    if (numberBits_) {
        ensureDistinctNumbers();
        unionSorted(*distinctNumbers_, numbersOfBits(*numberBits_->numbers, numberBits_->bits), std::less<double>());
        numberBits_.reset();
    }
}

Aggregator::NumberSet Aggregator::allDistinctNumbers() const {
    NumberSet numbers = distinctNumbers_ ? *distinctNumbers_ : NumberSet();
    if (numberBits_) {
        unionSorted(numbers, numbersOfBits(*numberBits_->numbers, numberBits_->bits), std::less<double>());
    }
    return numbers;
}

void Aggregator::ensureDistinctStrings() {
    if (!distinctStrings_) {
        distinctStrings_ = std::make_unique<TextSet>();
    }
}

void Aggregator::aggregate(double value, std::uint32_t count, std::uint32_t missingCount) {
    if (value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) {
        return;
    }
    if (!first_) {
        first_ = DataValue::create(value);
        if (countDistinct_) {
            ensureDistinctNumbers();
        }
    }
    const bool isMissing = std::isnan(value);
    if (countDistinct_) {
        if (isMissing) {
            values_.missingSeen = true;
        } else {
            decodeNumberBits();
            ensureDistinctNumbers();
            insertSorted(*distinctNumbers_, canonical(value), std::less<double>());
        }
    }
    if (isMissing) {
        values_.missingCount += missingCount == 0 ? 1.0 : static_cast<double>(missingCount);
        return;
    }
    values_.count += count;
    values_.missingCount += missingCount;
    values_.sum = (std::isnan(values_.sum) ? 0.0 : values_.sum) + value;
    values_.min = std::min(values_.min, value);
    values_.max = std::max(values_.max, value);
}

void Aggregator::aggregate(const SharedString& text, std::int32_t index, std::uint32_t count,
                           std::uint32_t missingCount) {
    if (index == DataTokens::TOKEN_SPARSE || !text || text->empty()) {
        return;
    }
    if (!first_) {
        first_ = DataValue::create(text, index);
    }
    if (countDistinct_) {
        ensureDistinctStrings();
        insertSorted(*distinctStrings_, text, textLess);
    }
    values_.count += count;
    values_.missingCount += missingCount;
}

void Aggregator::aggregate(const std::shared_ptr<const Aggregator>& other) {
    if (other) {
        aggregate(*other);
    }
}

void Aggregator::aggregate(const Aggregator& other) {
    if (!first_) {
        first_ = other.first_;
    }
    if (!std::isnan(other.values_.sum)) {
        values_.sum = (std::isnan(values_.sum) ? 0.0 : values_.sum) + other.values_.sum;
    }
    values_.min = std::min(values_.min, other.values_.min);
    values_.max = std::max(values_.max, other.values_.max);
    values_.count += other.values_.count;
    values_.missingCount += other.values_.missingCount;
    if (countDistinct_ && other.countDistinct_) {
        if (other.distinctNumbers_) {
            ensureDistinctNumbers();
            if (!mergeNumberBits(other) && (other.numberBits_ || !other.distinctNumbers_->empty())) {
                decodeNumberBits();
                unionSorted(*distinctNumbers_, other.allDistinctNumbers(), std::less<double>());
            }
        }
        if (other.distinctStrings_) {
            ensureDistinctStrings();
            unionSorted(*distinctStrings_, *other.distinctStrings_, textLess);
        }
    }
}

void Aggregator::aggregate(const std::shared_ptr<AggregatorList>& target,
                           const std::shared_ptr<const AggregatorList>& source) {
    if (!target || !source || (target->empty() && source->empty())) {
        return;
    }
    if (target->size() < source->size()) {
        for (const auto& element : *source) {
            if (element) {
                target->push_back(create(element->countDistinct_));
            }
        }
    }
    const std::size_t common = std::min(target->size(), source->size());
    for (std::size_t index = 0; index < common; ++index) {
        if ((*target)[index] && (*source)[index]) {
            (*target)[index]->aggregate(*(*source)[index]);
        }
    }
}

std::shared_ptr<Aggregator::AggregatorList> Aggregator::createEmptyCopy(
    const std::shared_ptr<const AggregatorList>& aggregators) {
    if (!aggregators) {
        return nullptr;
    }
    auto copy = std::make_shared<AggregatorList>();
    copy->reserve(aggregators->size());
    for (const auto& element : *aggregators) {
        if (element) {
            copy->push_back(create(element->countDistinct_));
        }
    }
    return copy;
}

std::size_t Aggregator::getNumberOfUniqueValues() const {
    std::size_t unique = 0;
    if (distinctNumbers_) {
        unique += distinctNumbers_->size() + (values_.missingSeen ? 1 : 0);
    }
    if (numberBits_) {
        unique += countBits(numberBits_->bits);
    }
    if (distinctStrings_) {
        unique += distinctStrings_->size();
    }
    return unique;
}

double Aggregator::getNumericValue(StatisticType::type statistic, double total) const {
    const bool hasValues = values_.count > 0;
    switch (statistic) {
        case StatisticType::FREQUENCY:
            return values_.count;
        case StatisticType::MEAN:
            return hasValues ? values_.sum / values_.count : kNaN;
        case StatisticType::PERCENT:
            return hasValues ? values_.sum / total : kNaN;
        case StatisticType::FIRST:
            return first_ && !first_->isString() ? first_->getNumericValue() : kNaN;
        case StatisticType::MIN:
            return hasValues ? values_.min : kNaN;
        case StatisticType::MAX:
            return hasValues ? values_.max : kNaN;
        case StatisticType::FREQUENCY_WITH_MISSING:
            return values_.count + values_.missingCount;
        case StatisticType::COUNT_DISTINCT:
            return static_cast<double>(getNumberOfUniqueValues());
        default:
            // SUM, MEDIAN and the statistics that arrive already computed are summed.
            return values_.sum;
    }
}

SharedString Aggregator::getStringValue() const {
    return first_ ? first_->getStringValue() : nullptr;
}

void Aggregator::addDistinctNumber(double number) {
    if (countDistinct_ && !std::isnan(number)) {
        decodeNumberBits();
        ensureDistinctNumbers();
        insertSorted(*distinctNumbers_, canonical(number), std::less<double>());
    }
}

void Aggregator::addDistinctNumbers(std::vector<double> numbers) {
    if (!countDistinct_) {
        return;
    }
    std::erase_if(numbers, [](double number) { return std::isnan(number); });
    for (double& number : numbers) {
        number = canonical(number);
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    decodeNumberBits();
    ensureDistinctNumbers();
    unionSorted(*distinctNumbers_, numbers, std::less<double>());
}

void Aggregator::addDistinctNumberBits(std::shared_ptr<const std::vector<double>> sortedNumbers,
                                       std::vector<std::uint64_t> bits) {
    if (!countDistinct_ || !sortedNumbers) {
        return;
    }
    // Bits beyond the numbers stand for nothing.
    const std::size_t words = (sortedNumbers->size() + 63) / 64;
    if (bits.size() >= words) {
        bits.resize(words);
        if (const std::size_t used = sortedNumbers->size() % 64; used != 0) {
            bits.back() &= (std::uint64_t{1} << used) - 1;
        }
    }
    ensureDistinctNumbers();
    Aggregator given(Token{}, true);
    given.ensureDistinctNumbers();
    given.numberBits_ = std::make_unique<NumberBits>(NumberBits{std::move(sortedNumbers), std::move(bits)});
    if (!mergeNumberBits(given)) {
        decodeNumberBits();
        unionSorted(*distinctNumbers_, given.allDistinctNumbers(), std::less<double>());
    }
}

void Aggregator::addDistinctString(const SharedString& text) {
    if (countDistinct_ && text) {
        ensureDistinctStrings();
        insertSorted(*distinctStrings_, text, textLess);
    }
}

std::string Aggregator::getDescription() const {
    std::ostringstream text;
    text << "Aggregator{countDistinct=" << (countDistinct_ ? "true" : "false") << ", count=" << values_.count
         << ", missingCount=" << values_.missingCount << ", first=";
    const SharedString firstText = getStringValue();
    text << (firstText ? *firstText : std::string("NULL")) << ", sum=" << values_.sum << ", min=" << values_.min
         << ", max=" << values_.max << ", missingSeen=" << (values_.missingSeen ? "true" : "false")
         << ", uniqueValues=" << getNumberOfUniqueValues() << "}";
    return text.str();
}

// --- Stream form -----------------------------------------------------------------------------------

bool Aggregator::writeBody(SerialWriter& writer) const {
    std::shared_ptr<const std::vector<double>> numbers;
    if (distinctNumbers_) {
        numbers = std::make_shared<std::vector<double>>(allDistinctNumbers());
    }
    std::shared_ptr<SharedStringVector> texts;
    if (distinctStrings_) {
        texts = std::make_shared<SharedStringVector>(*distinctStrings_);
    }
    return writer.writePrimitive(SerialMarks::TAG_B, countDistinct_) &&
           writer.writePrimitive(SerialMarks::TAG_B, values_.count) &&
           writer.writePrimitive(SerialMarks::TAG_B, values_.missingCount) &&
           writer.writePrimitive(SerialMarks::TAG_B, values_.sum) &&
           writer.writePrimitive(SerialMarks::TAG_B, values_.min) &&
           writer.writePrimitive(SerialMarks::TAG_B, values_.max) &&
           writer.writePrimitive(SerialMarks::TAG_B, values_.missingSeen) && DataValue::serialize(writer, first_) &&
           writer.writeSharedPrimitiveVector(numbers) &&
           writer.writeSharedStringVector(std::const_pointer_cast<const SharedStringVector>(texts));
}

bool Aggregator::readBody(SerialReader& reader) {
    if (!reader.readPrimitive(SerialMarks::TAG_B, countDistinct_))
        return false;
    if (!reader.readPrimitive(SerialMarks::TAG_B, values_.count))
        return false;
    if (!reader.readPrimitive(SerialMarks::TAG_B, values_.missingCount))
        return false;
    if (!reader.readPrimitive(SerialMarks::TAG_B, values_.sum))
        return false;
    if (!reader.readPrimitive(SerialMarks::TAG_B, values_.min))
        return false;
    if (!reader.readPrimitive(SerialMarks::TAG_B, values_.max))
        return false;
    if (!reader.readPrimitive(SerialMarks::TAG_B, values_.missingSeen))
        return false;
    if (!DataValue::unserialize(reader, first_))
        return false;
    std::shared_ptr<std::vector<double>> numbers;
    if (!reader.readSharedPrimitiveVector(numbers))
        return false;
    std::shared_ptr<SharedStringVector> texts;
    if (!reader.readSharedStringVector(texts))
        return false;
    distinctNumbers_.reset();
    numberBits_.reset();
    distinctStrings_.reset();
    if (numbers) {
        // The stream is not trusted to be sorted, unique or free of NaN.
        distinctNumbers_ = std::make_unique<NumberSet>();
        addDistinctNumbers(std::move(*numbers));
    }
    if (texts) {
        ensureDistinctStrings();
        for (SharedString& text : *texts) {
            text = StringUtilities::internString(text ? text : std::make_shared<std::string>());
        }
        std::sort(texts->begin(), texts->end(), textLess);
        texts->erase(std::unique(texts->begin(), texts->end(),
                                 [](const SharedString& left, const SharedString& right) { return *left == *right; }),
                     texts->end());
        *distinctStrings_ = std::move(*texts);
    }
    return true;
}

bool Aggregator::serialize(SerialWriter& writer, const std::shared_ptr<const Aggregator>& aggregator) {
    return writer.writeVersionMark() && writer.writePresence(aggregator != nullptr) &&
           (!aggregator || aggregator->writeBody(writer));
}

bool Aggregator::unserialize(SerialReader& reader, std::shared_ptr<Aggregator>& aggregator) {
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    aggregator = isPresent ? create(false) : nullptr;
    return !isPresent || aggregator->readBody(reader);
}

bool Aggregator::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeBody(writer);
}

bool Aggregator::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader);
}

}  // namespace pellium
