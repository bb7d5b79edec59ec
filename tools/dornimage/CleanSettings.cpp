#include "CleanSettings.h"

#include "ExitCode.h"
#include "PageScale.h"
#include "PictureWriter.h"

#include <cmath>

using nlohmann::ordered_json;

const std::vector<std::string>& emptyPagesNames() {
    static const std::vector<std::string> names = {"aside", "mark", "keep"};
    return names;
}

const std::vector<std::string>& presetNames() {
    static const std::vector<std::string> names = {"archive", "office", "web"};
    return names;
}

CleanSettings presetSettings(const std::string& name) {
    CleanSettings settings;
    if (name == "archive") {
        settings.format = "tiff";
        settings.lossless = true;
    } else if (name == "office") {
        settings.dpi = 200;
        settings.enlarge = false;
    } else if (name == "web") {
        settings.dpi = 100;
        settings.enlarge = false;
        settings.format = "jpeg";
        settings.quality = 75;
    }
    return settings;
}

bool wantsJpeg(const CleanSettings& settings) {
    return !settings.format.empty() && formatForWriting("", settings.format) == FIF_JPEG;
}

ordered_json toJson(const CleanSettings& settings) {
    const ordered_json none = nullptr;
    return {{"upright", settings.upright},
            {"square", settings.square},
            {"colour", settings.colour},
            {"empty", emptyPagesNames()[static_cast<std::size_t>(settings.empty)]},
            {"skew", settings.skew},
            {"reach", settings.reach},
            {"dpi", settings.dpi == 0 ? none : ordered_json(settings.dpi)},
            {"enlarge", settings.enlarge},
            {"format", settings.format.empty() ? none : ordered_json(settings.format)},
            {"quality", settings.quality},
            {"lossless", settings.lossless}};
}

CleanSettings settingsFrom(JsonReader json) {
    CleanSettings settings;
    settings.upright = json.flag("upright", settings.upright);
    settings.square = json.flag("square", settings.square);
    settings.colour = json.flag("colour", settings.colour);
    settings.empty = static_cast<EmptyPages>(json.choice("empty", 0, emptyPagesNames()));
    settings.skew = json.flag("skew", settings.skew);
    settings.reach = json.number("reach", settings.reach, leastReach, greatestReach);
    if (const std::optional<double> dpi = json.numberOrNull("dpi", 1, greatestDpi)) {
        if (*dpi != std::floor(*dpi)) {
            json.fail("dpi", "not a whole number");
        }
        settings.dpi = static_cast<unsigned>(*dpi);
    }
    settings.enlarge = json.flag("enlarge", settings.enlarge);
    if (const ordered_json* const format = json.value("format"); format && !format->is_null()) {
        settings.format = json.text("format", "");
        try {
            formatForWriting("", settings.format);
        } catch (const ToolError& error) {
            json.fail("format", error.what());
        }
    }
    settings.quality = json.whole("quality", settings.quality, 1, 100);
    settings.lossless = json.flag("lossless", settings.lossless);
    json.finish();
    return settings;
}
