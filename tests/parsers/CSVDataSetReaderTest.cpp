#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/parsers/CSVDataSetReader.h"

namespace pellium {

namespace {

using Error = CSVDataSetReader::Error;
using Options = CSVDataSetReader::Options;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// A file in the temporary folder, removed when the test ends.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string_view contents, std::string_view name = "data.csv") {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ =
            std::filesystem::temp_directory_path() / ("pellium-csv-" + std::to_string(getpid()) + "-" + test->name());
        std::filesystem::create_directories(folder_);
        path_ = folder_ / name;
        std::ofstream(path_, std::ios::binary).write(contents.data(), static_cast<std::streamsize>(contents.size()));
    }
    ~TemporaryFile() { std::filesystem::remove_all(folder_); }

    std::string path() const { return path_.string(); }

private:
    std::filesystem::path folder_;
    std::filesystem::path path_;
};

std::shared_ptr<DataSet> read(std::string_view text, const Options& options = Options()) {
    auto result = CSVDataSetReader::readText(text, options);
    EXPECT_TRUE(result) << result.message;
    return result.dataSet;
}

std::string textAt(const std::shared_ptr<DataSet>& dataSet, std::int32_t column, std::int32_t row) {
    const auto text = dataSet->getColumnAtIndex(column)->getStringAtIndex(row);
    return text ? *text : "<null>";
}

}  // namespace

TEST(CSVDataSetReader, ColumnsAreNumericWhenEveryFieldIsANumber) {
    const auto dataSet = read("city,amount,code\nOslo,1.5,007\nRome,-2e3,12\nAthens,+.5,x\n");
    ASSERT_EQ(dataSet->getNumberOfColumns(), 3);
    ASSERT_EQ(dataSet->getNumberOfRows(), 3);
    const auto amount = dataSet->getColumnWithName("amount");
    EXPECT_EQ(amount->getDataType(), DataType::NUMERIC);
    EXPECT_EQ(*amount->getNumbers(), (std::vector<double>{1.5, -2000, 0.5}));
    EXPECT_EQ(*amount->getFormatName(), "BEST12.");
    EXPECT_EQ(*amount->getLabel(), "amount");
    EXPECT_EQ(dataSet->getColumnWithName("city")->getDataType(), DataType::STRING);
    // "007" and "12" were read as numbers until "x" came; they keep their exact texts.
    EXPECT_EQ(dataSet->getColumnWithName("code")->getDataType(), DataType::STRING);
    EXPECT_EQ(textAt(dataSet, 2, 0), "007");
    EXPECT_EQ(textAt(dataSet, 2, 1), "12");
    EXPECT_EQ(textAt(dataSet, 2, 2), "x");
    // The table is sorted, so index order is byte order.
    std::vector<std::string> table;
    for (const auto& text : *dataSet->getStringTable()) {
        table.push_back(*text);
    }
    EXPECT_EQ(table, (std::vector<std::string>{"007", "12", "Athens", "Oslo", "Rome", "x"}));
    EXPECT_TRUE(dataSet->validate().size() == 1) << "only the missing name";
}

TEST(CSVDataSetReader, WordsAreNotNumbers) {
    Options options;
    options.quotedFieldsAreText = false;
    for (const std::string_view word : {"inf", "nan", "NaN", "-inf", "0x10", "1e", "-", "+", "1.2.3", "1,5"}) {
        const auto dataSet = read("value\n1\n\"" + std::string(word) + "\"\n", options);
        EXPECT_EQ(dataSet->getColumnAtIndex(0)->getDataType(), DataType::STRING) << word;
        EXPECT_EQ(textAt(dataSet, 0, 1), word);
    }
    const auto spaced = read("value\n 42 \n\t-1\n");
    EXPECT_EQ(*spaced->getColumnAtIndex(0)->getNumbers(), (std::vector<double>{42, -1}));
    const auto huge = read("value\n1e999\n-1e-999\n");
    EXPECT_EQ(huge->getColumnAtIndex(0)->getNumberAtIndex(0), std::numeric_limits<double>::infinity());
    EXPECT_EQ(huge->getColumnAtIndex(0)->getNumberAtIndex(1), 0.0);
}

