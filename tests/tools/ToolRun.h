#ifndef DORNIMAGE_TESTS_TOOLS_TOOLRUN_H
#define DORNIMAGE_TESTS_TOOLS_TOOLRUN_H

#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// What one run of the tool gave.
struct ToolRun {
    int exitCode = -1; // 128 and the signal's number when a signal ended it
    std::string out;
    std::string err;

    nlohmann::json json() const { return nlohmann::json::parse(out); }
};

/// Runs the tool that this build made. A limit above 0 is the size in bytes at which writing a file fails.
/// `meanwhile` is called with its process while it runs.
ToolRun runTool(const std::vector<std::string>& arguments, long fileSizeLimit = 0,
                const std::function<void(pid_t)>& meanwhile = {});

/// A file of tests/data.
std::string dataFile(const std::string& name);

std::string contentOf(const std::filesystem::path& file);

/// A folder of its own that goes with the object.
class ScratchFolder {
public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    std::string operator/(const std::string& name) const { return (path_ / name).string(); }
    /// Names of all that is in it, hidden files included, sorted.
    std::vector<std::string> names() const;

private:
    std::filesystem::path path_;
};

#endif
