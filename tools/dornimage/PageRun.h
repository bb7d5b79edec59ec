#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGERUN_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGERUN_H

#include "ExitCode.h"
#include "Source.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

/// Which pages a verb looks at, and how it tells what it saw.
struct PageRun {
    std::vector<std::string> files;
    int page = 0; // 0: all of them
    bool json = false;
    Decoding decoding;
};

/// Looks at one page and answers what is known of it, beside its number. `damaged`: the codec complained
/// about it. May throw ToolError.
using PageLook =
    std::function<nlohmann::ordered_json(const Source&, int page, DornImage::Image&, bool damaged)>;

/// Opens one file after the other, calls `look` for each page asked for, and prints what it answered when the
/// run is for --json. What codecs say and what can't be read goes to standard error; one bad page or file
/// does not hide the others. Throws ToolErrors that are about neither reading nor memory.
/// @return done; some when some pages failed; input or limits when nothing could be looked at.
ExitCode lookAtPages(const PageRun& run, CodecMessages& messages, const PageLook& look);

/// The name of a page for people: that of its file, and its number when there are several.
std::string pageName(const Source& source, int page);

#endif
