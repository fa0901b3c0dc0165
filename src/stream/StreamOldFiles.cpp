#include <cstdio>
#include <string>

#include "stream/ContainerFormat.h"
#include "stream/RecordHead.h"
#include "stream/Stream.h"
#include "stream/StreamText.h"

// Files before 3.02, which name classes by text, and before 3.01, which have no lengths of sections.
namespace KX {

Result CStream::LoadTextHeader() {
    char rest[Container::kTextHeaderRest];
    const Result result = ReadIn(rest, sizeof rest, sizeof rest);
    if (Failed(result)) return result;
    m_bCompress = false;
    m_bMd5 = false;
    const std::string text(rest + Container::kTextVersionAt, Container::kTextVersionSize);
    int major = 0;
    int minor = 0;
    if (std::sscanf(text.c_str(), "%1d.%2d", &major, &minor) != 2 || minor < 0) return kResultMalformed;
    return TakeVersion(major * 100 + minor);
}

// Without lengths, nothing can be passed over that is not asked for.
Result CStream::LoadV30(SkipType skip, DataSection section) {
    m_bMd5 = false;
    if (!HasAny(section, DataSection::Thumbnail)) return kResultOk;
    Result result = LoadThumbnail(HasAny(skip, SkipType::Thumbnail));
    if (Failed(result)) return result;
    if (m_nFileVersion >= Container::kVersionRecordSize) {
        if (!HasAny(section, DataSection::ExtendInfo)) return kResultOk;
        result = LoadExtendInfo(HasAny(skip, SkipType::ExtendInfo));
        if (Failed(result)) return result;
    }
    if (!HasAny(section, DataSection::Data | DataSection::RawData)) return kResultOk;
    return LoadData(HasAny(skip, SkipType::Data), 0);
}

// kResultNothingDone: there is no thumbnail.
Result CStream::ReadTextThumbnailHead(std::string& className) {
    std::string name;
    const Result result = StreamRead(*this, name);
    if (Failed(result)) return result;
    if (m_nFileVersion < Container::kVersionRecordSize) {
        className = Container::kOldThumbnailClass;
        return name == Container::kOldThumbnailName ? kResultOk : kResultMalformed;
    }
    if (name.empty()) return kResultNothingDone;
    return name == Container::kThumbnailName ? StreamRead(*this, className) : kResultMalformed;
}

// kResultNothingDone: there is no extend info.
Result CStream::ReadTextExtendInfoHead() {
    std::string name;
    const Result result = StreamRead(*this, name);
    if (Failed(result)) return result;
    if (name.empty()) return kResultNothingDone;
    return name == Container::kExtendInfoName ? kResultOk : kResultMalformed;
}

// A record of the root is marked by a name of its own, before the name of its class.
Result CStream::ReadTextRecordHead(RecordHead& head) {
    ClassEntry& entry = *head.current;
    entry.isSet = false;  // has no identifier
    Result result = StreamRead(*this, entry.name);
    if (Failed(result)) return result;
    head.isTopLevel = entry.name == Container::kRootName || entry.name == Container::kOldRootName;
    if (head.isTopLevel) result = StreamRead(*this, entry.name);
    if (Failed(result)) return result;
    if (entry.name.empty()) return kResultMalformed;
    entry.create = CBase::GetFactoryFunction(entry.name);
    return ReadRecordSize(head.size);
}

}  // namespace KX
