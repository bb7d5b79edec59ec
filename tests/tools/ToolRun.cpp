#include "ToolRun.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

void redirect(const std::string& file, int descriptor) {
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (opened < 0 || dup2(opened, descriptor) < 0) {
        _exit(120);
    }
}

[[noreturn]] void becomeTool(std::vector<char*>& arguments, long fileSizeLimit) {
    if (fileSizeLimit > 0) {
        const auto bytes = static_cast<rlim_t>(fileSizeLimit);
        const rlimit limit{bytes, bytes};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limit);
        // FreeImage's JPEG writer leaks when a write fails, which is not what such a run is about.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    }
    execv(arguments[0], arguments.data());
    _exit(121);
}

} // namespace

ToolRun runTool(const std::vector<std::string>& arguments, long fileSizeLimit,
                const std::function<void(pid_t)>& meanwhile) {
    const ScratchFolder scratch;
    std::vector<std::string> all = {DORN_TOOL};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& argument : all) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const std::string out = scratch / "out";
    const std::string err = scratch / "err";
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        redirect(out, STDOUT_FILENO);
        redirect(err, STDERR_FILENO);
        becomeTool(pointers, fileSizeLimit);
    }
    if (meanwhile) {
        meanwhile(child);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ToolRun run;
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.out = contentOf(out);
    run.err = contentOf(err);
    return run;
}

std::string dataFile(const std::string& name) {
    return std::string(DORN_TEST_DATA) + "/" + name;
}

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

ScratchFolder::ScratchFolder() {
    std::string pattern = (fs::temp_directory_path() / "dornimage-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::vector<std::string> ScratchFolder::names() const {
    std::vector<std::string> result;
    for (const fs::directory_entry& entry : fs::directory_iterator(path_)) {
        result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
}
