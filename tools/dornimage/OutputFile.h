#ifndef DORNIMAGE_TOOLS_DORNIMAGE_OUTPUTFILE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_OUTPUTFILE_H

#include <filesystem>
#include <functional>
#include <string>

/// A file that appears under its name when it is whole, or not at all. It is written in a private folder of
/// an unguessable name beside the target, where codecs may also put files of their own, and then renamed; the
/// folder goes with this object. Until `commit` a file that bears the name already stays as it is.
class OutputFile {
public:
    /// Throws ToolError (ExitCode::output) when no file can be made at `target`. A link to a file is
    /// followed, one that leads nowhere gives way.
    explicit OutputFile(std::string target);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Where to write. The file does not exist yet.
    std::string path() const;
    /// A second name there, for what does not become the output.
    std::string scratchPath() const;

    /// Told where a file is that is whole but doesn't bear its name yet. What it throws ends the commit.
    using Whole = std::function<void(const std::string& file)>;

    /// Brings what was written at `path` to the disk and to its name, with the permissions of the file that
    /// it replaces. Throws ToolError (ExitCode::output); then the target is as it was.
    void commit(const Whole& whole = {});

    /// Takes away what processes that were killed have left in a folder.
    static void discardAbandoned(const std::filesystem::path& folder);

private:
    void release();
    [[noreturn]] void fail(const std::string& cause) const;

    std::string name_; // as the user gave it, for messages
    std::filesystem::path target_;
    std::string folder_; // not a path: it goes away in a destructor, when memory may be short
    int lock_ = -1;      // while this process has it, the folder isn't abandoned
};

/// Makes a copy of a file, by way of an OutputFile. Throws ToolError (ExitCode::input or output).
void copyFile(const std::string& from, const std::string& to, const OutputFile::Whole& whole = {});

#endif
