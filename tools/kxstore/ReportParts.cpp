#include "ReportParts.h"

#include <fmt/format.h>

#include "Progress.h"

namespace KxStore {

Json JsonProblems(const std::vector<Problem>& problems) {
    Json json = Json::array();
    for (const Problem& problem : problems) json.push_back({{"offset", problem.offset}, {"what", problem.what}});
    return json;
}

std::string Dump(const Json& document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string TableHead(const std::string& path, const char* what, std::uint64_t size) {
    return fmt::format("{}: {}, {} bytes\n\n{:>12}  {:>12}  what\n", VisibleText(path), what, size, "offset", "bytes");
}

std::string Line(std::uint64_t offset, std::uint64_t size, const std::string& what) {
    return fmt::format("{:>12}  {:>12}  {}\n", offset, size, what);
}

std::string Below(const std::string& what) {
    return fmt::format("{:28}  {}\n", "", what);
}

std::string Plural(std::uint64_t count, const char* one, const char* many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string TextProblems(const std::vector<Problem>& problems) {
    if (problems.empty()) return "\nno problem found\n";
    std::string text = fmt::format("\n{}:\n", Plural(problems.size(), "problem", "problems"));
    for (const Problem& problem : problems) text += fmt::format("{:>12}  {}\n", problem.offset, problem.what);
    return text;
}

}  // namespace KxStore
