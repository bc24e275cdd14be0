#include "ZoneAssetWriter.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace pellium::tzconvert {

namespace {

// Links may name links; a longer chain than this is taken for a loop.
constexpr int MAXIMUM_LINK_DEPTH = 32;

std::string where(const Origin& origin) {
    return origin.file + ":" + std::to_string(origin.line) + ": ";
}

std::map<std::string, const Zone*> zonesByName(const TzSource& source) {
    std::map<std::string, const Zone*> zones;
    for (const Zone& zone : source.zones) {
        zones.emplace(zone.name, &zone);
    }
    return zones;
}

// The zone a link finally names, or null.
const Zone* resolveLink(const TzSource& source, const std::map<std::string, const Zone*>& zones,
                        const std::string& target) {
    std::string name = target;
    for (int depth = 0; depth < MAXIMUM_LINK_DEPTH; ++depth) {
        const auto zone = zones.find(name);
        if (zone != zones.end()) {
            return zone->second;
        }
        const auto link = std::find_if(source.links.begin(), source.links.end(),
                                       [&](const Link& candidate) { return candidate.name == name; });
        if (link == source.links.end()) {
            return nullptr;
        }
        name = link->target;
    }
    return nullptr;
}

std::string clockField(Clock clock) {
    return std::to_string(static_cast<int>(clock));
}

// mode;month;day;weekday;seconds;clock
std::string ruleFields(int month, const Day& day, const TimeOfDay& at) {
    return std::to_string(day.mode) + ";" + std::to_string(month) + ";" + std::to_string(day.day) + ";" +
           std::to_string(day.weekday) + ";" + std::to_string(at.seconds) + ";" + clockField(at.clock);
}

std::string untilFields(const std::optional<Until>& until) {
    if (!until) {
        return "1;" + std::to_string(NO_END_YEAR) + ";1;1;-1;0;0";
    }
    return std::to_string(until->day.mode) + ";" + std::to_string(until->year) + ";" + std::to_string(until->month) +
           ";" + std::to_string(until->day.day) + ";" + std::to_string(until->day.weekday) + ";" +
           std::to_string(until->at.seconds) + ";" + clockField(until->at.clock);
}

std::string saveField(const ZoneLine& line) {
    return line.fixedSaving ? std::to_string(*line.fixedSaving) : line.ruleSetName;
}

void appendZoneRows(std::string& out, const std::string& id, const Zone& zone) {
    for (auto line = zone.lines.rbegin(); line != zone.lines.rend(); ++line) {
        out += id + ";" + line->format + ";" + std::to_string(line->standardOffset) + ";" + saveField(*line) + ";" +
               untilFields(line->until) + "\n";
    }
}

// One row of a rule set: the years it covers and the line that starts and the line that ends
// daylight time in each of them (either may be absent).
struct SavingRow {
    int firstYear;
    int lastYear;
    const RuleLine* start;
    const RuleLine* end;
};

// Cuts the years of a rule set at every first year and after every last year of its lines, so
// that in each piece the same lines apply; pairs one start with one end where they are the only
// lines of a piece, and joins consecutive pieces that hold the same pairing.
std::vector<SavingRow> savingRowsOf(const std::vector<const RuleLine*>& lines) {
    std::set<int> cuts;
    for (const RuleLine* line : lines) {
        cuts.insert(line->fromYear);
        cuts.insert(line->toYear + 1);
    }
    std::vector<SavingRow> rows;
    std::map<std::pair<const RuleLine*, const RuleLine*>, std::size_t> lastRowOfPairing;
    const auto add = [&](int firstYear, int lastYear, const RuleLine* start, const RuleLine* end) {
        const auto previous = lastRowOfPairing.find({start, end});
        if (previous != lastRowOfPairing.end() && rows[previous->second].lastYear + 1 == firstYear) {
            rows[previous->second].lastYear = lastYear;
            return;
        }
        lastRowOfPairing[{start, end}] = rows.size();
        rows.push_back({firstYear, lastYear, start, end});
    };
    for (auto cut = cuts.begin(); std::next(cut) != cuts.end(); ++cut) {
        const int firstYear = *cut;
        const int lastYear = *std::next(cut) - 1;
        std::vector<const RuleLine*> starts;
        std::vector<const RuleLine*> ends;
        for (const RuleLine* line : lines) {
            if (line->fromYear <= firstYear && line->toYear >= lastYear) {
                (line->saving != 0 ? starts : ends).push_back(line);
            }
        }
        if (starts.size() == 1 && ends.size() == 1) {
            add(firstYear, lastYear, starts.front(), ends.front());
            continue;
        }
        for (const RuleLine* line : lines) {
            if (line->fromYear <= firstYear && line->toYear >= lastYear) {
                add(firstYear, lastYear, line->saving != 0 ? line : nullptr, line->saving != 0 ? nullptr : line);
            }
        }
    }
    std::stable_sort(rows.begin(), rows.end(), [](const SavingRow& left, const SavingRow& right) {
        return left.firstYear != right.firstYear ? left.firstYear > right.firstYear : left.lastYear > right.lastYear;
    });
    return rows;
}

std::string savingRowText(const std::string& name, const SavingRow& row) {
    std::string text = name + ";" + std::to_string(row.firstYear) + ";" + std::to_string(row.lastYear) + ";";
    if (row.start != nullptr) {
        text += ruleFields(row.start->month, row.start->day, row.start->at) + ";" + std::to_string(row.start->saving) +
                ";" + row.start->letter + ";";
    } else {
        text += "0;0;0;0;0;0;0;$;";
    }
    if (row.end != nullptr) {
        text += ruleFields(row.end->month, row.end->day, row.end->at) + ";" + row.end->letter;
    } else {
        text += "0;0;0;0;0;0;$";
    }
    return text + "\n";
}

std::string releaseText(const TzSource& source) {
    return source.release.empty() ? "an unnamed release" : "release " + source.release;
}

}  // namespace

