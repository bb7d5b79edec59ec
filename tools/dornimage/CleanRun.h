#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANRUN_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANRUN_H

#include "CleanPlan.h"
#include "CleanProgress.h"
#include "Decoding.h"
#include "ExitCode.h"

#include <cstdint>
#include <string>

/// How the work on a stack of pages is done. None of it changes what becomes of a page.
struct CleanOptions {
    bool analyses = true; // find out what the plan is to say
    bool writes = true;   // carry it out
    std::string output;
    std::string reportFolder; // empty for no report
    std::string command;      // as the user gave it, for the report
    bool force = false;
    bool dryRun = false;
    bool resume = false;
    unsigned jobs = 0;           // 0: one a processor
    unsigned memory = 0;         // bytes, 0 for no limit
    std::uint64_t maxPixels = 0; // 0 for no limit
    ProgressKind progress = ProgressKind::automatic;
    Decoding decoding;
    bool json = false;
    bool verbose = false;
};

/// Works on all pages of a plan, in whose records everything is noted. What is to be told to standard output
/// and standard error is told. Throws ToolError for what isn't about a single page.
ExitCode runClean(CleanPlan& plan, const CleanOptions& options);

#endif