TEST(CSVDataSetReader, QuotedFieldsHoldDelimitersQuotesAndLineBreaks) {
    const auto dataSet =
        read("\xEF\xBB\xBF\"the \"\"name\"\"\",n\r\n\"a,b\",1\r\n\"line\none\",2\r\"\",3\n\"x\"\"\",4");
    ASSERT_EQ(dataSet->getNumberOfRows(), 4);
    EXPECT_EQ(*dataSet->getColumnAtIndex(0)->getName(), "the \"name\"");
    EXPECT_EQ(textAt(dataSet, 0, 0), "a,b");
    EXPECT_EQ(textAt(dataSet, 0, 1), "line\none");
    EXPECT_TRUE(dataSet->getColumnAtIndex(0)->valueIsMissing(2));
    EXPECT_EQ(textAt(dataSet, 0, 3), "x\"");
    EXPECT_EQ(*dataSet->getColumnAtIndex(1)->getNumbers(), (std::vector<double>{1, 2, 3, 4}));
}

TEST(CSVDataSetReader, TokensMarkSpecialStatesInBothKinds) {
    const auto dataSet = read("n,s\n.,.\n,\n~O,~O\n~S,\"~S\"\n~N,~N\n1,\".\"\n2,\"  \"\n3,ok\n");
    const auto n = dataSet->getColumnAtIndex(0);
    const auto s = dataSet->getColumnAtIndex(1);
    ASSERT_EQ(n->getDataType(), DataType::NUMERIC);
    ASSERT_EQ(s->getDataType(), DataType::STRING);
    EXPECT_TRUE(std::isnan(n->getNumberAtIndex(0)));
    EXPECT_TRUE(std::isnan(n->getNumberAtIndex(1)));
    EXPECT_EQ(n->getNumberAtIndex(2), DataTokens::ALL_OTHERS_NUMERIC);
    EXPECT_EQ(n->getNumberAtIndex(3), DataTokens::SUPPRESSED_NUMERIC);
    EXPECT_EQ(n->getNumberAtIndex(4), DataTokens::SPARSE_NUMERIC);
    // The table sorts to "  ", ".", "ok": quoted texts are kept exactly.
    EXPECT_EQ(*s->getStringIndices(), (std::vector<std::int32_t>{-1, -1, -99, -98, -2, 1, 0, 2}));
    EXPECT_EQ(textAt(dataSet, 1, 5), ".");
    EXPECT_TRUE(s->valueIsMissing(6)) << "a blank text is missing by its text";
}

TEST(CSVDataSetReader, EmptyLinesAreSkippedExceptInASingleColumn) {
    EXPECT_EQ(read("a,b\n1,2\n\n3,4\n\n")->getNumberOfRows(), 2);
    const auto single = read("a\n1\n\n3\n");
    EXPECT_EQ(single->getNumberOfRows(), 3);
    EXPECT_TRUE(single->getColumnAtIndex(0)->valueIsMissing(1));
    EXPECT_EQ(read("a,b\n")->getNumberOfRows(), 0);
}

TEST(CSVDataSetReader, GivenTypesAndFormatsOverrideInference) {
    Options options;
    options.columnDefinitions = {{"zip", DataType::STRING, ""}, {"amount", DataType::NUMERIC, "DOLLAR12.2"}};
    options.dataSetName = "orders";
    const auto dataSet = read("zip,amount\n02134,5\n10115,\"6\"\n", options);
    EXPECT_EQ(*dataSet->getName(), "orders");
    EXPECT_EQ(textAt(dataSet, 0, 0), "02134");
    EXPECT_EQ(*dataSet->getColumnAtIndex(0)->getFormatName(), "BEST12.");
    EXPECT_EQ(*dataSet->getColumnAtIndex(1)->getFormatName(), "DOLLAR12.2");
    EXPECT_EQ(*dataSet->getColumnAtIndex(1)->getNumbers(), (std::vector<double>{5, 6}));

    const auto refused = CSVDataSetReader::readText("zip,amount\n1,2\n3,\"a lot\"\n", options);
    EXPECT_FALSE(refused);
    EXPECT_EQ(refused.error, Error::NOT_A_NUMBER);
    EXPECT_EQ(refused.line, 3);
    EXPECT_EQ(refused.column, 2);
    EXPECT_EQ(refused.message,
              "line 3, column 2 ('amount'): 'a lot' is neither a number nor a value the column's "
              "format reads");

    options.columnDefinitions = {{"total", DataType::NUMERIC, ""}};
    EXPECT_EQ(CSVDataSetReader::readText("a\n1\n", options).error, Error::UNKNOWN_COLUMN);
}

