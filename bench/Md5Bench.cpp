// The digest of a stream's bytes, against MD5 by OpenSSL: its transform is the same, only its padding differs.

#include <openssl/evp.h>

#include <memory>
#include <vector>

#include "Workload.h"
#include "io/Md5.h"

namespace {

constexpr std::size_t kSize = 0x100000;

const std::vector<unsigned char>& Message() {
    static const std::vector<unsigned char> message(kSize, 'K');
    return message;
}

struct COurs {
    void Update(const unsigned char* data, std::size_t size) { md5.UpdateMd5(data, static_cast<int>(size)); }
    void Finish() {
        md5.Finalize();
        benchmark::DoNotOptimize(md5.GetMd5());
    }

    MD5 md5;
};

struct COpenSsl {
    COpenSsl() { Require(EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) == 1, "OpenSSL has no MD5"); }

    void Update(const unsigned char* data, std::size_t size) const { EVP_DigestUpdate(context.get(), data, size); }
    void Finish() const {
        unsigned char digest[EVP_MAX_MD_SIZE];
        Require(EVP_DigestFinal_ex(context.get(), digest, nullptr) == 1, "OpenSSL made no digest");
        benchmark::DoNotOptimize(digest);
    }

    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

template <typename Side>
void RegisterSide(const std::string& name, std::size_t piece) {
    Register(name, [piece](benchmark::State& state) {
        const std::vector<unsigned char>& message = Message();
        for (auto _ : state) {
            Side side;
            for (std::size_t at = 0; at < kSize; at += piece) side.Update(message.data() + at, piece);
            side.Finish();
        }
        state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize));
    });
}

void RegisterPieces(const std::string& kind, std::size_t piece) {
    RegisterSide<COurs>("digest/" + kind, piece);
    RegisterSide<COpenSsl>("digest/" + kind + "-openssl", piece);
    CompareSpeed("digest/" + kind, "digest/" + kind + "-openssl", 0.9);
}

}  // namespace

void RegisterMd5Bench() {
    RegisterPieces("1MiB-at-once", kSize);
    RegisterPieces("1MiB-by-8", 8);
}
