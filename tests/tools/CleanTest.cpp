#include "Decoded.h"
#include "ToolRun.h"

#include "tests/ImageProcessing/DornImage/Pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <map>
#include <unistd.h>

namespace fs = std::filesystem;
using dorntest::meanDistance;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// A stack as people have it: lying on its side, skewed, empty, with unequal resolutions, with several pages,
// damaged, and what is no picture.
class Clean : public testing::Test {
protected:
    static void SetUpTestSuite() {
        made = new ScratchFolder();
        runTool({"scale", dataFile("pages/note_skewed_1bit_g4.tif"), *made / "note.tif", "--dpi", "100"});
        runTool({"join", *made / "pages.tif", dataFile("depths/grey_jpeg.tif"),
                 dataFile("depths/palette4.png"), dataFile("pages/table_1bit_g4_150dpi.tif")});
    }
    static void TearDownTestSuite() { delete made; }

    Clean() {
        fs::create_directory(in);
        const std::pair<std::string, const char*> files[] = {
            {dataFile("exif/orientation_6.jpg"), "scan1.jpg"},
            {*made / "note.tif", "scan2.tif"},
            {dataFile("depths/rgb48.tif"), "scan3.tif"},
            {dataFile("blank/blank_specks_1bit_g4_300dpi.tif"), "scan9.tif"},
            {*made / "pages.tif", "scan10.tif"},
            {dataFile("depths/min_is_black_g4.tif"), "scan11.tif"},
            {dataFile("damaged/cut.png"), "scan12.png"},
            {dataFile("damaged/text.png"), "notes.txt"},
        };
        for (const auto& [from, to] : files) {
            fs::copy_file(from, in + "/" + to);
        }
    }

    static json pageOf(const json& report, const std::string& name, int page = 1) {
        for (const json& entry : report.at("pages")) {
            if (fs::path(entry.at("file").get<std::string>()).filename() == name && entry["page"] == page) {
                return entry;
            }
        }
        throw std::runtime_error("no page " + name);
    }

    // All files below a folder, hidden ones too, and what is in them.
    static std::map<std::string, std::string> filesIn(const std::string& folder) {
        std::map<std::string, std::string> files;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && entry.path().filename() != ".dornimage-clean.jsonl") {
                files[fs::relative(entry.path(), folder).string()] = contentOf(entry.path());
            }
        }
        return files;
    }

    static std::vector<std::string> namesIn(const std::string& folder) {
        std::vector<std::string> names;
        for (const auto& [name, content] : filesIn(folder)) {
            names.push_back(name);
        }
        return names;
    }

    static json skewOf(const std::string& file) {
        return runTool({"skew", "--json", file}).json().at(0).at("pages").at(0).at("angle");
    }

    static inline const ScratchFolder* made = nullptr;
    const ScratchFolder scratch;
    const std::string in = scratch / "in";
    const std::string out = scratch / "out";
};

} // namespace

