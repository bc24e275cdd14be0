// Reads a hierarchy data set (tree, hierarchies, settings) from arbitrary bytes. Besides surviving
// any input, what was read must be a fixed point of writing: writing it, reading that back and
// writing again gives the same bytes. A data set read is bound to a small data set and queried, so
// that the trees and hierarchies a hostile stream describes are walked too.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace {

using namespace pellium;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string written(const std::shared_ptr<HierarchyDataSet>& hierarchyDataSet) {
    std::ostringstream stream;
    SerialWriter writer(stream);
    require(HierarchyDataSet::serialize(writer, hierarchyDataSet));
    return stream.str();
}

bool read(std::string_view bytes, std::shared_ptr<HierarchyDataSet>& hierarchyDataSet) {
    MemoryInputStream stream(bytes);
    SerialReader reader(stream);
    return HierarchyDataSet::unserialize(reader, hierarchyDataSet);
}

std::shared_ptr<DataSet> smallDataSet() {
    auto region = Column::create(StringUtilities::internString("Region"), DataType::STRING);
    region->setStringIndices(std::make_shared<Column::IndexVector>(Column::IndexVector{0, 1, 0}));
    auto value = Column::create(StringUtilities::internString("Value"), DataType::NUMERIC);
    value->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{1, 2, 3}));
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{region, value}));
    dataSet->setStringTable(std::make_shared<DataSet::StringTable>(
        DataSet::StringTable{StringUtilities::internString("East"), StringUtilities::internString("West")}));
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::shared_ptr<HierarchyDataSet> hierarchyDataSet;
    if (!read(std::string_view(reinterpret_cast<const char*>(data), size), hierarchyDataSet) || !hierarchyDataSet) {
        return 0;
    }
    const std::string once = written(hierarchyDataSet);
    std::shared_ptr<HierarchyDataSet> again;
    require(read(once, again) && again);
    require(written(again) == once);

    static const auto dataSet = smallDataSet();
    hierarchyDataSet->attach(dataSet);
    std::vector<CrossingPath> paths(hierarchyDataSet->getHierarchies().size());
    hierarchyDataSet->getMeasureValuesAtCrossing(paths);
    hierarchyDataSet->requiresAdditionalData();
    HierarchyDataSet::getDescription(hierarchyDataSet, nullptr, AxisDimension::ROW);
    for (const auto& hierarchy : hierarchyDataSet->getHierarchies()) {
        if (hierarchy->getDisplay()) {
            hierarchy->expandAll(1);
            hierarchy->getNodesAtLevel(2);
        }
    }
    return 0;
}
