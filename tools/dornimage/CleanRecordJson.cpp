#include "CleanRecordJson.h"

#include <cmath>
#include <limits>

using nlohmann::ordered_json;

namespace {

constexpr long long mostPixels = std::numeric_limits<int>::max();
constexpr double greatestSkew = 45;

ordered_json orNull(const std::string& text) {
    return text.empty() ? ordered_json(nullptr) : ordered_json(text);
}

std::string textOrNull(JsonReader& json, const std::string& key) {
    const ordered_json* const found = json.value(key);
    return !found || found->is_null() ? "" : json.text(key, "");
}

} // namespace

const std::vector<std::string>& fateNames() {
    static const std::vector<std::string> names = {"kept", "unsure", "empty", "failed"};
    return names;
}

const std::vector<std::string>& cleanStepNames() {
    static const std::vector<std::string> names = {"load", "upright", "square", "colour", "blank",
                                                   "skew", "turn",    "scale",  "save"};
    return names;
}

ordered_json planEntry(const PageRecord& record) {
    return {{"file", record.file},
            {"page", record.page},
            {"pageCount", record.pageCount},
            {"format", orNull(record.format)},
            {"width", record.width},
            {"height", record.height},
            {"depth", record.depth},
            {"dpiX", record.dpiX},
            {"dpiY", record.dpiY},
            {"fate", nameOf(record.fate)},
            {"reason", orNull(record.reason)},
            {"orientation", record.orientation},
            {"filling", record.filling},
            {"skew", record.skew ? ordered_json(*record.skew) : ordered_json(nullptr)},
            {"skewReason", orNull(record.skewReason)},
            {"confidence", record.confidence},
            {"messages", record.messages}};
}

ordered_json reportEntry(const PageRecord& record) {
    ordered_json entry = planEntry(record);
    entry["turnedBy"] = record.turnedBy;
    entry["output"] = orNull(record.output);
    entry["outputPage"] = record.outputPage;
    entry["outputWidth"] = record.outputWidth;
    entry["outputHeight"] = record.outputHeight;
    entry["outputDepth"] = record.outputDepth;
    entry["outputDpi"] = record.outputDpi;
    ordered_json seconds = ordered_json::object();
    for (const auto& [step, time] : record.seconds) {
        seconds[cleanStepNames()[static_cast<std::size_t>(step)]] = std::round(time * 1e6) / 1e6;
    }
    entry["seconds"] = seconds;
    return entry;
}

PageRecord recordFrom(JsonReader json) {
    PageRecord record;
    record.file = json.text("file", "");
    // The system would end it at a NUL: two pages could then have one output.
    if (record.file.empty() || record.file.find('\0') != std::string::npos) {
        json.fail("file", "not the name of a file");
    }
    record.page = json.whole("page", 1, 1, mostPixels);
    record.pageCount = json.whole("pageCount", record.page, record.page, mostPixels);
    record.format = textOrNull(json, "format");
    record.width = json.whole("width", 0U, 0, mostPixels);
    record.height = json.whole("height", 0U, 0, mostPixels);
    record.depth = json.whole("depth", 0U, 0, 128);
    record.dpiX = json.number("dpiX", 0, 0, 1e9);
    record.dpiY = json.number("dpiY", 0, 0, 1e9);
    record.fate = static_cast<PageFate>(json.choice("fate", 0, fateNames()));
    record.reason = textOrNull(json, "reason");
    record.orientation = json.whole("orientation", 1, 1, 8);
    record.filling = json.number("filling", 0, 0, 1);
    record.skew = json.numberOrNull("skew", -greatestSkew, greatestSkew);
    record.skewReason = textOrNull(json, "skewReason");
    record.confidence = json.number("confidence", 0, 0, 1);
    record.messages = json.texts("messages");
    record.turnedBy = json.number("turnedBy", 0, -greatestSkew, greatestSkew);
    record.output = textOrNull(json, "output");
    record.outputPage = json.whole("outputPage", 0, 0, mostPixels);
    record.outputWidth = json.whole("outputWidth", 0U, 0, mostPixels);
    record.outputHeight = json.whole("outputHeight", 0U, 0, mostPixels);
    record.outputDepth = json.whole("outputDepth", 0U, 0, 128);
    record.outputDpi = json.number("outputDpi", 0, 0, 1e9);
    if (const ordered_json* const seconds = json.value("seconds")) {
        JsonReader times(*seconds, "", json.placeOf("seconds"));
        for (std::size_t step = 0; step < cleanStepNames().size(); ++step) {
            if (times.has(cleanStepNames()[step])) {
                record.seconds.emplace_back(static_cast<CleanStep>(step),
                                            times.number(cleanStepNames()[step], 0, 0, 1e9));
            }
        }
    }
    json.finish();
    return record;
}
