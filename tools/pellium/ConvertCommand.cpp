#include <iostream>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/util/StringUtilities.h"
#include "tools/pellium/Command.h"
#include "tools/pellium/DataLoading.h"

namespace pellium::cli {

namespace {

DataForm formNamed(const std::string& name) {
    if (name == "csv") {
        return DataForm::CSV;
    }
    if (name == "stream") {
        return DataForm::STREAM;
    }
    if (name == "base64") {
        return DataForm::BASE64;
    }
    throw UsageError("--to needs csv, stream or base64, not \"" + name + "\"");
}

int run(const Arguments& arguments) {
    const auto& words = arguments.positionals();
    if (words.size() != 2) {
        throw UsageError("expected an input and an output file");
    }
    std::shared_ptr<DataSet> dataSet = loadDataSet(words[0], LoadRequest{arguments.values("format")});
    if (arguments.has("name")) {
        dataSet->setName(StringUtilities::internString(arguments.value("name")));
    }
    DataForm form = arguments.has("to") ? formNamed(arguments.value("to")) : formFromFileName(words[1]);
    saveDataSet(dataSet, words[1], form);
    if (!arguments.has("quiet")) {
        std::cerr << "wrote " << dataSet->getNumberOfRows() << " rows of " << dataSet->getNumberOfColumns()
                  << " columns to " << words[1] << '\n';
    }
    return 0;
}

}  // namespace

const Command& convertCommand() {
    static const Command command{
        "convert",
        "convert data between CSV, the data set stream and its base64 text",
        "usage: pellium convert IN OUT [--to csv|stream|base64] [--format COL=NAME]... [--name NAME]\n\n"
        "Reads IN (any form, recognised by content) and writes OUT in the form its extension\n"
        "names: .csv for CSV, .pds for the binary data set stream, .b64 or .txt for its base64\n"
        "text. The stream keeps column formats, labels and aggregations; CSV keeps only names\n"
        "and values (dates as day counts).\n\n"
        "  --to FORM          write this form whatever the extension\n"
        "  --format COL=NAME  give column COL the format NAME (repeatable); date formats read\n"
        "                     date texts of a CSV input\n"
        "  --name NAME        name the data set\n"
        "  --quiet            say nothing on success\n",
        {{"to", true}, FORMAT_OPTION, {"name", true}, {"quiet", false}},
        run,
    };
    return command;
}

}  // namespace pellium::cli
