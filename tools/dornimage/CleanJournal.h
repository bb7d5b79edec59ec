#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANJOURNAL_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANJOURNAL_H

#include "CleanRecord.h"
#include "CleanSettings.h"

#include <nlohmann/json.hpp>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// What runs have finished: a hidden file beside their outputs, by which a later run goes on where one
/// stopped. It has a line of JSON for each page, which is written when the page's output is whole and just
/// before it gets its name; a line that was cut off counts as none.
class CleanJournal {
public:
    static constexpr char name[] = ".dornimage-clean.jsonl";

    /// @param folder of the outputs; it need not be there yet.
    CleanJournal(const std::string& folder, const CleanSettings& settings);

    const std::string& path() const { return path_; }

    /// Reads what is there. What can't be read is as if it weren't there.
    void read();

    /// What is to be done to a page: its file as it is now, and what a plan says about it.
    /// @param planned the record is part of a plan, and not yet to be made.
    static nlohmann::ordered_json taskOf(const PageRecord& record, bool planned);

    /// Whether this task was done with these settings, under this stem, and its output is as it was then. The
    /// record then becomes what it was at the end.
    bool restore(PageRecord& record, const std::string& stem, const nlohmann::ordered_json& task) const;

    /// Whether the file is what the journal tells was made of this page, and as it was then.
    bool isOurs(const std::string& path, const PageRecord& record) const;

    /// Adds a page that is finished. Any thread may call it. Throws ToolError (ExitCode::output).
    /// @param file where its output is now.
    void add(const PageRecord& record, const std::string& file, const std::string& stem,
             const nlohmann::ordered_json& task);

private:
    // A page that is finished.
    struct Entry {
        nlohmann::ordered_json json;
        bool hasOurSettings;
    };

    // `ours`: whether the lines from here on have our settings; none for those that can't be read.
    void take(const std::string& line, std::optional<bool>& ours);
    void append(const std::string& text);

    std::string path_;
    nlohmann::ordered_json settings_;
    std::map<std::string, std::vector<Entry>> done_; // by stem
    std::mutex mutex_;
    bool begun_ = false; // this run has written something
};

#endif
