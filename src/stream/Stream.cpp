#include "stream/Stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "stream/ContainerFormat.h"

// The pipe, the digest and the state of a stream. Its lists are in StreamLists.cpp, load and save in files of theirs.
namespace KX {

std::function<Result(CStream&)> CStream::m_fnDrmProcessBeforeSave;
std::function<Result(CStream&)> CStream::m_fnDrmProcessAfterLoad;
std::wstring CStream::m_strLoadFileLogPath;

Result CStream::SetIoBuffer(CIoBuffer* buffer) {
    m_pIoBuffer = buffer;
    return kResultOk;
}

Result CStream::SetProgress(CProgress* progress) {
    m_pProgress = progress;
    return kResultOk;
}

Result CStream::ReadIn(void* destination, unsigned long capacity, unsigned long count) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;

    const Result result = m_pIoBuffer->ReadIn(destination, capacity, count, m_pProgress);
    if (Failed(result)) return result;
    consumed += count;
    if (IsDigesting()) Digest(destination, count);
    return kResultOk;
}

Result CStream::WriteOut(const void* source, unsigned long count) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;

    if (IsDigesting()) Digest(source, count);
    const Result result = m_pIoBuffer->WriteOut(source, count, m_pProgress);
    if (Failed(result)) return result;
    written += count;
    return kResultOk;
}

Result CStream::Skip(unsigned int count) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;

    const Result result = m_pIoBuffer->Skip(count);
    if (!Failed(result)) consumed += count;
    return result;
}

Result CStream::GetSearchDirectory(std::wstring& directory) const {
    return m_pIoBuffer == nullptr ? kResultInvalidArgument : m_pIoBuffer->GetSearchDirectory(directory);
}

int CStream::FileVersion() const {
    return m_nFileVersion;
}

void CStream::SetFileVersion(const CVersion& version) {
    m_nFileVersion = static_cast<int>(version.Value());
}

void CStream::SetFileModifyTime(long long seconds) {
    m_nFileModifyTime = seconds;
}

long long CStream::GetFileModifyTime() {
    return m_nFileModifyTime;
}

void CStream::SetCompress(bool isOn) {
    m_bCompress = isOn;
}

void CStream::SetMd5(bool isOn) {
    m_bMd5 = isOn;
}

Result CStream::SetLzmaInterface(CLzmaInterFace* compressor) {
    m_pLzma = compressor;
    return kResultOk;
}

// The digest counts its input in 32 bits per call.
void CStream::Digest(const void* bytes, unsigned long count) {
    constexpr unsigned long kPiece = 1UL << 24;
    if (bytes == nullptr) return;

    const auto* next = static_cast<const unsigned char*>(bytes);
    for (; count > kPiece; count -= kPiece, next += kPiece) m_md5.UpdateMd5(next, static_cast<int>(kPiece));
    m_md5.UpdateMd5(next, static_cast<int>(count));
}

Result CStream::BeginSaveMD5() {
    if (!IsDigesting()) return kResultNothingDone;
    m_md5.Init();
    return kResultOk;
}

Result CStream::BeginLoadMD5() {
    isCovered = IsDigesting();
    return BeginSaveMD5();
}

Result CStream::EndSaveMD5() {
    if (!IsDigesting()) return kResultNothingDone;

    m_md5.Finalize();
    m_bMd5Active = false;  // the digest is no part of what it covers; stays so where it cannot be written
    const Result result = WriteOut(m_md5.GetMd5(), Container::kDigestSize);
    if (Failed(result)) return result;
    m_bMd5Active = true;
    return kResultOk;
}

Result CStream::EndLoadMD5() {
    if (!IsDigesting()) return kResultNothingDone;

    char stored[Container::kDigestSize];
    isCovered = false;
    m_bMd5Active = false;
    const Result result = ReadIn(stored, sizeof stored, sizeof stored);
    if (Failed(result)) return result;
    m_bMd5Active = true;
    m_md5.Finalize();
    return std::memcmp(stored, m_md5.GetMd5(), sizeof stored) == 0 ? kResultOk : kResultDigestMismatch;
}

std::string CStream::GetMd5String() const {
    return IsDigesting() ? m_md5.GetMd5() : "";
}

unsigned long long CStream::GetMd5TotalInputBits() const {
    return m_md5.GettotalInputBits();
}

Result CStream::TakeDeferred() {
    return std::exchange(deferred, kResultOk);
}

void CStream::FreeRawData() {
    delete[] std::exchange(m_pRawData, nullptr);
    m_nRawDataSize = 0;
}

void CStream::FreeCompressed() {
    delete[] std::exchange(m_pCompressed, nullptr);
    m_nCompressedSize = 0;
}

// The hooks for a derived stream.

Result CStream::GetHeadSize(unsigned long /*size*/) {
    return kResultNothingDone;
}

Result CStream::GetHeadStartTime() {
    return kResultNothingDone;
}

Result CStream::GetHeadEndTime() {
    return kResultNothingDone;
}

Result CStream::GetDataSize(unsigned long /*size*/) {
    return kResultNothingDone;
}

Result CStream::GetDataStartTime() {
    return kResultNothingDone;
}

Result CStream::GetDataEndTime() {
    return kResultNothingDone;
}

Result CStream::GetDataCompressStartTime() {
    return kResultNothingDone;
}

Result CStream::GetDataCompressEndTime() {
    return kResultNothingDone;
}

Result CStream::InitializeCompressInf() {
    return kResultNothingDone;
}

Result CStream::ShowSaveTimeAndSize() {
    return kResultNothingDone;
}

Result CStream::ShowLoadTimeAndSize() {
    return kResultNothingDone;
}

}  // namespace KX
