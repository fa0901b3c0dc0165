#include "Inspect.h"

#include <fmt/format.h>

#include <stdexcept>

#include "ContainerReport.h"
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

int InspectContainer(const InspectOptions& options, CWindowedFile& file) {
    const Container container = ReadContainer(file);
    Print(options.isJson ? ToJson(options.path, container) : ToText(options.path, container));
    return container.problems.empty() ? 0 : 1;
}

}  // namespace

// Where files of another kind are to be told from containers, this is the place.
int Inspect(const InspectOptions& options) {
    CWindowedFile file = Open(options.path);
    return InspectContainer(options, file);
}

}  // namespace KxStore
