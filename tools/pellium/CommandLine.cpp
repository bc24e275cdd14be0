#include "tools/pellium/CommandLine.h"

#include <algorithm>
#include <charconv>

namespace pellium::cli {

namespace {

const OptionSpec* findSpec(const std::vector<OptionSpec>& accepted, std::string_view name) {
    auto it = std::find_if(accepted.begin(), accepted.end(), [&](const OptionSpec& spec) { return spec.name == name; });
    return it == accepted.end() ? nullptr : &*it;
}

}  // namespace

Arguments::Arguments(const std::vector<std::string>& words, const std::vector<OptionSpec>& accepted) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (optionsEnded || word.size() < 3 || word.compare(0, 2, "--") != 0) {
            if (word == "--") {
                optionsEnded = true;
            } else {
                positionals_.push_back(word);
            }
            continue;
        }
        std::string_view body = std::string_view(word).substr(2);
        std::size_t equals = body.find('=');
        std::string_view name = body.substr(0, equals);
        const OptionSpec* spec = findSpec(accepted, name);
        if (spec == nullptr) {
            throw UsageError("unknown option --" + std::string(name));
        }
        std::string value;
        if (spec->takesValue) {
            if (equals != std::string_view::npos) {
                value = body.substr(equals + 1);
            } else if (i + 1 < words.size()) {
                value = words[++i];
            } else {
                throw UsageError("--" + std::string(name) + " needs a value");
            }
        } else if (equals != std::string_view::npos) {
            throw UsageError("--" + std::string(name) + " takes no value");
        }
        auto& slot = options_[std::string(name)];
        if (!slot.empty() && !spec->repeatable) {
            throw UsageError("--" + std::string(name) + " is given twice");
        }
        slot.push_back(std::move(value));
    }
}

bool Arguments::has(std::string_view option) const { return options_.find(option) != options_.end(); }

std::string Arguments::value(std::string_view option, std::string_view fallback) const {
    auto it = options_.find(option);
    return it == options_.end() ? std::string(fallback) : it->second.back();
}

std::vector<std::string> Arguments::values(std::string_view option) const {
    std::vector<std::string> all;
    auto it = options_.find(option);
    if (it != options_.end()) {
        for (const std::string& value : it->second) {
            std::vector<std::string> items = splitList(value);
            all.insert(all.end(), items.begin(), items.end());
        }
    }
    return all;
}

long long Arguments::count(std::string_view option, long long fallback) const {
    if (!has(option)) {
        return fallback;
    }
    std::string text = value(option);
    long long number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 0) {
        throw UsageError("--" + std::string(option) + " needs a non-negative whole number, not \"" + text + "\"");
    }
    return number;
}

std::vector<std::string> splitList(std::string_view text) {
    std::vector<std::string> items;
    while (!text.empty()) {
        std::size_t comma = text.find(',');
        std::string_view item = text.substr(0, comma);
        if (!item.empty()) {
            items.emplace_back(item);
        }
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    }
    return items;
}

}  // namespace pellium::cli
