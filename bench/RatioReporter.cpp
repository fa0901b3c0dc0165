#include <fmt/core.h>

#include <map>
#include <set>
#include <vector>

#include "Workload.h"

namespace {

struct Comparison {
    std::string ours;
    std::string peer;
    bool isSpeed;
    double limit;
};

std::vector<Comparison>& Comparisons() {
    static std::vector<Comparison> comparisons;
    return comparisons;
}

struct Times {  // in microseconds
    double wall;
    double cpu;
};

// Shows the median of each benchmark's repetitions and keeps it. The repetitions themselves stay unseen;
// --benchmark_out has them all.
struct CMedianReporter : public benchmark::ConsoleReporter {
    CMedianReporter() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool isOnlyOne = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
            if (run.error_occurred || isOnlyOne || run.aggregate_name == "median") Keep(run);
        }
    }

    void Keep(const Run& run) {
        ConsoleReporter::ReportRuns({run});
        const std::string& name = run.run_name.function_name;
        const double unit = 1e6 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        if (run.error_occurred) failed.insert(name);
        medians[name] = {run.GetAdjustedRealTime() * unit, run.GetAdjustedCPUTime() * unit};
    }

    bool IsGood(const std::string& name) const { return medians.contains(name) && !failed.contains(name); }

    std::map<std::string, Times> medians;
    std::set<std::string> failed;
};

// A row of the table, which docs/performance.md takes as it is.
constexpr const char* kRow = "| {:<29} | {:<28} | {:>11} | {:>11} | {:<5} | {:>7} | {:>7} | {:<14} |\n";

// Judges by the wall clock. A ratio by the processor's time that differs much from it tells of a busy machine, or
// of a side that waits. False: what was wanted was missed.
bool PrintRatio(const Comparison& comparison, const Times& ours, const Times& peer) {
    const auto ratioOf = [&](double our, double its) { return comparison.isSpeed ? its / our : our / its; };
    const double ratio = ratioOf(ours.wall, peer.wall);
    const bool isMet = comparison.isSpeed ? ratio >= comparison.limit : ratio <= comparison.limit;
    const bool isWanted = comparison.limit > 0;
    std::string wanted;
    if (isWanted) wanted = fmt::format("{} {}", comparison.isSpeed ? ">=" : "<=", comparison.limit);
    if (!isMet && isWanted) wanted += " MISSED";
    fmt::print(kRow, comparison.ours, comparison.peer, fmt::format("{:.3f}", ours.wall),
               fmt::format("{:.3f}", peer.wall), comparison.isSpeed ? "speed" : "cost", fmt::format("{:.3f}", ratio),
               fmt::format("{:.3f}", ratioOf(ours.cpu, peer.cpu)), wanted);
    return isMet || !isWanted;
}

}  // namespace

void CompareCost(const std::string& ours, const std::string& peer, double atMost) {
    Comparisons().push_back({ours, peer, false, atMost});
}

void CompareSpeed(const std::string& ours, const std::string& peer, double atLeast) {
    Comparisons().push_back({ours, peer, true, atLeast});
}

bool RunAndCompare(bool isStrict) {
    CMedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    fmt::print("\n");
    fmt::print(kRow, "ours", "peer", "ours, us", "peer, us", "of", "ratio", "by cpu", "wanted");
    fmt::print(kRow, "---", "---", "--:", "--:", "---", "--:", "--:", "---");
    bool isAllMet = true;
    for (const Comparison& comparison : Comparisons()) {
        if (!reporter.IsGood(comparison.ours) || !reporter.IsGood(comparison.peer)) continue;
        const Times ours = reporter.medians.at(comparison.ours);
        if (!PrintRatio(comparison, ours, reporter.medians.at(comparison.peer))) isAllMet = false;
    }
    return reporter.failed.empty() && (isAllMet || !isStrict);
}
