// Drives a fuzz target without libFuzzer: hands it every file of the folders and files named.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

bool replay(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad()) {
        fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    printf("%s\n", path.c_str());
    fflush(stdout); // the last line names the culprit when the target ends the process
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

std::vector<fs::path> filesOf(const fs::path& path)
{
    if (!fs::is_directory(path))
        return {path};
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    size_t count = 0;
    for (int i = 1; i < argc; ++i)
        for (const fs::path& path : filesOf(argv[i])) {
            if (!replay(path))
                return 1;
            ++count;
        }
    printf("%zu inputs\n", count);
    return count == 0; // an empty corpus tests nothing
}
