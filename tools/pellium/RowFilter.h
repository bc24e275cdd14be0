#pragma once

#include <memory>
#include <string>

#include "pellium/models/data/dataset/RowIndexSet.h"

namespace pellium {
class DataSet;
}

namespace pellium::cli {

/// The rows of `dataSet` that the filter `text` selects (all rows for an empty text). Throws
/// UsageError when the text cannot be read and DataError when it names a column the data set
/// lacks, since the library treats such a clause as false for every row.
std::shared_ptr<RowIndexSet> selectRows(const DataSet& dataSet, const std::string& text);

}  // namespace pellium::cli
