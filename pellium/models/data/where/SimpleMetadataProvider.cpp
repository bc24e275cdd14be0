#include "pellium/models/data/where/SimpleMetadataProvider.h"

#include "pellium/models/data/dataset/DataSet.h"

namespace pellium {

std::shared_ptr<SimpleMetadataProvider> SimpleMetadataProvider::create() {
    return std::make_shared<SimpleMetadataProvider>(Token{});
}

std::shared_ptr<SimpleMetadataProvider> SimpleMetadataProvider::create(const std::shared_ptr<const DataSet>& dataSet) {
    auto provider = create();
    provider->addDataSet(dataSet);
    return provider;
}

void SimpleMetadataProvider::addDataSet(const std::shared_ptr<const DataSet>& dataSet) {
    if (!dataSet || !dataSet->getColumns()) {
        return;
    }
    for (const auto& column : *dataSet->getColumns()) {
        addVariable(column);
    }
}

void SimpleMetadataProvider::addVariable(const std::shared_ptr<const Variable>& variable) {
    if (!variable || !variable->getName()) {
        return;
    }
    attributes_.try_emplace(*variable->getName(), Attributes{variable->getLabel(), variable->getFormatName()});
}

const SimpleMetadataProvider::Attributes* SimpleMetadataProvider::find(const SharedString& columnName) const {
    if (!columnName) {
        return nullptr;
    }
    const auto entry = attributes_.find(std::string_view(*columnName));
    return entry == attributes_.end() ? nullptr : &entry->second;
}

SharedString SimpleMetadataProvider::getLabel(const SharedString& columnName) const {
    const Attributes* attributes = find(columnName);
    return attributes ? attributes->label : nullptr;
}

SharedString SimpleMetadataProvider::getFormatName(const SharedString& columnName, int /*kind*/) const {
    const Attributes* attributes = find(columnName);
    return attributes ? attributes->formatName : nullptr;
}

}  // namespace pellium
