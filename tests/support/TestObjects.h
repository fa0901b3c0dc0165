#pragma once

#include <functional>
#include <string>
#include <vector>

#include "stream/Stream.h"
#include "support/ContainerWriter.h"

inline constexpr KX::Result kTestFailure = static_cast<KX::Result>(0x80004711U);

// The object of the test containers, of whichever class its record names. Keeps what it refers to by higher
// identifiers, so that no circle of objects keeps itself alive, and has that saved with itself.
class CTestObject : public KX::CBase {
public:
    explicit CTestObject(std::int64_t classId, std::uint64_t id = 0);
    ~CTestObject() override { --alive; }

    const KX::CRtti* GetRtti() const override { return rtti; }
    KX::Result Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* progress) override;
    KX::Result Link(KX::CBaseStream& stream, KX::CMemberLink* link, int reserved) override;
    KX::Result PostLink(KX::CBaseStream& stream, int reserved) override;
    KX::Result PrepareSave(KX::CBaseStream& stream, int reserved) override;
    KX::Result Save(KX::CBaseStream& stream, KX::CProgress* progress) override;
    unsigned int GetDiskSize() override;

    CRecord record;
    std::vector<KX::CPointer<KX::CBase>> kept;
    unsigned int wrongSize = 0;  // by which GetDiskSize misleads

    static inline int alive = 0;
    static inline std::vector<std::string>* calls = nullptr;  // where to note what streams call, such as "Link 7"
    static inline std::string failingCall;                    // one of those, to be answered by kTestFailure,
    static inline std::function<KX::Result()> answer;         // or by this

private:
    KX::Result Answer(const char* call) const;

    const KX::CRtti* const rtti;
};

// A link as a load makes it, with nobody but the caller holding it.
KX::CPointer<KX::CMemberLink> MakeLink(KX::CBase* owner = nullptr);

// Has the test classes, and no others, registered for one scope.
class CTestClasses {
public:
    CTestClasses() { Register(); }
    ~CTestClasses() { Clear(); }

    CTestClasses(const CTestClasses&) = delete;
    CTestClasses& operator=(const CTestClasses&) = delete;

    static void Register();
    static void Clear();
};

// Undoes Compressed() and believes nothing that it is given.
class CTestCompressor : public KX::CLzmaInterFace {
public:
    KX::Result Compress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                        std::uint32_t& targetSize, KX::CProgress* progress, const wchar_t* name) override;
    KX::Result Decompress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t* target,
                          std::uint32_t targetSize, KX::CProgress* progress) override;
    KX::Result GetUncompressedSize(const std::uint8_t* source, std::uint32_t& size) override;
};

// A buffer over a text, of which chosen calls fail. Successes are 1, not 0.
class CTestIo : public KX::CIoBuffer {
public:
    explicit CTestIo(std::string bytes = {}) : bytes(std::move(bytes)) {}

    // Reads from the front again. That many calls succeed; then one, or all, fail.
    void Rewind(std::size_t calls = SIZE_MAX, bool newIsOnce = false);

    bool IsBufferEnd() const override { return position == bytes.size(); }
    bool CheckFileExist(std::wstring /*name*/) const override { return false; }
    KX::Result GetSearchDirectory(std::wstring& /*directory*/) const override { return KX::kResultOk; }
    KX::Result SetOutputInfo(unsigned long outputSize, unsigned long secondSize) override;
    unsigned long GetSize() const override { return bytes.size(); }
    unsigned long GetRemainingSize() const override { return bytes.size() - position; }
    KX::Result ReadIn(void* destination, unsigned long capacity, unsigned long count, KX::CProgress*) override;
    KX::Result WriteOut(const void* source, unsigned long count, KX::CProgress*) override;
    KX::Result Skip(unsigned long count) override;
    unsigned long GetReadSize() const override { return position; }
    unsigned long GetWriteSize() const override { return bytes.size(); }

    std::string bytes;
    std::vector<unsigned long> announced;
    bool hasFailed = false;
    std::size_t failedAt = 0;  // the position of the first read that failed; none for other calls

private:
    bool Fails(std::size_t at = SIZE_MAX);

    std::size_t position = 0;
    std::size_t allowed = SIZE_MAX;
    bool isOnce = false;
};
