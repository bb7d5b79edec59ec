// Two image lists beside their models, under the operations that the bytes choose. A difference is thrown and
// ends the process, as do files that are left behind.

#include "fuzz/Bytes.h"
#include "tests/ImageProcessing/DornImage/ListModel.h"
#include "tests/ScratchDirectory.h"

namespace {

// In memory where that is possible: each input makes dozens of files.
const char* place() {
    return std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const dorntest::ScratchDirectory folder(place());
    const std::string temporary = (folder / "tmp").string();
    require(std::filesystem::create_directory(temporary));
    setenv("TMPDIR", temporary.c_str(), 1);
    {
        Bytes bytes(data, size);
        ListScript script(folder.path(), [&](unsigned end) { return bytes.below(end); });
        for (int count = 0; count < 30 && !bytes.empty(); ++count) {
            script.step();
        }
        script.compare();
    }
    unsetenv("TMPDIR");
    require(std::filesystem::is_empty(temporary));
    return 0;
}
