#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Identifiers of the classes in test containers.
inline constexpr std::int64_t kNoCreatorClass = 0x10;  // registered, but nothing makes its objects
inline constexpr std::int64_t kNodeClass = 0x11;
inline constexpr std::int64_t kThumbnailClass = 0x12;
inline constexpr std::int64_t kStrangeClass = 0x77;  // not registered

// The class table of these classes.
std::map<std::int64_t, std::uint32_t> TestClassVersions();

// An object in a container.
struct CRecord {
    std::int64_t classId = kNodeClass;
    std::uint64_t id = 0;
    std::wstring name;
    std::vector<std::uint64_t> references;
    bool isTopLevel = false;

    // What the test objects write behind class and size: the layout is theirs, not the container's.
    std::string Body() const;
};

// Writes containers of any version byte by byte, with nothing of the library but the digest: what the library's own
// reader and writer are held against.
struct CContainer {
    int version = 306;
    bool isCompressed = false;
    bool hasDigest = false;
    bool hasData = true;
    std::map<std::int64_t, std::uint32_t> classes = TestClassVersions();
    std::vector<CRecord> thumbnail;  // none or one
    std::vector<CRecord> drm;
    std::vector<CRecord> extendInfo;
    std::vector<CRecord> data;

    std::string Bytes() const;
    std::string DataSection() const;
    // Where in Bytes the counts of class tables, drm and extend info stand.
    std::vector<std::size_t> CountPositions() const;

private:
    std::string Header() const;
    std::string Table() const;
    std::string Object(const CRecord& record) const;
    std::string List(const std::vector<CRecord>& records) const;
};

// Integers least significant byte first.
std::string Little(std::uint64_t value, int size = 4);
std::string Digest(const std::string& bytes);

// A small graph with all sections that the version has, by the name of the file that holds it.
CContainer Golden(const std::string& name);
std::vector<std::string> GoldenNames(int fromVersion = 0);