TEST_F(Clean, MendsAFolderOfAllSorts) {
    fs::copy_file(dataFile("pages/fax_standard_204x98_g3_1d.tif"), in + "/scan3.tif",
                  fs::copy_options::overwrite_existing);
    const ToolRun run = runTool({"clean", in, "--out", out, "--json", "--jobs", "2"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, AllOf(HasSubstr("scan12.png: cannot be read: PNG: "), HasSubstr("[1/9] ")));
    EXPECT_THAT(namesIn(out), ElementsAre("empty/scan9.tif", "scan1.jpg", "scan10-1.tif", "scan10-2.tif",
                                          "scan10-3.tif", "scan11.tif", "scan2.tif", "scan3.tif"));
    const json report = run.json();
    EXPECT_EQ(report["counts"], json({{"kept", 7}, {"unsure", 0}, {"empty", 1}, {"failed", 1}}));
    std::vector<std::string> order;
    for (const json& page : report["pages"]) {
        order.push_back(fs::path(page["file"].get<std::string>()).stem().string());
    }
    EXPECT_THAT(order, ElementsAre("scan1", "scan2", "scan3", "scan9", "scan10", "scan10", "scan10", "scan11",
                                   "scan12"));

    // Turned without loss, from its side.
    EXPECT_EQ(pageOf(report, "scan1.jpg")["orientation"], 6);
    EXPECT_LT(
        meanDistance(Decoded(out + "/scan1.jpg").get(), Decoded(dataFile("exif/orientation_1.jpg")).get()),
        0.4);
    EXPECT_NEAR(pageOf(report, "scan2.tif")["turnedBy"], -1.4, 0.05);
    EXPECT_NEAR(skewOf(out + "/scan2.tif"), 0, 0.1);
    EXPECT_EQ(Decoded(out + "/scan2.tif").depth(), 1U);
    // The fax gets square pixels and stays bilevel.
    EXPECT_EQ(pageOf(report, "scan3.tif")["outputHeight"], 2244);
    EXPECT_NEAR(skewOf(out + "/scan3.tif"), 0, 0.1);
    EXPECT_EQ(pageOf(report, "scan9.tif")["fate"], "empty");
    EXPECT_EQ(contentOf(out + "/empty/scan9.tif"), contentOf(in + "/scan9.tif"));
    EXPECT_EQ(contentOf(out + "/scan11.tif"), contentOf(in + "/scan11.tif")) << "nothing to do";
    EXPECT_EQ(Decoded(out + "/scan10-2.tif").depth(), 24U) << "a palette";
    EXPECT_EQ(pageOf(report, "scan12.png")["output"], json());
    EXPECT_GT(pageOf(report, "scan2.tif")["seconds"]["skew"], 0);

    // What is there stays there.
    const auto before = filesIn(out);
    const ToolRun again = runTool({"clean", in, "--out", out, "--dpi", "50"});
    EXPECT_EQ(again.exitCode, 4);
    EXPECT_THAT(again.err, HasSubstr("exists already; --force replaces it"));
    EXPECT_EQ(runTool({"clean", in, "--out", in, "--force"}).exitCode, 4) << "inputs are never replaced";
    EXPECT_EQ(filesIn(out), before);
    EXPECT_EQ(runTool({"clean", in, "--out", out, "--force"}).exitCode, 2);
    EXPECT_EQ(filesIn(out), before) << "or gives the same again";
}

TEST_F(Clean, GivesTheSameWithAnyNumberOfJobsAndThroughAPlan) {
    const std::vector<std::string> settings = {"--preset", "office", "--dpi",       "75",
                                               "--empty",  "mark",   "--no-isolate"};
    const auto cleaned = [&](const std::string& to, const std::vector<std::string>& how) {
        std::vector<std::string> arguments = {"clean", in, "--out", to};
        arguments.insert(arguments.end(), settings.begin(), settings.end());
        arguments.insert(arguments.end(), how.begin(), how.end());
        return runTool(arguments);
    };
    const ToolRun one = cleaned(scratch / "one", {"--jobs", "1"});
    EXPECT_EQ(one.exitCode, 2);
    const ToolRun four = cleaned(scratch / "four", {"--jobs", "4", "--memory", "1M"});
    const auto expected = filesIn(scratch / "one");
    EXPECT_THAT(expected, testing::Contains(testing::Key("scan9.tif")));
    EXPECT_EQ(filesIn(scratch / "four"), expected);
    const auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
            text.replace(at, from.size(), to);
        }
        return text;
    };
    EXPECT_EQ(replaced(four.err, scratch / "four", scratch / "one"), one.err);

    std::vector<std::string> plan = {"plan", in};
    plan.insert(plan.end(), settings.begin(), settings.end());
    const ToolRun planned = runTool(plan);
    EXPECT_EQ(planned.exitCode, 2);
    std::ofstream(scratch / "plan.json") << planned.out;
    EXPECT_EQ(runTool({"apply", scratch / "plan.json", "--out", scratch / "planned"}).exitCode, 2);
    EXPECT_EQ(filesIn(scratch / "planned"), expected);
}

