#include "tools/dornimage/CleanReport.h"
#include "tools/dornimage/ExitCode.h"
#include "tools/dornimage/Html.h"
#include "tools/dornimage/Thumbnail.h"

#include "Decoded.h"
#include "ToolRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using DornImage::Image;
using DornImage::Reference;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

Reference<Image> imageOf(FIBITMAP* bitmap) {
    Reference<Image> image(new dornbase::ReferencedImplMT<Image>());
    image->Attach(bitmap);
    return image;
}

Reference<Image> thumbnailOfFile(const std::string& name, unsigned longestSide = 100) {
    return thumbnailOf(*imageOf(FreeImage_Clone(Decoded(dataFile(name)).get())), longestSide);
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<PageRecord> somePages() {
    std::vector<PageRecord> pages(4);
    pages[0].file = "a.png";
    pages[0].before = thumbnailOfFile("pages/book_grey_300dpi.jpg");
    pages[0].after = thumbnailOfFile("depths/rgb_small.png");
    pages[0].skew = -1.5;
    pages[0].turnedBy = -1.5;
    pages[0].seconds = {{CleanStep::load, 0.75}, {CleanStep::save, 0.25}};
    pages[1].file = "b.png";
    pages[1].fate = PageFate::empty;
    pages[1].before = pages[0].before;
    pages[1].filling = 0.00012;
    pages[2].file = "c.png";
    pages[2].fate = PageFate::failed;
    pages[2].reason = "cut short";
    pages[3].file = "d.png";
    pages[3].fate = PageFate::unsure;
    return pages;
}

} // namespace

TEST(Thumbnails, AreSmallPlainCopiesOfEveryDepth) {
    const std::pair<const char*, unsigned> pages[] = {
        {"pages/article_1bit_g4_300dpi.tif", 8},
        {"depths/grey16.png", 8},
        {"depths/rgb48.tif", 24},
        {"depths/min_is_white_g4.tif", 8},
        {"depths/palette4.png", 24},
        {"depths/palette8.png", 24},
        {"depths/palette_alpha.png", 24},
        {"photos/street_nikon_gps.jpg", 24},
    };
    for (const auto& [name, depth] : pages) {
        SCOPED_TRACE(name);
        const Reference<Image> small = thumbnailOfFile(name);
        ASSERT_TRUE(small);
        EXPECT_EQ(std::max(small->GetWidth(), small->GetHeight()), 100U);
        EXPECT_EQ(small->GetBpp(), depth);
        EXPECT_EQ(FreeImage_GetMetadataCount(FIMD_EXIF_GPS, small->getFIBTMAP()), 0U);
    }
    // As on paper: the same page as a fax of unequal resolutions.
    EXPECT_NEAR(thumbnailOfFile("pages/fax_standard_204x98_g3_1d.tif")->GetWidth(),
                thumbnailOfFile("pages/article_1bit_g4_300dpi.tif")->GetWidth(), 1);
    // White where there is nothing, and never larger than it was.
    const Reference<Image> clear = imageOf(FreeImage_Allocate(50, 20, 32));
    const Reference<Image> onPaper = thumbnailOf(*clear, 100);
    EXPECT_EQ(onPaper->GetWidth(), 50U);
    EXPECT_EQ(FreeImage_GetScanLine(onPaper->getFIBTMAP(), 7)[30], 255);

    EXPECT_EQ(thumbnailOf(*imageOf(FreeImage_Allocate(1, 30000, 8)), 100)->GetHeight(), 100U);
    EXPECT_EQ(thumbnailOf(*imageOf(FreeImage_Allocate(30000, 1, 1)), 100)->GetHeight(), 1U);
    EXPECT_FALSE(thumbnailOf(*imageOf(FreeImage_AllocateT(FIT_COMPLEX, 9, 9))));
    EXPECT_FALSE(thumbnailOf(*Reference<Image>(new dornbase::ReferencedImplMT<Image>())));
}

