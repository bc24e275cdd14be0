#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/models/EventDispatcher.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// What a column is, apart from its data: its type, its unique name, the label shown for it, the
/// name of the format that renders its values, and the statistic used when it is aggregated.
/// `Column` derives from it. A change of any attribute raises VARIABLE_CHANGED to the listeners.
class PELLIUM_EXPORT Variable : public EventDispatcher {
public:
    /// Raised when the type, name, label, format name or aggregation changes.
    static constexpr int VARIABLE_CHANGED = 10021;

    ~Variable() override;

    DataType::type getDataType() const { return dataType_; }
    /// Any number is stored as given, so that validation can report a type that is no type.
    void setDataType(DataType::type dataType);

    const SharedString& getName() const { return name_; }
    /// The name is interned, so that equal names share one text.
    void setName(SharedString name);

    const SharedString& getLabel() const { return label_; }
    void setLabel(SharedString label);

    const SharedString& getFormatName() const { return formatName_; }
    void setFormatName(SharedString formatName);

    StatisticType::type getAggregation() const { return aggregation_; }
    void setAggregation(StatisticType::type aggregation);

    /// Whether the format makes the numbers dates, times or date-times (the formatter factory's
    /// family of the format name); false without a format name.
    bool isDateTime() const;

protected:
    Variable(DataType::type dataType, SharedString name, SharedString label, SharedString formatName,
             StatisticType::type aggregation);

    /// Called after an attribute changed, before listeners hear of it; a column drops the texts
    /// it formatted under the old attributes.
    virtual void attributesChanged();

private:
    void announceChange();

    DataType::type dataType_;
    SharedString name_;
    SharedString label_;
    SharedString formatName_;
    StatisticType::type aggregation_;
};

}  // namespace pellium
