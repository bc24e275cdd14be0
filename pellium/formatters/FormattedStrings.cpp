#include "pellium/formatters/FormattedStrings.h"

namespace pellium {

std::shared_ptr<FormattedStrings> FormattedStrings::create(Strings strings, Sizes sizes) {
    return std::shared_ptr<FormattedStrings>(new FormattedStrings(std::move(strings), std::move(sizes)));
}

}  // namespace pellium
