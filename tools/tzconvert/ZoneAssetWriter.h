#pragma once

#include <string>
#include <vector>

#include "TzSource.h"

// Writes the library's two time-zone rule files from tz source.
//
// "vek_historictimezone.txt" gets one row per zone line, the rows of a zone together and newest
// first; a link gets the rows of its target under its own name, so that every link is a zone of
// its own to the library. "vek_saving.txt" gets the rule sets: each Rule line becomes the start
// (a line that saves) or the end (a line that saves nothing) of daylight time in every year of
// its range. Where exactly one start and one end apply over the same years they share a row;
// otherwise a row carries one of them, with 0 for the other rule and "$" for its letter. Each
// rule keeps its years exactly, so the rows take effect on the same days as the tz lines.
namespace pellium::tzconvert {

// What keeps the source from being written: unknown rule sets, links to nothing, duplicate names.
std::vector<std::string> findSourceErrors(const TzSource& source);

std::string writeZoneFile(const TzSource& source);
std::string writeSavingFile(const TzSource& source);

}  // namespace pellium::tzconvert
