#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANRECORDJSON_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANRECORDJSON_H

#include "CleanRecord.h"
#include "JsonReader.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// Names of the members of PageFate and of CleanStep, in order.
const std::vector<std::string>& fateNames();
const std::vector<std::string>& cleanStepNames();

inline const std::string& nameOf(PageFate fate) {
    return fateNames()[static_cast<std::size_t>(fate)];
}

/// What was found out about a page and decided: its entry in a plan.
nlohmann::ordered_json planEntry(const PageRecord& record);

/// The same and what was done: its entry in the report.
nlohmann::ordered_json reportEntry(const PageRecord& record);

/// Reads either. Throws ToolError (ExitCode::input).
PageRecord recordFrom(JsonReader json);

#endif
