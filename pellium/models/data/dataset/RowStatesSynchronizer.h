#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/EventDispatcher.h"
#include "pellium/models/data/dataset/RowIndexSet.h"

namespace pellium {

class Column;
class DataSet;

/// Keeps the selection of a target data set in step with the selection of a source data set, so
/// that selecting rows in one view selects the matching rows of a linked view (a table and a chart
/// over an aggregated copy of its data, say).
///
/// Source rows are carried to target rows by the first of these that is given:
/// - a row mapping: entry i is the target row of source row i (a negative entry or one beyond the
///   target maps the row nowhere; source rows beyond the mapping map nowhere);
/// - a column pair: a target row is reached when its value in the target column equals the value
///   of a reached source row in the source column (texts by their bytes, numbers by value, missing
///   equal to missing), which links data sets with separate string tables;
/// - otherwise each source row to the target row of the same index.
///
/// With `replaceTargetSelection` the target's selection becomes exactly the rows reached;
/// without it the rows reached are added to the target's selection.
///
/// The synchronizer holds the source weakly and the target strongly. It hears the source's
/// SELECTED_CHANGED through the source data set, so it keeps working after the source makes new
/// row states. Changes that a synchronizer makes are not answered by synchronizers listening to
/// the target (the object it records is the row states it is writing), so two synchronizers
/// linking two data sets both ways do not bounce selections back and forth.
class PELLIUM_EXPORT RowStatesSynchronizer : public EventDispatcher {
    struct Token {};

public:
    using RowMapping = std::vector<std::int32_t>;

    /// A synchronizer that does nothing until registerListener() or synchronize() is called.
    static std::shared_ptr<RowStatesSynchronizer> create(const std::shared_ptr<DataSet>& source,
                                                         const std::shared_ptr<DataSet>& target,
                                                         std::shared_ptr<const RowMapping> rowMapping,
                                                         bool replaceTargetSelection,
                                                         std::shared_ptr<const Column> sourceColumn = nullptr,
                                                         std::shared_ptr<const Column> targetColumn = nullptr);

    RowStatesSynchronizer(Token, const std::shared_ptr<DataSet>& source, std::shared_ptr<DataSet> target,
                          std::shared_ptr<const RowMapping> rowMapping, bool replaceTargetSelection,
                          std::shared_ptr<const Column> sourceColumn, std::shared_ptr<const Column> targetColumn);
    ~RowStatesSynchronizer() override;

    /// WrapperTypeIds::ROW_STATES_SYNCHRONIZER (45).
    int getWrapperTypeId() const override;

    /// Starts following the source's selection; false when the source is gone or already followed.
    bool registerListener();
    /// Stops following it.
    void unregisterListener();

    /// Answers a SELECTED_CHANGED of the source: synchronizes unless the change was made by a
    /// synchronizer writing the source's row states.
    void selectionChanged(const std::shared_ptr<Event>& event);

    /// Carries the source's selection to the target now; false when the source is gone or the
    /// target's selection did not change.
    bool synchronize();

    /// The target rows reached by `sourceRows`.
    RowIndexSet mapSourceRowsToTargetRows(const RowIndexSet& sourceRows) const;

private:
    RowIndexSet mapByRowMapping(const RowIndexSet& sourceRows) const;
    RowIndexSet mapByColumnValues(const RowIndexSet& sourceRows) const;

    std::weak_ptr<DataSet> source_;
    std::shared_ptr<DataSet> target_;
    std::shared_ptr<const RowMapping> rowMapping_;
    bool replaceTargetSelection_;
    std::shared_ptr<const Column> sourceColumn_;
    std::shared_ptr<const Column> targetColumn_;
    ListenerId listenerId_ = NO_LISTENER;
};

}  // namespace pellium
