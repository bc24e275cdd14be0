// pellium: the library's main job from a terminal. Reads report data, filters it, aggregates it
// into crosstabs and prints every value as display text in a locale and time zone.

#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "tools/pellium/Command.h"

namespace {

using pellium::cli::Command;

const std::vector<const Command*>& commands() {
    static const std::vector<const Command*> all = {
        &pellium::cli::crosstabCommand(), &pellium::cli::filterCommand(), &pellium::cli::describeCommand(),
        &pellium::cli::convertCommand(),  &pellium::cli::formatCommand(), &pellium::cli::parseCommand(),
        &pellium::cli::timeZoneCommand(),
    };
    return all;
}

void printOverview(std::ostream& out) {
    out << "usage: pellium COMMAND [ARGUMENTS] [--help]\n\n"
           "Report data from the command line: DATA is a CSV file, a data set stream (.pds) or its\n"
           "base64 text, recognised by content.\n\ncommands:\n";
    for (const Command* command : commands()) {
        out << "  " << command->name << std::string(10 - command->name.size(), ' ') << command->summary << '\n';
    }
    out << "\nexit codes: 0 done, 1 data error, 2 usage error\n";
}

const Command* findCommand(const std::string& name) {
    for (const Command* command : commands()) {
        if (command->name == name) {
            return command;
        }
    }
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
        printOverview(words.empty() ? std::cerr : std::cout);
        return words.empty() ? 2 : 0;
    }
    const Command* command = findCommand(words[0]);
    if (command == nullptr) {
        std::cerr << "pellium: unknown command \"" << words[0] << "\"\n\n";
        printOverview(std::cerr);
        return 2;
    }
    words.erase(words.begin());
    for (const std::string& word : words) {
        if (word == "--") {
            break;
        }
        if (word == "--help" || word == "-h") {
            std::cout << command->help;
            return 0;
        }
    }
    try {
        pellium::cli::Arguments arguments(words, command->options);
        return command->run(arguments);
    } catch (const pellium::cli::UsageError& error) {
        std::cerr << "pellium " << command->name << ": " << error.what() << "\n(see pellium " << command->name
                  << " --help)\n";
        return 2;
    } catch (const pellium::cli::DataError& error) {
        std::cerr << "pellium " << command->name << ": " << error.what() << '\n';
        return 1;
    } catch (const std::exception& error) {
        std::cerr << "pellium " << command->name << ": " << error.what() << '\n';
        return 1;
    }
}