// The reader remembers what the texts of a formatted column read as. Tens of thousands of
// distinct texts in random order, from 18 to 29 bytes long and many alike but for their last
// bytes (the year), more than it can remember at once, must each give exactly what the format
// reads.
TEST(CSVDataSetReader, RepeatedFormattedTextsReadAsTheFormatReadsThem) {
    const auto format = FormatterFactory::instance()->getFormatterForFormatName("WEEKDATE29.");
    std::mt19937 random(7);
    std::uniform_int_distribution<int> day(-22000, 51000);  // 1900 to 2099
    std::string csv = "day\n";
    std::vector<double> expected;
    for (int row = 0; row < 300000; ++row) {
        const double value = day(random);
        csv += "\"" + *format->format(value) + "\"\n";
        expected.push_back(value);
    }
    Options options;
    options.columnDefinitions = {{"day", DataType::NUMERIC, "WEEKDATE29."}};
    EXPECT_EQ(*read(csv, options)->getColumnAtIndex(0)->getNumbers(), expected);

    // A text that differs from a remembered one only by a trailing zero byte is read, and refused.
    constexpr char withZeroByte[] = "day\n\"Friday, July 31, 2015\"\n\"Friday, July 31, 2015\0\"\n";
    EXPECT_EQ(CSVDataSetReader::readText(std::string_view(withZeroByte, sizeof withZeroByte - 1), options).error,
              Error::NOT_A_NUMBER);
}

TEST(CSVDataSetReader, MalformedInputNamesTheLineAndTheField) {
    struct Case {
        std::string text;
        Error error;
        std::int64_t line;
        std::int64_t column;
    };
    const std::vector<Case> cases{
        {"", Error::NO_HEADER, 1, 0},
        {"a,b\n1,2\n3,\"open\n\n", Error::UNBALANCED_QUOTE, 3, 2},
        {"a,b\n\"x\ny\",1\n\"z\"w,2\n", Error::TEXT_AFTER_CLOSING_QUOTE, 4, 1},
        {"a,b\n1,2\n3,4,5\n", Error::WRONG_NUMBER_OF_FIELDS, 3, 3},
        {"a,b\n1\n", Error::WRONG_NUMBER_OF_FIELDS, 2, 2},
        {"a,b\n1,ok\n2,\xC3\x28\n", Error::INVALID_UTF8, 3, 2},
        {"a,\xFF\n1,2\n", Error::INVALID_UTF8, 1, 2},
        {"a\n\"\xED\xA0\x80\"\n", Error::INVALID_UTF8, 2, 1},
    };
    for (const Case& c : cases) {
        const auto result = CSVDataSetReader::readText(c.text);
        EXPECT_FALSE(result) << c.text;
        EXPECT_EQ(result.error, c.error) << c.text << ": " << result.message;
        EXPECT_EQ(result.line, c.line) << c.text << ": " << result.message;
        EXPECT_EQ(result.column, c.column) << c.text << ": " << result.message;
        EXPECT_NE(result.message.find("line " + std::to_string(c.line)), std::string::npos) << result.message;
    }
    Options quoteDelimiter;
    quoteDelimiter.delimiter = '"';
    EXPECT_EQ(CSVDataSetReader::readText("a\n", quoteDelimiter).error, Error::INVALID_OPTIONS);
}

