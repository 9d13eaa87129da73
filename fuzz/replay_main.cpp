// Replays fuzz inputs without libFuzzer: every file named on the command line, or
// found in a directory named there, goes once through LLVMFuzzerTestOneInput. The
// test suites use it to run the seed corpora (and the inputs of past failures)
// with any compiler, under the sanitizers of the build.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool RunFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int runs = 0;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        if (std::filesystem::is_directory(arg)) {
            std::vector<std::filesystem::path> files;
            for (const auto& entry : std::filesystem::directory_iterator(arg)) {
                if (entry.is_regular_file()) files.push_back(entry.path());
            }
            for (const auto& file : files) {
                ok = RunFile(file) && ok;
                ++runs;
            }
        } else {
            ok = RunFile(arg) && ok;
            ++runs;
        }
    }
    std::printf("replayed %d inputs\n", runs);
    return ok && runs > 0 ? 0 : 1;
}
