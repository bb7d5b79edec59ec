#ifndef DORNIMAGE_TOOLS_DORNIMAGE_OUTPUTFILE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_OUTPUTFILE_H

#include <filesystem>
#include <string>

/// A file that appears under its name when it is whole, or not at all. It is written in a private folder of
/// an unguessable name beside the target, where codecs may also put files of their own, and then renamed; the
/// folder goes with this object. Until `commit` a file that bears the name already stays as it is.
class OutputFile {
public:
    /// Throws ToolError (ExitCode::output) when no file can be made at `target`. A link is followed.
    explicit OutputFile(std::string target);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Where to write. The file does not exist yet.
    std::string path() const { return (folder_ / "output").string(); }
    /// A second name there, for what does not become the output.
    std::string scratchPath() const { return (folder_ / "scratch").string(); }

    /// Brings what was written at `path` to the disk and to its name, with the permissions of the file that
    /// it replaces. Throws ToolError (ExitCode::output); then the target is as it was.
    void commit();

private:
    [[noreturn]] void fail(const std::string& cause) const;

    std::string name_; // as the user gave it, for messages
    std::filesystem::path target_;
    std::filesystem::path folder_;
};

/// Makes a copy of a file, by way of an OutputFile. Throws ToolError (ExitCode::input or output).
void copyFile(const std::string& from, const std::string& to);

#endif
