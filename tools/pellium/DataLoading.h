#pragma once

#include <memory>
#include <string>
#include <vector>

namespace pellium {
class DataSet;
}

namespace pellium::cli {

/// The forms a data set comes in.
enum class DataForm { CSV, STREAM, BASE64 };

/// What the user asked of the loaded data: formats per column ("Revenue=DOLLAR12.2").
struct LoadRequest {
    std::vector<std::string> formatAssignments;
};

/// Recognises the form of the bytes at the start of a file: the data set stream by its first
/// marks, base64 text when it decodes to that stream, CSV otherwise.
DataForm recognizeForm(const std::string& head);

/// Loads a data set from a file of any of the forms, applying the requested formats. Throws
/// DataError with the file, line and column of what is wrong. Shows progress on standard error
/// for large files when it is a terminal.
std::shared_ptr<DataSet> loadDataSet(const std::string& path, const LoadRequest& request);

/// Writes `dataSet` to `path` in `form`. Throws DataError when the file cannot be written.
void saveDataSet(const std::shared_ptr<const DataSet>& dataSet, const std::string& path, DataForm form);

/// The form a file name's extension asks for: ".csv", ".pds" (stream), ".b64"/".txt" (base64).
/// CSV for unknown extensions.
DataForm formFromFileName(const std::string& path);

}  // namespace pellium::cli
