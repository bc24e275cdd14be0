#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/models/data/sorting/SortDirection.h"

namespace pellium {

class LocalizationContext;

/// What a comparator asks of the sort it serves: the direction, and the locale whose collation
/// orders texts when a comparator collates them by language rather than by bytes. Comparators
/// share their context, so a host that flips the direction of a column re-sorts with the same
/// comparators. Crosstab members are sorted by DataTreeSortContext instead, whose direction
/// differs from level to level.
///
/// Threads: change a context only while no sort reads it.
class PELLIUM_EXPORT SortContext {
    struct Token {};

public:
    /// A context sorting in `direction`; texts collate by the rules of `collationLocale` (a locale
    /// name such as "sv_SE"; empty or unknown names collate by the root rules shared by all
    /// languages). A direction that is no value of SortDirection is taken as DATA.
    static std::shared_ptr<SortContext> create(SortDirection::type direction, std::string_view collationLocale = {});
    /// As above, collating by the locale of `localization` (its message locale, the language the
    /// user reads).
    static std::shared_ptr<SortContext> create(SortDirection::type direction, const LocalizationContext& localization);

    SortContext(Token, SortDirection::type direction, std::string_view collationLocale);
    virtual ~SortContext();

    virtual SortDirection::type getDirection() const { return direction_; }
    /// A direction that is no value of SortDirection is taken as DATA.
    void setDirection(SortDirection::type direction);

    const std::string& getCollationLocale() const { return collationLocale_; }
    void setCollationLocale(std::string_view collationLocale) { collationLocale_ = collationLocale; }

protected:
    SortContext(SortDirection::type direction, std::string_view collationLocale);

private:
    SortDirection::type direction_;
    std::string collationLocale_;
};

}  // namespace pellium
