#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <rapidjson/ostreamwrapper.h>
#include <rapidjson/prettywriter.h>

#include "tools/pellium/CommandLine.h"

namespace pellium {
class Column;
class DataSet;
class Formatter;
}  // namespace pellium

namespace pellium::cli {

/// One subcommand of the tool: its name, its help text and what it does.
struct Command {
    std::string_view name;
    std::string_view summary;
    /// The full help text, starting with the usage line.
    std::string_view help;
    std::vector<OptionSpec> options;
    /// Answers the exit code; throws UsageError or DataError.
    int (*run)(const Arguments& arguments);
};

const Command& describeCommand();
const Command& convertCommand();
const Command& formatCommand();
const Command& parseCommand();
const Command& timeZoneCommand();
const Command& filterCommand();
const Command& crosstabCommand();

/// Options every data command accepts.
inline const OptionSpec JSON_OPTION{"json", false};
inline const OptionSpec LOCALE_OPTION{"locale", true};
inline const OptionSpec TZ_OPTION{"tz", true};
inline const OptionSpec FORMAT_OPTION{"format", true, true};

/// Makes --locale and --tz the library's current localization context. Throws UsageError for a
/// malformed locale or an unknown time zone.
void applyLocalization(const Arguments& arguments);

/// The single positional argument DATA, loaded with the --format assignments.
std::shared_ptr<DataSet> loadDataArgument(const Arguments& arguments);

/// The named column; throws DataError naming the column and the ones that exist.
std::shared_ptr<Column> requireColumn(const DataSet& dataSet, const std::string& name);

/// The formatter of the column's format under the current context; null without one.
std::shared_ptr<Formatter> formatterOf(const Column& column);

/// The display text of a cell: its formatted text, "." for a missing number, the localized
/// "(missing)" for a missing text, and nothing for matches-all.
std::string cellText(const Column& column, std::int32_t row);

/// `value` through `formatter`, or in shortest form without one; "." for a missing value.
std::string formatNumber(const Formatter* formatter, double value);

using JsonWriter = rapidjson::PrettyWriter<rapidjson::OStreamWrapper>;

/// Writes a text that may be null (as JSON null).
void writeJsonString(JsonWriter& writer, std::string_view text);
void writeJsonString(JsonWriter& writer, const std::shared_ptr<const std::string>& text);

/// A JSON writer on standard output; call finish() after the last value.
class JsonOutput {
public:
    JsonOutput();
    JsonWriter& writer() { return writer_; }
    void finish();

private:
    rapidjson::OStreamWrapper stream_;
    JsonWriter writer_;
};

}  // namespace pellium::cli
