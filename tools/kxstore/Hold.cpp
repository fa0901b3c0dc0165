#include "Hold.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>

#include "HoldReport.h"
#include "Output.h"
#include "SourceFiles.h"
#include "Stores.h"
#include "mmf/Mmf.h"
#include "mmf/SmartMap.h"

namespace KxStore {
namespace {

constexpr std::size_t kPiece = 0x100000;  // read at one time: progress and signals are looked at in between
constexpr unsigned int kWindow = 0x1000000;
constexpr unsigned char* kNoAddress = nullptr;

enum class Pass { kFill, kCompare };

using Memory = std::span<unsigned char>;

// The memory of a block: whole to fill a shared one, by windows otherwise. A view of no bytes needs no block.
class CBlockView {
public:
    CBlockView(unsigned int handle, std::uint64_t size, Pass pass) : size(size) {
        if (size == 0) return;
        if (pass == Pass::kFill && size <= kLargestSharedBlock) {
            whole.emplace(handle);
        } else {
            windows.emplace(handle, kWindow);
        }
    }

    // What follows the offset in its window; it lives until the next call.
    Memory From(std::uint64_t offset) {
        const std::uint64_t start = whole ? 0 : offset - offset % kWindow;
        const std::uint64_t end = whole ? size : std::min(size, start + kWindow);
        unsigned char* const address =
            whole ? whole->GetMapAddress(kNoAddress) : windows->GetMapAddress(kNoAddress, start);
        if (address == nullptr) throw std::runtime_error("no backing file could be made or mapped");
        return {address + (offset - start), end - offset};
    }

private:
    std::uint64_t size;
    std::optional<KX::CKXSmartMap> whole;
    std::optional<KX::CKXSmartWindowMap> windows;
};

struct Timer {
    ~Timer() { seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(); }

    double& seconds;
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

std::uint64_t TotalSize(std::span<const SourceFile> files) {
    std::uint64_t total = 0;
    for (const SourceFile& file : files) total += file.size;
    return total;
}

class CHoldJob {
public:
    CHoldJob(CStores& stores, CProgress& progress, std::uint64_t atOnce)
        : stores(stores), progress(progress), atOnce(atOnce), buffer(kPiece) {}

    // Holds the files one behind the other in one block, after releasing those held so far if it would be too much
    // at once. Files that cannot be read are left out.
    void Hold(const std::string& name, std::span<const SourceFile> files);
    // Compares all blocks held with their sources, and frees them.
    void Release();
    void Fail(const std::string& path, const std::string& reason);

    HoldReport report;

private:
    void Fill(HoldRow& row, std::span<const SourceFile> files);
    bool IsSame(const HoldRow& row);
    bool Run(Pass pass, const SourceFile& file, CBlockView& view, std::uint64_t offset);
    void RunPieces(Pass pass, const SourceFile& file, CBlockView& view, std::uint64_t offset);
    std::size_t RunPiece(Pass pass, CSourceReader& reader, Memory memory);

