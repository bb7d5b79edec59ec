#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANPLAN_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANPLAN_H

#include "CleanRecord.h"
#include "CleanSettings.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// What is to become of a stack of pages: a file that people can read and edit, see docs/tool.md.
struct CleanPlan {
    CleanSettings settings;
    std::vector<PageRecord> pages;
};

nlohmann::ordered_json toJson(const CleanPlan& plan);

/// Reads a plan from a file, "-" for standard input. Throws ToolError (ExitCode::input) that names the place
/// of what is wrong.
CleanPlan readPlan(const std::string& file);

/// Exchanges the files of a plan for those in `folder` of the same names, whatever their format. A page whose
/// file isn't there fails. Throws ToolError (ExitCode::input) when there is no such folder.
void takeRenditions(CleanPlan& plan, const std::string& folder);

#endif
