// The native side of the engine comparison (see README.md beside this file):
//
//   compare_workloads generate ROWS FILE       writes the sales table as CSV
//   compare_workloads run FILE ROWS RUNS [pellium|libraries|all [WORKLOAD]]
//                                              times the workloads on that file, one JSON line each;
//                                              with WORKLOAD only that one (to profile it)
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "Report.h"
#include "SalesData.h"

namespace {

int usage() {
    std::fputs(
        "usage: compare_workloads generate ROWS FILE\n"
        "       compare_workloads run FILE ROWS RUNS [pellium|libraries|all [WORKLOAD]]\n",
        stderr);
    return 2;
}

bool readCount(const char* text, std::uint64_t& count) {
    char* end = nullptr;
    count = std::strtoull(text, &end, 10);
    return end != text && *end == '\0' && count > 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (command == "generate" && argc == 4) {
        std::uint64_t rowCount = 0;
        if (!readCount(argv[2], rowCount)) {
            return usage();
        }
        if (!compare::SalesData::writeCsvFile(argv[3], rowCount)) {
            std::fprintf(stderr, "cannot write %s\n", argv[3]);
            return 1;
        }
        return 0;
    }
    if (command == "run" && argc >= 5 && argc <= 7) {
        compare::Context context;
        context.csvPath = argv[2];
        std::uint64_t runs = 0;
        if (!readCount(argv[3], context.rowCount) || !readCount(argv[4], runs)) {
            return usage();
        }
        context.runs = static_cast<int>(runs);
        context.valueCount = std::min<std::uint64_t>(context.valueCount, context.rowCount);
        const std::string_view engines = argc >= 6 ? argv[5] : "all";
        context.onlyWorkload = argc == 7 ? argv[6] : "";
        compare::Report report(context, std::cout);
        if (engines == "all" || engines == "pellium") {
            compare::addPelliumWorkloads(report);
        }
        if (engines == "all" || engines == "libraries") {
            compare::addLibraryWorkloads(report);
        }
        return 0;
    }
    return usage();
}
