#include "Report.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <vector>

namespace compare {

std::string jsonString(std::string_view text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            quoted += '\\';
            quoted += character;
        } else if (static_cast<unsigned char>(character) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(character));
            quoted += escape;
        } else {
            quoted += character;
        }
    }
    return quoted + '"';
}

void Report::writeHead(std::string_view workload, std::string_view engine) {
    output_ << "{\"workload\":" << jsonString(workload) << ",\"engine\":" << jsonString(engine) << ",\"threads\":1";
}

void Report::measure(std::string_view workload, std::string_view engine, std::string_view detail,
                     std::uint64_t rowCount, const Run& run) {
    if (!wants(workload)) {
        return;
    }
    std::vector<double> milliseconds;
    double check = 0;
    try {
        for (int index = 0; index < context_.runs; ++index) {
            const auto start = std::chrono::steady_clock::now();
            check = run();
            const auto stop = std::chrono::steady_clock::now();
            milliseconds.push_back(std::chrono::duration<double, std::milli>(stop - start).count());
        }
    } catch (const std::exception& error) {
        writeHead(workload, engine);
        output_ << ",\"detail\":" << jsonString(detail) << ",\"error\":" << jsonString(error.what()) << "}\n"
                << std::flush;
        return;
    }
    writeHead(workload, engine);
    output_ << ",\"detail\":" << jsonString(detail) << ",\"rows\":" << rowCount << ",\"ms\":[";
    for (std::size_t index = 0; index < milliseconds.size(); ++index) {
        char number[32];
        std::snprintf(number, sizeof(number), "%.3f", milliseconds[index]);
        output_ << (index == 0 ? "" : ",") << number;
    }
    char checkText[32];
    std::snprintf(checkText, sizeof(checkText), "%.17g", check);
    output_ << "],\"check\":" << checkText << "}\n" << std::flush;
}

void Report::unavailable(std::string_view workload, std::string_view engine, std::string_view reason) {
    if (!wants(workload)) {
        return;
    }
    writeHead(workload, engine);
    output_ << ",\"unavailable\":" << jsonString(reason) << "}\n" << std::flush;
}

}  // namespace compare
