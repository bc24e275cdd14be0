#include "tools/pellium/DataStreamForms.h"

#include <fstream>
#include <iterator>
#include <sstream>

#include "pellium/models/data/dataset/DataSet.h"
#include "tools/pellium/CommandLine.h"

namespace pellium::cli {

namespace {

// A data set stream starts with the version mark "V", version 1, and "g" for a data set.
constexpr std::string_view STREAM_START{"V\x01g", 3};
// The same three bytes in base64.
constexpr std::string_view BASE64_START = "VgFn";

std::string readWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw DataError(path + ": cannot open the file");
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (in.bad()) {
        throw DataError(path + ": reading the file failed");
    }
    return std::move(bytes).str();
}

}  // namespace

bool isDataSetStream(const std::string& head) { return head.compare(0, STREAM_START.size(), STREAM_START) == 0; }

bool isBase64DataSetStream(const std::string& head) {
    std::size_t start = head.find_first_not_of(" \t\r\n");
    return start != std::string::npos && head.compare(start, BASE64_START.size(), BASE64_START) == 0;
}

std::shared_ptr<DataSet> readDataSetStreamFile(const std::string& path, bool base64) {
    std::string bytes = readWholeFile(path);
    std::shared_ptr<DataSet> dataSet;
    if (base64) {
        dataSet = DataSet::createFromBase64SerialData(bytes);
    } else {
        std::istringstream stream(std::move(bytes));
        dataSet = DataSet::createFromSerialData(stream);
    }
    if (!dataSet) {
        throw DataError(path + ": not a valid data set " + (base64 ? "base64 text" : "stream") +
                        " (damaged, cut short or of another kind)");
    }
    return dataSet;
}

void writeDataSetStreamFile(const std::string& path, const std::shared_ptr<const DataSet>& dataSet, bool base64) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    bool written = false;
    if (out) {
        if (base64) {
            SharedString text = DataSet::serializeAsBase64String(dataSet);
            written = text && (out << *text << '\n');
        } else {
            written = DataSet::serialize(out, dataSet);
        }
        out.close();
    }
    if (!written || !out) {
        throw DataError(path + ": cannot write the file");
    }
}

}  // namespace pellium::cli
