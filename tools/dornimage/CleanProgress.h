#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANPROGRESS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANPROGRESS_H

#include "CleanRecord.h"
#include "ProgressBar.h"

#include <string>
#include <vector>

/// How the progress is told.
enum class ProgressKind {
    automatic, // a bar on a terminal, else a line for each page
    json,      // an object in a line for each page
    none,
};

/// Names of the members of ProgressKind, in order; the first one has no name for users.
const std::vector<std::string>& progressNames();

/// What became of a page, in words, without messages.
std::string textOf(const PageRecord& record);

/// Its file, and its number there when there are several pages.
std::string pageName(const PageRecord& record);

/// Tells on standard error how far the work on a row of pages is, and what there is to say about each.
class CleanProgress {
public:
    CleanProgress(ProgressKind kind, const std::string& work, std::size_t total);

    /// A page is done. Its messages, and why it has failed, are reported whatever the kind.
    void page(const PageRecord& record);

private:
    void line(const PageRecord& record) const;

    ProgressKind kind_;
    Pace pace_;
    ProgressBar bar_;
    bool terminal_;
};

#endif
