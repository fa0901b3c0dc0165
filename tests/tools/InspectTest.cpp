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
        std::ofstream(file) << bytes;
        const int status = Run("--json " + file);
        EXPECT_EQ(report["isIntact"], status == 0) << report << err;
        for (const Json& problem : report["problems"]) EXPECT_LE(problem["offset"], bytes.size());
        return report;
    }
    void ExpectProblem(const std::string& bytes, std::size_t offset, const std::string& words) {
        const Json& first = Inspect(bytes)["problems"][0];
        EXPECT_EQ(first["offset"], offset) << first;
        EXPECT_NE(first["what"].dump().find(words), std::string::npos) << first;
    }
    std::string file = "container";
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

// A shared object with the file "sh" and an unshared one with "un".
std::string HeaderBytes() {
    std::string flags(1024, '\0');
    flags[0] = flags[3] = flags[4] = 1;
    const std::string blocks = Little(2) + Little(0) + Little(1) + Little(3) + Little(2);
    const std::string shared = Little(1, 1) + Little(2) + Little(0x680073) + Little(0x4000000) + blocks + flags;
    return Little(2) + shared + Little(0, 1) + Little(2) + Little(0x6E0075) + Little(5000) + Little(1, 1) + Little(0);
}

class InspectHeaderTest : public InspectTest {
protected:
    InspectHeaderTest() {
        file = "store/KX_.mmfheader";
        std::filesystem::create_directory("store");
        MakeFile("store/sh", 0x4000002);
        MakeFile("store/un", 5002);
    }
    static void MakeFile(const char* name, std::uintmax_t size) {
        std::ofstream(name) << '.';
        std::filesystem::resize_file(name, size);
    }
    const std::string bytes = HeaderBytes();
};

TEST_F(InspectHeaderTest, TellsWhatTheObjectsHold) {
    Inspect(bytes);
    ASSERT_EQ(report["problems"], Json::array());
    const Json& shared = report["objects"][0];
    EXPECT_EQ(shared["blocks"], Json::parse(R"([{"firstSlot": 0, "slots": 1, "handle": "0x00010001"},
                                                {"firstSlot": 3, "slots": 2, "handle": "0x00010004"}])"));
    EXPECT_EQ(shared["freeSlots"], 1021);
    EXPECT_EQ(shared["longestFreeRun"], 1019);
    EXPECT_EQ(report["objects"][1], Json::parse(R"({"index": 1, "offset": 1061, "length": 18, "kind": "unshared",
        "name": "un", "nameLength": 2, "size": 5000, "isUsed": true, "maps": 0, "handle": "0x00020001", "backingFile":
        {"path": "store/un", "is": "regular", "size": 5002, "needed": 5002, "isLongEnough": true}})"));
    EXPECT_EQ(report["totals"], Json::parse(R"({"objects": 2, "blocks": 3, "bytes": 67113864})"));
    EXPECT_EQ(Inspect(With(bytes, 1067, "\xD8"))["objects"][1]["name"], "\\uD875n");
    EXPECT_EQ(Inspect(Little(0))["isIntact"], true);
}

TEST_F(InspectHeaderTest, IsToldByItsNameOrByOption) {
    for (const std::string name : {"store/KX_.mmfheader", "store/other"}) std::ofstream(name) << bytes;
    EXPECT_EQ(Run("store/KX_.mmfheader"), 0);
    EXPECT_NE(out.find("2 blocks: 0x00010001 at slot 0 (1), 0x00010004 at slot 3 (2)\n"), std::string::npos) << out;
    EXPECT_EQ(Run("store/other --kind header"), 0);
    EXPECT_EQ(Run("store/KX_.mmfheader --kind container"), 1);
}

TEST_F(InspectHeaderTest, FindsEveryCut) {
    for (std::size_t size = 0; size < bytes.size(); size += size == 50 ? 1000 : 1) {  // inside the flags
        EXPECT_EQ(Inspect(bytes.substr(0, size))["isIntact"], false) << size;
    }
}

TEST_F(InspectHeaderTest, TellsWhereAFileIsWrong) {
    const std::string most = Little(0xFFFFFFFF);
    ExpectProblem(With(bytes, 0, most), 0, "can number 16383");
    ExpectProblem(With(bytes, 0, Little(3)), 1079, "the kind of object 2");
    ExpectProblem(With(bytes, 0, Little(1)), 1061, "18 bytes are left");
    ExpectProblem(With(bytes, 5, most), 9, "the name of object 0");
    ExpectProblem(With(bytes, 13, Little(0x4000001)), 13, "size is 67108865");
    ExpectProblem(With(bytes, 17, most), 21, "the blocks of object 0");
    ExpectProblem(With(bytes, 25, Little(0)), 21, "is empty");
    ExpectProblem(With(bytes, 33, most), 29, "past the last");
    ExpectProblem(With(bytes, 25, Little(4)), 29, "overlaps the one from slot 0");
    ExpectProblem(With(bytes, 38, "\1"), 38, "slot 1: marked used");
    ExpectProblem(With(bytes, 40, Little(0, 2)), 40, "slots 3 to 4: of a block");
    ExpectProblem(With(bytes, 1062, Little(0)), 1062, "is empty");
    ExpectProblem(With(bytes, 1062, Little(256)).append(508, 'x'), 1062, "has 256 characters");
    EXPECT_EQ(report["rest"]["size"], 0);
    for (const char character : {'/', '\\', '\0'}) ExpectProblem(With(bytes, 1068, {character}), 1068, "a slash, ");
    ExpectProblem(With(bytes, 1066, Little(0x2E002E)), 1066, "of a folder");
    ExpectProblem(With(bytes, 1067, "\xD8"), 1066, "locale");
    ExpectProblem(With(bytes, 1066, bytes.substr(9, 4)), 1062, "that of object 0");
    ExpectProblem(With(bytes, 1066, "x"), 1062, "missing");
    ExpectProblem(With(bytes, 1070, Little(5001)), 1062, "5002 bytes, and 5003");
    ExpectProblem(With(bytes, 1070, Little(0xFFFFFFFE)), 1062, "and 4294967296");
    ExpectProblem(With(bytes, 1070, Little(0)), 1070, "size is 0");
    ExpectProblem(With(bytes, 1070, most), 1070, "size is 4294967295");
    ExpectProblem(With(bytes, 1075, Little(1)), 1075, "count of 1 maps");
    ASSERT_EQ(Shell("ln -sf sh store/un"), 0);
    ExpectProblem(bytes, 1062, "a link");
    ASSERT_EQ(Shell("rm store/un && mkdir store/un"), 0);
    ExpectProblem(bytes, 1062, "not a regular");
    EXPECT_EQ(NamesIn("store"), (std::vector<std::string>{"KX_.mmfheader", "sh", "un"}));
}

}  // namespace
