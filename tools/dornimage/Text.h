#ifndef DORNIMAGE_TOOLS_DORNIMAGE_TEXT_H
#define DORNIMAGE_TOOLS_DORNIMAGE_TEXT_H

#include <FreeImage.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

/// The text made safe for a terminal: control characters become \xNN, malformed UTF-8 becomes U+FFFD.
std::string printable(std::string_view text);

/// Writes "dornimage: FILE: MESSAGE" to standard error; both go through printable.
void report(const std::string& file, const std::string& message);

/// Writes the value to standard output, indented; malformed UTF-8 in its texts becomes U+FFFD.
void printJson(const nlohmann::ordered_json& value);

std::string join(const std::vector<std::string>& parts, std::string_view separator);

/// "1 page", "5 pages".
std::string countOf(long count, const std::string& noun);

/// The number with so many digits behind a decimal point, whatever the locale.
std::string decimal(double value, int digits);

/// A page's number with as many digits as the last one's has, so that names sort in order.
std::string numbered(int page, int pageCount);

/// FreeImage's name of a format, such as "TIFF"; empty for a number that it doesn't know.
std::string formatName(FREE_IMAGE_FORMAT format);

/// The format's MIME type; empty when it has none.
std::string mimeType(FREE_IMAGE_FORMAT format);

/// Name of a kind of pixel: "bitmap" for the usual ones of 1 to 32 bits, "uint16", "rgb16", "float" and so
/// on.
std::string pixelTypeName(FREE_IMAGE_TYPE type);

#endif
