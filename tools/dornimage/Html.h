#ifndef DORNIMAGE_TOOLS_DORNIMAGE_HTML_H
#define DORNIMAGE_TOOLS_DORNIMAGE_HTML_H

#include <filesystem>
#include <string>
#include <string_view>

/// The text as it stands in an element or in a quoted attribute; what is no text is shown as `printable`
/// does.
std::string escaped(std::string_view text);

/// A link from a page in `folder` to a file, for a quoted attribute: relative, with every byte that means
/// something in a link or in HTML as %XX. Works for files that are not there.
std::string linkTo(const std::filesystem::path& file, const std::filesystem::path& folder);

#endif
