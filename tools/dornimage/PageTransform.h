#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGETRANSFORM_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGETRANSFORM_H

#include "ExitCode.h"
#include "Source.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>

/// What the verbs that make one picture file of another have in common on the command line.
struct TransformOptions {
    std::string input;
    std::string output;
    std::string format;
    int page = 0; // 0: not given
    std::optional<int> flags;
    Decoding decoding;
    // Not from the command line: a file of one page that the work leaves as it is, and that keeps its format,
    // is copied byte for byte unless flags are given.
    bool copiesUnchanged = false;
};

/// Adds IN, OUT, --format, --page, --flags and those of decoding.
void addTransformOptions(CLI::App& command, TransformOptions& options);

/// Makes of a decoded page the one to write, which may be the same. May throw ToolError.
using PageWork =
    std::function<DornImage::Reference<DornImage::Image>(const DornImage::Reference<DornImage::Image>& page)>;

/// The same for work that names the page; the number counts from 1.
using NumberedPageWork = std::function<DornImage::Reference<DornImage::Image>(
    const Source& source, int number, const DornImage::Reference<DornImage::Image>& page)>;

/// Reads the pages that are asked for, or all of them where the output's format holds several, and writes
/// what `work` makes of them. Throws ToolError.
ExitCode transformPages(const TransformOptions& options, const PageWork& work);
ExitCode transformPages(const TransformOptions& options, const NumberedPageWork& work);

#endif
