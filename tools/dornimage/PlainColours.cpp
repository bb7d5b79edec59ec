#include "PlainColours.h"

#include "ExitCode.h"
#include "PageFacts.h"
#include "Text.h"

#include <new>
#include <utility>

namespace {

bool isGrey(const PageFacts& facts) {
    return facts.palette == "none" ? facts.colour == "min-is-black" || facts.colour == "min-is-white"
                                   : facts.palette != "colour";
}

} // namespace

PlainColours::PlainColours(std::string file, std::string done, Say say)
    : file_(std::move(file)), done_(std::move(done)), say_(std::move(say)) {
    if (!say_) {
        say_ = [file = file_](const std::string& message) { report(file, message); };
    }
}

PlainColours::Page PlainColours::of(const Page& page) {
    const PageFacts facts = factsOf(*page);
    const std::string leftOut = facts.transparent ? "; its transparency is left out" : "";
    if (facts.depth == 24 || (facts.depth == 8 && DornImage::FreeImage_IsGrayScale(page->getFIBTMAP()))) {
        if (facts.transparent) {
            say(done_ + leftOut);
        }
        return page;
    }
    const bool grey = isGrey(facts);
    Page result;
    if (!(grey ? page->convertToGrayscale(result) : page->convertTo24Bits(result))) {
        throw ToolError(ExitCode::input, file_,
                        "a picture of the kind " + facts.pixelType + " cannot be " + done_);
    }
    const std::string palette = facts.palette == "none" ? "" : " (palette: " + facts.palette + ")";
    say(done_ + " as " + (grey ? "8-bit grey" : "24-bit colour") + ": it has " + countOf(facts.depth, "bit") +
        " a pixel" + palette + leftOut);
    return result;
}

PlainColours::Page PlainColours::through(const Page& page, const std::function<Page(const Page&)>& work) {
    if (page->GetBpp() != 1 || !isGrey(factsOf(*page))) {
        return work(of(page));
    }
    Page grey;
    if (!page->convertToGrayscale(grey)) {
        throw std::bad_alloc();
    }
    const Page made = work(grey);
    constexpr BYTE middleGrey = 128;
    FIBITMAP* const bilevel = FreeImage_Threshold(made->getFIBTMAP(), middleGrey);
    if (!bilevel) {
        throw std::bad_alloc();
    }
    FreeImage_CloneMetadata(bilevel, made->getFIBTMAP());
    Page result(new dornbase::ReferencedImplMT<DornImage::Image>());
    result->Attach(bilevel);
    return result;
}

void PlainColours::say(const std::string& message) {
    if (said_.insert(message).second) {
        say_(message);
    }
}
