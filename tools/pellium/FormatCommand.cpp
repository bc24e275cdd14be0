#include <cmath>
#include <iostream>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/StringUtilities.h"
#include "tools/pellium/Command.h"

namespace pellium::cli {

namespace {

std::shared_ptr<Formatter> requireFormatter(const Arguments& arguments, std::string_view what) {
    if (arguments.positionals().size() < 2) {
        throw UsageError("expected a format name and at least one " + std::string(what));
    }
    const std::string& name = arguments.positionals().front();
    std::shared_ptr<Formatter> formatter =
        FormatterFactory::instance()->getFormatter(ResourceManager::instance().getCurrentContext(), name);
    if (!formatter) {
        throw UsageError("unknown format name \"" + name + "\"");
    }
    return formatter;
}

/// Writes the pairs of input and output, as lines or as JSON; answers whether all were read.
int writeResults(const Arguments& arguments, std::string_view inputKey, std::string_view outputKey,
                 const std::vector<std::pair<std::string, std::string>>& results, std::size_t failures) {
    if (arguments.has("json")) {
        JsonOutput output;
        JsonWriter& json = output.writer();
        json.StartArray();
        for (const auto& [input, result] : results) {
            json.StartObject();
            json.Key(inputKey.data(), static_cast<rapidjson::SizeType>(inputKey.size()));
            writeJsonString(json, input);
            json.Key(outputKey.data(), static_cast<rapidjson::SizeType>(outputKey.size()));
            writeJsonString(json, result);
            json.EndObject();
        }
        json.EndArray();
        output.finish();
    } else {
        for (const auto& pair : results) {
            std::cout << pair.second << '\n';
        }
    }
    return failures == 0 ? 0 : 1;
}

int runFormat(const Arguments& arguments) {
    applyLocalization(arguments);
    std::shared_ptr<Formatter> formatter = requireFormatter(arguments, "number");
    std::vector<std::pair<std::string, std::string>> results;
    std::size_t failures = 0;
    for (std::size_t i = 1; i < arguments.positionals().size(); ++i) {
        const std::string& input = arguments.positionals()[i];
        double value = input == "." ? std::nan("") : StringUtilities::createDoubleFromString(input);
        if (std::isnan(value) && input != ".") {
            std::cerr << "pellium format: \"" << input << "\" is not a number\n";
            ++failures;
        }
        results.emplace_back(input, formatNumber(formatter.get(), value));
    }
    return writeResults(arguments, "value", "text", results, failures);
}

int runParse(const Arguments& arguments) {
    applyLocalization(arguments);
    std::shared_ptr<Formatter> formatter = requireFormatter(arguments, "text");
    std::vector<std::pair<std::string, std::string>> results;
    std::size_t failures = 0;
    for (std::size_t i = 1; i < arguments.positionals().size(); ++i) {
        const std::string& input = arguments.positionals()[i];
        double value = formatter->parse(input);
        if (std::isnan(value)) {
            std::cerr << "pellium parse: cannot read \"" << input << "\" as " << arguments.positionals().front()
                      << '\n';
            ++failures;
        }
        results.emplace_back(input, std::isnan(value) ? "." : StringUtilities::createStringFromDouble(value));
    }
    return writeResults(arguments, "text", "value", results, failures);
}

}  // namespace

const Command& formatCommand() {
    static const Command command{
        "format",
        "write numbers through a format, for a locale",
        "usage: pellium format NAME VALUE... [--locale xx_YY] [--tz ZONE] [--json]\n\n"
        "Writes each VALUE through the format NAME (for example DOLLAR12.2, COMMA10., DATE9.,\n"
        "DATETIME20.), one text per line. Dates are days since 1 January 1960, times and\n"
        "date-times seconds; \".\" is a missing value. Exit code 1 when a VALUE is not a number.\n\n"
        "  --locale xx_YY  write for this locale (default en_US)\n"
        "  --tz ZONE       the time zone of time zone names in date-time formats\n"
        "  --json          print [{\"value\", \"text\"}...]\n",
        {JSON_OPTION, LOCALE_OPTION, TZ_OPTION},
        runFormat,
    };
    return command;
}

const Command& parseCommand() {
    static const Command command{
        "parse",
        "read texts back into numbers through a format",
        "usage: pellium parse NAME TEXT... [--locale xx_YY] [--json]\n\n"
        "Reads each TEXT through the format NAME and writes the number it stands for (\".\" when\n"
        "it cannot be read, with exit code 1). Dates answer days since 1 January 1960, times and\n"
        "date-times seconds.\n\n"
        "  --locale xx_YY  read as written for this locale (default en_US)\n"
        "  --json          print [{\"text\", \"value\"}...]\n",
        {JSON_OPTION, LOCALE_OPTION, TZ_OPTION},
        runParse,
    };
    return command;
}

}  // namespace pellium::cli