TEST(Report, TellsWhatBecameOfThePages) {
    const ScratchFolder scratch;
    RunFacts facts;
    facts.seconds = 125;
    facts.jobs = 2;
    facts.earlier = 1;
    writeCleanReport(scratch / "deep/report", somePages(), facts);
    const std::string html = contentOf(scratch / "deep/report/index.html");
    for (const char* const text :
         {"<li><b>4</b>pages</li>", "<li class=\"kept\"><b>1</b>kept", "<li class=\"empty\"><b>1</b>empty",
          "<li><b>2 min 5 s</b>on 2 threads", "<b>1</b>from before", "<b>0.02</b>pages a second", "75.0 %",
          "style=\"width:25.00%\"", "<article id=\"p2\" class=\"empty\">", "<a class=\"empty\" href=\"#p2\"",
          "set aside",
          "<a href=\"#p3\">3</a> <bdi>c.png</bdi>: <span class=\"fate\">failed</span>, cut short",
          "1.50°, lines rise to the right", "1.50° clockwise", "0.012 % of the page"}) {
        EXPECT_THAT(html, HasSubstr(text));
    }
    // Nothing comes from elsewhere, and every picture is there.
    EXPECT_THAT(html, Not(HasSubstr("http:")));
    EXPECT_THAT(html, Not(HasSubstr("https:")));
    int pictures = 0;
    for (std::size_t at = 0; (at = html.find("<img src=\"", at)) != std::string::npos; ++pictures) {
        at += 10;
        const std::string file = html.substr(at, html.find('"', at) - at);
        EXPECT_TRUE(Decoded(scratch / ("deep/report/" + file)).get()) << file;
    }
    EXPECT_EQ(pictures, 5);
}

TEST(Report, TakesNamesForTextAndNothingElse) {
    const ScratchFolder scratch;
    fs::create_directory(scratch / "out");
    const std::string hostile = "out/<script>alert('1')</script>\"&#x41;%41?q#f\x1b[1m\n\xff.png";
    std::vector<PageRecord> pages(1);
    pages[0].file = hostile;
    pages[0].reason = hostile;
    pages[0].messages = {hostile};
    pages[0].output = scratch / hostile;
    RunFacts facts;
    facts.command = hostile;
    facts.settings = {{hostile, hostile}};
    writeCleanReport(scratch / "report", pages, facts);
    const std::string html = contentOf(scratch / "report/index.html");
    EXPECT_THAT(html, Not(HasSubstr("<script")));
    EXPECT_THAT(html, Not(HasSubstr("\x1b")));
    EXPECT_THAT(html, Not(HasSubstr("\xff")));
    EXPECT_THAT(html,
                HasSubstr("&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt;&quot;&amp;#x41;%41?q#f\\x1b[1m"));

    // The link leads to the file all the same.
    std::string file;
    const std::string link = linkTo(scratch / hostile, scratch / "report");
    EXPECT_EQ(link.find_first_of("\"'<>&?#\n"), std::string::npos);
    for (std::size_t at = 0; at < link.size(); ++at) {
        if (link[at] == '%') {
            file += static_cast<char>(std::stoi(link.substr(at + 1, 2), nullptr, 16));
            at += 2;
        } else {
            file += link[at];
        }
    }
    EXPECT_EQ(file, "../" + hostile);
}

TEST(Report, ReplacesAnEarlierOneWhenItIsWhole) {
    const ScratchFolder scratch;
    const fs::path folder = scratch / "report";
    writeCleanReport(folder, somePages(), {});
    std::ofstream(folder / "notes.txt") << "mine";
    std::ofstream(folder / "report-pictures-1" / "mine.jpg") << "mine";
    const std::string first = contentOf(folder / "index.html");
    {
        CleanReport abandoned(folder);
        abandoned.add(somePages()[0]);
    }
    EXPECT_EQ(contentOf(folder / "index.html"), first);
    EXPECT_THAT(namesIn(folder), ElementsAre("index.html", "notes.txt", "report-pictures-1"));

    writeCleanReport(folder, {somePages()[0]}, {});
    EXPECT_THAT(contentOf(folder / "index.html"), HasSubstr("<b>1</b>page<"));
    EXPECT_THAT(namesIn(folder / "report-pictures-2"),
                ElementsAre("page-0001-after.jpg", "page-0001-before.jpg"));
    EXPECT_THAT(namesIn(folder / "report-pictures-1"), ElementsAre("mine.jpg"));

    { CleanReport never(scratch / "never"); }
    EXPECT_FALSE(fs::exists(scratch / "never"));
    std::ofstream(scratch / "index.html") << "<html>my pages</html>";
    EXPECT_THROW(CleanReport(fs::path(scratch / "x").parent_path()), ToolError);
    EXPECT_EQ(contentOf(scratch / "index.html"), "<html>my pages</html>");
    EXPECT_THROW(CleanReport(scratch / "index.html"), ToolError);
}
