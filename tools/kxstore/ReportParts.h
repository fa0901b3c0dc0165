#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "WindowedFile.h"

namespace KxStore {

// What the reports on all kinds of files have in common.

using Json = nlohmann::ordered_json;

Json JsonProblems(const std::vector<Problem>& problems);
// Bytes that are no valid UTF-8 are replaced.
std::string Dump(const Json& document);

// The lines above the table, a line of it, and one for what has no place of its own in the file: it stands below what
// it belongs to.
std::string TableHead(const std::string& path, const char* what, std::uint64_t size);
std::string Line(std::uint64_t offset, std::uint64_t size, const std::string& what);
std::string Below(const std::string& what);

std::string Plural(std::uint64_t count, const char* one, const char* many);
std::string TextProblems(const std::vector<Problem>& problems);

}  // namespace KxStore
