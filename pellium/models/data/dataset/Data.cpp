#include "pellium/models/data/dataset/Data.h"

#include <algorithm>

#include "pellium/models/data/hierarchy/DataModel.h"

namespace pellium {

namespace {

bool haveEqualNames(const SharedString& left, const SharedString& right) {
    return left == right || (left && right && *left == *right);
}

}  // namespace

std::shared_ptr<Data> Data::create() {
    return std::make_shared<Data>(Token{});
}

Data::Data(Token) {}

void Data::addDataModel(const std::shared_ptr<DataModel>& model) {
    if (!model) {
        return;
    }
    const bool isPresent = std::ranges::any_of(
        models_, [&](const auto& present) { return haveEqualNames(present->getName(), model->getName()); });
    if (!isPresent) {
        models_.push_back(model);
    }
}

std::shared_ptr<DataModel> Data::getDataModelForName(std::string_view name) const {
    const auto found =
        std::ranges::find_if(models_, [&](const auto& model) { return model->getName() && *model->getName() == name; });
    return found != models_.end() ? *found : nullptr;
}

std::vector<SharedString> Data::getAllDataModelNames() const {
    std::vector<SharedString> names;
    names.reserve(models_.size());
    for (const auto& model : models_) {
        names.push_back(model->getName());
    }
    return names;
}

}  // namespace pellium
