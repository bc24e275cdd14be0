#pragma once

#include <iosfwd>
#include <memory>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class Column;
class DataValue;
class SerialReader;
class SerialWriter;

/// One classification level of a hierarchy: the data set column whose values form the level's
/// members (by name), how they are labelled and formatted, whether the user may drill through the
/// level, and the member drilled into at this level (its current value; null while the hierarchy
/// is not drilled through it). A level may name a second column whose raw values the member
/// sorting sorts on. Not locked.
class PELLIUM_EXPORT Level : public Wrappable {
    struct Token {};

public:
    static std::shared_ptr<Level> create(SharedString name, SharedString label, SharedString formatName,
                                         DataType::type dataType, bool drillable = true,
                                         std::shared_ptr<DataValue> currentValue = nullptr);
    /// A deep copy (the current value copied); null for null.
    static std::shared_ptr<Level> create(const std::shared_ptr<const Level>& level);
    /// A drillable level for `column`: its name, label, format and type; null for null.
    static std::shared_ptr<Level> createForColumn(const Column& column);

    Level(Token, SharedString name, SharedString label, SharedString formatName, DataType::type dataType,
          bool drillable, std::shared_ptr<DataValue> currentValue);
    ~Level() override;

    /// WrapperTypeIds::LEVEL.
    int getWrapperTypeId() const override;

    const SharedString& getName() const { return name_; }
    void setName(SharedString name) { name_ = std::move(name); }
    const SharedString& getLabel() const { return label_; }
    void setLabel(SharedString label) { label_ = std::move(label); }
    const SharedString& getFormatName() const { return formatName_; }
    void setFormatName(SharedString formatName) { formatName_ = std::move(formatName); }
    DataType::type getDataType() const { return dataType_; }
    void setDataType(DataType::type dataType) { dataType_ = dataType; }
    bool isDrillable() const { return drillable_; }
    void setDrillable(bool drillable) { drillable_ = drillable; }
    bool isRanked() const { return ranked_; }
    void setRanked(bool ranked) { ranked_ = ranked; }
    /// The column whose raw values the member sorting uses for this level; null for none.
    const SharedString& getSortOnRawColumnName() const { return sortOnRawColumnName_; }
    void setSortOnRawColumnName(SharedString name) { sortOnRawColumnName_ = std::move(name); }

    const std::shared_ptr<DataValue>& getCurrentValue() const { return currentValue_; }
    void setCurrentValue(std::shared_ptr<DataValue> value) { currentValue_ = std::move(value); }

    /// A numeric level whose format makes its numbers dates, times or date-times.
    bool isDateTime() const;
    /// The current value's formatted text: the text it carries, else the value formatted with the
    /// level's format; null without a current value.
    SharedString getFormattedCurrentValue() const;
    /// The current value's display text; null without a current value.
    SharedString getCurrentDisplayString() const;

    // Stream form: version mark, presence, name, label, format name, data type ("c" int32),
    // drillable and ranked ("b" bools), the current value and the sort-on-raw column name.
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const Level>& level);
    static bool unserialize(SerialReader& reader, std::shared_ptr<Level>& level);
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;

private:
    bool writeBody(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);

    SharedString name_;
    SharedString label_;
    SharedString formatName_;
    DataType::type dataType_;
    bool drillable_;
    bool ranked_ = false;
    std::shared_ptr<DataValue> currentValue_;
    SharedString sortOnRawColumnName_;
};

}  // namespace pellium
