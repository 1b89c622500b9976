// Runs a fuzz target over saved inputs: every file named on the command line, and every file in the folders named
// there. Ends with 1 when nothing was found to run, so that a lost corpus is noticed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputs(int count, char** names) {
    std::vector<fs::path> found;
    for (int i = 1; i < count; ++i) {
        if (!fs::is_directory(names[i])) {
            found.emplace_back(names[i]);
            continue;
        }
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(names[i])) {
            if (entry.is_regular_file()) found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

int main(int count, char** names) {
    int replayed = 0;
    for (const fs::path& path : inputs(count, names)) {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        if (!file) return 1;
        const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        // A block of exactly the input's size: a read past its end is then a fault that sanitizers see.
        const auto block = std::make_unique<std::uint8_t[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), block.get());
        LLVMFuzzerTestOneInput(block.get(), bytes.size());
        ++replayed;
    }
    std::fprintf(stderr, "%d inputs replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
}
