#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace pellium::cli {

/// A command line that does not follow the command's usage: exit code 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Data that cannot be read or used as asked (a missing file, a bad value, an unknown column):
/// exit code 1.
class DataError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One option a command accepts.
struct OptionSpec {
    std::string_view name;  // without the leading "--"
    bool takesValue;
    bool repeatable = false;
};

/// The arguments of one command: its positional words and its options, checked against the
/// options the command accepts. "--name value" and "--name=value" are the same; "--" ends the
/// options, so that a value may start with a dash.
class Arguments {
public:
    /// Throws UsageError for an unknown option, a missing value or a repeated single option.
    Arguments(const std::vector<std::string>& words, const std::vector<OptionSpec>& accepted);

    const std::vector<std::string>& positionals() const { return positionals_; }
    bool has(std::string_view option) const;
    /// The option's value; `fallback` when it is absent.
    std::string value(std::string_view option, std::string_view fallback = {}) const;
    /// Every value of a repeatable option, in order; values may also be lists joined by commas.
    std::vector<std::string> values(std::string_view option) const;
    /// The option's value as a count; throws UsageError when it is not a non-negative integer.
    long long count(std::string_view option, long long fallback) const;

private:
    std::vector<std::string> positionals_;
    std::map<std::string, std::vector<std::string>, std::less<>> options_;
};

/// Splits "a,b,c" into its items, dropping empty ones.
std::vector<std::string> splitList(std::string_view text);

}  // namespace pellium::cli
