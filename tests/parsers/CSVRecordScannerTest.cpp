#include <gtest/gtest.h>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/parsers/CSVRecordScanner.h"

namespace pellium {
namespace {

using Status = CSVRecordScanner::Status;

struct ExpectedField {
    std::string text;  // as it stands between the quotes of a quoted field
    bool isQuoted;
};

// Random records whose fields cross the scanner's 64-byte blocks at every offset: unquoted fields
// of 0 to 150 bytes (quotes inside them are ordinary), quoted ones holding delimiters and line
// breaks, and all three line endings.
class RandomRecords {
public:
    RandomRecords(char delimiter, unsigned seed) : delimiter_(delimiter), random_(seed) {}

    std::vector<ExpectedField> next(std::string& bytes) {
        std::vector<ExpectedField> fields(1 + random_() % 8);
        for (std::size_t index = 0; index < fields.size(); ++index) {
            fields[index] = makeField();
            if (index > 0) {
                bytes.push_back(delimiter_);
            }
            const std::string_view quote = fields[index].isQuoted ? "\"" : "";
            bytes.append(quote).append(fields[index].text).append(quote);
        }
        if (fields.size() == 1 && fields[0].text.empty() && !fields[0].isQuoted) {
            bytes.push_back('z');  // a blank line after a carriage return would join its line break
            fields[0].text.push_back('z');
        }
        constexpr const char* endings[] = {"\n", "\r\n", "\r"};
        bytes += endings[random_() % 3];
        return fields;
    }

private:
    ExpectedField makeField() {
        const std::size_t length = random_() % 4 == 0 ? random_() % 151 : random_() % 12;
        const bool isQuoted = random_() % 6 == 0;
        const std::string alphabet = isQuoted ? std::string("ab, \n\r") + delimiter_ : "xyz09.\"";
        std::string text;
        for (std::size_t index = 0; index < length; ++index) {
            text.push_back(alphabet[random_() % alphabet.size()]);
        }
        if (!isQuoted && text.starts_with('"')) {
            text[0] = 'q';
        }
        return {text, isQuoted};
    }

    char delimiter_;
    std::mt19937 random_;
};

TEST(CSVRecordScanner, FindsEveryFieldWhereverItCrossesABlock) {
    for (const char delimiter : {',', ';', '\t'}) {
        RandomRecords records(delimiter, static_cast<unsigned>(delimiter));
        std::string bytes;
        std::vector<std::vector<ExpectedField>> expected;
        for (int record = 0; record < 400; ++record) {
            expected.push_back(records.next(bytes));
        }
        const CSVRecordScanner scanner(delimiter, 1000);
        std::vector<CSVField> fields;
        std::string_view rest = bytes;
        for (std::size_t record = 0; record < expected.size(); ++record) {
            const auto scan = scanner.scan(rest, true, fields);
            ASSERT_EQ(scan.status, Status::RECORD) << "record " << record;
            ASSERT_EQ(fields.size(), expected[record].size()) << "record " << record;
            for (std::size_t index = 0; index < fields.size(); ++index) {
                EXPECT_EQ(fields[index].text, expected[record][index].text) << "record " << record << " field " << index;
                EXPECT_EQ(fields[index].isQuoted, expected[record][index].isQuoted);
            }
            // A window that ends early asks for more or, past the line break, finds the same record.
            std::vector<CSVField> windowFields;
            for (std::size_t cut = 0; cut <= scan.consumed + 1 && cut <= rest.size(); ++cut) {
                const auto partial = scanner.scan(rest.substr(0, cut), false, windowFields);
                if (partial.status != Status::NEED_MORE) {
                    ASSERT_EQ(partial.status, Status::RECORD) << "record " << record << " cut " << cut;
                    ASSERT_EQ(partial.consumed, scan.consumed) << "record " << record << " cut " << cut;
                    ASSERT_EQ(windowFields.size(), fields.size());
                }
            }
            rest.remove_prefix(scan.consumed);
        }
        EXPECT_EQ(scanner.scan(rest, true, fields).status, Status::END);
    }
}

}  // namespace
}  // namespace pellium
