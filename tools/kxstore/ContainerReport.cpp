#include "ContainerReport.h"

#include <fmt/format.h>

#include <map>

#include "Progress.h"
#include "ReportParts.h"

namespace KxStore {
namespace {

std::string Hex(std::int64_t id) {
    return fmt::format("0x{:016X}", static_cast<std::uint64_t>(id));
}

const char* NameOf(Rest rest) {
    if (rest == Rest::kTrailing) return "trailing";
    return rest == Rest::kNeedsClasses ? "needs classes" : "unread";
}

Json JsonHeader(const ContainerHeader& header) {
    Json json{{"offset", 0},           {"size", header.size},   {"magic", header.magic},
              {"major", header.major}, {"minor", header.minor}, {"version", header.version}};
    if (!header.flags) return json;
    json["compressFlag"] = header.flags->compress;
    json["md5Flag"] = header.flags->md5;
    return json;
}

Json JsonClasses(const ClassTable& table) {
    Json list = Json::array();
    for (const ClassEntry& entry : table.list) {
        list.push_back({{"id", entry.id}, {"hex", Hex(entry.id)}, {"version", entry.version}});
    }
    return {{"offset", table.offset},
            {"length", table.length},
            {"count", table.count},
            {"list", std::move(list)},
            {"unlisted", table.unlisted}};
}

Json JsonCount(const RecordCount& count) {
    return {{"records", count.records}, {"topLevel", count.topLevel}, {"bytes", count.bytes}};
}

Json JsonRecords(const RecordCounts& counts) {
    Json list = Json::array();
    for (const auto& [id, count] : counts.list) {
        Json row{{"id", id}, {"hex", Hex(id)}};
        row.update(JsonCount(count));
        list.push_back(std::move(row));
    }
    Json json = JsonCount(counts.all);
    json["classes"] = std::move(list);
    json["unlisted"] = JsonCount(counts.unlisted);
    return json;
}

Json JsonDigest(const Digest& digest) {
    return {{"offset", digest.offset},
            {"stored", digest.stored},
            {"computed", digest.computed},
            {"isRight", digest.stored == digest.computed}};
}

Json JsonSection(const Section& section) {
    Json json{{"name", section.name}, {"offset", section.offset}, {"length", section.length}};
    if (section.objects) json["objects"] = *section.objects;
    if (section.classes) {
        json["classTable"] = JsonClasses(*section.classes);
        json["hasSameClasses"] = section.hasSameClasses;
    }
    if (section.records) json["records"] = JsonRecords(*section.records);
    if (section.digest) json["digest"] = JsonDigest(*section.digest);
    return json;
}

Json Document(const std::string& path, const Container& container) {
    Json sections = Json::array();
    for (const Section& section : container.sections) sections.push_back(JsonSection(section));

    Json json{{"file", path}, {"kind", "container"}, {"size", container.size}};
    json["isIntact"] = container.problems.empty();
    if (container.header) json["header"] = JsonHeader(*container.header);
    if (container.classes) json["classTable"] = JsonClasses(*container.classes);
    if (container.dataVersion) {
        const DataVersion& version = *container.dataVersion;
        json["dataVersion"] = {{"offset", version.offset}, {"major", version.major}, {"minor", version.minor}};
    }
    json["sections"] = std::move(sections);
    json["rest"] = {{"offset", container.restOffset},
                    {"size", container.size - container.restOffset},
                    {"is", NameOf(container.rest)}};
    json["problems"] = JsonProblems(container.problems);
    return json;
}

std::string TextHeader(const ContainerHeader& header) {
    const auto isSet = [](unsigned char flag) {
        return flag <= 1 ? std::string(flag == 1 ? "yes" : "no") : fmt::format("yes ({})", flag);
    };
    std::string what = fmt::format("header {}, version {}.{:02}", header.magic, header.major, header.minor);
    if (header.flags) {
        what += fmt::format(", compressed: {}, MD5: {}", isSet(header.flags->compress), isSet(header.flags->md5));
    }
    return Line(0, header.size, what);
}

std::string ClassText(std::int64_t id) {
    return fmt::format("class {} (0x{:X})", id, static_cast<std::uint64_t>(id));
}

std::string TextClasses(const ClassTable& table) {
    std::string text =
        Line(table.offset, table.end - table.offset, "class table, " + Plural(table.count, "class", "classes"));
    for (const ClassEntry& entry : table.list) {
        text +=
            Below(fmt::format("version {}.{:02} of {}", entry.version / 100, entry.version % 100, ClassText(entry.id)));
    }
    return table.unlisted == 0 ? text : text + Below(fmt::format("and {} more", table.unlisted));
}

std::string TextCount(const RecordCount& count) {
    const std::string text = fmt::format("{}, {} bytes", Plural(count.records, "record", "records"), count.bytes);
    return count.topLevel == 0 ? text : text + fmt::format(", {} at the top level", count.topLevel);
}

std::string TextRecords(const RecordCounts& counts) {
    std::string text = Below(TextCount(counts.all));
    for (const auto& [id, count] : counts.list) text += Below(fmt::format("  {}: {}", ClassText(id), TextCount(count)));
    return counts.unlisted.records == 0 ? text : text + Below("  more classes: " + TextCount(counts.unlisted));
}

std::string TextDigest(const Digest& digest) {
    if (digest.stored == digest.computed) return Below(fmt::format("digest {}, right", digest.stored));
    return Below(fmt::format("digest {}, WRONG: {} it should be", VisibleText(digest.stored), digest.computed));
}

std::string TextSection(const Section& section) {
    std::string what = section.name;
    if (section.length == 0) what += ", not there";
    if (section.objects) what += ", " + Plural(*section.objects, "object", "objects");
    std::string text = Line(section.offset, section.length, what);
    if (section.classes && section.hasSameClasses) text += Below("the same class table as above");
    if (section.classes && !section.hasSameClasses) text += TextClasses(*section.classes);
    if (section.records) text += TextRecords(*section.records);
    if (section.digest) text += TextDigest(*section.digest);
    return text;
}

std::string TextDataVersion(const DataVersion& version) {
    return Line(version.offset, 8, fmt::format("version of the data, {}.{:02}", version.major, version.minor));
}

std::string TextRest(const Container& container) {
    const std::uint64_t size = container.size - container.restOffset;
    if (size == 0) return {};
    const char* what = "behind the last section";
    if (container.rest == Rest::kNeedsClasses) what = "the rest, which cannot be told apart without its classes";
    if (container.rest == Rest::kUnread) what = "not looked at";
    return Line(container.restOffset, size, what);
}

}  // namespace

std::string ToText(const std::string& path, const Container& container) {
    std::multimap<std::uint64_t, std::string> rows;  // a section of no bytes starts where the next thing does
    if (container.header) rows.emplace(0, TextHeader(*container.header));
    if (container.classes) rows.emplace(container.classes->offset, TextClasses(*container.classes));
    for (const Section& section : container.sections) rows.emplace(section.offset, TextSection(section));
    if (container.dataVersion) rows.emplace(container.dataVersion->offset, TextDataVersion(*container.dataVersion));

    std::string text = TableHead(path, "container of an object stream", container.size);
    for (const auto& [offset, row] : rows) text += row;
    return text + TextRest(container) + TextProblems(container.problems);
}

std::string ToJson(const std::string& path, const Container& container) {
    return Dump(Document(path, container));
}

}  // namespace KxStore
