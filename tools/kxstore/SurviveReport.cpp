#include "SurviveReport.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

namespace KxStore {

std::string ToText(const SurviveReport& report) {
    return fmt::format(
        "{} blocks of {} bytes, header file of {} bytes\n"
        "killed in {:.2f} s, after writing over {} bytes{}\n"
        "{} bytes compared in another process in {:.2f} s{}\n"
        "a small block, {}\n"
        "{} files left\n",
        report.blocks, report.blockSize, report.headerSize, report.secondsWriting, report.rewritten,
        report.isTorn ? " and in the midst of others" : "", report.compared, report.secondsComparing,
        report.isVerified ? ", all are there" : "  (NOT VERIFIED)",
        report.isSmallKept ? "in a file for want of memory: kept"
                           : "which lives in the memory of its process: has its size, its content is lost",
        report.filesLeft);
}

std::string ToJson(const SurviveReport& report) {
    const nlohmann::ordered_json document{{"blocks", report.blocks},
                                          {"block_size", report.blockSize},
                                          {"header_bytes", report.headerSize},
                                          {"bytes_rewritten", report.rewritten},
                                          {"bytes_compared", report.compared},
                                          {"verified", report.isVerified},
                                          {"killed_inside_a_piece", report.isTorn},
                                          {"small_block_kept", report.isSmallKept},
                                          {"files_left", report.filesLeft},
                                          {"seconds_writing", report.secondsWriting},
                                          {"seconds_comparing", report.secondsComparing}};
    return document.dump(2) + '\n';
}

}  // namespace KxStore
