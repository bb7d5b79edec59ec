#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANOUTPUT_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANOUTPUT_H

#include "CleanRecord.h"
#include "CleanSettings.h"
#include "CodecMessages.h"

#include <functional>
#include <string>
#include <vector>

/// Where the pages of a run go: each to a file of its own in a folder, or all of them to one TIFF, a book.
/// The pages of a book wait in a folder beside its place, coded as they will be in the book, so that any
/// order of finishing will do and that a run which was interrupted can go on.
class CleanOutput {
public:
    /// @param name a folder, which need not be there, or FILE.tif. Throws ToolError (ExitCode::usage) for the
    ///        name of any other picture.
    CleanOutput(std::string name, const CleanSettings& settings);

    bool isBook() const { return isBook_; }
    /// The folder that files of single pages go to: the output itself, or that of a book's waiting pages.
    const std::string& folder() const { return folder_; }
    /// The folder that empty pages are set aside in.
    const std::string& sideFolder() const { return sideFolder_; }

    /// Throws ToolError (ExitCode::output) when a file stands where a page may go to, unless `force` or
    /// `isOurs(path)`, and always when it is one of the inputs. Stems as of outputStems.
    void check(const std::vector<PageRecord>& pages, const std::vector<std::string>& stems, bool force,
               const std::function<bool(const std::string&)>& isOurs) const;

    /// The format that a page is to be written in. Its record has to tell the format of its file.
    FREE_IMAGE_FORMAT formatFor(const PageRecord& record, DornImage::Image& image) const;

    bool isAside(const PageRecord& record) const {
        return record.fate == PageFate::empty && settings_.empty == EmptyPages::aside;
    }

    /// Where a page is to be written.
    std::string pathFor(const PageRecord& record, const std::string& stem, FREE_IMAGE_FORMAT format) const;

    /// Makes the folder of a file. Throws ToolError (ExitCode::output).
    static void makeFolderOf(const std::string& path);

    /// Takes the waiting pages of a book that an earlier run has left away.
    void discardWaiting() const;

    /// Binds the pages of a book, in the order of the records, and tells them so. Nothing for a folder.
    /// Throws ToolError (ExitCode::output).
    void finish(std::vector<PageRecord>& pages, CodecMessages& messages) const;

private:
    std::vector<std::string> placesFor(const PageRecord& record, const std::string& stem) const;

    std::string name_;
    const CleanSettings& settings_;
    bool isBook_ = false;
    std::string folder_;
    std::string sideFolder_;
};

#endif
