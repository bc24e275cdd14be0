#include "pellium/models/data/hierarchy/DataModel.h"

namespace pellium {

std::shared_ptr<DataModel> DataModel::create(SharedString name) {
    return std::make_shared<DataModel>(Token{}, std::move(name));
}

DataModel::DataModel(Token, SharedString name) : name_(std::move(name)) {}

DataModel::~DataModel() = default;

}  // namespace pellium
