#include "tools/pellium/Command.h"

#include <cmath>
#include <iostream>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeZone.h"
#include "tools/pellium/DataLoading.h"

namespace pellium::cli {

void applyLocalization(const Arguments& arguments) {
    std::shared_ptr<LocalizationContext> context = ResourceManager::instance().getCurrentContext()->getMutableCopy();
    if (arguments.has("locale") && !context->setLocale(arguments.value("locale"))) {
        throw UsageError("--locale needs a locale name such as en_US or de_DE, not \"" + arguments.value("locale") +
                         "\"");
    }
    if (arguments.has("tz")) {
        std::string zone = arguments.value("tz");
        if (!TimeZone::isValidID(zone) || !context->setTimeZoneId(zone)) {
            throw UsageError("--tz needs a time zone such as Europe/Paris or UTC, not \"" + zone + "\"");
        }
    }
    ResourceManager::instance().setCurrentContext(context);
}

std::shared_ptr<DataSet> loadDataArgument(const Arguments& arguments) {
    if (arguments.positionals().size() != 1) {
        throw UsageError("expected one DATA file");
    }
    return loadDataSet(arguments.positionals().front(), LoadRequest{arguments.values("format")});
}

std::shared_ptr<Column> requireColumn(const DataSet& dataSet, const std::string& name) {
    if (std::shared_ptr<Column> column = dataSet.getColumnWithName(name)) {
        return column;
    }
    std::string known;
    for (const auto& column : *dataSet.getColumns()) {
        if (column && column->getName()) {
            known += (known.empty() ? "" : ", ") + *column->getName();
        }
    }
    throw DataError("no column named \"" + name + "\"; the columns are " + known);
}

std::shared_ptr<Formatter> formatterOf(const Column& column) {
    if (!column.getFormatName()) {
        return nullptr;
    }
    return FormatterFactory::instance()->getFormatter(ResourceManager::instance().getCurrentContext(),
                                                      *column.getFormatName());
}

std::string cellText(const Column& column, std::int32_t row) {
    if (column.valueIsMatchesAll(row)) {
        return {};
    }
    if (column.valueIsMissing(row)) {
        return column.getDataType() == DataType::NUMERIC
                   ? *DataTokens::getMissingNumericDisplayString()
                   : *DataTokens::getLocalizedDisplayString(DataTokens::TOKEN_MISSING);
    }
    SharedString text = column.getFormattedValueAtIndex(row);
    return text ? *text : std::string();
}

std::string formatNumber(const Formatter* formatter, double value) {
    if (std::isnan(value)) {
        return *DataTokens::getMissingNumericDisplayString();
    }
    if (formatter != nullptr) {
        if (SharedString text = formatter->format(value)) {
            return *text;
        }
    }
    return StringUtilities::createStringFromDouble(value);
}

void writeJsonString(JsonWriter& writer, std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeJsonString(JsonWriter& writer, const std::shared_ptr<const std::string>& text) {
    if (text) {
        writeJsonString(writer, std::string_view(*text));
    } else {
        writer.Null();
    }
}

JsonOutput::JsonOutput() : stream_(std::cout), writer_(stream_) { writer_.SetIndent(' ', 2); }

void JsonOutput::finish() {
    stream_.Flush();
    std::cout << '\n';
}

}  // namespace pellium::cli
