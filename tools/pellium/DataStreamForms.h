#pragma once

#include <memory>
#include <string>

namespace pellium {
class DataSet;
}

namespace pellium::cli {

/// Whether the bytes open a data set stream (a version mark, then a data set that is not null).
bool isDataSetStream(const std::string& head);
/// Whether the text is base64 that decodes to the start of a data set stream.
bool isBase64DataSetStream(const std::string& head);

/// Reads the data set stream, or its base64 text, from a file. Throws DataError when the file
/// cannot be read or does not hold a data set.
std::shared_ptr<DataSet> readDataSetStreamFile(const std::string& path, bool base64);
/// Writes the data set stream, or its base64 text, to a file. Throws DataError on failure.
void writeDataSetStreamFile(const std::string& path, const std::shared_ptr<const DataSet>& dataSet, bool base64);

}  // namespace pellium::cli
