#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANOUTPUT_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANOUTPUT_H

#include "CleanRecord.h"
#include "CleanSettings.h"
#include "CodecMessages.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

/// Where the pages of a run go: each to a file of its own in a folder, or all of them to one TIFF or PDF, a
/// book. The pages of a book wait as files in a folder beside its place, coded as they will be in the book,
/// so that any order of finishing will do and that a run which was interrupted can go on.
class CleanOutput {
public:
    /// @param name a folder, which need not be there, FILE.tif or FILE.pdf. Throws ToolError
    /// (ExitCode::usage) for the
    ///        name of any other picture.
    CleanOutput(std::string name, const CleanSettings& settings);

    bool isBook() const { return kind_ != Kind::folder; }
    /// Whether files of single pages are to be such as TiffJoiner reads.
    bool joins() const { return kind_ == Kind::tiff; }
    /// The folder that files of single pages go to: the output itself, or that of a book's waiting pages.
    const std::string& folder() const { return folder_; }
    /// The folder that empty pages are set aside in.
    const std::string& sideFolder() const { return sideFolder_; }

    /// Tells whether the file at a path is what an earlier run made of the same page.
    using IsOurs = std::function<bool(const std::string& path, const PageRecord& record)>;

    /// Throws ToolError (ExitCode::output) when a file stands where a page may go to, unless `force` or
    /// `isOurs`, and always when it is one of the inputs. Stems as of outputStems.
    void check(const std::vector<PageRecord>& pages, const std::vector<std::string>& stems, bool force,
               const IsOurs& isOurs);

    /// The same for the one place that a page goes to after all: its record may have named another format
    /// before the page was read. After `check`; any thread may call it.
    void checkPlace(const std::string& path, const PageRecord& record) const;

    /// The format that a page is to be written in. Its record has to tell the format of its file.
    FREE_IMAGE_FORMAT formatFor(const PageRecord& record, DornImage::Image& image) const;

    /// Throws ToolError (ExitCode::input) when the output has no place for a page as it is to be written.
    void checkHolds(const PageRecord& record, DornImage::Image& image) const;

    bool isAside(const PageRecord& record) const {
        return record.fate == PageFate::empty && settings_.empty == EmptyPages::aside;
    }

    /// Where a page is to be written.
    std::string pathFor(const PageRecord& record, const std::string& stem, FREE_IMAGE_FORMAT format) const;

    /// Makes the folder of a file. Throws ToolError (ExitCode::output).
    static void makeFolderOf(const std::string& path);

    /// Takes the waiting pages of a book that an earlier run has left away. Throws ToolError
    /// (ExitCode::output) when the folder is none of ours.
    void discardEarlier() const;

    /// Takes away what runs that were killed have left beside their outputs. Throws as above.
    void discardAbandoned() const;

    /// Takes a page that was written, and tells its record where it goes: to be called in the order of pages.
    void enter(PageRecord& record);

    /// Binds the pages of a book. Nothing for a folder. Throws ToolError (ExitCode::output) and Interrupted.
    void finish(CodecMessages& messages) const;

private:
    enum class Kind { folder, tiff, pdf };
    struct Waiting {
        std::string path;
        std::string page; // its name for people
    };

    void refuse(const std::string& place, const PageRecord* record) const;
    void checkWaiting() const;
    void discardWaiting() const;
    void bindTiff(CodecMessages& messages) const;
    void bindPdf(CodecMessages& messages) const;
    std::vector<std::string> placesFor(const PageRecord& record, const std::string& stem) const;

    std::string name_;
    const CleanSettings& settings_;
    Kind kind_ = Kind::folder;
    std::vector<Waiting> waiting_; // pages of a book, in order
    std::string folder_;
    std::string sideFolder_;
    std::set<std::string> inputs_;
    bool force_ = false;
    IsOurs isOurs_;
};

#endif
