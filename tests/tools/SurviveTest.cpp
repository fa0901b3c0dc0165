#include <csignal>

#include "support/ProgramTest.h"

namespace {

const std::string kSurvive = kProgram + "survive --json --blocks 2 --size 67112960 --folder ";

class SurviveTest : public ProgramTest {
protected:
    SurviveTest() { std::filesystem::create_directory("store"); }
    ~SurviveTest() override { EXPECT_TRUE(NamesIn("store").empty()); }
};

TEST_F(SurviveTest, ComparesInAnotherProcessEveryByteThatAKilledOneWrote) {
    ASSERT_EQ(Shell(kSurvive + "store >out 2>err"), 0) << err;
    EXPECT_EQ(report["verified"], true);
    EXPECT_EQ(report["bytes_compared"], 2 * 67112960);
    EXPECT_GE(report["bytes_rewritten"], 67112960);
    EXPECT_GT(report["header_bytes"], 1024);  // the flags of the small block's object
    EXPECT_EQ(report["small_block_kept"], false);
    EXPECT_EQ(report["files_left"], 0);
}

TEST_F(SurviveTest, NamesWhatKeepsItFromWriting) {
    EXPECT_EQ(Shell(kSurvive + "missing >out 2>err"), 1);
    EXPECT_TRUE(Tells("'missing': No such file")) << err;
    EXPECT_EQ(Shell("ulimit -f 1000; " + kSurvive + "store >out 2>err"), 1);
    EXPECT_TRUE(Tells("block 0, offset 0: no backing file") && Tells("on its own, by status 1")) << err;
    EXPECT_EQ(Shell(kSurvive + "store --size 64m >out 2>err"), 105);
    EXPECT_EQ(out, "");
}

TEST_F(SurviveTest, StopsAtASignalAndCleansUp) {
    EXPECT_EQ(Shell("mkfifo pipe; " + kSurvive + "store 2>pipe & read line <pipe; kill -TERM $!; wait $!"),
              128 + SIGTERM);
}

}  // namespace