TEST_F(Clean, BindsABook) {
    const std::string book = scratch / "book.tif";
    const ToolRun run = runTool({"clean", in, "--out", book, "--jobs", "3"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(scratch.names(), ElementsAre("book-empty", "book.tif", "in"));
    EXPECT_THAT(namesIn(scratch / "book-empty"), ElementsAre("scan9.tif"));
    const json info = runTool({"info", "--json", "--all-pages", book}).json().at(0).at("pages");
    std::vector<int> widths;
    for (const json& page : info) {
        widths.push_back(page["width"]);
    }
    EXPECT_THAT(widths, ElementsAre(640, 692, 129, 640, 329, 1172, 100));
    EXPECT_EQ(runTool({"clean", in, "--out", book}).exitCode, 4);
    EXPECT_EQ(runTool({"clean", in, "--out", scratch / "book.jpg"}).exitCode, 1);
}

TEST_F(Clean, BindsAPdfAndReports) {
    const ToolRun run =
        runTool({"clean", in, "--out", scratch / "a.pdf", "--report", scratch / "report", "--json"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(pageOf(run.json(), "scan1.jpg")["outputPage"], 1);
    EXPECT_EQ(pageOf(run.json(), "scan9.tif")["outputPage"], 0);
    EXPECT_EQ(pageOf(run.json(), "scan11.tif")["outputPage"], 7);
    EXPECT_EQ(runTool({"clean", in, "--out", scratch / "b.pdf", "--jobs", "1", "--no-isolate"}).exitCode, 2);
    EXPECT_THAT(contentOf(scratch / "a.pdf"), testing::StartsWith("%PDF-"));
    EXPECT_EQ(contentOf(scratch / "b.pdf"), contentOf(scratch / "a.pdf"));
    EXPECT_THAT(scratch.names(), ElementsAre("a-empty", "a.pdf", "b-empty", "b.pdf", "in", "report"));
    const std::string report = contentOf(scratch / "report/index.html");
    EXPECT_THAT(report, AllOf(HasSubstr("scan12.png"), HasSubstr("1.38"), HasSubstr("../a-empty/scan9.tif")));

    // Too large for the format, and so one page that fails.
    const DornImage::FIBitmapPtr wide(FreeImage_Allocate(3000, 10, 8));
    FreeImage_SetDotsPerMeterX(wide.get(), 500);
    FreeImage_SetDotsPerMeterY(wide.get(), 500);
    FreeImage_Save(FIF_PNG, wide.get(), (in + "/scan0.png").c_str(), 0);
    const ToolRun failing = runTool({"clean", in, "--out", scratch / "a.pdf", "--force"});
    EXPECT_EQ(failing.exitCode, 2);
    EXPECT_THAT(failing.err, HasSubstr("scan0.png: is longer than the 5.08 m that PDF allows; see --dpi"));
    EXPECT_EQ(contentOf(scratch / "b.pdf"), contentOf(scratch / "a.pdf"));
}

TEST_F(Clean, CarriesOutAnEditedPlanOnOtherRenditions) {
    // The plan is made on small renditions, named by a list with a pattern in it.
    std::ofstream(scratch / "list") << in << "/scan[12].*\n";
    json plan = runTool({"plan", std::string("@").append(scratch / "list"), "--progress", "none"}).json();
    const std::string large = scratch / "large";
    fs::create_directory(large);
    fs::copy_file(dataFile("exif/orientation_6.jpg"), large + "/scan1.jpg");
    fs::copy_file(dataFile("pages/note_skewed_1bit_g4.tif"), large + "/scan2.tif");
    ASSERT_EQ(plan["pages"].size(), 2U);
    EXPECT_NEAR(plan["pages"][1]["skew"], -1.4, 0.05);
    plan["pages"][0]["orientation"] = 8;
    plan["pages"][1]["fate"] = "empty";
    std::ofstream(scratch / "plan.json") << plan;
    const ToolRun run = runTool({"apply", scratch / "plan.json", "--renditions", large, "--out", out,
                                 "--json", "--progress", "none"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(namesIn(out), ElementsAre("empty/scan2.tif", "scan1.jpg"));
    EXPECT_EQ(Decoded(out + "/empty/scan2.tif").depth(), 1U);
    EXPECT_NEAR(skewOf(out + "/empty/scan2.tif"), 0, 0.1);
    EXPECT_EQ(run.json()["pages"][1]["outputWidth"], 2076);
    // Orientations 6 and 8 are half a turn apart.
    const DornImage::FIBitmapPtr other(
        FreeImage_Rotate(Decoded(dataFile("exif/orientation_1.jpg")).get(), 180));
    EXPECT_LT(meanDistance(Decoded(out + "/scan1.jpg").get(), other.get()), 0.4);
}

TEST_F(Clean, SaysWhatIsWrongWithAPlan) {
    const json good = runTool({"plan", in + "/scan11.tif"}).json();
    const auto applied = [&](const std::string& text) {
        std::ofstream(scratch / "plan.json") << text;
        const ToolRun run = runTool({"apply", scratch / "plan.json", "--out", out});
        EXPECT_EQ(run.exitCode, 3) << text;
        EXPECT_FALSE(fs::exists(out));
        return run.err;
    };
    const auto edited = [&](const char* place, const json& value) {
        json plan = good;
        plan[json::json_pointer(place)] = value;
        return applied(plan.dump());
    };
    EXPECT_THAT(edited("/pages/0/skew", 400),
                HasSubstr("plan.json: pages[0].skew: not a number from -45 to 45\n"));
    EXPECT_THAT(edited("/pages/0/skew", "2"), HasSubstr("pages[0].skew: not a number"));
    EXPECT_THAT(edited("/pages/0/orientation", 9), HasSubstr("pages[0].orientation: not a whole number"));
    EXPECT_THAT(edited("/pages/0/page", 1e30), HasSubstr("pages[0].page: not a whole number"));
    EXPECT_THAT(edited("/pages/0/fate", "gone"),
                HasSubstr("pages[0].fate: not one of kept, unsure, empty, failed"));
    EXPECT_THAT(edited("/pages/0/turn", 2), HasSubstr("pages[0].turn: there is no such key"));
    EXPECT_THAT(edited("/pages/0/file", nullptr), HasSubstr("pages[0].file: not a text"));
    EXPECT_THAT(edited("/pages/0/file", std::string("a\0b", 3)),
                HasSubstr("pages[0].file: not the name of a file"));
    EXPECT_THAT(edited("/pages/1", 7), HasSubstr("pages[1]: not a JSON object"));
    json manyKeys;
    for (int key = 0; key <= 1000; ++key) {
        manyKeys[std::to_string(key)] = key;
    }
    EXPECT_THAT(edited("/settings", manyKeys), HasSubstr("an object of too many keys"));
    EXPECT_THAT(edited("/settings/format", "cakes"),
                HasSubstr("settings.format: there is no format \"cakes\""));
    EXPECT_THAT(edited("/settings/dpi", 0.5), HasSubstr("settings.dpi: "));
    EXPECT_THAT(edited("/dornimageCleanPlan", 2),
                HasSubstr("dornimageCleanPlan: not a whole number from 1 to 1"));
    EXPECT_THAT(applied("[]"), HasSubstr("plan.json: not a JSON object"));
    EXPECT_THAT(applied("{\"pages\": []}"), HasSubstr("not a plan"));
    EXPECT_THAT(applied(good.dump().substr(0, 200)), HasSubstr("line 1, column 201"));
    EXPECT_THAT(applied(std::string(100000, '[')), HasSubstr("nested too deeply"));
}

TEST_F(Clean, ReplacesNothingThatIsNotItsOwn) {
    const std::string page = in + "/scan1.jpg";
    const std::string before = contentOf(page);
    const std::string plan = scratch / "plan.json";
    const auto writePlan = [&](const std::string& entries) {
        std::ofstream(plan) << R"({"dornimageCleanPlan":1,"pages":[{"file":")" << page << '"' << entries
                            << "}]}";
    };
    writePlan(R"(,"skew":2.0)"); // it doesn't tell the format
    EXPECT_EQ(runTool({"apply", plan, "--out", in}).exitCode, 4);
    writePlan(R"(,"skew":2.0,"format":"BMP")");
    EXPECT_EQ(runTool({"apply", plan, "--out", in, "--force"}).exitCode, 4);
    writePlan(R"(,"skew":1e999)");
    EXPECT_EQ(runTool({"apply", plan, "--out", out}).exitCode, 3);
    EXPECT_EQ(contentOf(page), before);

    // Pages that wait for a book are looked after, too.
    const std::string waiting = scratch / ".book.tif.dornimage-clean";
    fs::create_directory(waiting);
    fs::copy_file(page, waiting + "/scan1.jpg");
    EXPECT_EQ(runTool({"clean", waiting + "/scan1.jpg", "--out", scratch / "book.tif"}).exitCode, 4);
    EXPECT_EQ(runTool({"clean", page, "--out", scratch / "book.tif"}).exitCode, 4);
    EXPECT_EQ(contentOf(waiting + "/scan1.jpg"), before);

    // An output that somebody has worked on since.
    ASSERT_EQ(runTool({"clean", page, "--out", out}).exitCode, 0);
    std::ofstream(out + "/scan1.jpg") << "edited";
    EXPECT_EQ(runTool({"clean", page, "--out", out, "--resume"}).exitCode, 4);
    EXPECT_EQ(contentOf(out + "/scan1.jpg"), "edited");

    // Links where outputs go: one to nowhere counts as a file that is there, and gives way.
    const std::string links = scratch / "links";
    fs::create_directory(links);
    fs::create_symlink(scratch / "nowhere", links + "/scan1.jpg");
    EXPECT_EQ(runTool({"clean", page, "--out", links}).exitCode, 4);
    EXPECT_FALSE(fs::exists(scratch / "nowhere"));
    EXPECT_EQ(runTool({"clean", page, "--out", links, "--force"}).exitCode, 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(links + "/scan1.jpg")));
    EXPECT_FALSE(fs::exists(scratch / "nowhere"));
    fs::remove(links + "/scan1.jpg");
    fs::create_symlink(page, links + "/scan1.jpg");
    EXPECT_EQ(runTool({"clean", page, "--out", links, "--force"}).exitCode, 4);
    EXPECT_EQ(contentOf(page), before);

    // A link to a foreign folder where the pages of a book wait.
    const std::string foreign = scratch / "foreign";
    fs::create_directory(foreign);
    std::ofstream(foreign + "/scan1.tif") << "kept";
    fs::create_directory_symlink(foreign, scratch / ".linked.tif.dornimage-clean");
    for (const char* const how : {"--force", "--resume"}) {
        EXPECT_EQ(runTool({"clean", page, "--out", scratch / "linked.tif", how}).exitCode, 4);
    }
    EXPECT_EQ(contentOf(foreign + "/scan1.tif"), "kept");
    EXPECT_THAT(namesIn(foreign), ElementsAre("scan1.tif"));

    // A link where the journal goes.
    const std::string other = scratch / "other";
    fs::create_directory(other);
    std::ofstream(scratch / "victim") << "kept";
    fs::create_symlink(scratch / "victim", other + "/.dornimage-clean.jsonl");
    EXPECT_EQ(runTool({"clean", page, "--out", other}).exitCode, 4);
    EXPECT_EQ(contentOf(scratch / "victim"), "kept");
}

TEST_F(Clean, HoldsToItsLimits) {
    const ToolRun large = runTool({"clean", in + "/scan2.tif", "--out", out, "--max-pixels", "100k"});
    EXPECT_EQ(large.exitCode, 5);
    EXPECT_THAT(large.err,
                HasSubstr("scan2.tif: 692 x 1029 pixels are more than --max-pixels allows, 100000"));
    EXPECT_EQ(runTool({"clean", in + "/scan2.tif", in + "/scan11.tif", "--out", out, "--max-pixels", "100k"})
                  .exitCode,
              2);
    EXPECT_THAT(namesIn(out), ElementsAre("scan11.tif"));

    const ToolRun dry = runTool({"clean", in, "--out", scratch / "other", "--dry-run"});
    EXPECT_THAT(dry.out, AllOf(HasSubstr("scan9.tif: empty (nothing stands out but grain and dust) -> "),
                               HasSubstr("scan2.tif: kept, off by -1.38 degrees -> ")));
    EXPECT_FALSE(fs::exists(scratch / "other"));
    EXPECT_EQ(runTool({"clean", in + "/none*", "--out", out}).exitCode, 3);
    std::ofstream(scratch / "list") << "\n";
    EXPECT_EQ(runTool({"clean", std::string("@").append(scratch / "list"), "--out", out}).exitCode, 3);
    EXPECT_THAT(runTool({"clean", dataFile("depths/palette_alpha.png"), "--out", scratch / "colour"}).err,
                HasSubstr("its transparency went with its palette"));
    EXPECT_EQ(runTool({"clean", in, "--out", out, "--max-pixels", "-1"}).exitCode, 1);
}

// Ended in the middle, a run leaves whole files and goes on to the same end.
TEST_F(Clean, GoesOnAfterAnInterruption) {
    fs::copy_file(dataFile("pages/note_skewed_1bit_g4.tif"), in + "/scan20.tif");
    fs::copy_file(dataFile("pages/note_skewed_1bit_g4.tif"), in + "/scan21.tif");
    fs::create_directory(scratch / "whole");
    fs::create_directory(scratch / "cut");
    for (const std::string name : {"/pages", "/book.tif"}) {
        SCOPED_TRACE(name);
        const std::string whole = scratch / "whole" + name;
        const std::string cut = scratch / "cut" + name;
        const std::string reports[] = {scratch / "reports" + name, scratch / "resumed" + name};
        const auto toReport = [&](const std::string& to, const std::string& report) {
            return std::vector<std::string>{"clean",        in,         "--out", to, "--no-empty",
                                            "--no-isolate", "--report", report};
        };
        EXPECT_EQ(runTool(toReport(whole, reports[0])).exitCode, 2);
        const std::string finished = name == "/pages" ? cut : scratch / "cut/.book.tif.dornimage-clean";
        const auto interrupt = [&](pid_t tool) {
            for (int wait = 0; wait < 20000 && !fs::exists(finished + "/scan2.tif"); ++wait) {
                usleep(500);
            }
            kill(tool, SIGTERM);
        };
        const ToolRun run =
            runTool({"clean", in, "--out", cut, "--no-empty", "--no-isolate", "--jobs", "1"}, 0, interrupt);
        EXPECT_EQ(run.exitCode, 130);
        EXPECT_THAT(run.err, HasSubstr("interrupted; what is finished stays, and --resume goes on\n"));
        EXPECT_THAT(namesIn(finished), testing::Contains("scan2.tif"));
        EXPECT_THAT(namesIn(finished), testing::Not(testing::Contains("scan21.tif")));
        EXPECT_THAT(namesIn(finished), testing::Each(testing::Not(HasSubstr(".dornimage-"))));
        EXPECT_FALSE(fs::is_regular_file(cut));

        const auto time = fs::last_write_time(finished + "/scan2.tif");
        if (name == "/pages") {
            EXPECT_EQ(runTool({"clean", in, "--out", cut}).exitCode, 4);
        }
        std::vector<std::string> resumed = toReport(cut, reports[1]);
        resumed.push_back("--resume");
        EXPECT_EQ(runTool(resumed).exitCode, 2);
        EXPECT_EQ(namesIn(reports[1] + "/report-pictures-1"), namesIn(reports[0] + "/report-pictures-1"));
        if (name == "/pages") {
            EXPECT_EQ(fs::last_write_time(finished + "/scan2.tif"), time) << "was made again";
        }
    }
    EXPECT_EQ(filesIn(scratch / "cut"), filesIn(scratch / "whole"));
}

// Killed or interrupted at any moment, a run leaves whole files, and the next one cleans up after it.
TEST_F(Clean, GoesOnAfterItWasKilled) {
    const std::string whole = scratch / "whole";
    EXPECT_EQ(runTool({"clean", in, "--out", whole, "--no-isolate"}).exitCode, 2);
    const auto files = filesIn(whole);
    unsigned ended = 0;
    int signal = SIGKILL;
    for (useconds_t wait = 20000; ended < 3 && wait < 60000000; wait += wait / 6) {
        SCOPED_TRACE(wait);
        const auto interrupt = [&](pid_t tool) {
            usleep(wait);
            kill(tool, signal);
        };
        const ToolRun run = runTool({"clean", in, "--out", out, "--no-isolate", "--force"}, 0, interrupt);
        ended = run.exitCode == 2 ? ended + 1 : 0;
        signal = signal == SIGKILL ? SIGINT : SIGKILL;
        if (!fs::exists(out)) {
            continue;
        }
        for (const auto& [name, content] : filesIn(out)) {
            const auto found = files.find(name);
            EXPECT_TRUE(name.find(".dornimage-") != std::string::npos ||
                        (found != files.end() && found->second == content))
                << name;
        }
        EXPECT_EQ(runTool({"clean", in, "--out", out, "--no-isolate", "--resume"}).exitCode, 2);
        EXPECT_TRUE(filesIn(out) == files);
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(out)) {
            EXPECT_FALSE(entry.is_directory() && entry.path().filename() != "empty") << entry.path();
        }
    }
    EXPECT_EQ(ended, 3U);

    // What only looks like a left-over stays.
    fs::create_directory(out + "/.dornimage-backup");
    std::ofstream(out + "/.dornimage-backup/letter.txt") << "kept";
    EXPECT_EQ(runTool({"clean", in, "--out", out, "--no-isolate", "--resume"}).exitCode, 2);
    EXPECT_EQ(contentOf(out + "/.dornimage-backup/letter.txt"), "kept");
}

TEST_F(Clean, EndsWhenTheDiskIsFull) {
    const ToolRun run = runTool({"clean", in + "/scan[129].*", "--out", out, "--jobs", "1"}, 20000);
    EXPECT_EQ(run.exitCode, 4);
    EXPECT_THAT(run.err, HasSubstr("out/scan1.jpg: "));
    EXPECT_THAT(namesIn(out), ElementsAre());
}