TEST(CSVDataSetReader, AHeaderWiderThanTheColumnLimitIsRefusedBeforeAnyColumnIsMade) {
    Options options;
    options.maximumColumns = 3;
    EXPECT_TRUE(CSVDataSetReader::readText("a,b,c\n1,2,3\n", options));
    const auto refused = CSVDataSetReader::readText("a,b,c,d\n1,2,3,4\n", options);
    EXPECT_FALSE(refused);
    EXPECT_EQ(refused.error, Error::TOO_MANY_COLUMNS);
    EXPECT_EQ(refused.line, 1);
    EXPECT_NE(refused.message.find("4 columns"), std::string::npos) << refused.message;
}

TEST(CSVDataSetReader, AHugeFieldIsRefusedBeforeItIsRead) {
    std::string text = "a,b\n1,\"";
    text.append(std::size_t{20} << 20, 'x');
    text.append("\"\n");
    const auto quotedField = CSVDataSetReader::readText(text);
    EXPECT_EQ(quotedField.error, Error::FIELD_TOO_LONG);
    EXPECT_EQ(quotedField.line, 2);
    EXPECT_EQ(quotedField.column, 2);

    const TemporaryFile file(text);
    EXPECT_EQ(CSVDataSetReader::readFile(file.path()).error, Error::FIELD_TOO_LONG);

    Options small;
    small.maximumFieldBytes = 8;
    small.maximumRecordBytes = 12;
    EXPECT_EQ(CSVDataSetReader::readText("a,b\n123456789,1\n", small).error, Error::FIELD_TOO_LONG);
    EXPECT_EQ(CSVDataSetReader::readText("a,b\n12345678,1234\n", small).error, Error::RECORD_TOO_LONG);
    EXPECT_TRUE(CSVDataSetReader::readText("a,b\n12345678,12\n", small));
}

TEST(CSVDataSetReader, AMissingFileIsReportedWithTheSystemsReason) {
    const auto result = CSVDataSetReader::readFile("/nonexistent/folder/data.csv");
    EXPECT_EQ(result.error, Error::CANNOT_OPEN_FILE);
    EXPECT_EQ(result.message,
              " Failed to open file at path: /nonexistent/folder/data.csvbecause : No such file or directory");
}

TEST(CSVDataSetReader, FilesReadInChunksGiveWhatTheTextGives) {
    // Several chunks of records with quoted line breaks, and a column that turns into text late.
    std::mt19937 random(3);
    std::string text = "id,label,late\n";
    for (int row = 0; row < 100000; ++row) {
        text += std::to_string(row) + ",\"label " + std::to_string(random() % 500) + (row % 7 == 0 ? "\nnext" : "") +
                "\"," + (row == 99000 ? "text" : std::to_string(row % 100) + ".50") + "\n";
    }
    ASSERT_GT(text.size(), std::size_t{2} << 20);
    const TemporaryFile file(text, "sales.2024.csv");
    const auto fromFile = CSVDataSetReader::readFile(file.path());
    ASSERT_TRUE(fromFile) << fromFile.message;
    const auto fromText = read(text);
    EXPECT_EQ(*fromFile.dataSet->getName(), "sales.2024");
    EXPECT_EQ(*fromFile.dataSet->getCombinedCSV(), *fromText->getCombinedCSV());
    EXPECT_EQ(fromFile.dataSet->getColumnAtIndex(2)->getDataType(), DataType::STRING);
    EXPECT_EQ(textAt(fromFile.dataSet, 2, 1), "1.50");

    const auto malformed = text + "1,\"unclosed\n";
    const TemporaryFile badFile(malformed, "bad.csv");
    const auto failure = CSVDataSetReader::readFile(badFile.path());
    EXPECT_EQ(failure.error, Error::UNBALANCED_QUOTE);
    const std::int64_t linesOfRowsWithLineBreaks = (100000 + 6) / 7;
    EXPECT_EQ(failure.line, 1 + 100000 + linesOfRowsWithLineBreaks + 1);
}

