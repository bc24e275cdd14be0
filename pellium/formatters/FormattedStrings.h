#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// Formatted texts together with their measured sizes (width and height in the host's units),
/// as a view hands them to text layout. Either vector may be null until it is set.
class PELLIUM_EXPORT FormattedStrings {
public:
    using Strings = std::shared_ptr<std::vector<SharedString>>;
    using Sizes = std::shared_ptr<std::vector<std::pair<float, float>>>;

    static std::shared_ptr<FormattedStrings> create(Strings strings = nullptr, Sizes sizes = nullptr);

    const Strings& getStrings() const { return strings_; }
    void setStrings(Strings strings) { strings_ = std::move(strings); }
    const Sizes& getSizes() const { return sizes_; }
    void setSizes(Sizes sizes) { sizes_ = std::move(sizes); }

private:
    FormattedStrings(Strings strings, Sizes sizes) : strings_(std::move(strings)), sizes_(std::move(sizes)) {}

    Strings strings_;
    Sizes sizes_;
};

}  // namespace pellium
