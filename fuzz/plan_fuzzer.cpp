// Feeds bytes to what reads a plan, and the journal of a run. A plan that is taken must keep to its ranges
// and go through another file unchanged; whatever stood in a journal, a page that is added to it must be
// found again. A difference ends the process, as the sanitizers do.

#include "CleanJournal.h"
#include "CleanPlan.h"
#include "CleanRecordJson.h"
#include "ExitCode.h"
#include "PageScale.h"
#include "fuzz/Bytes.h"
#include "tests/ScratchDirectory.h"

#include <iostream>
#include <optional>
#include <sstream>

namespace {

// In memory where that is possible: each input is written to a file.
const char* place() {
    return std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
}

bool isBetween(double value, double least, double greatest) {
    return value >= least && value <= greatest;
}

// Through standard input, which needs no file.
std::optional<CleanPlan> planOf(const std::string& text) {
    std::istringstream stream(text);
    std::streambuf* const before = std::cin.rdbuf(stream.rdbuf());
    std::optional<CleanPlan> plan;
    try {
        plan = readPlan("-");
    } catch (const ToolError& error) {
        require(error.code() == ExitCode::input && error.what()[0] != '\0');
    }
    std::cin.rdbuf(before);
    return plan;
}

void checkRanges(const CleanPlan& plan) {
    const CleanSettings& settings = plan.settings;
    require(isBetween(settings.reach, leastReach, greatestReach) && settings.dpi <= greatestDpi);
    require(isBetween(settings.quality, 1, 100));
    wantsJpeg(settings); // throws when there is no such format
    for (const PageRecord& page : plan.pages) {
        require(!page.file.empty() && page.file.find('\0') == std::string::npos);
        require(page.page >= 1 && page.pageCount >= page.page && page.depth <= 128);
        require(isBetween(page.orientation, 1, 8) && isBetween(page.skew.value_or(0), -45, 45));
        require(isBetween(page.filling, 0, 1) && isBetween(page.confidence, 0, 1));
        require(isBetween(page.turnedBy, -45, 45) && page.outputPage >= 0);
        require(isBetween(page.dpiX, 0, 1e9) && isBetween(page.dpiY, 0, 1e9));
    }
}

void checkPlan(const CleanPlan& plan, const std::string& folder) {
    checkRanges(plan);
    const std::string text = toJson(plan).dump();
    const std::optional<CleanPlan> again = planOf(text);
    require(again && toJson(*again).dump() == text);
    CleanPlan renditions = plan;
    takeRenditions(renditions, folder);
    for (const PageRecord& page : renditions.pages) {
        require(page.fate == PageFate::failed || page.file.rfind(folder, 0) == 0);
    }
}

// A folder with an output, and a journal that is written anew for each input.
class Outputs {
public:
    Outputs() : folder_(place()) { dorntest::writeFile(folder_ / "page.png", "a page"); }

    std::string folder() const { return folder_.path().string(); }

    void checkJournal(const std::string& content, PageRecord page) const {
        dorntest::writeFile(folder_ / CleanJournal::name, content);
        page.output = (folder_ / "page.png").string();
        const nlohmann::ordered_json task = CleanJournal::taskOf(page, true);
        CleanJournal before(folder(), {});
        before.read();
        // Nobody knows the state of the output from outside.
        PageRecord none;
        require(!before.restore(none, "page", task) && !before.isOurs(page.output, page));
        before.add(page, page.output, "page", task);
        CleanJournal after(folder(), {});
        after.read();
        PageRecord found;
        require(after.restore(found, "page", task) && reportEntry(found) == reportEntry(page));
        require(after.isOurs(page.output, page));
    }

private:
    dorntest::ScratchDirectory folder_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Outputs outputs;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::optional<CleanPlan> plan = planOf(text);
    PageRecord page;
    page.file = "page.jpg";
    if (plan) {
        checkPlan(*plan, outputs.folder());
        if (!plan->pages.empty()) {
            page = plan->pages.front();
        }
    }
    outputs.checkJournal(text, page);
    return 0;
}
