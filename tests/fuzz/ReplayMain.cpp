// Drives a fuzz target without libFuzzer: hands it every file of the folder named.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fs = std::filesystem;

int main(int argc, char** argv)
{
    if (argc != 2)
        return 1;
    std::vector<fs::path> files(fs::directory_iterator(argv[1]), fs::directory_iterator{});
    std::sort(files.begin(), files.end());
    for (const fs::path& path : files) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
        printf("%s\n", path.c_str());
        fflush(stdout); // the last line names the culprit when the target ends the process
        if (file.bad() || !file.is_open())
            return 1;
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    printf("%zu inputs\n", files.size());
    return files.empty(); // an empty corpus tests nothing
}
