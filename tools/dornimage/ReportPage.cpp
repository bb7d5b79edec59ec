#include "ReportPage.h"

#include "Html.h"
#include "ReportStyle.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

constexpr std::array fates = {PageFate::kept, PageFate::unsure, PageFate::empty, PageFate::failed};
constexpr std::array steps = {CleanStep::load,   CleanStep::upright, CleanStep::square,
                              CleanStep::colour, CleanStep::blank,   CleanStep::skew,
                              CleanStep::turn,   CleanStep::scale,   CleanStep::save};

constexpr double leastTime = 0.005; // seconds of a step that are worth telling

std::string nameOf(PageFate fate) {
    constexpr std::array names = {"kept", "unsure", "empty", "failed"};
    return names[static_cast<std::size_t>(fate)];
}

std::string nameOf(CleanStep step) {
    constexpr std::array names = {"load", "upright", "square pixels", "colours", "empty or not",
                                  "skew", "turn",    "scale",         "save"};
    return names[static_cast<std::size_t>(step)];
}

std::string durationText(double seconds) {
    if (seconds < 60) {
        return decimal(seconds, seconds < 10 ? 2 : 1) + " s";
    }
    const long whole = std::lround(seconds);
    const std::string rest = std::to_string(whole / 60 % 60) + " min ";
    return whole < 3600 ? rest + std::to_string(whole % 60) + " s"
                        : std::to_string(whole / 3600) + " h " + rest;
}

std::string percentText(double share) {
    const double percent = 100 * share;
    return decimal(percent, percent < 1 ? 3 : percent < 10 ? 2 : 1) + " %";
}

std::string sizeText(unsigned width, unsigned height, unsigned depth) {
    return std::to_string(width) + " × " + std::to_string(height) + " pixels, " + countOf(depth, "bit");
}

// Without digits that say nothing.
std::string resolutionText(double dpi) {
    return decimal(dpi, dpi == std::floor(dpi) ? 0 : 1);
}

std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string pictureTag(const ReportPicture& picture, const std::string& description) {
    return "<img src=\"" + picture.file + "\" width=\"" + std::to_string(picture.width) + "\" height=\"" +
           std::to_string(picture.height) + "\" loading=\"lazy\" alt=\"" + description + "\">";
}

class Page {
public:
    Page(const std::vector<ReportEntry>& entries, const RunFacts& facts, const std::filesystem::path& folder)
        : entries_(entries), facts_(facts), folder_(folder) {}

    std::string text() {
        head();
        totals();
        stepShares();
        worthALook();
        contactSheet();
        if (!entries_.empty()) {
            html_ += "<h2>Pages</h2>\n";
        }
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            pageEntry(i);
        }
        html_ += "</body>\n</html>\n";
        return std::move(html_);
    }

