#include "stream/LinkIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "support/TestObjects.h"

using KX::COrcaID;

namespace {

// Identifiers as files may have them: mostly one after the other, with gaps, in any order, or chosen to fall on the
// same places of a table.
struct Numbering {
    const char* name;
    unsigned long long first, step;
    int shuffled;  // of 10 identifiers, so many stand elsewhere
};

constexpr Numbering kNumberings[] = {{"consecutive", 1, 1, 0},
                                     {"shuffled", 1, 1, 3},
                                     {"gaps", 7, 3, 1},
                                     {"colliding", 0, 1ULL << 40, 1},
                                     {"past the top", ~0ULL - 100, 1, 0},
                                     {"same", 5, 0, 0}};

void ExpectIsAMap(const Numbering& numbering, std::mt19937& random) {
    std::vector<unsigned long long> ids(20'000);
    for (std::size_t i = 0; i < ids.size(); ++i) ids[i] = numbering.first + i * numbering.step;
    for (unsigned long long& id : ids) {
        if (static_cast<int>(random() % 10) < numbering.shuffled) std::swap(id, ids[random() % ids.size()]);
    }

    KX::CLinkIndex index;
    std::map<unsigned long long, KX::CMemberLink*> wanted;
    for (const unsigned long long id : ids) {
        const KX::CPointer<KX::CMemberLink> link = MakeLink();
        ASSERT_EQ(index.Insert(COrcaID(id), link.Get()), wanted.try_emplace(id, link.Get()).second);
        ASSERT_FALSE(index.Insert(COrcaID(id), link.Get())) << id;
        ASSERT_EQ(index.Find(COrcaID(id)), wanted[id]);
    }
    for (const unsigned long long id : ids) {
        ASSERT_EQ(index.Find(COrcaID(id)), wanted[id]);
        const unsigned long long other = id + numbering.step / 2 + (random() % 3) * 0x100000;
        ASSERT_EQ(index.Find(COrcaID(other)), wanted.contains(other) ? wanted[other] : nullptr) << other;
    }
    const auto isSame = [](const auto& ours, const auto& theirs) {
        return ours.first.Value() == theirs.first && ours.second.Get() == theirs.second;
    };
    EXPECT_TRUE(std::ranges::equal(index.InOrder(), wanted, isSame));
    index.Clear();
    EXPECT_EQ(index.Find(COrcaID(ids[0])), nullptr);
}

TEST(LinkIndexTest, IsAMap) {
    const unsigned int seed = std::random_device()();
    std::mt19937 random(seed);
    for (const Numbering& numbering : kNumberings) {
        SCOPED_TRACE(testing::Message() << numbering.name << ", seed " << seed);
        ExpectIsAMap(numbering, random);
    }
}

}  // namespace
