// A stack of pages that four threads clean, within one process. Meant for the thread sanitizer, and right
// without it.

#include "CleanInputs.h"
#include "CleanRun.h"
#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

#include <map>

namespace fs = std::filesystem;

namespace {

// With all that the threads share: codecs that say something, pages of one file, an empty one, one that
// fails.
class ToolThreads : public testing::Test {
protected:
    ToolThreads() {
        fs::create_directory(in);
        const char* const files[] = {"depths/grey_jpeg.tif",     "damaged/cut_in_scan.jpg",
                                     "depths/palette4.png",      "damaged/cut.png",
                                     "depths/palette_alpha.png", "depths/min_is_black_g4.tif",
                                     "damaged/cut_g4.tif",       "depths/rgb48.tif"};
        for (const std::string file : files) {
            fs::copy_file(DORN_TEST_DATA "/" + file, in + "/" + fs::path(file).filename().string());
        }
        fs::copy_file(DORN_TEST_DATA "/multipage/mixed_1bit_grey_colour_palette.tif", in + "/book.tif");
    }

    using Files = std::map<std::string, std::string>;

    // What was written below the folder `name`, and what was said.
    Files clean(const std::string& name, const std::string& output, unsigned jobs) const {
        const std::string place = (folder / name).string();
        fs::create_directory(place);
        CleanPlan plan;
        plan.settings.dpi = 60;
        plan.pages = pagesOf({in}, Decoding{});
        CleanOptions options;
        options.output = place + output;
        options.reportFolder = place + "/report";
        options.jobs = jobs;
        options.memory = 4 << 20;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const ExitCode code = runClean(plan, options);
        Files files;
        files["stdout"] = without(place, testing::internal::GetCapturedStdout());
        files["stderr"] = without(place, testing::internal::GetCapturedStderr());
        EXPECT_EQ(code, ExitCode::some) << files["stderr"];
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(place)) {
            // The journal and the page of the report tell times.
            const fs::path file = fs::relative(entry, place);
            if (entry.is_regular_file() && file.extension() != ".jsonl" && file.extension() != ".html") {
                files[file.string()] = dorntest::readFile(entry);
            }
        }
        return files;
    }

    static std::string without(const std::string& place, std::string text) {
        for (std::size_t at = 0; (at = text.find(place, at)) != std::string::npos;) {
            text.erase(at, place.size());
        }
        return text;
    }

    const dorntest::ScratchDirectory folder;
    const std::string in = (folder / "in").string();
};

TEST_F(ToolThreads, CleanAFolderAndBooksAsOneDoes) {
    for (const std::string output : {"/pages", "/book.tif", "/book.pdf"}) {
        SCOPED_TRACE(output);
        const std::string kind = fs::path(output).extension().string();
        const Files one = clean("one" + kind, output, 1);
        const Files four = clean("four" + kind, output, 4);
        EXPECT_NE(one.at("stderr").find("cut.png"), std::string::npos);
        EXPECT_GT(one.size(), 12U);
        EXPECT_EQ(four.at("stderr"), one.at("stderr"));
        EXPECT_TRUE(four == one);
    }
}

} // namespace
