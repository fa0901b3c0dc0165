#include "Survive.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>

#include "Child.h"
#include "Output.h"
#include "PrivateFolder.h"
#include "SurviveReport.h"
#include "SurviveStore.h"

namespace KxStore {
namespace {

namespace fs = std::filesystem;

class CTimer {
public:
    double Seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); }

private:
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

class CSurvival {
public:
    CSurvival(const SurviveJob& job, CProgress& progress) : job(job), progress(progress) {}

    // Has the first process write over half of the blocks, and kills it.
    void Write();
    // Has the second one compare and free. False, with the message told: it could not, or something was not right.
    bool Compare();

    SurviveReport report;

private:
    std::uint64_t HearWriter(CChild& writer);
    void HearPieces(CChild& writer, std::uint64_t count);
    bool HearReader(const CChild& reader);

    const SurviveJob& job;
    CProgress& progress;
    Survivors survivors;
};

void CSurvival::Write() {
    const CTimer timer;
    CChild writer([this](const CTeller& teller) { WriteUntilKilled(job, teller); }, progress);
    HearPieces(writer, job.PieceCount());
    for (unsigned int block = 0; block <= job.blocks; ++block) {
        survivors.handles.push_back(static_cast<unsigned int>(HearWriter(writer)));
    }
    survivors.begun = job.PieceToKillAt();
    HearPieces(writer, survivors.begun + 1);
    writer.Kill();
    for (std::uint64_t index = 0; writer.Hear(index);) ++survivors.begun;

    const int status = writer.Wait();
    report.secondsWriting = timer.Seconds();
    report.rewritten = job.BytesBefore(survivors.begun);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) return;
    throw std::runtime_error(fmt::format("the writing process ended on its own, by {}", EndOf(status)));
}

bool CSurvival::Compare() {
    const CTimer timer;
    CChild reader([this](const CTeller& teller) { CompareAndFree(job, survivors, teller); }, progress);
    const bool isComplete = HearReader(reader);
    const int status = reader.Wait();
    report.secondsComparing = timer.Seconds();
    if (!WIFEXITED(status)) progress.Message(fmt::format("the comparing process was ended by {}", EndOf(status)));
    return isComplete && status == 0;
}

std::uint64_t CSurvival::HearWriter(CChild& writer) {
    std::uint64_t word = 0;
    if (writer.Hear(word)) return word;
    throw std::runtime_error(fmt::format("the writing process ended on its own, by {}", EndOf(writer.Wait())));
}

void CSurvival::HearPieces(CChild& writer, std::uint64_t count) {
    for (; count > 0; --count) progress.Advance(job.PieceAt(HearWriter(writer)).size);
}

bool CSurvival::HearReader(const CChild& reader) {
    std::uint64_t word = 0;
    for (std::uint64_t index = 0; index < job.PieceCount(); ++index) {
        if (!reader.Hear(word)) return false;
        const std::size_t size = job.PieceAt(index).size;
        report.compared += size;
        report.isTorn |= Found{word} == Found::kTorn;
        progress.Advance(size);
    }
    if (!reader.Hear(word)) return false;
    report.isSmallKept = Small{word} == Small::kKept;
    return !reader.Hear(word);
}

std::uint64_t HeaderSize(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".mmfheader") return entry.file_size();
    }
    throw std::runtime_error("the writing process has left no header file");
}

// The folder itself may have gone, too.
std::size_t CountFiles(const fs::path& folder) {
    if (!fs::exists(folder)) return 0;
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

}  // namespace

int Survive(const SurviveOptions& options, CProgress& progress) {
    CPrivateFolder folder(options.folder);
    const std::uint64_t bytes = options.blocks * options.blockSize;
    folder.RequireRoom(bytes);

    const fs::path storeFolder = fs::path(folder.Path()) / "store";
    const SurviveJob job{folder.WidePath() + L"/store/", options.blocks, options.blockSize};
    CSurvival survival(job, progress);
    progress.Start(2 * bytes + job.BytesBefore(job.PieceToKillAt() + 1));
    SurviveReport& report = survival.report;
    report.blocks = options.blocks;
    report.blockSize = options.blockSize;
    survival.Write();
    report.headerSize = HeaderSize(storeFolder);
    report.isVerified = survival.Compare();
    report.filesLeft = CountFiles(storeFolder);
    progress.Erase();
    folder.Remove();

    Print(options.isJson ? ToJson(report) : ToText(report));
    return report.isVerified && report.filesLeft == 0 ? 0 : 1;
}

}  // namespace KxStore
