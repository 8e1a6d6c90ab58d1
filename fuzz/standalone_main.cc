// Runs a fuzz target over given files: the regression run of a corpus with any compiler, where libFuzzer is not linked.
//
//     fuzz_NAME FILE-OR-FOLDER...
//
// Fails when it was given nothing to run, so that a missing corpus is noticed.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void RunFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    // A heap block of exactly this size, so that the sanitizers detect a read past its end.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

std::size_t RunAll(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) {
        RunFile(path);
        return 1;
    }
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            RunFile(entry.path());
            ++count;
        }
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::size_t count = 0;
        for (int i = 1; i < argc; ++i) {
            count += RunAll(argv[i]);
        }
        std::printf("%zu inputs run\n", count);
        return count == 0 ? 1 : 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
