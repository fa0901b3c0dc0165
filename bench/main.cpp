// kxmmf-bench [--quick] [--strict] [flags of Google Benchmark]
//
// Times the library against its peers and prints their ratios. Fails if a benchmark could not be run; a ratio that
// was missed, which a busy machine may have caused, fails it only with --strict. --quick shows that everything
// runs, and measures badly.

#include <openssl/crypto.h>
#include <sys/utsname.h>

#include <boost/version.hpp>
#include <cereal/version.hpp>
#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "Workload.h"
#include "mmf/Mmf.h"
#include "string/Encoding.h"

namespace {

constexpr std::uint64_t kSequentialSize = 0x40000000;
constexpr std::uint64_t kQuickSequentialSize = 0x8000000;  // more than 64 MiB, or it would be no file

bool Take(std::vector<std::string>& flags, const std::string& flag) {
    return std::erase(flags, flag) != 0;
}

// Our defaults go in front of what was given: of two the later one holds.
// NOLINTNEXTLINE(readability-non-const-parameter): it goes among the arguments, which are not const
void InitializeBenchmark(char* program, const std::vector<std::string>& given, bool isQuick) {
    std::vector<std::string> flags = {"--benchmark_enable_random_interleaving=true",
                                      isQuick ? "--benchmark_repetitions=1" : "--benchmark_repetitions=25",
                                      isQuick ? "--benchmark_min_time=0.01" : "--benchmark_min_time=0.05"};
    flags.insert(flags.end(), given.begin(), given.end());
    std::vector<char*> arguments = {program};
    for (std::string& flag : flags) arguments.push_back(flag.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) std::exit(EXIT_FAILURE);
}

// A table of ratios means little without what was compared, and where.
void NameThePeers() {
    utsname system{};
    Require(::uname(&system) == 0, "the system does not tell its name");
    benchmark::AddCustomContext("system", std::string(system.sysname) + " " + system.release);
    benchmark::AddCustomContext("compiler", __VERSION__);
    benchmark::AddCustomContext("Boost", BOOST_LIB_VERSION);
    benchmark::AddCustomContext("cereal", std::to_string(CEREAL_VERSION_MAJOR) + "." +
                                              std::to_string(CEREAL_VERSION_MINOR) + "." +
                                              std::to_string(CEREAL_VERSION_PATCH));
    benchmark::AddCustomContext("OpenSSL", OpenSSL_version(OPENSSL_VERSION));
}

// The locale that the build has compiled. Ours convert paths under it, and the peers switch to it.
void FindLocale() {
    ::setenv("LOCPATH", KXMMF_LOCALE_FOLDER, 1);
    Require(std::setlocale(LC_ALL, KX::kTextLocale) != nullptr, "no locale zh_TW.UTF-8 in " KXMMF_LOCALE_FOLDER);
    std::setlocale(LC_ALL, "C");
}

void MoveStoresToWorkFolder() {
    for (int store = 0; store < 4; ++store) {
        UseStoreFolder(store, StoreFolder("store" + std::to_string(store)));
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> flags(argv + 1, argv + argc);
    const bool isQuick = Take(flags, "--quick");
    const bool isStrict = Take(flags, "--strict");
    InitializeBenchmark(argv[0], flags, isQuick);
    NameThePeers();
    FindLocale();
    MoveStoresToWorkFolder();

    RegisterMapBench();
    RegisterAllocBench();
    RegisterSequentialBench(isQuick ? kQuickSequentialSize : kSequentialSize);
    RegisterEncodingBench();
    RegisterMd5Bench();
    RegisterFileIoBench();
    RegisterBlockIoBench(isQuick ? kQuickSequentialSize : kSequentialSize);
    RegisterHeaderBench(isQuick);
    RegisterContainerBench(isQuick);
    return RunAndCompare(isStrict) ? EXIT_SUCCESS : EXIT_FAILURE;
}
