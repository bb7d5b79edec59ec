#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANSETTINGS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANSETTINGS_H

#include "JsonReader.h"
#include "SkewReach.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// What becomes of empty pages.
enum class EmptyPages {
    aside, // they go to a folder of their own
    mark,  // they stay among the others, and the report names them
    keep,  // nobody looks for them
};

/// How pages are cleaned: everything that decides about pixels and files, and so all that a plan keeps.
struct CleanSettings {
    bool upright = true;
    bool square = true;
    bool colour = true;
    EmptyPages empty = EmptyPages::aside;
    bool skew = true;
    double reach = defaultReach; // degrees
    unsigned dpi = 0;            // 0: pages keep their resolution
    bool enlarge = true;         // pages of a lower resolution than `dpi`
    std::string format;          // empty: that of the page's file
    int quality = 90;            // of JPEG files, 1 to 100
    bool lossless = false;       // pages of a TIFF, whatever their source
};

/// Names of the members of EmptyPages, in order.
const std::vector<std::string>& emptyPagesNames();

/// Names of the presets, in order, and the settings that one stands for. A preset sets resolution, format and
/// quality only.
const std::vector<std::string>& presetNames();
CleanSettings presetSettings(const std::string& name);

/// Whether grey and colour pages are to be JPEG-coded wherever they go.
bool wantsJpeg(const CleanSettings& settings);

nlohmann::ordered_json toJson(const CleanSettings& settings);

/// Throws ToolError (ExitCode::input).
CleanSettings settingsFrom(JsonReader json);

#endif
