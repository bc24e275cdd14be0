#include "pellium/models/data/dataset/DataTokens.h"

#include <array>
#include <cmath>
#include <ostream>
#include <string_view>

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {

namespace {

constexpr std::string_view resourceBundle = "vek_pellium";

// The nine internal texts, interned once on first use and kept until the library is unloaded.
class TokenStrings {
public:
    enum Entry : std::size_t {
        ALL_OTHERS,
        MATCHES_ALL,
        MISSING,
        MISSING_NUMERIC_DISPLAY,
        SPARSE,
        SPARSE_INTERNAL_DISPLAY,
        UNRESOLVABLE,
        SUPPRESSED,
        SUPPRESSED_NUMERIC_DISPLAY,
        COUNT,
    };

    static const SharedString& get(Entry entry) { return instance().texts_[entry]; }

private:
    TokenStrings() {
        constexpr std::array<std::string_view, COUNT> texts = {"~O", "MATCHES_ALL", " ",  ".", "~N",
                                                               "-",  "UNRESOLVED",  "~S", "*"};
        for (std::size_t index = 0; index < COUNT; ++index) {
            texts_[index] = StringUtilities::internString(texts[index]);
        }
    }

    static const TokenStrings& instance() {
        static const TokenStrings strings;
        return strings;
    }

    std::array<SharedString, COUNT> texts_;
};

SharedString localizedText(std::string_view key) {
    return ResourceManager::instance().getCurrentContext()->getString(resourceBundle, key);
}

std::shared_ptr<DataValue> makeStringValue(std::int32_t code, SharedString formatted) {
    auto value = DataValue::create(DataTokens::getStringConstant(code), code);
    value->setFormattedValue(std::move(formatted));
    return value;
}

std::shared_ptr<DataValue> makeNumericValue(std::int32_t code, SharedString formatted) {
    auto value = DataValue::create(DataTokens::getNumericConstant(code));
    value->setFormattedValue(std::move(formatted));
    return value;
}

}  // namespace

double DataTokens::getNumericConstant(std::int32_t code) {
    switch (code) {
        case TOKEN_MATCHES_ALL:
            return MATCHES_ALL_NUMERIC;
        case TOKEN_ALL_OTHERS:
            return ALL_OTHERS_NUMERIC;
        case TOKEN_SUPPRESSED:
            return SUPPRESSED_NUMERIC;
        case TOKEN_MISSING:
            return MISSING_NUMERIC;
        default:
            return SPARSE_NUMERIC;
    }
}

const SharedString& DataTokens::getStringConstant(std::int32_t code) {
    switch (code) {
        case TOKEN_MATCHES_ALL:
            return TokenStrings::get(TokenStrings::MATCHES_ALL);
        case TOKEN_ALL_OTHERS:
            return TokenStrings::get(TokenStrings::ALL_OTHERS);
        case TOKEN_SUPPRESSED:
            return TokenStrings::get(TokenStrings::SUPPRESSED);
        case TOKEN_SPARSE:
            return TokenStrings::get(TokenStrings::SPARSE);
        case TOKEN_MISSING:
            return TokenStrings::get(TokenStrings::MISSING);
        default:
            return StringUtilities::getNullString();
    }
}

SharedString DataTokens::getLocalizedDisplayString(std::int32_t code) {
    switch (code) {
        case TOKEN_ALL_OTHERS:
            return localizedText("ALL_OTHER.txt");
        case TOKEN_SUPPRESSED:
            return localizedText("suppressed.txt");
        case TOKEN_MISSING:
            return localizedText("missingValue.txt");
        default:
            return StringUtilities::getNullString();
    }
}

const SharedString& DataTokens::getMissingNumericDisplayString() {
    return TokenStrings::get(TokenStrings::MISSING_NUMERIC_DISPLAY);
}

const SharedString& DataTokens::getSuppressedNumericDisplayString() {
    return TokenStrings::get(TokenStrings::SUPPRESSED_NUMERIC_DISPLAY);
}

const SharedString& DataTokens::getSparseInternalDisplayString() {
    return TokenStrings::get(TokenStrings::SPARSE_INTERNAL_DISPLAY);
}

const SharedString& DataTokens::getUnresolvableString() {
    return TokenStrings::get(TokenStrings::UNRESOLVABLE);
}

std::shared_ptr<DataValue> DataTokens::makeDataValue(DataType::type type, std::int32_t code) {
    if (type == DataType::STRING) {
        switch (code) {
            case TOKEN_MATCHES_ALL:
            case TOKEN_SPARSE:
                return DataValue::create(getStringConstant(code), code);
            case TOKEN_ALL_OTHERS:
            case TOKEN_SUPPRESSED:
            case TOKEN_MISSING:
                return makeStringValue(code, getLocalizedDisplayString(code));
            default:
                return nullptr;
        }
    }
    if (type == DataType::NUMERIC) {
        switch (code) {
            case TOKEN_MATCHES_ALL:
                return makeNumericValue(code, getStringConstant(TOKEN_MATCHES_ALL));
            case TOKEN_ALL_OTHERS:
                return makeNumericValue(code, getLocalizedDisplayString(code));
            case TOKEN_SUPPRESSED:
                return makeNumericValue(code, getSuppressedNumericDisplayString());
            case TOKEN_SPARSE:
                return DataValue::create(SPARSE_NUMERIC);
            case TOKEN_MISSING:
                return makeNumericValue(code, getMissingNumericDisplayString());
            default:
                return nullptr;
        }
    }
    return nullptr;
}

int DataTokens::getSortPlaneForValue(double number) {
    if (number == ALL_OTHERS_NUMERIC) {
        return SORT_PLANE_ALL_OTHERS;
    }
    if (number == SPARSE_NUMERIC) {
        return SORT_PLANE_SPARSE;
    }
    if (std::isnan(number)) {
        return SORT_PLANE_MISSING;
    }
    if (number == SUPPRESSED_NUMERIC) {
        return SORT_PLANE_SUPPRESSED;
    }
    if (number == MATCHES_ALL_NUMERIC) {
        return SORT_PLANE_MATCHES_ALL;
    }
    return SORT_PLANE_ORDINARY;
}

int DataTokens::getSortPlaneForValue(const DataValue& value) {
    if (value.isAllOthers()) {
        return SORT_PLANE_ALL_OTHERS;
    }
    if (value.isSparse()) {
        return SORT_PLANE_SPARSE;
    }
    if (value.isMissing()) {
        return SORT_PLANE_MISSING;
    }
    if (value.isSuppressed()) {
        return SORT_PLANE_SUPPRESSED;
    }
    if (value.isMatchesAll()) {
        return SORT_PLANE_MATCHES_ALL;
    }
    return SORT_PLANE_ORDINARY;
}

int DataTokens::getSortPlaneForValue(const std::shared_ptr<const DataValue>& value) {
    return value ? getSortPlaneForValue(*value) : SORT_PLANE_MISSING;
}

int DataTokens::getSortPlaneForIndex(std::int32_t code) {
    switch (code) {
        case TOKEN_ALL_OTHERS:
            return SORT_PLANE_ALL_OTHERS;
        case TOKEN_SUPPRESSED:
            return SORT_PLANE_SUPPRESSED;
        case TOKEN_SPARSE:
            return SORT_PLANE_SPARSE;
        case TOKEN_MISSING:
            return SORT_PLANE_MISSING;
        case TOKEN_MATCHES_ALL:
            return SORT_PLANE_MATCHES_ALL;
        default:
            return SORT_PLANE_ORDINARY;
    }
}

void DataTokens::appendCSVNumber(std::string& text, double number) {
    if (std::isnan(number)) {
        text.push_back('.');
    } else if (number == ALL_OTHERS_NUMERIC) {
        text.append("~O");
    } else if (number == SUPPRESSED_NUMERIC) {
        text.append("~S");
    } else if (number == SPARSE_NUMERIC) {
        text.append("~N");
    } else if (number != MATCHES_ALL_NUMERIC) {
        text.append(StringUtilities::createStringFromDouble(number));
    }
}

void DataTokens::writeCSVNumber(std::ostream& stream, double number) {
    std::string text;
    appendCSVNumber(text, number);
    stream << text;
}

}  // namespace pellium
