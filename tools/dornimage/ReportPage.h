#ifndef DORNIMAGE_TOOLS_DORNIMAGE_REPORTPAGE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_REPORTPAGE_H

#include "CleanRecord.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What a report says about the run as a whole.
struct RunFacts {
    std::string command;                                       // as the user gave it
    std::vector<std::pair<std::string, std::string>> settings; // name and value of what decided, for people
    double seconds = 0;                                        // wall time of all of it
    unsigned jobs = 1;                                         // pages that were worked on side by side
    std::size_t earlier = 0;                                   // pages that an earlier run has made
    bool dryRun = false;                                       // nothing was written but the report
};

/// A small picture of a report; no file where there is none.
struct ReportPicture {
    std::string file; // relative to the report's folder
    unsigned width = 0;
    unsigned height = 0;
};

struct ReportEntry {
    PageRecord record;
    ReportPicture before;
    ReportPicture after;
};

/// What stands near the beginning of every report and tells it from other files.
std::string_view reportMark();

/// The report as HTML, for a file in `folder`.
std::string reportPage(const std::vector<ReportEntry>& entries, const RunFacts& facts,
                       const std::filesystem::path& folder);

#endif
