#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "Hold.h"
#include "Inspect.h"
#include "Progress.h"
#include "Signals.h"
#include "Stores.h"
#include "Survive.h"

namespace {

// Where a standard descriptor is closed, the next file to be opened would take its number, and messages would be
// written into that file. What is put in its place fails when used.
void OccupyStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) != -1) continue;
        (void)::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

// The arguments in the order that CLI11 wants, the last one first. It would take a name in brackets for a list, and a
// "--" for the end of the subcommand: what stands behind that is spelled as a path.
std::vector<std::string> Arguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    bool arePaths = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--" && !arePaths) {
            arePaths = true;
            continue;
        }
        const bool isToBePath = argument.starts_with('[') || (arePaths && !argument.starts_with('/'));
        arguments.push_back(isToBePath ? "./" + argument : argument);
    }
    std::ranges::reverse(arguments);
    return arguments;
}

// CLI11 would wrap these around, and take a leading zero for octal. 18 digits and a unit are more than any machine
// holds.
std::string RefuseWrapping(const std::string& size) {
    const std::size_t digits = std::min(size.size(), size.find_first_not_of("0123456789"));
    const bool isOctal = digits > 1 && size.starts_with('0');
    return digits == 0 || digits > 18 || isOctal ? "a size has 1 to 18 digits, no 0 ahead, and perhaps a unit" : "";
}

void AddHold(CLI::App& program, KxStore::HoldOptions& options) {
    CLI::App* const hold = program.add_subcommand(
        "hold", "Hold files as blocks of the stores, compare them with their sources, free them and report");
    hold->add_option("PATH", options.paths, "Files, and folders with all files below them")->required();
    hold->add_flag("--join", options.isJoined, "Hold all files as one block");
    hold->add_flag("--json", options.isJson, "Report in JSON");
    hold->add_option("--folder", options.folder,
                     "Where the stores' own folder is made (default: the system's temporary folder)");
    hold->add_option("--at-once", options.atOnce, "Hold no more than this at one time (default: 4 GiB)")
        ->transform(CLI::AsSizeValue(false))
        ->transform(CLI::Validator(RefuseWrapping, "SIZE"));  // comes first
}

CLI::App* AddInspect(CLI::App& program, KxStore::InspectOptions& options) {
    CLI::App* const inspect = program.add_subcommand(
        "inspect",
        "Tell what the container of an object stream or the header file of a block store holds, and at which "
        "offsets it is damaged. A header's backing files are looked for beside it. Blocks of shared objects "
        "that were held in memory, as is usual, never reach a file and end with their process: that file is "
        "reported as missing");
    inspect->add_option("FILE", options.path, "The container or header file")->required();
    inspect->add_option("--kind", options.kind, "What FILE is (default: a header if its name ends in .mmfheader)")
        ->check(CLI::IsMember({KxStore::kContainerKind, KxStore::kHeaderKind}));
    inspect->add_flag("--json", options.isJson, "Report in JSON");
    return inspect;
}

CLI::App* AddSurvive(CLI::App& program, KxStore::SurviveOptions& options) {
    CLI::App* const survive = program.add_subcommand(
        "survive",
        "Kill a process that writes to the blocks of a private store, and compare every byte in another one");
    survive->add_option("--blocks", options.blocks, "How many blocks (default: 4)")
        ->check(CLI::Range(1U, KxStore::kMostSurvivors));
    survive->add_option("--size", options.blockSize, "Of each block, more than 64 MiB (default: 96 MiB)")
        ->transform(CLI::AsSizeValue(false))
        ->transform(CLI::Validator(RefuseWrapping, "SIZE"))  // comes first
        ->check(CLI::Range(KxStore::kLargestSharedBlock + 1, KxStore::kLargestBlock));
    survive->add_flag("--json", options.isJson, "Report in JSON");
    survive->add_option("--folder", options.folder,
                        "Where the store's own folder is made (default: the system's temporary folder)");
    return survive;
}

int ExitFor(const CLI::App& program, const CLI::ParseError& error) {
    const int status = program.exit(error);
    std::cout.flush();
    return std::cout ? status : 1;
}

int Run(int argc, char** argv, KxStore::CProgress& progress) {
    CLI::App program("Puts the block stores to work on real files, and looks into the files of streams and stores",
                     "kxstore");
    program.require_subcommand(1);
    KxStore::HoldOptions holdOptions;
    AddHold(program, holdOptions);
    KxStore::InspectOptions inspectOptions;
    const CLI::App* const inspect = AddInspect(program, inspectOptions);
    KxStore::SurviveOptions surviveOptions;
    const CLI::App* const survive = AddSurvive(program, surviveOptions);
    try {
        program.parse(Arguments(argc, argv));
    } catch (const CLI::ParseError& error) {
        return ExitFor(program, error);
    }
    if (*inspect) return KxStore::Inspect(inspectOptions);
    if (*survive) return KxStore::Survive(surviveOptions, progress);
    return KxStore::Hold(holdOptions, progress);
}

}  // namespace

int main(int argc, char** argv) {
    OccupyStandardDescriptors();
    std::setlocale(LC_ALL, "");  // paths are converted in it on machines that lack the library's own
    KxStore::CProgress progress;
    try {
        KxStore::PointStoresNowhere();
        KxStore::InstallSignalHandlers();
        return Run(argc, argv, progress);
    } catch (const KxStore::Stopped& stopped) {
        progress.Message(fmt::format("stopped by signal {}", stopped.number));
        return 128 + stopped.number;
    } catch (const std::exception& error) {
        progress.Message(error.what());
        return 1;
    }
}
