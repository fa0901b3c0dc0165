#include "Inspect.h"

#include <fmt/format.h>

#include <stdexcept>

#include "ContainerReport.h"
#include "HeaderReport.h"
#include "Output.h"

namespace KxStore {
namespace {

CWindowedFile Open(const std::string& path) {
    try {
        return CWindowedFile(path);
    } catch (const std::runtime_error& trouble) {
        throw std::runtime_error(fmt::format("'{}': {}", path, trouble.what()));
    }
}

bool IsHeader(const InspectOptions& options) {
    return options.kind.empty() ? options.path.ends_with(".mmfheader") : options.kind == kHeaderKind;
}

template <typename T>
int Report(const InspectOptions& options, const T& file) {
    Print(options.isJson ? ToJson(options.path, file) : ToText(options.path, file));
    return file.problems.empty() ? 0 : 1;
}

}  // namespace

int Inspect(const InspectOptions& options) {
    CWindowedFile file = Open(options.path);
    if (IsHeader(options)) return Report(options, ReadHeaderFile(file, options.path));
    return Report(options, ReadContainer(file));
}

}  // namespace KxStore
