#ifndef DORNIMAGE_TOOLS_DORNIMAGE_OPTIONTABLE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_OPTIONTABLE_H

#include <CLI/CLI.hpp>

#include <ostream>
#include <string>
#include <vector>

/// One option, flag or positional argument as the command line knows it.
struct OptionRow {
    std::vector<std::string> names; ///< with their dashes; empty for a positional argument
    std::string value;              ///< what stands for its value in texts, such as "FILE"; empty for a flag
    std::vector<std::string> choices; ///< all values that it takes, if they can be listed
    std::string description;
    std::string note;   ///< of the group that it belongs to, such as "One of these has to be given"
    std::string preset; ///< the value without the option, if it is known
    bool required = false;
    bool repeats = false; ///< takes any number of values

    /// What its values are is told by the text that stands for them.
    bool takesFile() const;
    bool takesFolder() const;
};

struct VerbRow {
    std::string name;
    std::string description;
    std::vector<OptionRow> options;
    std::vector<OptionRow> arguments; ///< the positional ones, in order
};

/// All that the command line can say. The man page and the completions are written from this.
struct OptionTable {
    std::string name;
    std::string description;
    std::string footer;
    std::string version;
    std::vector<OptionRow> options;
    std::vector<VerbRow> verbs;
};

/// Hidden verbs and options are left out.
OptionTable optionTableOf(const CLI::App& app);

void writeManPage(const OptionTable& table, std::ostream& out);
void writeBashCompletion(const OptionTable& table, std::ostream& out);
void writeZshCompletion(const OptionTable& table, std::ostream& out);

#endif
