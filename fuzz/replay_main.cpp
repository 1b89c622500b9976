// Runs a fuzz target over saved inputs: every file named on the command line, and every file in the folders named
// there. Ends with 1 when nothing was found to run, so that a lost corpus is noticed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** names) {
    std::vector<std::filesystem::path> found;
    for (int i = 1; i < count; ++i) {
        if (!std::filesystem::is_directory(names[i])) {
            found.emplace_back(names[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(names[i])) found.push_back(entry.path());
    }
    for (const std::filesystem::path& path : found) {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        if (!file) return 1;
        const std::vector<char> read{std::istreambuf_iterator<char>(file), {}};
        // A block of exactly the input's size: a read past its end is then a fault that sanitizers see.
        const auto block = std::make_unique<std::uint8_t[]>(read.size());
        std::copy(read.begin(), read.end(), block.get());
        LLVMFuzzerTestOneInput(block.get(), read.size());
    }
    std::fprintf(stderr, "%zu inputs replayed\n", found.size());
    return found.empty() ? 1 : 0;
}
