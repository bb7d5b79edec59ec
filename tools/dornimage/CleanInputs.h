#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANINPUTS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANINPUTS_H

#include "CleanRecord.h"
#include "Decoding.h"

#include <string>
#include <vector>

/// The pages that arguments stand for, in order: picture files with all their pages, folders with the
/// pictures in them, patterns such as "scan*.tif", and "@list" for a file that names such arguments, one a
/// line. What a folder or a pattern gives is sorted as people count: scan9 before scan10. What can't be read
/// is there as a page that has failed.
std::vector<PageRecord> pagesOf(const std::vector<std::string>& arguments, const Decoding& decoding);

/// Names for the outputs of the pages, without folder and extension: that of the file, with the page's number
/// where the file has several, and no two of them alike.
std::vector<std::string> outputStems(const std::vector<PageRecord>& pages);

#endif
