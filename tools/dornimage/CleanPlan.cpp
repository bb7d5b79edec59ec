#include "CleanPlan.h"

#include "CleanRecordJson.h"
#include "ExitCode.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr char versionKey[] = "dornimageCleanPlan";
constexpr int version = 1;

std::string contentOf(const std::string& file) {
    if (file == "-") {
        return {std::istreambuf_iterator<char>(std::cin), {}};
    }
    std::error_code error;
    std::ifstream stream;
    if (!fs::is_directory(file, error)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        throw ToolError(ExitCode::input, file, "cannot be read");
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

ordered_json toJson(const CleanPlan& plan) {
    ordered_json pages = ordered_json::array();
    for (const PageRecord& record : plan.pages) {
        pages.push_back(planEntry(record));
    }
    return {{versionKey, version}, {"settings", toJson(plan.settings)}, {"pages", pages}};
}

CleanPlan readPlan(const std::string& file) {
    const ordered_json whole = parsedJson(contentOf(file), file);
    JsonReader json(whole, file, "");
    if (!json.has(versionKey)) {
        json.fail(versionKey, "missing, so this is not a plan");
    }
    json.whole(versionKey, version, version, version);
    CleanPlan plan;
    if (const ordered_json* const settings = json.value("settings")) {
        plan.settings = settingsFrom(JsonReader(*settings, file, "settings"));
    }
    const ordered_json* const pages = json.value("pages");
    if (!pages || !pages->is_array()) {
        json.fail("pages", "not an array");
    }
    for (std::size_t index = 0; index < pages->size(); ++index) {
        plan.pages.push_back(
            recordFrom(JsonReader((*pages)[index], file, JsonReader::placeOf("pages", index))));
    }
    json.finish();
    return plan;
}

void takeRenditions(CleanPlan& plan, const std::string& folder) {
    std::error_code error;
    std::map<std::string, std::vector<std::string>> files; // by their names without extension
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_regular_file(error)) {
            files[entry.path().stem().string()].push_back(entry.path().string());
        }
    }
    if (error) {
        throw ToolError(ExitCode::input, folder, error.message());
    }
    for (PageRecord& page : plan.pages) {
        const std::vector<std::string>& found = files[fs::path(page.file).stem().string()];
        if (found.size() == 1) {
            page.file = found.front();
        } else {
            page.fate = PageFate::failed;
            page.reason = found.empty() ? "there is no rendition of it in " + folder
                                        : "there are several renditions of it in " + folder;
        }
    }
}
