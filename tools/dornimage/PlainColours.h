#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PLAINCOLOURS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PLAINCOLOURS_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <functional>
#include <set>
#include <string>

/// Takes what there is to say about a page.
using Say = std::function<void(const std::string& message)>;

/// Brings pages to 8-bit grey or 24-bit colour, for work that takes the numbers in a bitmap for brightness,
/// and tells what it had to change, each text once.
class PlainColours {
public:
    using Page = DornImage::Reference<DornImage::Image>;

    /// @param file the input, for messages.
    /// @param done what happens to the pages, such as "smoothed".
    /// @param say gets the messages; without it they are reported.
    PlainColours(std::string file, std::string done, Say say = {});

    /// The page itself where it is of such a kind. Throws ToolError (ExitCode::input) for kinds of pixels
    /// that have no colours.
    Page of(const Page& page);

    /// What `work` makes of the page in plain colours; a page of 1 bit becomes one again, cut at middle grey.
    /// Throws as above, and std::bad_alloc.
    Page through(const Page& page, const std::function<Page(const Page&)>& work);

private:
    void say(const std::string& message);

    std::string file_;
    std::string done_;
    Say say_;
    std::set<std::string> said_;
};

#endif
