#include "pellium/models/data/tree/MemberSortState.h"

#include <array>

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, MemberSortState::Key::NUMBER_OF_VALUES> keyNames = {"LABEL", "RAW_VALUE",
                                                                                           "MEASURE"};

SortDirection::type validDirection(SortDirection::type direction) {
    return SortDirection::isValid(direction) ? direction : SortDirection::DATA;
}

}  // namespace

std::string_view MemberSortState::Key::getStringFromValue(type value) {
    return isValid(value) ? keyNames[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<MemberSortState::Key::type> MemberSortState::Key::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(keyNames, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

std::shared_ptr<MemberSortState> MemberSortState::createByLabel(SortDirection::type direction, bool collated) {
    return std::make_shared<MemberSortState>(Token{}, direction, Key::LABEL, collated, nullptr,
                                             std::vector<SharedString>{});
}

std::shared_ptr<MemberSortState> MemberSortState::createByRawValue(SortDirection::type direction, bool collated) {
    return std::make_shared<MemberSortState>(Token{}, direction, Key::RAW_VALUE, collated, nullptr,
                                             std::vector<SharedString>{});
}

std::shared_ptr<MemberSortState> MemberSortState::createByMeasure(SortDirection::type direction,
                                                                  SharedString measureName,
                                                                  std::vector<SharedString> crossingPath) {
    return std::make_shared<MemberSortState>(Token{}, direction, Key::MEASURE, true, std::move(measureName),
                                             std::move(crossingPath));
}

MemberSortState::MemberSortState(Token, SortDirection::type direction, Key::type key, bool collated,
                                 SharedString measureName, std::vector<SharedString> crossingPath)
    : direction_(validDirection(direction)),
      key_(key),
      collated_(collated),
      measureName_(std::move(measureName)),
      crossingPath_(std::move(crossingPath)) {}

void MemberSortState::setDirection(SortDirection::type direction) {
    direction_ = validDirection(direction);
}

}  // namespace pellium