std::vector<std::string> findSourceErrors(const TzSource& source) {
    std::vector<std::string> errors;
    const std::map<std::string, const Zone*> zones = zonesByName(source);
    std::set<std::string> ruleSets;
    for (const RuleLine& rule : source.rules) {
        ruleSets.insert(rule.name);
    }
    std::set<std::string> zoneNames;
    for (const Zone& zone : source.zones) {
        if (!zoneNames.insert(zone.name).second) {
            errors.push_back(where(zone.lines.empty() ? Origin() : zone.lines.front().origin) + "zone " + zone.name +
                             " is defined twice");
        }
        for (const ZoneLine& line : zone.lines) {
            if (!line.fixedSaving && !ruleSets.contains(line.ruleSetName)) {
                errors.push_back(where(line.origin) + "rule set " + line.ruleSetName + " does not exist");
            }
        }
    }
    std::set<std::string> linkNames;
    for (const Link& link : source.links) {
        if (zones.contains(link.name) || !linkNames.insert(link.name).second) {
            errors.push_back(where(link.origin) + "link name " + link.name + " is already taken");
        } else if (resolveLink(source, zones, link.target) == nullptr) {
            errors.push_back(where(link.origin) + "link " + link.name + " names no zone (" + link.target + ")");
        }
    }
    return errors;
}

std::string writeZoneFile(const TzSource& source) {
    const std::map<std::string, const Zone*> zones = zonesByName(source);
    std::map<std::string, const Zone*> rowsById = zones;
    for (const Link& link : source.links) {
        if (const Zone* target = resolveLink(source, zones, link.target)) {
            rowsById.emplace(link.name, target);
        }
    }
    std::string out = "# Zone periods of the tz database, " + releaseText(source) +
                      ", written by pellium-tzconvert.\n"
                      "# The rows of a zone stand together, newest period first; a link repeats the rows of its\n"
                      "# target under its own name. The period in force now ends in the year " +
                      std::to_string(NO_END_YEAR) + ".\n";
    out += "#tzid;format;offset;save;mode;untilYear;untilMonth;untilDay;untilDOW;untilTime;timeType\n";
    for (const auto& [id, zone] : rowsById) {
        appendZoneRows(out, id, *zone);
    }
    return out;
}

std::string writeSavingFile(const TzSource& source) {
    std::map<std::string, std::vector<const RuleLine*>> ruleSets;
    for (const RuleLine& rule : source.rules) {
        ruleSets[rule.name].push_back(&rule);
    }
    std::string out = "# Daylight-saving rule sets of the tz database, " + releaseText(source) +
                      ", written by pellium-tzconvert.\n"
                      "# The rows of a rule set stand together, latest years first. A row that only starts or only\n"
                      "# ends daylight time writes 0 for the other rule and \"$\" for its letter; a letter \"-\" is\n"
                      "# no letter. A last year of " +
                      std::to_string(NO_END_YEAR) + " has no end.\n";
    out +=
        "#saving;from;to;dstmode;dstmonth;dstday;dstDOW;dstseconds;dsttimeType;dstoffset;dstletter;mode;month;day;"
        "DOW;seconds;timeType;letter\n";
    for (const auto& [name, lines] : ruleSets) {
        for (const SavingRow& row : savingRowsOf(lines)) {
            out += savingRowText(name, row);
        }
    }
    return out;
}

}  // namespace pellium::tzconvert
