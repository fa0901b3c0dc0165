// Feeds a fuzz target with the files of the given folders, once each: the committed inputs as an ordinary test, with
// any compiler. Fails if there is none.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/Target.h"

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::printf("%s\n", entry.path().c_str());
            (void)std::fflush(stdout);  // the name of the input that ends the program is to be seen
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++replayed;
        }
    }
    return replayed > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
