#include "system/OperatingSystem.h"

#include <sys/time.h>
#include <chrono>
#include <csignal>
#include <sstream>

#include "support/TempFolder.h"
#include "system/System.h"
#include "system/platform/LinuxFacts.h"

namespace fs = std::filesystem;
using KX::CSystem;

namespace {

using OperatingSystemTest = TempFolderTest;

TEST_F(OperatingSystemTest, ReleasesHaveTheirIndex) {
    struct Case {
        KX::Platform::Release first, last;
        int index;
        bool isRising;
    };
    for (const auto& [first, last, index, isRising] :
         {Case{{0, 0, 0}, {0, 0, 0}, -1, false}, Case{{9, 20, 0}, {9, 20, 0}, -1, false},
          Case{{10, 5, 0}, {10, 5, 9}, -1, false}, Case{{10, 6, 0}, {10, 6, 8}, 0, true},
          Case{{10, 6, 9}, {10, 6, 12}, 17, false}, Case{{10, 7, 0}, {10, 7, 5}, 9, true},
          Case{{10, 7, 6}, {10, 7, 9}, 17, false}, Case{{10, 8, 0}, {10, 8, 0}, 15, false},
          Case{{10, 8, 1}, {10, 8, 1}, -1, false}, Case{{10, 8, 2}, {10, 8, 2}, 16, false},
          Case{{10, 8, 3}, {10, 8, 9}, 17, false}, Case{{10, 9, 0}, {10, 9, 8}, 17, false},
          Case{{10, 16, 1}, {10, 16, 1}, 17, false}, Case{{11, 0, 0}, {11, 0, 1}, 17, false}}) {
        for (int bugFix = first.bugFix; bugFix <= last.bugFix; ++bugFix) {
            EXPECT_EQ(KX::ReleaseIndex({first.major, first.minor, bugFix}), index + (isRising ? bugFix : 0))
                << first.major << "." << first.minor << "." << bugFix;
        }
    }
}

TEST_F(OperatingSystemTest, ABundleIsTakenApartAndCut) {
    const KX::CBundle bundle("/Applications/\xE6\x96\x87.v2.app");
    EXPECT_EQ(bundle.folder, L"/Applications/");
    EXPECT_EQ(bundle.name, L"\u6587.v2.app");
    EXPECT_EQ(KX::CBundle("/" + std::string(300, 'x')).name, std::wstring(258, L'x'));
    EXPECT_EQ(KX::CBundle("").folder + KX::CBundle("").name, L"");
}

TEST_F(OperatingSystemTest, LinuxFactsAreReadAsTheyAreMeant) {
    using KX::Platform::BundleOfProgram;
    using KX::Platform::DataFolder;
    EXPECT_EQ(BundleOfProgram("/a/X.app/Contents/MacOS/X"), "/a/X.app");
    EXPECT_EQ(BundleOfProgram("/a/X/Contents/MacOS/X"), "/a/X/Contents/MacOS");
    EXPECT_EQ(BundleOfProgram("/a/X.app/Contents/MacOS/bin/X"), "/a/X.app/Contents/MacOS/bin");
    EXPECT_EQ(BundleOfProgram("/usr/bin/x (deleted)"), "/usr/bin");
    EXPECT_EQ(BundleOfProgram("/x"), "/");
    EXPECT_EQ(BundleOfProgram(""), "");

    for (const char* const ignored : {static_cast<const char*>(nullptr), "", "relative"}) {
        EXPECT_EQ(DataFolder(ignored, "/home/u"), "/home/u/.local/share");
        EXPECT_EQ(DataFolder(ignored, ""), "");
        EXPECT_EQ(DataFolder(ignored, "relative"), "");
    }
    EXPECT_EQ(DataFolder("/x/y//", "/home/u"), "/x/y");
    EXPECT_EQ(DataFolder("/", ""), "/");

    struct Case {
        const char* line;
        bool isConnected;
    };
    for (const auto& [line, isConnected] :
         {Case{"eth0 00000000 010200C0 0003 0 0 0 00000000 0 0 0", true},
          Case{"tun0 00000000 00000000 0001 0 0 50 00000000 0 0 0", true},
          Case{"eth0 00000000 010200C0 0002 0 0 0 00000000 0 0 0", false},  // down
          Case{"* 00000000 00000000 0201 0 0 0 00000000 0 0 0", false},     // refuses
          Case{"eth0 000200C0 00000000 0001 0 0 0 00FFFFFF 0 0 0", false},  // to one network
          Case{"tun0 00000000 00000000 0003 0 0 0 00000080 0 0 0", false},  // to half of them
          Case{"eth0 00000000 010200C0 0003", false}, Case{"", false}}) {
        std::istringstream routes("Iface Destination Gateway Flags RefCnt Use Metric Mask MTU Window IRTT\n" +
                                  std::string(line) + "\n");
        EXPECT_EQ(KX::IsConnected(KX::Platform::ReachabilityByRoutes(routes)), isConnected) << line;
    }
}

TEST_F(OperatingSystemTest, ConnectedIsReachableWithoutDialling) {
    EXPECT_FALSE(KX::IsConnected(std::nullopt));
    for (unsigned int flags = 0; flags < 16; ++flags) EXPECT_EQ(KX::IsConnected(flags), (flags & 6U) == 2) << flags;
}

TEST_F(OperatingSystemTest, ThisProgramAndItsUserHaveTheirFolders) {
    const std::wstring module = CSystem::GetModulePath(L"");
    EXPECT_TRUE(fs::is_directory(module)) << fs::path(module);
    EXPECT_TRUE(fs::equivalent(CSystem::GetBundlePath(L""), fs::path(module) / CSystem::GetModuleName()));
    EXPECT_EQ(CSystem::GetBundlePath(L"a/b"), module + CSystem::GetModuleName() + L"/a/b");
    EXPECT_EQ(CSystem::GetModulePath(L"a/b"), module + L"a/b");
#ifdef __linux__
    EXPECT_TRUE(fs::exists(CSystem::GetBundlePath(L"kxmmf-tests")));
    const fs::path wanted = folder / "data \xE6\x96\x87/share";
    ::setenv("XDG_DATA_HOME", (wanted / "").c_str(), 1);
    EXPECT_EQ(CSystem::GetApplicationSupportPath(), folder.wstring() + L"/data \u6587/share");
    for (const fs::path& made : {wanted, wanted.parent_path()}) {
        EXPECT_EQ(fs::status(made).permissions(), fs::perms::owner_all) << made;
    }
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(CSystem::GetOSVersion(), 17);
#endif
    EXPECT_TRUE(CSystem::Is64BitOS());
    EXPECT_EQ(CSystem::NetworkConnected(), KX::IsConnected(KX::Platform::Reachability()));
}

TEST_F(OperatingSystemTest, SleepGoesOnAfterASignal) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction before {};
    ::sigaction(SIGALRM, &action, &before);
    const itimerval soon{{0, 0}, {0, 20'000}};
    const auto start = std::chrono::steady_clock::now();
    ::setitimer(ITIMER_REAL, &soon, nullptr);
    CSystem::MSleep(1050);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1049));
    ::sigaction(SIGALRM, &before, nullptr);
}

}  // namespace
