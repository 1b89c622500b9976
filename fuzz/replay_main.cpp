// Runs a fuzz target over saved inputs: every file named on the command line, and every file in the folders named
// there. Ends with 1 when nothing was found to run, so that a lost corpus is noticed.
#include <cstdint>
#include <cstdio>
#include <filesystem>

#include "tests/testing/host.h"
#include "tests/testing/texts.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** names) {
    int replayed = 0;
    const auto replay = [&](const std::filesystem::path& path) {
        std::fprintf(stderr, "%s\n", path.c_str());
        const std::string bytes = testing_kit::file_bytes(path);
        const auto block = testing_kit::exact_copy(bytes);
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(block.get()), bytes.size());
        ++replayed;
    };
    for (int i = 1; i < count; ++i) {
        if (std::filesystem::is_regular_file(names[i])) {
            replay(names[i]);
        } else {
            for (const auto& entry : std::filesystem::directory_iterator(names[i])) replay(entry.path());
        }
    }
    std::fprintf(stderr, "%d inputs replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
}
