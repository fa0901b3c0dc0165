#include "HeaderReport.h"

#include <fmt/format.h>

#include <algorithm>

#include "Progress.h"
#include "ReportParts.h"
#include "mmf/BlockHandle.h"
#include "mmf/ShareMmfObj.h"

namespace KxStore {
namespace {

constexpr std::size_t kShownBlocks = 4;  // of one object, in text

void AppendUtf8(std::string& text, char16_t unit) {
    if (unit < 0x80) {
        text += static_cast<char>(unit);
        return;
    }
    if (unit < 0x800) {
        text += static_cast<char>(0xC0 | unit >> 6);
    } else {
        text += static_cast<char>(0xE0 | unit >> 12);
        text += static_cast<char>(0x80 | (unit >> 6 & 0x3F));
    }
    text += static_cast<char>(0x80 | (unit & 0x3F));
}

// Halves of surrogate pairs, which UTF-8 has no bytes for, are spelled as \uNNNN.
std::string NameText(const StoredObject& object) {
    std::string text;
    for (const char16_t unit : object.name) {
        const bool isSurrogate = unit >= 0xD800 && unit < 0xE000;
        isSurrogate ? void(text += fmt::format("\\u{:04X}", unsigned{unit})) : AppendUtf8(text, unit);
    }
    return object.nameLength == object.name.size() ? text : text + "...";
}

const char* KindOf(const StoredObject& object) {
    return object.shared ? "shared" : "unshared";
}

// None names a block that starts behind the last slot.
Json JsonHandle(const StoredObject& object, std::uint32_t block) {
    if (block >= CShareMmfObj::kSlotCount) return {};
    return fmt::format("0x{:08X}", BlockHandle::Make(object.index, block));
}

const char* NameOf(const BackingFile& file) {
    if (file.path.empty()) return "not looked for";
    if (file.type == FileType::kLink) return "link";
    if (file.type == FileType::kOther) return "not regular";
    return file.type == FileType::kRegular ? "regular" : "missing";
}

Json JsonFile(const BackingFile& file) {
    const bool isRegular = file.type == FileType::kRegular;
    return {{"path", file.path},
            {"is", NameOf(file)},
            {"size", isRegular ? Json(file.size) : Json()},
            {"needed", file.needed},
            {"isLongEnough", isRegular && file.size >= file.needed}};
}

void AddShared(const StoredObject& object, Json& json) {
    Json blocks = Json::array();
    for (const SharedBlock& block : object.shared->blocks) {
        blocks.push_back(
            {{"firstSlot", block.firstSlot}, {"slots", block.slots}, {"handle", JsonHandle(object, block.firstSlot)}});
    }
    json["blockCount"] = object.shared->blockCount;
    json["blocks"] = std::move(blocks);
    json["unlisted"] = object.shared->blockCount - object.shared->blocks.size();
    json["freeSlots"] = object.shared->freeSlots;
    json["longestFreeRun"] = object.shared->longestFreeRun;
}

void AddUnshared(const StoredObject& object, Json& json) {
    json["isUsed"] = object.unshared.isUsed;
    json["maps"] = object.unshared.maps;
    json["handle"] = object.unshared.isUsed ? JsonHandle(object, 0) : Json();
}

Json JsonObject(const StoredObject& object) {
    Json json{{"index", object.index},  {"offset", object.offset},  {"length", object.end - object.offset},
              {"kind", KindOf(object)}, {"name", NameText(object)}, {"nameLength", object.nameLength},
              {"size", object.size}};
    object.shared ? AddShared(object, json) : AddUnshared(object, json);
    json["backingFile"] = JsonFile(object.file);
    return json;
}

Json Document(const std::string& path, const HeaderFile& header) {
    Json objects = Json::array();
    for (const StoredObject& object : header.objects) objects.push_back(JsonObject(object));
    return {{"file", path},
            {"kind", "header"},
            {"size", header.size},
            {"isIntact", header.problems.empty()},
            {"objectCount", header.objectCount},
            {"objects", std::move(objects)},
            {"totals", {{"objects", header.objects.size()}, {"blocks", header.blocks}, {"bytes", header.bytes}}},
            {"rest", {{"offset", header.restOffset}, {"size", header.size - header.restOffset}}},
            {"problems", JsonProblems(header.problems)}};
}

std::string TextBlock(const StoredObject& object, const SharedBlock& block) {
    const Json handle = JsonHandle(object, block.firstSlot);
    return fmt::format("{} at slot {} ({})", handle.is_null() ? "no handle" : handle.get<std::string>(),
                       block.firstSlot, block.slots);
}

std::string TextShared(const StoredObject& object) {
    const SharedPart& shared = *object.shared;
    const std::size_t shown = std::min(shared.blocks.size(), kShownBlocks);
    std::string blocks = Plural(shared.blockCount, "block", "blocks");
    for (std::size_t i = 0; i < shown; ++i) {
        blocks += (i == 0 ? ": " : ", ") + TextBlock(object, shared.blocks[i]);
    }
    if (shown < shared.blockCount) blocks += fmt::format(" and {} more", shared.blockCount - shown);
    return Below(blocks) + Below(fmt::format("{} free, {} of them in a row", Plural(shared.freeSlots, "slot", "slots"),
                                             shared.longestFreeRun));
}

std::string TextUnshared(const StoredObject& object) {
    if (!object.unshared.isUsed) return Below("its block is free");
    return Below(fmt::format("1 block: {}, saved with {}", JsonHandle(object, 0).get<std::string>(),
                             Plural(object.unshared.maps, "map", "maps")));
}

std::string TextFile(const BackingFile& file) {
    if (file.type != FileType::kRegular) return Below(fmt::format("backing file: {}", NameOf(file)));
    return Below(fmt::format("backing file: {} bytes of {} needed", file.size, file.needed));
}

std::string TextObject(const StoredObject& object) {
    const std::string what = fmt::format("object {}, {}, \"{}\", {} bytes", object.index, KindOf(object),
                                         VisibleText(NameText(object)), object.size);
    return Line(object.offset, object.end - object.offset, what) +
           (object.shared ? TextShared(object) : TextUnshared(object)) + TextFile(object.file);
}

}  // namespace

std::string ToText(const std::string& path, const HeaderFile& header) {
    std::string text = TableHead(path, "header file of a block store", header.size);
    for (const StoredObject& object : header.objects) text += TextObject(object);
    const std::uint64_t rest = header.size - header.restOffset;
    if (rest != 0) text += Line(header.restOffset, rest, "behind the last whole object");
    text += fmt::format("\n{} in {} of {} bytes\n", Plural(header.blocks, "block", "blocks"),
                        Plural(header.objects.size(), "object", "objects"), header.bytes);
    return text + TextProblems(header.problems);
}

std::string ToJson(const std::string& path, const HeaderFile& header) {
    return Dump(Document(path, header));
}

}  // namespace KxStore