TEST(CSVDataSetReader, TheCombinedCSVReadsBackToTheSameDataSet) {
    std::mt19937_64 random(11);
    // Texts that equal a token ("~O") are left out: the CSV form cannot tell them from the token.
    const std::vector<std::string> words{
        "plain", "with,comma", "with \"quotes\"", "multi\nline", "ünïcödé", "  padded  ", ".",
        "",      "   ",        "MATCHES_ALL",     "\r\n",        "12",      "'"};
    for (int round = 0; round < 20; ++round) {
        const std::size_t rows = 1 + random() % 40;
        auto strings = std::make_shared<DataSet::StringTable>();
        for (const auto& word : words) {
            strings->push_back(StringUtilities::internString(word));
        }
        auto texts = std::make_shared<Column::IndexVector>();
        auto numbers = std::make_shared<Column::NumberVector>();
        for (std::size_t row = 0; row < rows; ++row) {
            const auto pick = random() % (words.size() + 5);
            texts->push_back(pick < words.size() ? static_cast<std::int32_t>(pick)
                                                 : std::array{-1, -2, -98, -99, -99}[pick - words.size()]);
            switch (random() % 6) {
                case 0:
                    numbers->push_back(DataTokens::getNumericConstant(std::array{-1, -2, -98, -99}[random() % 4]));
                    break;
                case 1:
                    numbers->push_back(static_cast<double>(static_cast<std::int64_t>(random() % 1000) - 500));
                    break;
                case 2:
                    numbers->push_back(random() % 2 ? std::numeric_limits<double>::infinity() : -0.0);
                    break;
                default:
                    numbers->push_back(std::bit_cast<double>(random() & 0x7FEFFFFFFFFFFFFFULL) *
                                       (random() % 2 ? 1 : -1));
            }
        }
        auto text = Column::create(StringUtilities::internString("text, \"quoted\""), DataType::STRING);
        text->setStringIndices(texts);
        auto number = Column::create(StringUtilities::internString("number"), DataType::NUMERIC);
        number->setNumbers(numbers);
        const auto original = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{text, number}));
        original->setStringTable(strings);
        original->assignStringValuesFromIndices();

        const std::string csv = "\"text, \"\"quoted\"\"\",number\n" + *original->getCombinedCSV();
        const auto result = CSVDataSetReader::readText(csv);
        ASSERT_TRUE(result) << result.message << "\n" << csv;
        const auto& copy = *result.dataSet;
        ASSERT_EQ(copy.getNumberOfRows(), original->getNumberOfRows());
        for (std::int32_t column = 0; column < 2; ++column) {
            EXPECT_EQ(*copy.getColumnAtIndex(column)->getName(), *original->getColumnAtIndex(column)->getName());
            EXPECT_EQ(copy.getColumnAtIndex(column)->getDataType(), original->getColumnAtIndex(column)->getDataType());
            for (std::int32_t row = 0; row < copy.getNumberOfRows(); ++row) {
                const auto before = original->getColumnAtIndex(column)->getDataValueAtIndex(row);
                const auto after = copy.getColumnAtIndex(column)->getDataValueAtIndex(row);
                EXPECT_EQ(*after, *before) << before->getDescription() << " became " << after->getDescription();
                EXPECT_EQ(DataTokens::getSortPlaneForValue(*after), DataTokens::getSortPlaneForValue(*before))
                    << before->getDescription();
            }
        }
        EXPECT_EQ(*copy.getCombinedCSV(), *original->getCombinedCSV());
    }
}

TEST(CSVDataSetReader, NumericMatchesAllReadsBackAsMissing) {
    auto number = Column::create(StringUtilities::internString("n"), DataType::NUMERIC);
    number->setNumbers(
        std::make_shared<Column::NumberVector>(Column::NumberVector{DataTokens::MATCHES_ALL_NUMERIC, 1}));
    const auto original = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{number}));
    const auto copy = read("n\n" + *original->getCombinedCSV());
    EXPECT_TRUE(copy->getColumnAtIndex(0)->valueIsMissing(0));
    EXPECT_EQ(copy->getColumnAtIndex(0)->getNumberAtIndex(1), 1);
}

}  // namespace pellium
