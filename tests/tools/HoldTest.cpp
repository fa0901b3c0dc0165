#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>

#include "support/ProgramTest.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr std::uintmax_t kSlot = 0x10000;
constexpr std::uintmax_t kWindow = 0x1000000;
constexpr std::uintmax_t kLargestShared = 0x4000000;
const std::string kHold = kProgram + "hold --json ";

// A sparse file with a mark at its end and on both sides of the windows' borders.
void Make(const fs::path& path, std::uintmax_t size, char mark) {
    if (path.has_parent_path()) fs::create_directories(path.parent_path());
    std::ofstream file(path);
    for (std::uintmax_t border = kWindow; border < size; border += kWindow) {
        file.seekp(static_cast<std::streamoff>(border - 1)).put(mark).put(mark);
    }
    if (size > 0) file.seekp(static_cast<std::streamoff>(size - 1)).put(mark);
    ASSERT_TRUE(file.flush());
}

class HoldTest : public ProgramTest {
protected:
    HoldTest() { Make("KXTmp/stray", 1, 'x'); }  // as other programs leave it in the stores' usual folder
    ~HoldTest() override {
        for (const std::string& name : NamesIn(folder)) EXPECT_FALSE(name.starts_with("kxstore-")) << name;
    }

    int Hold(const std::string& arguments) { return Shell(kHold + arguments + " >out 2>err"); }
};

TEST_F(HoldTest, HoldsEveryFileBelowAFolderInTheKindOfBlockThatItsSizeAsksFor) {
    const std::map<std::string, std::uintmax_t> sizes{{"tree/1", 1},
                                                      {"tree/a/b/slot", kSlot},
                                                      {"tree/a/\x1B[2J\nmore", kSlot + 1},
                                                      {"tree/empty", 0},
                                                      {"tree/shared", kLargestShared},
                                                      {"tree/unshared", kLargestShared + 1},
                                                      {"tree/unshared, too", kLargestShared + kWindow}};
    char mark = 'A';
    for (const auto& [name, size] : sizes) Make(name, size, mark++);
    fs::create_directory_symlink(".", "tree/loop");
    fs::create_symlink("1", "tree/link");
    ASSERT_EQ(::mkfifo("tree/pipe", 0600), 0);

    ASSERT_EQ(Hold("tree"), 0) << err;
    std::map<std::string, std::uintmax_t> held;
    for (const Json& row : report["files"]) {
        const std::uintmax_t size = held[row["file"]] = row["size"];
        EXPECT_TRUE(row["verified"] && row["handle"].is_null() == (size == 0)) << row;
        EXPECT_EQ(row["kind"], size == 0 ? Json() : Json(size > kLargestShared ? "unshared" : "shared")) << row;
    }
    EXPECT_EQ(held, sizes);
    EXPECT_EQ(report["summary"]["blocks"], 6);
    EXPECT_EQ(report["summary"]["objects"], 4);  // one for small blocks, one for each of the others

    ASSERT_EQ(Shell(kProgram + "hold tree >out 2>err"), 0) << err;
    EXPECT_NE(out.find("       65537  0x00010002  0      shared    tree/a/\\x1B[2J\\x0Amore\n"), out.npos) << out;
}

TEST_F(HoldTest, JoinsAllFilesAcrossTheBordersOfWindows) {
    for (const char name : {'a', 'b', 'c'}) Make(std::string("tree/") + name, 2 * kWindow - 1, name);
    ASSERT_EQ(Hold("--join tree missing tree"), 1);
    EXPECT_TRUE(Tells("'missing': No such file")) << err;
    ASSERT_EQ(report["files"].size(), 1);
    EXPECT_EQ(report["files"][0]["files"], 6);
    EXPECT_EQ(report["files"][0]["size"], 6 * (2 * kWindow - 1));
    EXPECT_EQ(report["files"][0]["verified"], true);
}

TEST_F(HoldTest, NamesWhatItCannotHoldAndHoldsTheRest) {
    const CMount disk("disk", "size=8m");
    Make("[good,{}]", 5, 'g');
    Make("no room", kLargestShared + 1, 'n');
    Make("too large", 0xFFFFFFFF, 't');
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    fs::create_symlink("[good,{}]", "link");

    EXPECT_EQ(Hold("--folder disk missing pipe 'too large' 'no room' '[good,{}]' link"), 1);
    EXPECT_TRUE(Tells("'missing'") && Tells("'pipe'") && Tells("'too large'")) << err;
    EXPECT_EQ(Tells("'no room': the disk has no room:"), disk.IsMounted()) << err;
    EXPECT_EQ(report["files"].size(), disk.IsMounted() ? 2 : 3);
    EXPECT_TRUE(NamesIn("disk").empty());
}

TEST_F(HoldTest, HoldsNoMoreAtOnceThanAsked) {
    for (const char name : {'a', 'b', 'c', 'd'}) Make(std::string("tree/") + name, kSlot, name);
    for (const auto& [atOnce, batches] : std::map<std::string, int>{{"0", 4}, {"191k", 2}, {"256k", 1}}) {
        EXPECT_EQ(Hold("tree --at-once " + atOnce), 0);
        EXPECT_EQ(report["summary"]["objects"], batches) << atOnce;
    }
}

// Standard error goes into the source: telling how far it is filled changes it.
TEST_F(HoldTest, TellsThatASourceChangedWhileItWasHeld) {
    Make("err", 4096, 'x');
    EXPECT_EQ(Shell(kHold + "err >out 2<>err"), 1);
    EXPECT_TRUE(Tells("'err': is not what its block holds")) << err;
    EXPECT_EQ(report["files"][0]["verified"], false);

    EXPECT_EQ(Shell(kHold + "err >out 2>>err"), 1);
    EXPECT_TRUE(Tells("'err': does not end where its size")) << err;
}

TEST_F(HoldTest, StopsAtASignalAndCleansUp) {
    Make("large", 24 * kWindow, 'l');
    ASSERT_EQ(::mkfifo("err", 0600), 0);
    EXPECT_EQ(std::system((kHold + "large 2>err & read line <err; kill -TERM $!; wait $!").c_str()) >> 8,
              128 + SIGTERM);
}

TEST_F(HoldTest, KeepsItsOutputApartFromItsFilesAndFromThoseOfOthers) {
    Make("unshared", kLargestShared + 1, 'u');
    EXPECT_EQ(Shell(kHold + "unshared >out 2>&-"), 0);
    EXPECT_EQ(Shell(kHold + "unshared >&- 2>err"), 1);
    EXPECT_EQ(Shell(kProgram + "--help >&- 2>err"), 1);
    EXPECT_EQ(Shell(kProgram + "hold >out 2>err"), 106);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Hold("--at-once=-1 unshared"), 105);
    fs::rename("unshared", "--json");
    EXPECT_EQ(Hold("-- --json"), 0) << err;
}

}  // namespace
