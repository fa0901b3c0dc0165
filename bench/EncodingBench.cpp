// Converting a path, against a switch of the process's locale around each call.

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "Workload.h"
#include "string/Encoding.h"

namespace {

struct Path {
    std::string narrow;
    std::wstring wide;
};

// 60 characters each.
const Path kAscii = {"/home/user/projects/illustration/pages/chapter-03/page-001.o",
                     L"/home/user/projects/illustration/pages/chapter-03/page-001.o"};
const Path kHalfCjk = {"/home/user/漫畫作品集第一部分冊/原稿與草圖資料夾/第三話分鏡完稿圖檔/上半部/chap03/page-1.o",
                       L"/home/user/漫畫作品集第一部分冊/原稿與草圖資料夾/第三話分鏡完稿圖檔/上半部/chap03/page-1.o"};

// What the conversion gives while the whole process runs under the locale.
template <typename Convert>
auto Switched(Convert convert) {
    const std::string previous = std::setlocale(LC_ALL, nullptr);
    Require(std::setlocale(LC_ALL, KX::kTextLocale) != nullptr, "no such locale");
    auto result = convert();
    std::setlocale(LC_ALL, previous.c_str());
    return result;
}

std::string SwitchAndNarrow(const std::wstring& text) {
    return Switched([&] {
        std::string narrow(text.size() * 4 + 4, '\0');
        (void)std::wcstombs(narrow.data(), text.c_str(), narrow.size());
        narrow.resize(std::strlen(narrow.c_str()));
        return narrow;
    });
}

std::wstring SwitchAndWiden(const std::string& text) {
    return Switched([&] {
        std::wstring wide(text.size() + 1, L'\0');
        (void)std::mbstowcs(wide.data(), text.c_str(), wide.size());
        wide.resize(std::wcslen(wide.c_str()));
        return wide;
    });
}

std::string Narrow(const std::wstring& text) {
    return KX::ConvertToString(text);
}

std::wstring Widen(const std::string& text) {
    return KX::ConvertToWstring(text);
}

// Ours runs once ahead of either side: from then on the locale is loaded. A switch to a locale that nobody uses
// would read it anew, and the peer would depend on the order of the benchmarks.
template <typename From, typename To>
void RegisterConversion(const std::string& name, To (*convert)(const From&), const From& from, const To& wanted) {
    Register(name, [=](benchmark::State& state) {
        Require(Narrow(kHalfCjk.wide) == kHalfCjk.narrow && convert(from) == wanted, "converted wrongly");
        for (auto _ : state) benchmark::DoNotOptimize(convert(from));
    });
}

void RegisterPath(const std::string& kind, const Path& path) {
    RegisterConversion("narrow/" + kind, Narrow, path.wide, path.narrow);
    RegisterConversion("narrow/" + kind + "-by-setlocale", SwitchAndNarrow, path.wide, path.narrow);
    RegisterConversion("widen/" + kind, Widen, path.narrow, path.wide);
    RegisterConversion("widen/" + kind + "-by-setlocale", SwitchAndWiden, path.narrow, path.wide);
    CompareSpeed("narrow/" + kind, "narrow/" + kind + "-by-setlocale", 5);
    CompareSpeed("widen/" + kind, "widen/" + kind + "-by-setlocale", 5);
}

void NarrowAndWiden(benchmark::State& state) {
    for (auto _ : state) {
        Require(Narrow(kHalfCjk.wide) == kHalfCjk.narrow, "narrowed wrongly");
        Require(Widen(kHalfCjk.narrow) == kHalfCjk.wide, "widened wrongly");
    }
}

}  // namespace

void RegisterEncodingBench() {
    RegisterPath("ascii", kAscii);
    RegisterPath("half-cjk", kHalfCjk);
    Register("narrow-and-widen", NarrowAndWiden)->Threads(8);
}
