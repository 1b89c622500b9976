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
    for (int i = 1; i < count; ++i) {
        using std::filesystem::directory_iterator;
        std::vector<std::filesystem::path> inputs = {names[i]};
        if (!is_regular_file(inputs[0])) inputs.assign(directory_iterator(names[i]), directory_iterator());
        for (const std::filesystem::path& input : inputs) {
            std::fprintf(stderr, "%s\n", input.c_str());
            const std::string bytes = testing_kit::file_bytes(input);
            const auto block = testing_kit::exact_copy(bytes);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(block.get()), bytes.size());
            ++replayed;
        }
    }
    std::fprintf(stderr, "%d inputs replayed\n", replayed);
    return replayed == 0 ? 1 : 0;
}