private:
    void head() {
        html_ += "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
        html_ += reportMark();
        // Names of files can't bring anything in, even if one got through as markup.
        html_ += "\n<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src "
                 "'self' file:; "
                 "style-src 'unsafe-inline'\">\n"
                 "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                 "<title>Cleaned pages</title>\n<style>";
        html_ += reportStyle;
        html_ += "</style>\n</head>\n<body>\n<h1>Cleaned pages</h1>\n";
        if (!facts_.command.empty()) {
            html_ += "<code class=\"faint\">" + escaped(facts_.command) + "</code>\n";
        }
        if (facts_.dryRun) {
            html_ += "<p>A trial: this is what would be done. No page was written.</p>\n";
        }
        if (!facts_.settings.empty()) {
            std::vector<std::string> settings;
            for (const auto& [name, value] : facts_.settings) {
                settings.push_back(escaped(name) + " " + element("b", escaped(value)));
            }
            html_ += "<div class=\"faint\">" + join(settings, " · ") + "</div>\n";
        }
    }

    long countOfFate(PageFate fate) const {
        return std::count_if(entries_.begin(), entries_.end(),
                             [fate](const ReportEntry& entry) { return entry.record.fate == fate; });
    }

    void total(const std::string& number, const std::string& label, const std::string& kind = {}) {
        html_ += (kind.empty() ? "<li>" : "<li class=\"" + kind + "\">") + element("b", number) + label +
                 "</li>\n";
    }

    void totals() {
        html_ += "<ul class=\"totals\">\n";
        const auto pages = static_cast<long>(entries_.size());
        total(std::to_string(pages), pages == 1 ? "page" : "pages");
        for (const PageFate fate : fates) {
            const long count = countOfFate(fate);
            total(std::to_string(count), nameOf(fate), count > 0 ? nameOf(fate) : "faint");
        }
        total(durationText(facts_.seconds),
              facts_.jobs > 1 ? "on " + countOf(facts_.jobs, "thread") : "in all");
        if (facts_.earlier > 0) {
            total(std::to_string(facts_.earlier), "from before", "faint");
        }
        const auto made = entries_.size() - std::min(facts_.earlier, entries_.size());
        if (facts_.seconds > 0 && made > 0) {
            total(decimal(static_cast<double>(made) / facts_.seconds, 2), "pages a second");
        }
        html_ += "</ul>\n";
    }

    void stepShares() {
        std::array<double, steps.size()> seconds{};
        double sum = 0;
        for (const ReportEntry& entry : entries_) {
            for (const auto& [step, time] : entry.record.seconds) {
                seconds[static_cast<std::size_t>(step)] += time;
                sum += time;
            }
        }
        if (sum <= 0) {
            return;
        }
        html_ += "<h2>Where the time went</h2>\n<div class=\"card\"><table>\n";
        for (const CleanStep step : steps) {
            const double time = seconds[static_cast<std::size_t>(step)];
            if (time >= leastTime) {
                html_ += "<tr><td>" + nameOf(step) + "</td><td class=\"number\">" + durationText(time) +
                         "</td><td class=\"number\">" + decimal(100 * time / sum, 1) +
                         " %</td><td class=\"bar\"><i style=\"width:" + decimal(100 * time / sum, 2) +
                         "%\"></i></td></tr>\n";
            }
        }
        html_ += "</table></div>\n";
    }

    static std::string anchor(std::size_t index) {
        return std::string("p").append(std::to_string(index + 1));
    }

    static std::string titleOf(const PageRecord& record) {
        std::string name = "<bdi>" + escaped(record.file) + "</bdi>";
        if (record.pageCount > 1) {
            name += ", page " + std::to_string(record.page) + " of " + std::to_string(record.pageCount);
        }
        return name;
    }

    void worthALook() {
        std::string items;
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            const PageRecord& record = entries_[i].record;
            if (record.fate == PageFate::failed || record.fate == PageFate::unsure) {
                items += "<li class=\"" + nameOf(record.fate) + "\"><a href=\"#" + anchor(i) + "\">" +
                         std::to_string(i + 1) + "</a> " + titleOf(record) + ": <span class=\"fate\">" +
                         nameOf(record.fate) + "</span>" +
                         (record.reason.empty() ? "" : ", " + escaped(record.reason)) + "</li>\n";
            }
        }
        if (!items.empty()) {
            html_ += "<h2>Worth a look</h2>\n<ul>\n" + items + "</ul>\n";
        }
    }

    void contactSheet() {
        if (entries_.empty()) {
            return;
        }
        html_ += "<h2>All pages</h2>\n<ol class=\"sheet\">\n";
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            sheetEntry(i);
        }
        html_ += "</ol>\n";
    }

    void sheetEntry(std::size_t index) {
        const ReportEntry& entry = entries_[index];
        const ReportPicture& picture = entry.after.file.empty() ? entry.before : entry.after;
        const std::string number = std::to_string(index + 1);
        const PageFate fate = entry.record.fate;
        html_ += "<li><a class=\"" + nameOf(fate) + "\" href=\"#" + anchor(index) + "\" title=\"" +
                 escaped(entry.record.file) + "\"><span class=\"view\">" +
                 (picture.file.empty() ? "no picture" : pictureTag(picture, "page " + number)) +
                 "</span><span class=\"label\"><span>" + number + "</span>" +
                 (fate == PageFate::kept ? "" : "<span class=\"fate\">" + nameOf(fate) + "</span>") +
                 "</span></a></li>\n";
    }

    void pageEntry(std::size_t index) {
        const ReportEntry& entry = entries_[index];
        const PageRecord& record = entry.record;
        html_ += "<article id=\"" + anchor(index) + "\" class=\"" + nameOf(record.fate) +
                 "\">\n<h3><span class=\"fate\">" + nameOf(record.fate) + "</span><a href=\"#" +
                 anchor(index) + "\">" + std::to_string(index + 1) + "</a> " + titleOf(record) +
                 "</h3>\n<div class=\"pair\">\n";
        std::string stored = record.width == 0 ? "" : sizeText(record.width, record.height, record.depth);
        if (record.dpiX > 0) {
            const bool square = record.dpiX == record.dpiY;
            stored += ", " + resolutionText(record.dpiX) +
                      (square ? "" : " × " + resolutionText(record.dpiY)) + " dpi";
        }
        figure(entry.before, "before", stored, "not read");
        std::string written = record.outputWidth == 0
                                  ? ""
                                  : sizeText(record.outputWidth, record.outputHeight, record.outputDepth);
        if (record.outputDpi > 0) {
            written += ", " + resolutionText(record.outputDpi) + " dpi";
        }
        figure(entry.after, "after", written, record.fate == PageFate::empty ? "set aside" : "not written");
        html_ += "</div>\n<dl>\n";
        decisions(record);
        output(record);
        times(record);
        messages(record);
        html_ += "</dl>\n</article>\n";
    }

    void figure(const ReportPicture& picture, const std::string& which, const std::string& caption,
                const std::string& instead) {
        html_ += "<figure>" +
                 (picture.file.empty() ? "<div class=\"none\">" + instead + "</div>"
                                       : pictureTag(picture, which)) +
                 "<figcaption>" + which + (caption.empty() ? "" : ": " + caption) +
                 "</figcaption></figure>\n";
    }

    // `content` is HTML.
    void fact(const std::string& name, const std::string& content) {
        html_ += element("dt", name) + element("dd", content) + "\n";
    }

    void decisions(const PageRecord& record) {
        if (!record.reason.empty()) {
            fact("Why", escaped(record.reason));
        }
        if (record.fate == PageFate::failed) {
            return;
        }
        fact("Marks", percentText(record.filling) + " of the page");
        if (record.orientation != 1) {
            fact("Upright", "orientation " + std::to_string(record.orientation) + " undone");
        }
        if (record.skew) {
            const double angle = *record.skew;
            fact("Skew", decimal(std::abs(angle), 2) + "°, lines " + (angle < 0 ? "rise" : "fall") +
                             " to the right; sure to " + decimal(100 * record.confidence, 0) + " %");
        } else if (!record.skewReason.empty()) {
            fact("Skew", "none: " + escaped(record.skewReason));
        }
        if (record.turnedBy != 0) {
            fact("Turned", decimal(std::abs(record.turnedBy), 2) + "° " +
                               (record.turnedBy < 0 ? "clockwise" : "counter-clockwise"));
        }
    }

    void output(const PageRecord& record) {
        if (record.output.empty()) {
            return;
        }
        const std::string page = record.outputPage > 0 ? ", page " + std::to_string(record.outputPage) : "";
        fact("Output", "<a href=\"" + linkTo(record.output, folder_) + "\"><bdi>" + escaped(record.output) +
                           "</bdi></a>" + page);
    }

    void times(const PageRecord& record) {
        double sum = 0;
        std::vector<std::string> parts;
        for (const auto& [step, time] : record.seconds) {
            sum += time;
            if (time >= leastTime) {
                parts.push_back(nameOf(step) + " " + decimal(time, 2));
            }
        }
        if (!parts.empty()) {
            fact("Time", durationText(sum) + " <span class=\"faint\">(" + join(parts, ", ") + ")</span>");
        }
    }

    void messages(const PageRecord& record) {
        if (record.messages.empty()) {
            return;
        }
        std::string items;
        for (const std::string& message : record.messages) {
            items += element("li", escaped(message));
        }
        fact("Messages", element("ul", items));
    }

    const std::vector<ReportEntry>& entries_;
    const RunFacts& facts_;
    const std::filesystem::path& folder_;
    std::string html_;
};

} // namespace

std::string_view reportMark() {
    return "<meta name=\"generator\" content=\"dornimage clean\">";
}

std::string reportPage(const std::vector<ReportEntry>& entries, const RunFacts& facts,
                       const std::filesystem::path& folder) {
    return Page(entries, facts, folder).text();
}
