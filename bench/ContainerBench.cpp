// Saving and loading scenes of linked objects to and from memory, against libraries that archive objects.
//
// Every time is that of a million objects: of one scene, or of ten of 100,000 after one another, so that the ratio of
// the two is what the time of an object grows by. Building and releasing the objects is not in it. What a side needs
// to save counts with the save; what it keeps after a load (our links, the peers' archives) goes with the release.

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "Scene.h"

namespace fs = std::filesystem;

namespace {

using MakeSide = std::function<std::unique_ptr<CSceneSide>()>;

struct Volume {
    std::string name;
    std::size_t count;
    int rounds;
    int repetitions;
};

// Memory that goes back to the system between two rounds would be timed as it comes again.
void KeepFreedMemory() {
#ifdef M_TRIM_THRESHOLD
    Require(::mallopt(M_TRIM_THRESHOLD, -1) == 1 && ::mallopt(M_MMAP_MAX, 0) == 1, "malloc takes no options");
#endif
}

// malloc keeps small pieces apart that were freed, and joins them when it is next asked for a large one. What a release
// has left is joined here, or it would be timed with the load that comes after.
void SettleHeap() {
    constexpr std::size_t kLarge = 0x100000;
    void* piece = std::malloc(kLarge);
    benchmark::DoNotOptimize(piece);
    std::free(piece);
}

// The folder in which saves run. They leave a list of the objects there, unless a folder has the name of its file.
enum class List { Written, Impossible };

class CFolderScope : private boost::noncopyable {
public:
    explicit CFolderScope(List list) {
        const fs::path folder = WorkFolder() / (list == List::Written ? "listed" : "unlisted");
        fs::create_directory(folder);
        if (list == List::Impossible) fs::create_directory(folder / R"(C:\KXLog\StreamSave_ObjectList.txt)");
        fs::current_path(folder);
    }
    ~CFolderScope() {
        std::error_code ignored;
        fs::current_path(before, ignored);
    }

private:
    const fs::path before = fs::current_path();
};

// A side that has saved and loaded before: with it all that a round needs has been touched.
CSceneSide& WarmSide(const std::string& name, const MakeSide& make) {
    static std::map<std::string, std::unique_ptr<CSceneSide>> sides;
    std::unique_ptr<CSceneSide>& side = sides[name];
    if (side != nullptr) return *side;

    side = make();
    side->Save();
    side->Load();
    side->Verify();
    side->Release();
    return *side;
}

using Step = void (CSceneSide::*)();

// Of the steps of a round, times one.
void TimeStep(benchmark::State& state, CSceneSide& side, const Volume& volume, Step timed,
              const std::vector<Step>& before, const std::vector<Step>& after) {
    const auto run = [&](const std::vector<Step>& steps) {
        for (const Step step : steps) (side.*step)();
    };
    for (auto _ : state) {
        for (int round = 0; round < volume.rounds; ++round) {
            state.PauseTiming();
            run(before);
            SettleHeap();
            state.ResumeTiming();
            (side.*timed)();
            state.PauseTiming();
            run(after);
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(state.iterations() * volume.rounds * static_cast<std::int64_t>(volume.count));
}

std::string NameOf(const std::string& what, const Volume& volume, const std::string& side) {
    return what + '/' + volume.name + '/' + side;
}

void RegisterStep(const std::string& what, const Volume& volume, const std::string& side,
                  const std::function<void(benchmark::State&)>& body) {
    Register(NameOf(what, volume, side), body)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1)
        ->Repetitions(volume.repetitions);
}

void RegisterSave(const Volume& volume, const std::string& name, const std::string& sideName, const MakeSide& make,
                  List list = List::Written) {
    RegisterStep("save", volume, name, [=](benchmark::State& state) {
        const CFolderScope folder(list);
        CSceneSide& side = WarmSide(NameOf("side", volume, sideName), make);
        TimeStep(state, side, volume, &CSceneSide::Save, {&CSceneSide::DropSaved}, {});
    });
}

void RegisterLoad(const Volume& volume, const std::string& name, const MakeSide& make) {
    const auto sideOf = [=]() -> CSceneSide& {
        const CFolderScope folder(List::Written);
        return WarmSide(NameOf("side", volume, name), make);
    };
    RegisterStep("load", volume, name, [=](benchmark::State& state) {
        TimeStep(state, sideOf(), volume, &CSceneSide::Load, {}, {&CSceneSide::Release});
    });
    RegisterStep("release", volume, name, [=](benchmark::State& state) {
        TimeStep(state, sideOf(), volume, &CSceneSide::Release, {&CSceneSide::Load}, {});
    });
}

void RegisterSides(const Volume& volume) {
    const std::size_t count = volume.count;
    const MakeSide below = [=] { return MakeOurScene(count, Layout::AllBelowOne, Form::Plain); };
    const MakeSide digested = [=] { return MakeOurScene(count, Layout::AllBelowOne, Form::Digested); };
    const std::map<std::string, MakeSide> sides = {
        {"container", below},
        {"digested", digested},
        {"top-level", [=] { return MakeOurScene(count, Layout::AllTopLevel, Form::Plain); }},
        {"boost", [=] { return MakeBoostScene(count); }},
        {"cereal", [=] { return MakeCerealScene(count); }},
    };
    for (const auto& [name, make] : sides) {
        RegisterSave(volume, name, name, make);
        RegisterLoad(volume, name, make);
    }
    RegisterSave(volume, "unlisted", "container", below, List::Impossible);
    RegisterSave(volume, "digested-unlisted", "digested", digested, List::Impossible);
}

// The list of the objects may cost a tenth of a save as a stream makes it unless told otherwise.
void RegisterList() {
    const Volume volume = {"100k", 100'000, 1, 9};
    const MakeSide make = [=] { return MakeOurScene(volume.count, Layout::AllBelowOne, Form::Compressed); };
    RegisterSave(volume, "compressed", "compressed", make);
    RegisterSave(volume, "compressed-unlisted", "compressed", make, List::Impossible);
    CompareCost(NameOf("save", volume, "compressed"), NameOf("save", volume, "compressed-unlisted"), 1.1);
}

void CompareSides(const Volume& volume) {
    for (const std::string peer : {"boost", "cereal"}) {
        for (const std::string what : {"save", "load"}) {
            CompareSpeed(NameOf(what, volume, "container"), NameOf(what, volume, peer), 1);
            CompareSpeed(NameOf(what, volume, "top-level"), NameOf(what, volume, peer));
            CompareSpeed(NameOf(what, volume, "digested"), NameOf(what, volume, peer));
        }
        CompareSpeed(NameOf("release", volume, "container"), NameOf("release", volume, peer));
    }
    CompareCost(NameOf("save", volume, "container"), NameOf("save", volume, "unlisted"));
    CompareCost(NameOf("save", volume, "digested"), NameOf("save", volume, "digested-unlisted"));
}

void CompareGrowth(const Volume& larger, const Volume& smaller) {
    for (const std::string what : {"save", "load"}) {
        for (const std::string side : {"container", "top-level"}) {
            CompareCost(NameOf(what, larger, side), NameOf(what, smaller, side), 1.2);
        }
        for (const std::string side : {"boost", "cereal"}) {
            CompareCost(NameOf(what, larger, side), NameOf(what, smaller, side));
        }
    }
    CompareCost(NameOf("save", larger, "unlisted"), NameOf("save", smaller, "unlisted"));
}

}  // namespace

void RegisterContainerBench(bool isQuick) {
    KeepFreedMemory();
    const Volume smaller = {"100k", 100'000, isQuick ? 1 : 10, isQuick ? 1 : 9};
    const Volume larger = {"1M", 1'000'000, 1, 9};
    RegisterSides(smaller);
    CompareSides(smaller);
    RegisterList();
    if (isQuick) return;

    RegisterSides(larger);
    CompareSides(larger);
    CompareGrowth(larger, smaller);
}
