#pragma once

#include "mmf/Mmf.h"
#include "mmf/MmfIo.h"
#include "support/TempFolder.h"

// A test on the four global stores, each in a folder of its own below the test's, and without a limit.
class StoresTest : public TempFolderTest {
protected:
    void SetUp() override {
        for (const unsigned int store : {0U, 1U, 2U, 3U}) SetLimit(store, 0);
    }

    // Leaves the stores empty, and pointed to where nothing is when the program ends.
    void TearDown() override {
        testing::internal::CaptureStdout();
        KX::CMmf::Finalize();
        testing::internal::GetCapturedStdout();
    }

    void SetLimit(unsigned int store, unsigned int limit) {
        const std::wstring directory = StoreFolder(L"store" + std::to_wstring(store));
        ASSERT_TRUE(KX::CMmf::SetDirectory(static_cast<int>(store), L"KX__", directory.c_str(), limit));
    }
};

// A buffer over a block of a global store, to be used like that of a private one.
struct CGlobalIo : KX::CMmfIo {
    KX::Result Initialize(const wchar_t* /*prefix*/, const wchar_t* /*directory*/) { return KX::kResultOk; }
    KX::Result Initialize(const CGlobalIo& /*other*/) { return KX::kResultOk; }
    KX::Result Create(unsigned long size) { return CMmfIo::Create(size, L"name"); }
    KX::Result Open(unsigned int block) { return CMmfIo::Open(block, L"name"); }
    KX::Result Save() { return CMmfIo::Save(L"name"); }
    unsigned long GetReadSize() const override { return GetSize(); }
    unsigned long GetWriteSize() const override { return 0; }
};
