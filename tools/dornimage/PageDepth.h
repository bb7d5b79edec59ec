#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGEDEPTH_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGEDEPTH_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <CLI/CLI.hpp>

#include <string>

/// Adds --to, which sets `depth` to "8", "24" or "grey"; it stays empty when not given.
void addDepthOption(CLI::App& command, std::string& depth);

/// The page in that depth; itself for an empty one. Throws ToolError (ExitCode::input) in the name of `file`
/// for kinds of pixels that don't go there.
DornImage::Reference<DornImage::Image> inDepth(const DornImage::Reference<DornImage::Image>& page,
                                               const std::string& depth, const std::string& file);

#endif