    CStores& stores;
    CProgress& progress;
    const std::uint64_t atOnce;
    std::uint64_t heldBytes = 0;  // by the room of the blocks
    std::size_t firstHeld = 0;    // the blocks of this row and the ones behind it are not freed yet
    std::vector<unsigned char> buffer;
};

void CHoldJob::Hold(const std::string& name, std::span<const SourceFile> files) {
    const std::uint64_t size = TotalSize(files);
    if (heldBytes > 0 && size > atOnce - std::min(atOnce, heldBytes)) Release();

    HoldRow row;
    row.name = name;
    try {
        if (size > 0) row.handle = stores.Allocate(size);
        Fill(row, files);
    } catch (const std::runtime_error& trouble) {
        Fail(name, trouble.what());
    }
    if (row.files.empty()) return stores.Free(row.handle);

    if (row.handle != 0) row.room = KX::CMmf::GetSize(row.handle);
    heldBytes += row.room;
    report.rows.push_back(std::move(row));
}

void CHoldJob::Release() {
    const auto held = std::span(report.rows).subspan(firstHeld);
    for (HoldRow& row : held) row.isVerified = IsSame(row);
    for (const HoldRow& row : held) stores.Free(row.handle);
    firstHeld = report.rows.size();
    heldBytes = 0;
}

void CHoldJob::Fail(const std::string& path, const std::string& reason) {
    ++report.failures;
    progress.Message(fmt::format("'{}': {}", path, reason));
}

void CHoldJob::Fill(HoldRow& row, std::span<const SourceFile> files) {
    const Timer timer{report.in.seconds};
    CBlockView view(row.handle, TotalSize(files), Pass::kFill);
    for (const SourceFile& file : files) {
        if (!Run(Pass::kFill, file, view, row.size)) continue;  // the next file takes its place
        row.files.push_back(&file);
        row.size += file.size;
    }
}

bool CHoldJob::IsSame(const HoldRow& row) {
    const Timer timer{report.out.seconds};
    CBlockView view(row.handle, row.size, Pass::kCompare);
    bool isSame = true;
    std::uint64_t offset = 0;
    for (const SourceFile* file : row.files) {
        isSame &= Run(Pass::kCompare, *file, view, offset);
        offset += file->size;
    }
    return isSame;
}

bool CHoldJob::Run(Pass pass, const SourceFile& file, CBlockView& view, std::uint64_t offset) {
    try {
        RunPieces(pass, file, view, offset);
        return true;
    } catch (const std::runtime_error& trouble) {
        Fail(file.path, trouble.what());
        return false;
    }
}

void CHoldJob::RunPieces(Pass pass, const SourceFile& file, CBlockView& view, std::uint64_t offset) {
    CSourceReader reader(file.path);
    for (std::uint64_t done = 0; done < file.size;) {
        const Memory memory = view.From(offset + done);
        done +=
            RunPiece(pass, reader, memory.first(std::min<std::uint64_t>({memory.size(), kPiece, file.size - done})));
    }
    if (reader.Size() != file.size || reader.Read(std::span(buffer).first(1)) != 0) {
        throw std::runtime_error(fmt::format("does not end where its size of {} bytes says", file.size));
    }
}

// Reads what the memory has room for, or less.
std::size_t CHoldJob::RunPiece(Pass pass, CSourceReader& reader, Memory memory) {
    const Memory target = pass == Pass::kFill ? memory : std::span(buffer).first(memory.size());
    const std::size_t count = reader.Read(target);
    if (count == 0) throw std::runtime_error("ends before its size is reached");
    if (pass == Pass::kCompare && std::memcmp(target.data(), memory.data(), count) != 0) {
        throw std::runtime_error("is not what its block holds; either has changed");
    }
    (pass == Pass::kFill ? report.in : report.out).bytes += count;
    progress.Advance(count);
    return count;
}

// Takes out the files that no block can hold; the sizes of the others add up without wrapping around.
void RefuseTooLarge(std::vector<SourceFile>& files, CHoldJob& job) {
    std::erase_if(files, [&job](const SourceFile& file) {
        if (file.size <= kLargestBlock) return false;
        job.Fail(file.path, fmt::format("its {} bytes are more than a block can hold", file.size));
        return true;
    });
}

void HoldAll(const HoldOptions& options, std::span<const SourceFile> files, CHoldJob& job) {
    if (options.isJoined) {
        job.Hold("all files, joined", files);
    } else {
        for (const SourceFile& file : files) job.Hold(file.path, {&file, 1});
    }
    job.Release();
}

}  // namespace

int Hold(const HoldOptions& options, CProgress& progress) {
    CStores stores(options.folder);
    CHoldJob job(stores, progress, options.atOnce);

    std::vector<SourceFile> files = FindSourceFiles(
        options.paths, [&job](const std::string& path, const std::string& reason) { job.Fail(path, reason); });
    RefuseTooLarge(files, job);
    progress.Start(2 * TotalSize(files));
    HoldAll(options, files, job);
    progress.Erase();
    stores.Close();

    job.report.objects = stores.ObjectsMade();
    Print(options.isJson ? ToJson(job.report) : ToTable(job.report));
    return job.report.failures == 0 ? 0 : 1;
}

}  // namespace KxStore
