#ifndef DORNIMAGE_TESTS_SCRATCHDIRECTORY_H
#define DORNIMAGE_TESTS_SCRATCHDIRECTORY_H

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

#include <stdlib.h>

namespace dorntest {

/* A new directory for one test, gone at its end. */
class ScratchDirectory {
public:
    explicit ScratchDirectory(const std::filesystem::path& place = std::filesystem::temp_directory_path()) {
        std::string name = (place / "dorn-test-XXXXXX").string();
        if (!::mkdtemp(name.data())) {
            throw std::runtime_error("no scratch directory in " + place.string());
        }
        path_ = name;
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

inline void writeFile(const std::filesystem::path& name, const std::string& content) {
    std::ofstream(name, std::ios::binary) << content;
}

inline std::string readFile(const std::filesystem::path& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::ptrdiff_t entryCount(const std::filesystem::path& directory) {
    return std::distance(std::filesystem::directory_iterator(directory),
                         std::filesystem::directory_iterator());
}

} // namespace dorntest

#endif
