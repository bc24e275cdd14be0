// pellium-tzconvert: converts tz source into the library's time-zone rule files.
//
//   pellium-tzconvert [--release NAME] --output-dir DIR INPUT...
//
// Each INPUT is a tzdata.zi, a tz source file, or a folder holding the source files of a release
// (africa antarctica asia australasia europe northamerica southamerica etcetera backward) or its
// tzdata.zi. Writes DIR/vek_historictimezone.txt and DIR/vek_saving.txt. Exits with 1 and writes
// nothing when any line cannot be read or stated in the library's files.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "TzSource.h"
#include "ZoneAssetWriter.h"

namespace {

constexpr std::string_view USAGE = "usage: pellium-tzconvert [--release NAME] --output-dir DIR INPUT...\n";

bool writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        std::cerr << path.string() << ": cannot be written\n";
        return false;
    }
    return true;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    using namespace pellium::tzconvert;
    std::filesystem::path outputFolder;
    std::string release;
    std::vector<std::filesystem::path> inputs;
    for (int index = 1; index < argumentCount; ++index) {
        const std::string_view argument = arguments[index];
        if (argument == "--output-dir" && index + 1 < argumentCount) {
            outputFolder = arguments[++index];
        } else if (argument == "--release" && index + 1 < argumentCount) {
            release = arguments[++index];
        } else if (argument.starts_with("--")) {
            std::cerr << USAGE;
            return 2;
        } else {
            inputs.emplace_back(argument);
        }
    }
    if (outputFolder.empty() || inputs.empty()) {
        std::cerr << USAGE;
        return 2;
    }

    TzSourceParser parser;
    for (const std::filesystem::path& input : inputs) {
        parser.readPath(input);
    }
    if (!release.empty()) {
        parser.getSource().release = release;
    }
    std::vector<std::string> errors = parser.getErrors();
    const std::vector<std::string> sourceErrors = findSourceErrors(parser.getSource());
    errors.insert(errors.end(), sourceErrors.begin(), sourceErrors.end());
    if (parser.getSource().zones.empty()) {
        errors.emplace_back("the input holds no zone");
    }
    if (!errors.empty()) {
        for (const std::string& error : errors) {
            std::cerr << error << '\n';
        }
        return 1;
    }

    std::error_code error;
    std::filesystem::create_directories(outputFolder, error);
    const TzSource& source = parser.getSource();
    if (!writeFile(outputFolder / "vek_historictimezone.txt", writeZoneFile(source)) ||
        !writeFile(outputFolder / "vek_saving.txt", writeSavingFile(source))) {
        return 1;
    }
    std::cout << "Converted " << source.zones.size() << " zones, " << source.links.size() << " links and "
              << source.rules.size() << " rules" << (source.release.empty() ? "" : " of release " + source.release)
              << " into " << outputFolder.string() << '\n';
    return 0;
}
