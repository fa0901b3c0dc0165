#include "HoldReport.h"

#include <fmt/format.h>
#include <sys/resource.h>

#include <nlohmann/json.hpp>

#include "Progress.h"
#include "Stores.h"
#include "mmf/BlockHandle.h"

namespace KxStore {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kMega = 1e6;

Json JsonRow(const HoldRow& row) {
    Json json{{"file", row.name}, {"files", row.files.size()}, {"size", row.size}, {"verified", row.isVerified},
              {"handle", Json()}, {"store", Json()},           {"kind", Json()}};
    if (row.handle == 0) return json;
    json["handle"] = fmt::format("0x{:08X}", row.handle);
    json["store"] = BlockHandle::StoreOf(row.handle);
    json["kind"] = row.room > kLargestSharedBlock ? "unshared" : "shared";
    return json;
}

double Speed(const Transfer& transfer) {
    return transfer.seconds > 0 ? static_cast<double>(transfer.bytes) / kMega / transfer.seconds : 0;
}

std::int64_t PeakRss() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_maxrss} * KXSTORE_MAXRSS_UNIT;
}

Json Document(const HoldReport& report) {
    Json rows = Json::array();
    std::uint64_t bytes = 0;
    std::size_t blocks = 0;
    for (const HoldRow& row : report.rows) {
        rows.push_back(JsonRow(row));
        bytes += row.size;
        blocks += row.handle != 0;
    }
    const Json summary{{"bytes", bytes},
                       {"blocks", blocks},
                       {"objects", report.objects},
                       {"failures", report.failures},
                       {"mb_per_s_in", Speed(report.in)},
                       {"mb_per_s_out", Speed(report.out)},
                       {"peak_rss_bytes", PeakRss()}};
    return {{"files", std::move(rows)}, {"summary", summary}};
}

std::string Cell(const Json& value) {
    if (value.is_null()) return "-";
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string FileCell(const Json& row) {
    std::string cell = VisibleText(Cell(row["file"]));
    if (row["files"] != 1) cell += fmt::format(" ({})", Cell(row["files"]));
    return row["verified"].get<bool>() ? cell : cell + "  (NOT VERIFIED)";
}

std::string TableRow(const Json& row) {
    return fmt::format("{:>12}  {:<10}  {:<5}  {:<8}  {}\n", Cell(row["size"]), Cell(row["handle"]), Cell(row["store"]),
                       Cell(row["kind"]), FileCell(row));
}

}  // namespace

std::string ToTable(const HoldReport& report) {
    const Json document = Document(report);
    const Json& summary = document["summary"];
    std::string table = fmt::format("{:>12}  {:<10}  {:<5}  {:<8}  file\n", "size", "handle", "store", "kind");
    for (const Json& row : document["files"]) table += TableRow(row);
    return table + fmt::format(
                       "\n{} bytes in {} blocks of {} objects, {} failures\n"
                       "{:.1f} MB/s in, {:.1f} MB/s out, peak RSS {:.1f} MB\n",
                       Cell(summary["bytes"]), Cell(summary["blocks"]), report.objects, report.failures,
                       Speed(report.in), Speed(report.out), summary["peak_rss_bytes"].get<double>() / kMega);
}

std::string ToJson(const HoldReport& report) {
    return Document(report).dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace KxStore
