#include "support/ContainerWriter.h"

#include "io/Md5.h"

namespace {

std::string Text(const std::string& text) {
    return Little(text.size()) + text;
}

std::string NameOfClass(std::int64_t classId) {
    if (classId == kNodeClass) return "CTestNode";
    return classId == kThumbnailClass ? "CThumbnail" : "CTestBase";
}

// What the test compressor makes: the size, then every byte changed by the same bits.
std::string Compressed(const std::string& bytes) {
    std::string compressed = Little(bytes.size());
    for (const char byte : bytes) compressed += static_cast<char>(byte ^ 0x5A);
    return compressed;
}

}  // namespace

std::map<std::int64_t, std::uint32_t> TestClassVersions() {
    return {{kNoCreatorClass, 100}, {kNodeClass, 201}, {kThumbnailClass, 300}};
}

std::string Little(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    return bytes;
}

std::string Digest(const std::string& bytes) {
    MD5 md5;
    md5.UpdateMd5(bytes.data(), static_cast<int>(bytes.size()));
    md5.Finalize();
    return md5.GetMd5();
}

std::string CRecord::Body() const {
    std::string body = Little(id, 8) + Little(name.size());
    for (const wchar_t character : name) body += Little(static_cast<std::uint32_t>(character));
    body += Little(references.size());
    for (const std::uint64_t reference : references) body += Little(reference, 8);
    return body;
}

std::string CContainer::Header() const {
    if (version < 300) return "KXLumen version " + std::to_string(version / 100) + ".00\n";
    const std::string header = "_KXOrca" + Little(3) + Little(static_cast<std::uint64_t>(version % 100));
    return version < 302 ? header : header + Little(isCompressed ? 1 : 0, 1) + Little(hasDigest ? 1 : 0, 1);
}

std::string CContainer::Table() const {
    std::string table = Little(classes.empty() ? 0 : 4 + 12 * classes.size()) + Little(classes.size());
    for (const auto& [id, number] : classes) table += Little(static_cast<std::uint64_t>(id), 8) + Little(number);
    return table;
}

std::string CContainer::Object(const CRecord& record) const {
    if (version < 200) return Text(NameOfClass(record.classId)) + record.Body();
    if (version < 302) return Text(NameOfClass(record.classId)) + Text(record.Body());
    return Little(static_cast<std::uint64_t>(record.classId), 8) + Text(record.Body());
}

std::string CContainer::List(const std::vector<CRecord>& records) const {
    std::string list = records.empty() ? "" : Little(records.size());
    for (const CRecord& record : records) list += Object(record);
    return list;
}

std::string CContainer::DataSection() const {
    if (!hasData) return {};
    const std::string oldRoot = Text(version < 200 ? "_LumenRoot" : "_Root");
    const std::string root = version < 302 ? oldRoot : Little(0x7FFFFFFFFFFFFFFF, 8);
    std::string section = version < 305 ? "" : Table();
    for (const CRecord& record : data) section += (record.isTopLevel ? root : "") + Object(record);
    if (isCompressed) section = Compressed(section);
    return hasDigest ? section + Digest(section) : section;
}

std::string CContainer::Bytes() const {
    if (version < 200) return Header() + Text("_LumenThumbnail") + thumbnail.front().Body() + DataSection();
    if (version <= 300) {
        return Header() + Text("_Thumbnail") + Object(thumbnail.front()) + Text("_ExtendInfo") + List(extendInfo) +
               DataSection();
    }
    const std::string drmList = List(drm);
    return Header() + (version < 302 ? "" : Table()) + Text(thumbnail.empty() ? "" : Object(thumbnail.front())) +
           Text(version < 305 || !hasDigest || drm.empty() ? drmList : drmList + Digest(drmList)) +
           Text(List(extendInfo)) + (version < 306 ? "" : Little(3) + Little(6)) + Text(DataSection());
}

std::vector<std::size_t> CContainer::CountPositions() const {
    const std::string bytes = Bytes();
    std::vector<std::size_t> positions;
    if (version >= 302 && !classes.empty()) positions = {21, bytes.size() - DataSection().size() + 4};
    for (const auto& records : {drm, extendInfo}) {
        if (!records.empty()) positions.push_back(bytes.find(List(records)));
    }
    return positions;
}

CContainer Golden(const std::string& name) {
    CContainer golden;
    golden.version = std::stoi(name.substr(name.find_first_of("0123456789")));
    golden.isCompressed = name.ends_with("compressed");
    golden.hasDigest = golden.isCompressed || (golden.version > 303 && !name.ends_with("plain"));
    if (name.ends_with("classless")) golden.classes.clear();
    golden.thumbnail = {{kThumbnailClass, 50, L"thumbnail", {}}};
    if (golden.version > 300) golden.drm = {{kNodeClass, 60, L"drm", {61}}, {kThumbnailClass, 61, L"second", {}}};
    if (golden.version >= 200) golden.extendInfo = {{kThumbnailClass, 70, L"", {}}, {kNodeClass, 71, L"more", {70}}};
    golden.data = {{kNodeClass, 1, L"root", {3, 2, 0}, true},  // in the order in which the objects save themselves
                   {kThumbnailClass, 3, L"", {}},
                   {kNodeClass, 2, L"\u540d\u524d", {3}},
                   {kNodeClass, 4, L"other", {1, 99, 3}, true}};
    return golden;
}

std::vector<std::string> GoldenNames(int fromVersion) {
    std::vector<std::string> names = {"lumen100",          "lumen200",          "orca300",         "orca301",
                                      "orca303compressed", "orca304",           "orca305",         "orca306",
                                      "orca306plain",      "orca306compressed", "orca306classless"};
    std::erase_if(names, [=](const std::string& name) { return Golden(name).version < fromVersion; });
    return names;
}
