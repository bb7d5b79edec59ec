#include "ToolRun.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

namespace {

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    std::array<char, 4096> block{};
    while (const std::size_t size = std::fread(block.data(), 1, block.size(), pipe.get())) {
        text.append(block.data(), size);
    }
    return text;
}

std::string described(const std::string& form) {
    const ToolRun run = runTool({"describe", form});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.out;
}

std::set<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// What bash offers for the last of the words, which may be empty.
class Bash {
public:
    Bash() { std::ofstream(script_) << described("bash"); }

    std::set<std::string> offers(const std::string& line) const {
        return words(outputOf(
            "cd '" + dataFile("depths") + "' && bash -c 'source " + script_ + "; COMP_WORDS=(dornimage " +
            line + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _dornimage; echo \"${COMPREPLY[@]}\"'"));
    }

private:
    ScratchFolder scratch_;
    std::string script_ = scratch_ / "completion";
};

} // namespace

TEST(Describe, HasEveryVerbAndOptionOfTheHelpTexts) {
    const std::string man = std::regex_replace(described("man"), std::regex("\\\\-"), "-");
    const std::string zsh = described("zsh");
    const Bash bash;
    const std::string help = runTool({"--help"}).out;
    int verbs = 0;
    for (std::istringstream lines(help.substr(help.find("Subcommands:"))); !lines.eof();) {
        std::string line;
        std::getline(lines, line);
        std::smatch verb;
        if (!std::regex_search(line, verb, std::regex("^  ([a-z]+) "))) {
            continue;
        }
        ++verbs;
        EXPECT_NE(man.find(".SS " + verb.str(1) + "\n"), std::string::npos) << verb[1];
        const std::string ofZsh = zsh.substr(zsh.find(std::string(8, ' ') + verb.str(1) + ") _arguments"));
        std::set<std::string> options = {"-h"};
        const std::string text = runTool({verb.str(1), "--help"}).out;
        const std::regex option("\n +(?:-[a-z],)?(--[a-z-]+)");
        for (std::sregex_iterator at(text.begin(), text.end(), option); at != std::sregex_iterator(); ++at) {
            const std::string name = at->str(1);
            options.insert(name);
            EXPECT_NE(man.find(std::string("\\fB").append(name).append("\\fR")), std::string::npos)
                << verb[1] << name;
            EXPECT_LT(ofZsh.find(std::string("'").append(name).append("[")), ofZsh.find(";;"))
                << verb[1] << name;
        }
        EXPECT_EQ(bash.offers(verb.str(1) + " -"), options) << verb[1];
    }
    EXPECT_GE(verbs, 9);
}

TEST(Describe, BashOffersWhatFits) {
    const Bash bash;
    EXPECT_EQ(bash.offers("con"), (std::set<std::string>{"convert"}));
    EXPECT_EQ(bash.offers("convert --to \"\""), (std::set<std::string>{"8", "24", "grey"}));
    EXPECT_EQ(bash.offers("convert --format ti"), (std::set<std::string>{"tiff"}));
    EXPECT_EQ(bash.offers("convert --page \"\""), std::set<std::string>{});
    EXPECT_EQ(bash.offers("info palette8."), (std::set<std::string>{"palette8.png"}));
    EXPECT_EQ(bash.offers("cpu pal"), std::set<std::string>{});
}

TEST(Describe, ShellsAndTheFormatterOfManPagesReadIt) {
    const ScratchFolder scratch;
    const std::array<std::array<std::string, 3>, 2> table = {
        {{"zsh", "zsh", "zsh -n"}, {"man", "groff", "groff -man -ww -Tutf8 -z"}}};
    for (const auto& [form, program, check] : table) {
        if (outputOf("command -v " + program).empty()) {
            GTEST_LOG_(INFO) << program << " is not here: its form is not read";
            continue;
        }
        std::ofstream(scratch / form) << described(form);
        EXPECT_EQ(outputOf(check + " '" + (scratch / form) + "' 2>&1 || echo failed"), "");
    }
}

TEST(Describe, VersionTellsBuildAndVariants) {
    const std::string version = runTool({"--version"}).out;
    const nlohmann::json cpu = runTool({"cpu", "--json"}).json();
    for (const auto& variant : cpu["variants"]) {
        if (variant["chosen"]) {
            EXPECT_NE(version.find(variant["name"].get<std::string>() + ") chosen"), std::string::npos)
                << version;
        }
    }
    EXPECT_TRUE(std::regex_search(version, std::regex("\nbuild: [^\n]*(shared|static) library\n")))
        << version;
}
