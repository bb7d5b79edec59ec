#include "CleanProgress.h"

#include "CleanRecordJson.h"
#include "Text.h"

#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <unistd.h>

using nlohmann::ordered_json;

namespace {

// Without a decimal point where that says nothing.
double tenths(double value) {
    return std::round(value * 10) / 10;
}

} // namespace

const std::vector<std::string>& progressNames() {
    static const std::vector<std::string> names = {"auto", "json", "none"};
    return names;
}

std::string pageName(const PageRecord& record) {
    return record.file + (record.pageCount > 1 ? " page " + std::to_string(record.page) : "");
}

std::string textOf(const PageRecord& record) {
    std::ostringstream text;
    text << nameOf(record.fate);
    if (record.fate == PageFate::failed) {
        return text.str();
    }
    if (record.fate != PageFate::kept && !record.reason.empty()) {
        text << " (" << record.reason << ")";
    }
    if (record.orientation != 1) {
        text << ", turned upright from orientation " << record.orientation;
    }
    if (record.skew) {
        text << ", off by " << std::fixed << std::setprecision(2)
             << (std::abs(*record.skew) < 0.005 ? 0 : *record.skew) << " degrees"
             << (record.turnedBy != 0 ? "" : ": level to a pixel");
    } else if (record.fate != PageFate::empty && !record.skewReason.empty()) {
        text << ", no skew measured: " << record.skewReason;
    }
    if (!record.output.empty()) {
        text << " -> " << record.output;
    }
    return text.str();
}

CleanProgress::CleanProgress(ProgressKind kind, const std::string& work, std::size_t total)
    : kind_(kind), pace_(total), bar_(work, kind == ProgressKind::automatic ? total : 0),
      terminal_(isatty(STDERR_FILENO) != 0) {}

void CleanProgress::page(const PageRecord& record) {
    pace_.step();
    if (!record.messages.empty() || record.fate == PageFate::failed) {
        bar_.clear();
    }
    for (const std::string& message : record.messages) {
        report(pageName(record), message);
    }
    if (record.fate == PageFate::failed) {
        report(pageName(record), record.reason);
    }
    if (kind_ == ProgressKind::automatic && !terminal_) {
        std::cerr << '[' << pace_.done() << '/' << pace_.total() << "] " << printable(pageName(record))
                  << ": " << printable(textOf(record)) << '\n';
    }
    if (kind_ == ProgressKind::json) {
        line(record);
    }
    bar_.step();
}

void CleanProgress::line(const PageRecord& record) const {
    const ordered_json object = {{"done", pace_.done()},
                                 {"total", pace_.total()},
                                 {"file", record.file},
                                 {"page", record.page},
                                 {"fate", nameOf(record.fate)},
                                 {"pagesPerSecond", tenths(pace_.rate())},
                                 {"secondsLeft", tenths(pace_.secondsLeft())}};
    std::cerr << object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}
