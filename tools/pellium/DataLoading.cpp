#include "tools/pellium/DataLoading.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/parsers/CSVDataSetReader.h"
#include "pellium/util/StringUtilities.h"
#include "tools/pellium/CommandLine.h"
#include "tools/pellium/DataStreamForms.h"

namespace pellium::cli {

namespace {

constexpr std::uintmax_t PROGRESS_THRESHOLD = std::uintmax_t{16} << 20;

struct FormatAssignment {
    std::string column;
    std::string formatName;
    std::shared_ptr<Formatter> formatter;
};

std::vector<FormatAssignment> parseAssignments(const std::vector<std::string>& texts) {
    std::vector<FormatAssignment> assignments;
    for (const std::string& text : texts) {
        std::size_t equals = text.rfind('=');
        if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
            throw UsageError("--format needs COLUMN=FORMAT, not \"" + text + "\"");
        }
        FormatAssignment assignment{text.substr(0, equals), text.substr(equals + 1), nullptr};
        assignment.formatter = FormatterFactory::instance()->getFormatterForFormatName(assignment.formatName);
        if (!assignment.formatter) {
            throw UsageError("unknown format name \"" + assignment.formatName + "\" for column " + assignment.column);
        }
        assignments.push_back(std::move(assignment));
    }
    return assignments;
}

/// Formats that make a column's numbers dates or times must be known while the CSV is read, so
/// that text such as "2024-03-15" is read through them.
bool readsTextAsNumbers(const Formatter& formatter) {
    return formatter.isDateFormat() || formatter.isTimeFormat() || formatter.isDateTimeFormat();
}

std::string readHead(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw DataError(path + ": cannot open the file");
    }
    std::string head(64, '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    return head;
}

/// Reports a long load on standard error when a person watches it.
class Progress {
public:
    Progress(const std::string& path) : path_(path) {
        std::error_code error;
        std::uintmax_t size = std::filesystem::file_size(path, error);
        shown_ = !error && size >= PROGRESS_THRESHOLD && isatty(STDERR_FILENO) == 1;
        if (shown_) {
            std::fprintf(stderr, "reading %s (%.1f MB)...", path.c_str(), static_cast<double>(size) / 1e6);
            std::fflush(stderr);
            start_ = std::chrono::steady_clock::now();
        }
    }
    void finish(std::int32_t rows) const {
        if (shown_) {
            std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
            std::fprintf(stderr, " %d rows in %.2f s\n", rows, elapsed.count());
        }
    }

private:
    std::string path_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point start_;
};

std::shared_ptr<DataSet> readCSV(const std::string& path, const std::vector<FormatAssignment>& assignments) {
    CSVReadOptions options;
    for (const FormatAssignment& assignment : assignments) {
        if (readsTextAsNumbers(*assignment.formatter)) {
            options.columnDefinitions.push_back({assignment.column, DataType::NUMERIC, assignment.formatName});
        }
    }
    CSVReadResult result = CSVDataSetReader::readFile(path, options);
    if (!result) {
        // The message names the line and the column.
        throw DataError(path + ": " + result.message);
    }
    return result.dataSet;
}

std::string csvQuoted(const std::string& text) {
    std::string quoted = "\"";
    for (char character : text) {
        quoted += character == '"' ? "\"\"" : std::string(1, character);
    }
    return quoted + '"';
}

}  // namespace

DataForm recognizeForm(const std::string& head) {
    if (isDataSetStream(head)) {
        return DataForm::STREAM;
    }
    if (isBase64DataSetStream(head)) {
        return DataForm::BASE64;
    }
    return DataForm::CSV;
}

DataForm formFromFileName(const std::string& path) {
    std::string extension = StringUtilities::toLowerAscii(std::filesystem::path(path).extension().string());
    if (extension == ".pds") {
        return DataForm::STREAM;
    }
    if (extension == ".b64" || extension == ".txt") {
        return DataForm::BASE64;
    }
    return DataForm::CSV;
}

std::shared_ptr<DataSet> loadDataSet(const std::string& path, const LoadRequest& request) {
    std::vector<FormatAssignment> assignments = parseAssignments(request.formatAssignments);
    DataForm form = recognizeForm(readHead(path));
    Progress progress(path);
    std::shared_ptr<DataSet> dataSet =
        form == DataForm::CSV ? readCSV(path, assignments) : readDataSetStreamFile(path, form == DataForm::BASE64);
    for (const FormatAssignment& assignment : assignments) {
        std::shared_ptr<Column> column = dataSet->getColumnWithName(assignment.column);
        if (!column) {
            throw DataError(path + ": no column named \"" + assignment.column + "\" (see pellium describe)");
        }
        column->setFormatName(StringUtilities::internString(assignment.formatName));
    }
    progress.finish(dataSet->getNumberOfRows());
    return dataSet;
}

void saveDataSet(const std::shared_ptr<const DataSet>& dataSet, const std::string& path, DataForm form) {
    if (form != DataForm::CSV) {
        writeDataSetStreamFile(path, dataSet, form == DataForm::BASE64);
        return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    std::string header;
    const auto& columns = *dataSet->getColumns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
        std::string name = columns[i] && columns[i]->getName() ? *columns[i]->getName() : std::string();
        bool quote = name.find_first_of(",\"\r\n") != std::string::npos;
        if (i > 0) {
            header += ',';
        }
        header += quote ? csvQuoted(name) : name;
    }
    SharedString rows = dataSet->getCombinedCSV();
    out << header << '\n' << (rows ? *rows : std::string());
    out.close();
    if (!out) {
        throw DataError(path + ": cannot write the file");
    }
}

}  // namespace pellium::cli
