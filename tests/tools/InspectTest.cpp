#include <sys/stat.h>

#include "support/ContainerWriter.h"
#include "support/ProgramTest.h"

namespace {

using Json = nlohmann::json;

std::string With(std::string bytes, std::size_t offset, const std::string& replacement) {
    return bytes.replace(offset, replacement.size(), replacement);
}

class InspectTest : public ProgramTest {
protected:
    int Run(const std::string& arguments) { return Shell(kProgram + "inspect " + arguments + " >out 2>err"); }
    // Every report has to agree with itself and with the exit status.
    const Json& Inspect(const std::string& bytes) {
        std::ofstream("container") << bytes;
        const int status = Run("--json container");
        EXPECT_EQ(report["isIntact"], status == 0) << report << err;
        for (const Json& problem : report["problems"]) EXPECT_LE(problem["offset"], bytes.size());
        return report;
    }
    void ExpectProblem(const std::string& bytes, std::size_t offset, const std::string& words) {
        const Json& first = Inspect(bytes)["problems"][0];
        EXPECT_EQ(first["offset"], offset) << first;
        EXPECT_NE(first["what"].dump().find(words), std::string::npos) << first;
    }
};

void ExpectSections(const Json& report, const CContainer& container, std::size_t size) {
    const Json& sections = report["sections"];
    const Json& data = sections[3];
    EXPECT_EQ(data["offset"], size - container.DataSection().size());
    EXPECT_EQ(data.contains("digest"), container.hasDigest);
    EXPECT_EQ(sections[1].contains("digest"), container.hasDigest && container.version >= 305);
    EXPECT_EQ(data.contains("records"), container.version >= 303 && !container.isCompressed);
    if (!data.contains("records")) return;
    EXPECT_EQ(report["classTable"]["list"].size(), container.classes.size());
    EXPECT_EQ(data.value("hasSameClasses", false), container.version >= 305);
    EXPECT_EQ(data["records"]["classes"][0]["id"], kNodeClass);
    EXPECT_EQ(data["records"]["classes"][0]["topLevel"], 2);
}

TEST_F(InspectTest, TellsWhatContainersOfEveryVersionHold) {
    for (const std::string& name : GoldenNames()) {
        SCOPED_TRACE(name);
        const CContainer container = Golden(name);
        const std::string bytes = container.Bytes();
        Inspect(bytes + "more");
        ASSERT_EQ(report["problems"], Json::array());
        EXPECT_EQ(report["header"]["version"], container.version);
        const bool isTold = container.version > 300;
        EXPECT_EQ(report["rest"]["is"], isTold ? "trailing" : "needs classes");
        EXPECT_EQ(report["rest"]["size"], isTold ? 4 : bytes.size() + 4 - (container.version < 300 ? 21 : 15));
        if (isTold) ExpectSections(report, container, bytes.size());
    }
}

TEST_F(InspectTest, ReadsMoreThanItHoldsAtOnce) {
    CContainer container = Golden("orca306");
    for (std::uint32_t id = 0; id < 6000; ++id) container.classes[id] = id;
    container.data.resize(3001, container.data.front());
    Inspect(container.Bytes());
    EXPECT_EQ(report["isIntact"], true) << report["problems"];
    EXPECT_EQ(report["sections"][3]["records"]["records"], 3001);
}

TEST_F(InspectTest, FindsEveryCut) {
    CContainer container;
    container.hasDigest = true;
    container.classes = {{kNodeClass, 100}};
    container.drm = {{kNodeClass, 1, L"", {}}};
    container.data = {{kNodeClass, 2, L"", {}, true}};
    const std::string bytes = container.Bytes();
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        EXPECT_EQ(Inspect(bytes.substr(0, size))["isIntact"], size == bytes.size()) << size;
    }
}

TEST_F(InspectTest, TellsWhereAFileIsWrongAndReadsOn) {
    const CContainer container = Golden("orca306");
    const std::string bytes = container.Bytes();
    const std::size_t drm = container.CountPositions()[2];
    const std::size_t second = drm + 4 + 12 + container.drm[0].Body().size();
    const std::size_t drmEnd = second + 12 + container.drm[1].Body().size();
    const std::size_t data = bytes.size() - container.DataSection().size();
    const std::size_t record = data + 8 + 12 * container.classes.size();  // the first one, of a top-level object
    const std::string most = Little(0xFFFFFFFF);

    ExpectProblem(With(bytes, 0, "\xFF"), 0, "magic");
    ExpectProblem(With(bytes, 11, Little(2)), 7, "refused");
    ExpectProblem(With(bytes, 7, most), 7, "too new");
    ExpectProblem(With(bytes, 17, Little(0)), 21, "no bytes");
    ExpectProblem(With(bytes, drm - 4, most), drm - 4, "4294967295 bytes");
    ExpectProblem(With(bytes, drm, most), drmEnd, "ends inside");
    ExpectProblem(With(bytes, drm, Little(1)), second, "left behind");
    ExpectProblem(With(bytes, data - 12, most), data - 12, "too new");
    ExpectProblem(With(bytes, data - 4, Little(31)), data, "no room for its digest");
    ExpectProblem(With(bytes, record + 16, most), record, "has 4294967295 bytes");
    ExpectProblem(With(bytes, bytes.size() - 1, "\xFF"), bytes.size() - 32, "digest of the data");

    for (const std::size_t field : {17U, 21U}) {  // of the class table: the other one tells where it ends
        EXPECT_EQ(Inspect(With(bytes, field, Little(0)))["problems"].size(), 1);
        EXPECT_EQ(Inspect(With(bytes, field, most))["problems"].size(), 1);
    }
    Inspect(With(bytes, drm + 30, "\xFF"));  // inside the first object
    EXPECT_EQ(report["problems"].size(), 1);
    EXPECT_EQ(report["sections"][1]["digest"]["isRight"], false);
    EXPECT_EQ(report["sections"][3]["digest"]["isRight"], true);
    EXPECT_EQ(Inspect(With(bytes, data + 10, "\xFF"))["sections"][3]["hasSameClasses"], false);
}

TEST_F(InspectTest, ReportsInTextAndRefusesWhatIsNoFile) {
    std::ofstream("container") << Golden("orca306").Bytes();
    EXPECT_EQ(Run("container"), 0);
    EXPECT_NE(out.find("of class 17 (0x11)\n"), std::string::npos) << out;
    EXPECT_NE(out.find(" bytes, 2 at the top level\n"), std::string::npos) << out;
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    for (const std::string name : {"pipe", ".", "missing"}) {
        EXPECT_EQ(Run("--json " + name), 1);
        EXPECT_EQ(out, "");
        EXPECT_NE(err.find("'" + name + "'"), std::string::npos) << err;
    }
}

}  // namespace
