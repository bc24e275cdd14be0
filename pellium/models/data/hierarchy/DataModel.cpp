#include "pellium/models/data/hierarchy/DataModel.h"

namespace pellium {

std::shared_ptr<DataModel> DataModel::create(SharedString name) {
    return std::make_shared<DataModel>(Token{}, std::move(name));
}

DataModel::DataModel(Token, SharedString name) : name_(std::move(name)) {}

DataModel::~DataModel() = default;

void DataModel::addIQData(const SharedString& name, std::shared_ptr<IQData> data) {
    iqData_.add(name, std::move(data));
}

std::shared_ptr<IQData> DataModel::getIQDataForName(std::string_view name) const {
    return iqData_.find(name);
}

std::vector<SharedString> DataModel::getAllIQDataNames() const {
    return iqData_.names;
}

void DataModel::addMapProvider(const SharedString& name, std::shared_ptr<MapProvider> provider) {
    mapProviders_.add(name, std::move(provider));
}

std::shared_ptr<MapProvider> DataModel::getMapProviderForName(std::string_view name) const {
    return mapProviders_.find(name);
}

std::vector<SharedString> DataModel::getAllMapProviderNames() const {
    return mapProviders_.names;
}

std::vector<std::shared_ptr<MapProvider>> DataModel::getAllMapProviders() const {
    std::vector<std::shared_ptr<MapProvider>> providers;
    for (const auto& name : mapProviders_.names) {
        providers.push_back(mapProviders_.find(*name));
    }
    return providers;
}

}  // namespace pellium
