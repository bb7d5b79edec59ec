#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANREPORT_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANREPORT_H

#include "CleanRecord.h"
#include "ReportPage.h"

#include <filesystem>
#include <string>
#include <vector>

/// Writes a report for people about pages that were cleaned: a folder with index.html and small pictures,
/// which opens in a browser without a network. A report that the folder holds already stays whole until this
/// one is, then its pictures go; other files in the folder are left alone. When a step throws ToolError
/// (ExitCode::output), or `finish` is not reached, nothing is left of the new one.
class CleanReport {
public:
    /// Makes the folder where it isn't there. Throws ToolError, also where the folder's index.html is no
    /// report.
    explicit CleanReport(std::string folder);
    CleanReport(const CleanReport&) = delete;
    CleanReport& operator=(const CleanReport&) = delete;
    ~CleanReport();

    /// Adds a page and writes its small pictures, which are not needed any longer then.
    void add(const PageRecord& record);

    /// Ends the report and puts it in its place.
    void finish(const RunFacts& facts);

private:
    void makePictureFolder();
    ReportPicture write(const DornImage::Reference<DornImage::Image>& picture, const char* which);
    void removePictures(const std::filesystem::path& pictures) const;
    [[noreturn]] void fail(const std::filesystem::path& path, const std::string& cause) const;

    std::filesystem::path folder_;
    bool folderIsNew_ = false;
    std::filesystem::path pictures_; // below the folder
    std::vector<ReportEntry> entries_;
    bool finished_ = false;
};

/// The same in one step.
void writeCleanReport(const std::string& folder, const std::vector<PageRecord>& records,
                      const RunFacts& facts);

#endif
